// Other ANSI code pages than 1252, which the environment chooses once for a process.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/bytes.h"

namespace {

constexpr struct Case {
    const char* page;
    const WChar* text;
    const char* bytes;      ///< What the text becomes.
    const char* converted;  ///< What these bytes become in turn, as code units.
} cases[] = {
    {"1252", u"\u20AC\u0416", "80 3F", "AC 20 3F 00"},
    {"1251", u"\u0416\u20AC\u00E4", "C6 88 3F", "16 04 AC 20 3F 00"},
    {"850", u"\u00E4\u2592\u20AC", "84 B1 3F", "E4 00 92 25 3F 00"},
    {"932", u"\u65E5\u672C\U0001F600!", "93 FA 96 7B 3F 3F 21", "E5 65 2C 67 3F 00 3F 00 21 00"},
    {"65001", u"\u00E4\u20AC", "C3 A4 E2 82 AC", "E4 00 AC 20"},
    // What is no code page stands for 1252.
    {"", u"\u20AC\u0416", "80 3F", "AC 20 3F 00"},
    {"99999", u"\u20AC\u0416", "80 3F", "AC 20 3F 00"},
};

/// Prints what is wrong and ends the process.
[[noreturn]] void ConvertWith(const Case& c) {
    setenv("NVUTIL_ANSI_CODEPAGE", c.page, 1);
    ByteBuffer bytes;
    bytes.appendAscii(CXString(c.text));
    const std::string back = Hex(ByteBuffer(bytes.getAsStringValueFromAnsiBuffer()));
    std::fprintf(stderr, "[%s] [%s]", Hex(bytes).c_str(), back.c_str());
    std::exit(Hex(bytes) == c.bytes && back == c.converted ? 0 : 1);
}

TEST(CodePageDeathTest, TheEnvironmentChoosesTheAnsiCodePage) {
    for (const Case& c : cases) {
        EXPECT_EXIT(ConvertWith(c), testing::ExitedWithCode(0), "") << "code page " << c.page;
    }
}

TEST(CodePageDeathTest, BytesWithoutMeaningAreReplaced) {
    const auto convert = [] {
        setenv("NVUTIL_ANSI_CODEPAGE", "932", 1);
        const ByteBuffer units(Bytes("41 93 FF 42 93").getAsStringValueFromAnsiBuffer());
        std::exit(Hex(units) == "41 00 FD FF FD FF 42 00 FD FF" ? 0 : 1);
    };
    EXPECT_EXIT(convert(), testing::ExitedWithCode(0), "");
}

}  // namespace
