// Prints src/platform/posix/bestfit1252.inc: what the operating system makes of code units in code page 1252.
//
//     cmake --build --preset windows --target writebestfit1252
//     wine build/windows/bin/writebestfit1252.exe | tr -d '\r' > src/platform/posix/bestfit1252.inc
#include <windows.h>

#include <cstdio>

int main() {
    std::puts("// Code units and their bytes in code page 1252. Made by writebestfit1252; do not edit.");
    int inLine = 0;
    for (unsigned unit = 0x80; unit <= 0xFFFF; ++unit) {
        if (unit >= 0xA0 && unit <= 0xFF) continue;  // bytes of the same numbers
        const auto character = static_cast<wchar_t>(unit);
        char converted = 0;
        BOOL isUnknown = FALSE;
        if (WideCharToMultiByte(1252, 0, &character, 1, &converted, 1, nullptr, &isUnknown) != 1) return 1;
        const unsigned code = static_cast<unsigned char>(converted);
        if (isUnknown != FALSE) continue;
        constexpr int mostInLine = 6;
        std::printf("%s{0x%04X, 0x%02X},", inLine == 0 ? "    " : " ", unit, code);
        inLine = (inLine + 1) % mostInLine;
        if (inLine == 0) std::puts("");
    }
    if (inLine != 0) std::puts("");
}
