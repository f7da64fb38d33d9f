// XmlCharacters: what the bytes of an encoding stand for, and back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/characterset.h"
#include "utilities/xmlparser/xmlcharactertables.h"

/// The tables of one encoding, taken from the platform once and the same on every platform.
///
/// A sequence is one byte, two, or three of which the first is 0x8F (EUC-JP). What standards leave to users
/// (the private use area) and what is no character but a control stands for nothing: platforms differ there.
class XmlCharacters {
public:
    /// Where an encoding departs from the platform's tables, or has none.
    struct Exceptions {
        std::span<const xmlcharactertables::Sequence> sequences = {};
        std::span<const char16_t> upperHalf = {};  ///< all from 0xA0 on, for sets that no platform need have
        std::span<const xmlcharactertables::Range> readOnly = {};  ///< never written: others say the same
        bool hasControls = false;                                  ///< 0x80 to 0x9F stand for themselves
    };

    XmlCharacters(const platform::CharacterSet& set, const Exceptions& exceptions, bool isEucJp);

    bool IsKnown() const { return m_isKnown; }
    /// What one byte stands for; 0 for nothing.
    char16_t Single(unsigned code) const { return m_singles[code]; }
    /// What two bytes stand for, of which the first stands for nothing.
    char16_t Pair(unsigned first, unsigned second) const {
        return first < 0x80 || m_pairs.empty() ? u'\0' : m_pairs[(first - 0x80) * 256 + second];
    }
    /// What two bytes behind 0x8F stand for in EUC-JP.
    char16_t Triple(unsigned second, unsigned third) const {
        return second < 0x80 || m_triples.empty() ? u'\0' : m_triples[(second - 0x80) * 256 + third];
    }
    /// The sequence of a character, as one number; 0 when there is none.
    std::uint32_t CodeOf(char32_t character) const;

private:
    void Load(const platform::CharacterSet& set, bool isEucJp);
    void Apply(const Exceptions& exceptions);
    void IndexCodes(std::span<const xmlcharactertables::Range> readOnly);

    bool m_isKnown = false;
    std::array<char16_t, 256> m_singles{};
    std::vector<char16_t> m_pairs;    ///< by (first - 0x80) * 256 + second
    std::vector<char16_t> m_triples;  ///< the same for the bytes behind 0x8F
    std::vector<std::pair<char16_t, std::uint32_t>>
        m_codes;  ///< by character, of several codes the lowest first
};
