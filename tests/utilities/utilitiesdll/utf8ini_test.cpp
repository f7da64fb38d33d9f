// UTF8Ini: wide arguments over files in UTF-8, and what fits into a caller's buffer.
#include "utilities/utilitiesdll/utf8ini.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/profilefiles.h"
#include "support/bytes.h"

namespace {

using profiletest::File;
using Text = std::basic_string<WChar>;

/// What a function returns, and leaves in a buffer: "|" for zeros, "~" for what was not touched.
using Filled = std::pair<DWORD, std::string>;

template <class Function>
Filled Fill(std::size_t size, Function function) {
    std::vector<WChar> buffer(size + 1, WChar{'~'});
    const DWORD count = function(buffer.data(), static_cast<DWORD>(size));
    EXPECT_EQ(buffer.back(), WChar{'~'});
    std::string text = Narrow(CXString(buffer.data(), static_cast<int>(size)));
    for (char& c : text) {
        if (c == '\0') c = '|';
    }
    return {count, text};
}

CXString Get(const WChar* file, const WChar* section, const WChar* key) {
    WChar value[100];
    const DWORD length = UTF8Ini::GetPrivateProfileStringW(section, key, NV_TEXT("none"), value, 100, file);
    EXPECT_EQ(value[length], WChar{0});
    return {value, static_cast<int>(length)};
}

class Utf8Ini : public testing::Test {
protected:
    profiletest::Folder m_folder;
    const File m_file{m_folder / "settings.ini"};
};

TEST_F(Utf8Ini, StoresTextInUtf8) {
    EXPECT_EQ(UTF8Ini::WritePrivateProfileStringW(NV_TEXT("Gr\x00F6\x00DF"
                                                          "e"),
                                                  NV_TEXT("\x4E00\xD83D\xDE00"),
                                                  NV_TEXT("\x20AC \xD800 voil\x00E0"), m_file),
              1);
    EXPECT_EQ(m_file.GetContent(),
              "[Gr\xC3\xB6\xC3\x9F"
              "e]\r\n\xE4\xB8\x80\xF0\x9F\x98\x80=\xE2\x82\xAC \xEF\xBF\xBD voil\xC3\xA0\r\n");
    EXPECT_EQ(Get(m_file,
                  NV_TEXT("gr\x00F6\x00DF"
                          "e"),
                  NV_TEXT("\x4E00\xD83D\xDE00")),
              NV_TEXT("\x20AC \xFFFD voil\x00E0"));
    EXPECT_EQ(Get(m_file,
                  NV_TEXT("GR\x00D6\x00DF"
                          "E"),
                  NV_TEXT("\x4E00\xD83D\xDE00")),
              NV_TEXT("none"));
}

TEST_F(Utf8Ini, ReadsValuesOfAnyLength) {
    for (const int length : {0, 1, 2, 300, 30000}) {
        const CXString value(WChar{'x'}, length);
        EXPECT_EQ(UTF8Ini::WritePrivateProfileStringW(NV_TEXT("a"), NV_TEXT("k"), value, m_file), 1);
        std::vector<WChar> buffer(static_cast<std::size_t>(length) + 1);
        EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(NV_TEXT("a"), NV_TEXT("k"), nullptr, buffer.data(),
                                                    static_cast<DWORD>(buffer.size()), m_file),
                  static_cast<DWORD>(length));
        EXPECT_TRUE(CXString(buffer.data()) == value) << length;
    }
}

TEST_F(Utf8Ini, CutsWhatDoesNotFit) {
    const File file(m_folder / "cut.ini",
                    "[ab]\r\nk=12\xE2\x82\xAC"
                    "45\r\n[cd]\r\n");
    const auto expect = [&file](DWORD room, const Filled& value, const Filled& entries, const Filled& names) {
        EXPECT_EQ(Fill(room,
                       [&](WChar* out, DWORD size) {
                           return UTF8Ini::GetPrivateProfileStringW(NV_TEXT("ab"), NV_TEXT("k"), nullptr, out,
                                                                    size, file);
                       }),
                  value);
        EXPECT_EQ(Fill(room,
                       [&](WChar* out, DWORD size) {
                           return UTF8Ini::GetPrivateProfileSectionW(NV_TEXT("ab"), out, size, file);
                       }),
                  entries);
        EXPECT_EQ(
            Fill(room, [&](WChar* out,
                           DWORD size) { return UTF8Ini::GetPrivateProfileSectionNamesW(out, size, file); }),
            names);
    };
    expect(9, {5, "12?45|~~~"}, {7, "k=12?45||"}, {6, "ab|cd|||~"});
    expect(8, {5, "12?45|~~"}, {6, "k=12?4||"}, {6, "ab|cd|||"});
    expect(6, {5, "12?45|"}, {4, "k=12||"}, {4, "ab|c||"});
    expect(5, {4, "12?4|"}, {3, "k=1||"}, {3, "ab|||"});
    expect(2, {1, "1|"}, {0, "||"}, {0, "||"});
    expect(1, {0, "|"}, {0, "|"}, {0, "|"});
    expect(0, {0, ""}, {0, ""}, {0, ""});
}

TEST_F(Utf8Ini, BelievesInAnySizeAndAllocatesForTheFile) {
    const File file(m_folder / "small.ini", "[a]\r\nk=v\r\n");
    WChar value[2] = {};
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(NV_TEXT("a"), NV_TEXT("k"), nullptr, value, 0xFFFFFFFF, file),
              1u);
    EXPECT_EQ(CXString(value), NV_TEXT("v"));
    WChar names[4] = {};
    EXPECT_EQ(UTF8Ini::GetPrivateProfileSectionNamesW(names, 0x20000001, file), 2u);
}

TEST_F(Utf8Ini, NeedsItsArguments) {
    const WChar* const a = NV_TEXT("a");
    const File file(m_folder / "a.ini", "[a]\r\na=12\r\n");
    WChar out[4] = {'~', '~', '~', '~'};
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(nullptr, a, a, out, 4, file), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(a, nullptr, a, out, 4, file), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(a, a, a, nullptr, 4, file), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(a, a, a, out, 0, file), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(a, a, a, out, 4, nullptr), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileSectionW(nullptr, out, 4, file), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileSectionNamesW(out, 4, nullptr), 0u);
    EXPECT_EQ(out[0], WChar{'~'});
    EXPECT_EQ(UTF8Ini::GetPrivateProfileIntW(a, a, -1, file), 12u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileIntW(nullptr, a, -1, file), 0xFFFFFFFFu);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStructW(a, a, nullptr, 0, file), 0);
    EXPECT_EQ(UTF8Ini::WritePrivateProfileInt(a, nullptr, 1, file), 0);
    EXPECT_EQ(UTF8Ini::WritePrivateProfileStringW(nullptr, a, a, file), 0);
    EXPECT_EQ(UTF8Ini::WritePrivateProfileSectionW(nullptr, a, file), 0);
    EXPECT_EQ(UTF8Ini::WritePrivateProfileStructW(a, nullptr, "x", 1, file), 0);
    EXPECT_EQ(file.GetContent(), "[a]\r\na=12\r\n");
}

TEST_F(Utf8Ini, WritesAndReadsEveryKind) {
    const WChar* const a = NV_TEXT("a");
    EXPECT_EQ(UTF8Ini::WritePrivateProfileInt(a, NV_TEXT("i"), -2147483647 - 1, m_file), 1);
    EXPECT_EQ(static_cast<int>(UTF8Ini::GetPrivateProfileIntW(a, NV_TEXT("I"), 5, m_file)), -2147483647 - 1);
    EXPECT_EQ(UTF8Ini::WritePrivateProfileStructW(a, NV_TEXT("s"), "\x01\xAB", 2, m_file), 1);
    char bytes[2] = {};
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStructW(a, NV_TEXT("s"), bytes, 2, m_file), 1);
    EXPECT_EQ(std::string(bytes, 2), "\x01\xAB");
    EXPECT_EQ(UTF8Ini::WritePrivateProfileSectionW(NV_TEXT("b"), NV_TEXT("\x00E4=1\0k=2\0"), m_file), 1);
    EXPECT_EQ(m_file.GetContent(), "[a]\r\ni=-2147483648\r\ns=01ABAC\r\n[b]\r\n\xC3\xA4=1\r\nk=2\r\n");
    EXPECT_EQ(UTF8Ini::WritePrivateProfileStringW(NV_TEXT("b"), NV_TEXT("\x00E4"), nullptr, m_file), 1);
    EXPECT_EQ(UTF8Ini::WritePrivateProfileStringW(a, nullptr, nullptr, m_file), 1);
    EXPECT_EQ(m_file.GetContent(), "[b]\r\nk=2\r\n");
    EXPECT_EQ(UTF8Ini::WritePrivateProfileSectionW(NV_TEXT("b"), NV_TEXT(""), m_file), 1);
    EXPECT_EQ(m_file.GetContent(), "[b]\r\n");
}

}  // namespace
