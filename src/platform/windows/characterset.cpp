// Character sets by the system's code pages.
#include "platform/characterset.h"

#include <windows.h>

#include <cstdint>
#include <string>

namespace platform {

namespace {

constexpr unsigned eucJp = 20932;

/// In this code page the characters of the third set lack their first byte; the last has seven bits instead.
std::string InCodePage(unsigned codePage, std::string_view sequence) {
    constexpr std::size_t lengthOfThirdSet = 3;
    std::string own(sequence);
    if (codePage == eucJp && own.size() == lengthOfThirdSet && own[0] == '\x8F') {
        own.erase(0, 1);
        own[1] = static_cast<char>(own[1] & 0x7F);
    }
    return own;
}

unsigned CodePageOf(void* handle) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace

CharacterSetReader::CharacterSetReader(const CharacterSet& set)
    : m_handle(reinterpret_cast<void*>(std::uintptr_t{set.codePage})) {}

CharacterSetReader::~CharacterSetReader() = default;

bool CharacterSetReader::IsKnown() const {
    return IsValidCodePage(CodePageOf(m_handle)) != FALSE;
}

WChar CharacterSetReader::Read(std::string_view sequence) {
    const unsigned codePage = CodePageOf(m_handle);
    const std::string own = InCodePage(codePage, sequence);
    WChar units[4] = {};
    const int count = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, own.data(),
                                          static_cast<int>(own.size()), units, 4);
    return count == 1 ? units[0] : WChar{0};
}

}  // namespace platform
