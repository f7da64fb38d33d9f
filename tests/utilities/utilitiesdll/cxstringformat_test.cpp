// CXString: formatting, the same on every platform.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "support/bytes.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace {

std::string Formatted(const WChar* format, ...) {
    CXString text;
    va_list arguments;
    va_start(arguments, format);
    text.FormatV(format, arguments);
    va_end(arguments);
    return Narrow(text);
}

TEST(CXStringFormatTest, Integers) {
    EXPECT_EQ(Formatted(NV_TEXT("%d|%i|%u|%ld|%lu"), -5, 7, 4294967295U, LONG{-1}, DWORD{3}),
              "-5|7|4294967295|-1|3");
    EXPECT_EQ(Formatted(NV_TEXT("%5d|%-5d|%05d|%+d|% d"), -5, -5, -5, 5, 5), "   -5|-5   |-0005|+5| 5");
    EXPECT_EQ(Formatted(NV_TEXT("%.3d|%8.3d|%-8.3d|%.0d|"), 5, 5, 5, 0), "005|     005|005     ||");
    EXPECT_EQ(Formatted(NV_TEXT("%x|%X|%#x|%#X|%#x|%08x|%#08x"), 255, 255, 255, 255, 0, 255, 255),
              "ff|FF|0xff|0XFF|0|000000ff|0x0000ff");
    EXPECT_EQ(Formatted(NV_TEXT("%o|%#o|%#o|%#.3o"), 8, 8, 0, 5), "10|010|0|005");
    EXPECT_EQ(Formatted(NV_TEXT("%hd|%hu|%hx"), 70000, 70000, -1), "4464|4464|ffff");
    EXPECT_EQ(
        Formatted(NV_TEXT("%I64d|%I64u|%I64x|%lld|%I32d|%Id"), INT64_MIN, UINT64_MAX, INT64_C(0x123456789AB),
                  INT64_MAX, INT_MIN, INT64_C(-4294967297)),
        "-9223372036854775808|18446744073709551615|123456789ab|9223372036854775807|-2147483648|-4294967297");
    EXPECT_EQ(Formatted(NV_TEXT("%*d|%*d|%-*d|%.*d|%.*d"), 4, 5, -4, 5, 4, 5, 3, 5, -3, 5),
              "   5|5   |5   |005|5");
    EXPECT_EQ(Formatted(NV_TEXT("%Fd|%Nd|%Lx"), 5, 6, 7), "5|6|7");
    EXPECT_EQ(Formatted(NV_TEXT("%.400d"), 5), std::string(399, '0') + "5");
    EXPECT_EQ(Formatted(NV_TEXT("%p"), reinterpret_cast<void*>(std::uintptr_t{0x12AB})), "00000000000012AB");
}

TEST(CXStringFormatTest, Text) {
    const auto* noWide = static_cast<const WChar*>(nullptr);
    const auto* noNarrow = static_cast<const char*>(nullptr);
    EXPECT_EQ(Formatted(NV_TEXT("%s|%ls|%ws"), NV_TEXT("a"), NV_TEXT("b"), NV_TEXT("c")), "a|b|c");
    EXPECT_EQ(Formatted(NV_TEXT("%S|%hs|%hS|%lS|%wS"), "a", "b", "c", NV_TEXT("d"), NV_TEXT("e")),
              "a|b|c|d|e");
    EXPECT_EQ(Formatted(NV_TEXT("%s|%S|%.3s"), noWide, noNarrow, noWide), "(null)|(null)|(nu");
    EXPECT_EQ(Formatted(NV_TEXT("%5s|%-5s|%.2s|%.0s|%5.1s"), NV_TEXT("ab"), NV_TEXT("ab"), NV_TEXT("abc"),
                        NV_TEXT("x"), NV_TEXT("yz")),
              "   ab|ab   |ab||    y");
    EXPECT_EQ(Formatted(NV_TEXT("%c%C%hc%lc|%3c|%-3c|"), 'a', 'b', 'c', 'd', 'e', 'f'), "abcd|  e|f  |");
    EXPECT_EQ(Formatted(NV_TEXT("100%%|%y|%")), "100%|y|");

    const WChar unterminated[] = {NV_TEXT('a'), NV_TEXT('b')};
    const char unterminatedNarrow[] = {'c', 'd'};
    EXPECT_EQ(Formatted(NV_TEXT("%.2s%.2S"), unterminated, unterminatedNarrow), "abcd");
    CXString wide;
    wide.Format(NV_TEXT("%s%c%S"), NV_TEXT("\x20AC"), 0x4E2D, "\xE4\x80");
    EXPECT_EQ(wide, NV_TEXT("\x20AC\x4E2D\x00E4\x0080"));
}

// The sizes of integers say nothing about texts, which would otherwise be read beyond their ends.
TEST(CXStringFormatTest, OnlySizesOfCharactersDecideWhichTextItIs) {
    const std::string narrow = "n";
    const std::basic_string<WChar> wide = NV_TEXT("w");
    for (const char* size : {"", "I32", "I64", "ll", "j", "t", "z", "L"}) {
        const CXString prefix = NV_TEXT("%") + CXString(size);
        EXPECT_EQ(Formatted(prefix + NV_TEXT("S"), narrow.c_str()), "n") << size;
        EXPECT_EQ(Formatted(prefix + NV_TEXT("s"), wide.c_str()), "w") << size;
        EXPECT_EQ(Formatted(prefix + NV_TEXT("C"), 0x4E41), "A") << size;
        EXPECT_EQ(Formatted(prefix + NV_TEXT("c"), 0x4E41), Narrow(NV_TEXT("\x4E41"))) << size;
    }
}

TEST(CXStringFormatTest, FloatingPointRoundsTiesAwayFromZero) {
    EXPECT_EQ(Formatted(NV_TEXT("%f|%.2f|%.0f|%#.0f|%9.3f|%-9.3f|%09.3f|%+f"), 1.5, -1.005, 0.0, 2.0, 3.14159,
                        3.14159, -3.14159, 1.0),
              "1.500000|-1.00|0|2.|    3.142|3.142    |-0003.142|+1.000000");
    EXPECT_EQ(
        Formatted(NV_TEXT("%.0f|%.0f|%.0f|%.1f|%.2f|%.0f|%.3f"), 0.5, 1.5, 2.5, 0.25, -0.125, 9.5, 0.0004),
        "1|2|3|0.3|-0.13|10|0.000");
    EXPECT_EQ(Formatted(NV_TEXT("%e|%E|%.0e|%#.0e|%.2e|%e"), 123456.5, 1e-5, 9.5, 2.0, -9.999, 0.0),
              "1.234565e+005|1.000000E-005|1e+001|2.e+000|-1.00e+001|0.000000e+000");
    EXPECT_EQ(Formatted(NV_TEXT("%g|%g|%g|%G|%.3g|%#g|%g|%g"), 100000.0, 1000000.0, 0.0001, 1e-5, 0.00012345,
                        1.5, 999999.5, -0.0),
              "100000|1e+006|0.0001|1E-005|0.000123|1.50000|1e+006|-0");
    EXPECT_EQ(Formatted(NV_TEXT("%.20f|%.17g|%e"), 0.1, 0.1, 4.9406564584124654e-324),
              "0.10000000000000000555|0.10000000000000001|4.940656e-324");
    EXPECT_EQ(Formatted(NV_TEXT("%a|%A|%.1a|%a"), 1.5, -3.0, 1.99, 0.0),
              "0x1.8000000000000p+0|-0X1.8000000000000P+1|0x2.0p+0|0x0.0000000000000p+0");
}

TEST(CXStringFormatTest, LargestNumberHasAllItsDigits) {
    const std::string text = Formatted(NV_TEXT("%f"), 1e308);
    EXPECT_EQ(text.size(), 316U);
    EXPECT_EQ(text.substr(0, 20), "10000000000000000109");
    EXPECT_EQ(text.substr(309), ".000000");
    EXPECT_EQ(Formatted(NV_TEXT("%.2000f"), 1.0).size(), 2002U);
    EXPECT_EQ(Formatted(NV_TEXT("%.2000e"), 1.0).size(), 2007U);
    EXPECT_EQ(Formatted(NV_TEXT("%.2000d"), 1).size(), 2000U);
}

TEST(CXStringFormatTest, InfinityAndNotANumber) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Formatted(NV_TEXT("%f|%g|%e|%.2f"), infinity, -infinity, infinity, infinity),
              "1.#INF00|-1.#INF|1.#INF00e+000|1.#J");
    EXPECT_EQ(Formatted(NV_TEXT("%f|%g"), std::copysign(nan, 1.0), std::copysign(nan, -1.0)),
              "1.#QNAN0|-1.#IND");
}

TEST(CXStringFormatTest, FormatsAStringIntoItself) {
    CXString text(NV_TEXT("abc"));
    text.Format(NV_TEXT("<%s|%s>"), static_cast<const WChar*>(text), static_cast<const WChar*>(text) + 1);
    EXPECT_EQ(text, NV_TEXT("<abc|bc>"));
    text = NV_TEXT("%d%%");
    text.Format(text, 5);
    EXPECT_EQ(text, NV_TEXT("5%"));
    text.Format(nullptr);
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CXStringFormatTest, HugeWidthsAreRefusedAndHugePrecisionsOfTextAreNot) {
    CXString text(NV_TEXT("before"));
    EXPECT_THROW(text.Format(NV_TEXT("%2000000000d"), 5), ExceptionOutOfMemory);
    EXPECT_THROW(text.Format(NV_TEXT("%*d"), INT_MIN, 5), ExceptionOutOfMemory);
    EXPECT_THROW(text.Format(NV_TEXT("%.99999999999999999999f"), 1.0), ExceptionOutOfMemory);
    EXPECT_EQ(text, NV_TEXT("before"));
    text.Format(NV_TEXT("%.2000000000s"), NV_TEXT("abc"));
    EXPECT_EQ(text, NV_TEXT("abc"));
}

TEST(CXStringFormatTest, ExpandsMessages) {
    CXString text;
    text.FormatMessageW(NV_TEXT("%2 %1|%3!5d!|%4!-4s!|%5!S!|%6!x!"), NV_TEXT("one"), NV_TEXT("two"), 5,
                        NV_TEXT("w"), "n", 255);
    EXPECT_EQ(text, NV_TEXT("two one|    5|w   |n|ff"));
    text.FormatMessageW(NV_TEXT("100%% %. %!% %n\nx%tx%0ignored"));
    EXPECT_EQ(text, NV_TEXT("100% . ! \r\n\r\nx\tx"));
    text.FormatMessageW(NV_TEXT("%1|%12%3"), text.GetBuffer(0), 2, NV_TEXT("3"), 4, 5, 6, 7, 8, 9, 10, 11,
                        NV_TEXT("12"));
    EXPECT_EQ(text, NV_TEXT("100% . ! \r\n\r\nx\tx|123"));
    text.FormatMessageW(NV_TEXT(""));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CXStringFormatTest, InsertsOfMessagesAreBounded) {
    CXString text;
    text.FormatMessageW(NV_TEXT("%1!.40d!|%2!*d!|%4!-*.*s!|"), 5, 4, 7, 3, 1, NV_TEXT("xyz"));
    EXPECT_EQ(text, CXString(NV_TEXT('0'), 39) + NV_TEXT("5|   7|x  |"));
    for (const WChar* format : {NV_TEXT("%1!99999d!"), NV_TEXT("%1!.2000000000x!"), NV_TEXT("%2!*d!")}) {
        text.FormatMessageW(format, 5, 2000000000, 5);
        EXPECT_EQ(text.GetLength(), 0xFFFF) << Narrow(format);
    }
    std::basic_string<WChar> many;
    for (int i = 0; i < 300; ++i)
        many += NV_TEXT("%1!65535d!");
    EXPECT_THROW(text.FormatMessageW(many.c_str(), 5), ExceptionOperatingSystemFailure);
}

TEST(CXStringFormatTest, NothingIsStoredAndMalformedMessagesKeepTheText) {
    int stored = -7;
    EXPECT_EQ(Formatted(NV_TEXT("ab%ncd%d"), &stored, 5), "abcd5");
    CXString text(NV_TEXT("before"));
    for (const WChar* format : {NV_TEXT("%1!n!"), NV_TEXT("%1!hn!"), NV_TEXT("%1!I64n!"), NV_TEXT("%1!d%n!"),
                                NV_TEXT("abc%"), NV_TEXT("%1!s")}) {
        EXPECT_THROW(text.FormatMessageW(format, &stored), ExceptionOperatingSystemFailure) << Narrow(format);
    }
    EXPECT_EQ(stored, -7);
    EXPECT_EQ(text, NV_TEXT("before"));
}

}  // namespace
