// Character sets by iconv.
#include "platform/characterset.h"

#include <iconv.h>

#include <array>

#include "platform/posix/converter.h"

namespace platform {

CharacterSetReader::CharacterSetReader(const CharacterSet& set)
    : m_handle(OpenConverter("UTF-16LE", set.name)) {}

CharacterSetReader::~CharacterSetReader() {
    if (IsKnown()) CloseConverter(m_handle);
}

bool CharacterSetReader::IsKnown() const {
    return m_handle != reinterpret_cast<iconv_t>(-1);
}

WChar CharacterSetReader::Read(std::string_view sequence) {
    constexpr auto failed = static_cast<std::size_t>(-1);
    std::array<unsigned char, 16> units{};
    auto* in = const_cast<char*>(sequence.data());  // which iconv does not write to
    auto* out = reinterpret_cast<char*>(units.data());
    std::size_t left = sequence.size();
    std::size_t room = units.size();
    iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
    // What could be followed by a combining mark is held back until it is asked for.
    const bool isRead = iconv(m_handle, &in, &left, &out, &room) != failed && left == 0 &&
                        iconv(m_handle, nullptr, nullptr, &out, &room) != failed;
    return isRead && room == units.size() - 2 ? static_cast<WChar>(units[0] | units[1] << 8) : WChar{0};
}

}  // namespace platform
