// The tables of encodings.
#include "utilities/xmlparser/xmlcharacters.h"

#include <algorithm>
#include <string>

namespace {

using xmlcharactertables::Range;

constexpr unsigned firstHigh = 0x80;
constexpr std::size_t pairCount = 128 * 256;
constexpr unsigned thirdSet = 0x8F;  // of EUC-JP

/// What every platform agrees on: nothing is said of what users define, and controls are no text.
char16_t Agreed(char16_t character) {
    const bool isPrivate = character >= 0xE000 && character < 0xF900;
    const bool isControl = character >= 0x80 && character < 0xA0;
    const bool isHalf = character >= 0xD800 && character < 0xE000;
    return isPrivate || isControl || isHalf ? u'\0' : character;
}

/// All that begins with these bytes and ends with one more, by the first and the last.
std::vector<char16_t> ReadPairs(platform::CharacterSetReader& reader, std::string prefix, unsigned firstByte,
                                const std::array<char16_t, 256>* singles) {
    std::vector<char16_t> pairs(pairCount);
    prefix.append(2, '\0');
    for (unsigned first = firstByte; first < 0xFF; ++first) {
        if (singles != nullptr && (*singles)[first] != 0) continue;
        prefix[prefix.size() - 2] = static_cast<char>(first);
        // No set has digits or controls as last bytes of two.
        for (unsigned last = firstByte > 0xA0 ? firstByte : 0x40; last < 0xFF; ++last) {
            prefix.back() = static_cast<char>(last);
            pairs[(first - firstHigh) * 256 + last] = Agreed(static_cast<char16_t>(reader.Read(prefix)));
        }
    }
    return pairs;
}

}  // namespace

XmlCharacters::XmlCharacters(const platform::CharacterSet& set, const Exceptions& exceptions, bool isEucJp) {
    for (unsigned byte = 0; byte < firstHigh; ++byte)
        m_singles[byte] = static_cast<char16_t>(byte);  // markup is ASCII in every encoding
    m_isKnown = !exceptions.upperHalf.empty();
    if (!m_isKnown) Load(set, isEucJp);
    Apply(exceptions);
    IndexCodes(exceptions.readOnly);
}

void XmlCharacters::Load(const platform::CharacterSet& set, bool isEucJp) {
    platform::CharacterSetReader reader(set);
    m_isKnown = reader.IsKnown();
    if (!m_isKnown) return;
    for (unsigned byte = firstHigh; byte < 256; ++byte) {
        const auto sequence = static_cast<char>(byte);
        m_singles[byte] = Agreed(static_cast<char16_t>(reader.Read({&sequence, 1})));
    }
    const unsigned firstByte = isEucJp ? 0xA1 : 0x81;
    m_pairs = ReadPairs(reader, {}, firstByte, &m_singles);
    if (!isEucJp) return;
    for (unsigned kana = 0xA1; kana < 0xE0; ++kana) {
        const char sequence[] = {'\x8E', static_cast<char>(kana)};
        m_pairs[(0x8E - firstHigh) * 256 + kana] = Agreed(static_cast<char16_t>(reader.Read({sequence, 2})));
    }
    m_triples = ReadPairs(reader, std::string(1, static_cast<char>(thirdSet)), firstByte, nullptr);
    m_triples[(0xA2 - firstHigh) * 256 + 0xB7] = u'\uFF5E';  // to some platforms the tilde of ASCII
}

void XmlCharacters::Apply(const Exceptions& exceptions) {
    for (std::size_t i = 0; i < exceptions.upperHalf.size(); ++i)
        m_singles[0xA0 + i] = exceptions.upperHalf[i];
    for (unsigned byte = firstHigh; exceptions.hasControls && byte < 0xA0; ++byte)
        m_singles[byte] = static_cast<char16_t>(byte);
    for (const auto& [bytes, character] : exceptions.sequences) {
        if (bytes < 256) {
            m_singles[bytes] = character;
        } else if (!m_pairs.empty()) {
            m_pairs[(bytes >> 8) * 256U + (bytes & 0xFFU) - firstHigh * 256U] = character;
        }
    }
}

void XmlCharacters::IndexCodes(std::span<const Range> readOnly) {
    const auto add = [this](char16_t character, std::uint32_t code) {
        if (character != 0) m_codes.emplace_back(character, code);
    };
    for (unsigned byte = 0; byte < m_singles.size(); ++byte)
        add(m_singles[byte], byte);
    for (std::size_t i = 0; i < m_pairs.size(); ++i) {
        const auto code = static_cast<std::uint32_t>(i + firstHigh * 256);
        const auto holds = [code](const Range& range) { return code >= range.first && code <= range.last; };
        if (std::ranges::none_of(readOnly, holds)) add(m_pairs[i], code);
    }
    for (std::size_t i = 0; i < m_triples.size(); ++i)
        add(m_triples[i], static_cast<std::uint32_t>(i + firstHigh * 256) | thirdSet << 16);
    std::ranges::sort(m_codes);
}

std::uint32_t XmlCharacters::CodeOf(char32_t character) const {
    if (character > 0xFFFF) return 0;
    const auto found = std::ranges::lower_bound(m_codes, static_cast<char16_t>(character), {},
                                                &std::pair<char16_t, std::uint32_t>::first);
    return found != m_codes.end() && found->first == character ? found->second : 0;
}
