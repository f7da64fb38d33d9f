// What the tool needs of the process's console: Windows.
#include "nvutil/platform/console.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <cstdio>

namespace console {

namespace {

std::string ToUtf8(const wchar_t* text) {
    constexpr DWORD flags = WC_ERR_INVALID_CHARS;
    const int size = WideCharToMultiByte(CP_UTF8, flags, text, -1, nullptr, 0, nullptr, nullptr);
    if (size == 0) return "\xFF";  // a lone surrogate; the tool refuses what is not valid UTF-8
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, flags, text, -1, utf8.data(), size, nullptr, nullptr);
    utf8.pop_back();  // the terminator
    return utf8;
}

}  // namespace

std::vector<std::string> GetArguments(int /*argc*/, char** /*argv*/) {
    // The narrow arguments have lost what the ANSI code page cannot hold.
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; wide != nullptr && i < count; ++i)
        arguments.push_back(ToUtf8(wide[i]));
    LocalFree(wide);
    return arguments;
}

void UseBinaryStreams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
}

bool IsErrorATerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

}  // namespace console
