// The library's own formatters, held against those of the operating system.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdarg>
#include <cstdint>
#include <cwchar>
#include <iterator>
#include <string>

#include "support/bytes.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace {

template <class Argument>
void ExpectAlike(const std::wstring& format, Argument argument) {
    wchar_t expected[512] = {};
    _snwprintf(expected, std::size(expected) - 1, format.c_str(), argument);
    CXString text;
    text.Format(format.c_str(), argument);
    EXPECT_EQ(text, CXString(expected)) << Narrow(format.c_str());
}

// Without a flag "0" beside a precision, which integers ignore: not every version of the C library does.
TEST(Formatters, FormatLikeTheCLibrary) {
    for (const wchar_t* flags : {L"", L"0", L"+012", L"#012", L"12", L"-12", L"+ 1", L" .1", L"#.0", L"-12.3",
                                 L"+20.17", L"-#3.5"}) {
        const std::wstring begin = std::wstring(L"<%") + flags;
        for (const int value : {0, 5, -5, 255, 70000, INT_MAX, INT_MIN}) {
            for (const wchar_t* type :
                 {L"d>", L"i>", L"u>", L"x>", L"X>", L"o>", L"hd>", L"hx>", L"ld>", L"I32u>"})
                ExpectAlike(begin + type, value);
            for (const wchar_t* type : {L"I64d>", L"I64x>", L"lld>", L"Iu>"})
                ExpectAlike(begin + type, std::int64_t{value} * 123456789);
        }
        for (const wchar_t* type : {L"s>", L"ls>", L"ws>"})
            ExpectAlike(begin + type, L"text");
        for (const wchar_t* type : {L"S>", L"hs>", L"hS>"})
            ExpectAlike(begin + type, "text");
        for (const double value : {0.0, 1.5, -0.25, 123456.789, 1e-7, 1e22, 0.1}) {
            for (const wchar_t* type : {L"f>", L"e>", L"E>", L"g>", L"G>"})
                ExpectAlike(begin + type, value);
        }
    }
}

std::wstring SystemMessage(const wchar_t* format, ...) {
    wchar_t message[512] = {};
    va_list arguments;
    va_start(arguments, format);
    FormatMessageW(FORMAT_MESSAGE_FROM_STRING, format, 0, 0, message, std::size(message), &arguments);
    va_end(arguments);
    return message;
}

TEST(Formatters, ExpandMessagesLikeTheOperatingSystem) {
    for (const wchar_t* format :
         {L"%1 %3|%1!s!|%1!10s!|%1!-10s!|%1!.2s!|", L"%2!d! %2!x! %2!08X! %2!u!|%2!5d!|%2!-5d!|",
          L"%4!S! %4!hs!", L"%2!*d!", L"a%%b%nc%rd%te%.f%!g% h", L"a\nb\r\nc", L"a%0b", L""}) {
        CXString text;
        text.FormatMessageW(format, L"one", 7, L"three", "four");
        EXPECT_EQ(text, SystemMessage(format, L"one", 7, L"three", "four").c_str()) << Narrow(format);
    }
}

}  // namespace
