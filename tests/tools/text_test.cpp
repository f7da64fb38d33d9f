// Tests of the tool's text: UTF-8 from anywhere, and what may reach a terminal.
#include <gtest/gtest.h>

#include <string>

#include "nvutil/attributenames.h"
#include "nvutil/jsontext.h"
#include "nvutil/text.h"
#include "support/bytes.h"

namespace {

struct Utf8Case {
    const char* utf8;
    const char* units;  ///< In memory, little-endian.
};

constexpr Utf8Case utf8Cases[] = {
    {"", ""},
    {"a\x7F", "61 00 7F 00"},
    {"\xC2\x80\xDF\xBF", "80 00 FF 07"},
    {"\xE0\xA0\x80\xEF\xBF\xBF", "00 08 FF FF"},
    {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "00 D8 00 DC FF DB FF DF"},
    // Not valid: each byte becomes U+FFFD.
    {"\x80", "FD FF"},
    {"\xC0\x80", "FD FF FD FF"},                      // a longer form than needed
    {"\xE0\x9F\xBF", "FD FF FD FF FD FF"},            // a longer form than needed
    {"\xED\xA0\x80", "FD FF FD FF FD FF"},            // a surrogate
    {"\xF4\x90\x80\x80", "FD FF FD FF FD FF FD FF"},  // beyond U+10FFFF
    {"\xF5\x80", "FD FF FD FF"},
    {"\xE2\x82", "FD FF FD FF"},  // cut off
    {"\xE2\x82z", "FD FF FD FF 7A 00"},
};

TEST(Text, Utf8IsDecodedStrictly) {
    for (const Utf8Case& c : utf8Cases) {
        EXPECT_EQ(Hex(ByteBuffer(FromUtf8(c.utf8))), c.units) << c.utf8;
    }
}

TEST(Text, ValidUtf8ComesBack) {
    for (const Utf8Case& c : utf8Cases) {
        const std::string utf8 = c.utf8;
        const bool isValid = FromUtf8(utf8).Find(WChar{0xFFFD}) < 0;
        EXPECT_EQ(ToUtf8(FromUtf8(utf8)) == utf8, isValid) << c.units;
    }
}

TEST(Text, NothingThatDisturbsATerminalIsPrinted) {
    EXPECT_EQ(OneLine("a\nb\x1B[2J\xC2\x9B"), "a\\nb\\u001b[2J\\u009b");
    EXPECT_EQ(QuotedText(std::string_view("\"\\\0\x7F", 4)), R"("\"\\\u0000\u007f")");
}

struct SurrogateCase {
    const char* json;
    const char* encoded;
};

// U+FFFF is "\xEF\xBF\xBF" in UTF-8.
constexpr SurrogateCase surrogateCases[] = {
    {R"({"a": "b"})", R"({"a": "b"})"},
    {R"("\ud83d\ude00")", R"("\ud83d\ude00")"},
    {R"("\uD83D\n")",
     "\"\xEF\xBF\xBF"
     "D83D\\n\""},
    {R"("\uD83D\uD83D\uDE00")",
     "\"\xEF\xBF\xBF"
     "D83D\\uD83D\\uDE00\""},
    {R"("\uDE00\uD83D")",
     "\"\xEF\xBF\xBF"
     "DE00\xEF\xBF\xBF"
     "D83D\""},
    {R"("\\ud83d")", R"("\\ud83d")"},
    {R"("\\\ud83d")",
     "\"\\\\\xEF\xBF\xBF"
     "D83D\""},
    {R"("\uffff")",
     "\"\xEF\xBF\xBF"
     "FFFF\""},
    {"\"\xEF\xBF\xBF\"",
     "\"\xEF\xBF\xBF"
     "FFFF\""},
    {R"(\ud83d "\"\ud83d)",
     "\\ud83d \"\\\"\xEF\xBF\xBF"
     "D83D"},
    {R"("\ud83)", R"("\ud83)"},
    {R"("\)", R"("\)"},
};

TEST(Text, LoneSurrogatesAreMarkedInStringsOnly) {
    for (const SurrogateCase& c : surrogateCases)
        EXPECT_EQ(EncodeLoneSurrogates(c.json), c.encoded) << c.json;
}

TEST(Text, NumbersAreReadable) {
    EXPECT_EQ(Grouped(0), "0");
    EXPECT_EQ(Grouped(999), "999");
    EXPECT_EQ(Grouped(1234567), "1,234,567");
    EXPECT_EQ(CountText(1, "byte"), "1 byte");
    EXPECT_EQ(DisplayOfNumber(-0.0000001, 3), "0");
    EXPECT_EQ(DisplayOfNumber(100, 0), "100");
    EXPECT_EQ(DisplayOfNumber(1e300, 6).size(), 301u);
}

}  // namespace
