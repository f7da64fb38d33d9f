// Profile (INI) files: the platform's own rules, which both builds follow.
#include "platform/profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

#include "profilefiles.h"

namespace {

using namespace platform::profile;
using profiletest::File;
using namespace std::string_view_literals;

constexpr std::size_t enough = 1000;

/// A list as one text.
std::string Joined(std::string list) {
    for (char& c : list) {
        if (c == '\0') c = '|';
    }
    return list;
}

class Profile : public testing::Test {
protected:
    template <class... Content>
    File NewFile(Content... content) {
        return File(m_folder / (std::to_string(++m_files) + ".ini"), content...);
    }

    profiletest::Folder m_folder;
    int m_files = 0;
};

TEST_F(Profile, FindsValuesInASection) {
    // Lines in the order of the file, each with what a key gives then.
    const struct {
        std::string_view line;
        const char* key;
        const char* expected;
    } cases[] = {
        {"k=v", "K", "v"},
        {"  Blanks\t=  \x0B in it \x1A", " blanks ", "in it"},
        {"double=\"q v\"", "double", "q v"},
        {"single='x'", "single", "x"},
        {"inner=\" sp \"", "inner", " sp "},
        {"twice=\"\"x\"\"", "twice", "\"x\""},
        {"mixed='a\"", "mixed", "'a\""},
        {"open=\"a", "open", "\"a"},
        {"one=\"", "one", "\""},
        {"none=\"\"", "none", ""},
        {"nested=\"'a'\"", "nested", "'a'"},
        {"empty=", "empty", ""},
        {"alone\r\nalone=later", "alone", "D"},
        {";c=1", ";c", "1"},
        {" ; d=2", "; d", "2"},
        {"#e=3", "#e", "3"},
        {"semicolon=a;b", "semicolon", "a;b"},
        {"equals=a=b", "equals", "a=b"},
        {"other=a=b", "other=a", "D"},
        {"=no key", "", "no key"},
        {"k=second", "k", "v"},
        {"utf8=\xC3\xA4 \xE2\x82\xAC voil\xC3\xA0", "utf8", "\xC3\xA4 \xE2\x82\xAC voil\xC3\xA0"},
        {"\xC3\x84=upper\r\n\xC3\xA4=lower", "\xC3\x84", "upper"},
        {"", "\xC3\xA4", "lower"},
        {"ZERO=1\0 2"sv, "zero", "1"},
        {"", "c", "D"},
        {"[b]\r\nhidden=1\r\n[a]\r\nhidden=1", "hidden", "D"},
    };
    std::string text = "k=0\r\n[A]\r\n";
    for (const auto& c : cases)
        text.append(c.line).append("\r\n");
    const File file = NewFile(text);
    for (const auto& c : cases)
        EXPECT_EQ(ReadText(file, " a\t", c.key, "D", enough), c.expected) << c.line;
}

constexpr std::string_view sections =
    "k=v\r\n[ Sp aced ]\r\nk=1\r\n[x]y]\r\nk=2\r\n[not closed\r\n=3\r\n  [behind]  ; text\r\nk=4\r\n"
    "[x]y]\r\nj=hidden\r\n[\xC3\x84]\r\nk=5\r\n[last]\r\nk=without an end";

TEST_F(Profile, FindsSections) {
    const File file = NewFile(sections);
    const struct {
        const char* section;
        const char* key;
        const char* expected;
    } cases[] = {
        {"", "k", "v"},          {"SP ACED", "k", "1"}, {"x]y", "k", "2"},
        {"x]y", "", "3"},        {"x]y", "j", "D"},     {"x", "k", "D"},
        {"not closed", "", "D"}, {"behind", "k", "4"},  {"\xC3\x84", "k", "5"},
        {"\xC3\xA4", "k", "D"},  {"missing", "k", "D"}, {"last", "k", "without an end"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ReadText(file, c.section, c.key, "D", enough), c.expected) << c.section << ' ' << c.key;
}

TEST_F(Profile, TreatsTheFallbackAsAValue) {
    const File file = NewFile("[a]\r\n");
    EXPECT_EQ(ReadText(file, "a", "k", nullptr, enough), "");
    EXPECT_EQ(ReadText(file, "a", "k", "  D  ", enough), "  D");
    EXPECT_EQ(ReadText(file, "a", "k", "\"D\"  ", enough), "D");
    EXPECT_EQ(ReadText(file, "a", "k", "'D '", enough), "D ");
    EXPECT_EQ(ReadText(file, "a", nullptr, "D", enough), "D");
    EXPECT_EQ(ReadText(file, "missing", nullptr, "D", enough), "D");
    EXPECT_EQ(ReadText(NewFile(), "a", "k", "D", enough), "D");
    EXPECT_EQ(ReadText(NewFile(), nullptr, nullptr, "D", enough), "");
}

TEST_F(Profile, ListsSectionsKeysAndLines) {
    const File file = NewFile(sections);
    EXPECT_EQ(Joined(ReadSectionNames(file, enough)), "Sp aced|x]y|behind|x]y|\xC3\x84|last|");
    EXPECT_EQ(ReadText(file, nullptr, "ignored", "D", enough), ReadSectionNames(file, enough));
    EXPECT_EQ(Joined(ReadText(file, "x]y", nullptr, "D", enough)), "k||");
    EXPECT_EQ(Joined(ReadSection(file, "x]y", enough)), "k=2|[not closed|=3|");
    EXPECT_EQ(Joined(ReadSection(file, "", enough)), "k=v|");
    const File mixed = NewFile("[a]\r\n;[b]\r\n k = \" v \" \r\n; c=1\r\n\r\n#d=2\r\nalone\r\n=3\r\n");
    EXPECT_EQ(Joined(ReadSection(mixed, "A", enough)), "k=\" v \"|#d=2|alone|=3|");
    EXPECT_EQ(Joined(ReadText(mixed, "A", nullptr, "D", enough)), "k|#d||");
    for (const char* const section : {"missing", " A", "a "}) {
        EXPECT_EQ(ReadSection(mixed, section, enough), "") << section;
        EXPECT_EQ(ReadText(mixed, section, nullptr, "D", enough), "D") << section;
    }
    EXPECT_EQ(ReadText(NewFile("[a]\r\n=1\r\nk=2\r\n"), "a", nullptr, "D", enough), "D");
    EXPECT_EQ(ReadSectionNames(NewFile(), enough), "");
}

TEST_F(Profile, ReadsNumbers) {
    const struct {
        std::uint32_t expected;
        std::vector<const char*> values;
    } cases[] = {
        {12, {"12", "+12", " \t 12", "12abc", "12 34"}},
        {static_cast<std::uint32_t>(-12), {"-12"}},
        {1, {"1.5"}},
        {0, {"abc", "\"-9", "- 5", "--5", "-", "0X1f", "0x", "4294967296"}},
        {77, {"", "\"\""}},
        {42, {"\"42\""}},
        {7, {"\" 7\""}},
        {17, {"017"}},
        {31, {"0x1F"}},
        {static_cast<std::uint32_t>(-16), {"-0x10"}},
        {15, {"0o17"}},
        {5, {"0b101"}},
        {0xFFFFFFFF, {"4294967295"}},
        {1215752191, {"99999999999"}},
        {0x7FFFFFFF, {"-2147483649"}},
    };
    for (const auto& [expected, texts] : cases) {
        for (const char* const text : texts) {
            const File file = NewFile(std::string("[i]\r\nk=") + text + "\r\n");
            EXPECT_EQ(ReadNumber(file, "i", "k", 77), expected) << text;
        }
    }
    const File file = NewFile("[i]\r\nalone\r\n");
    EXPECT_EQ(ReadNumber(file, "i", "alone", 77), 77u);
    EXPECT_EQ(ReadNumber(file, "i", "missing", -5), static_cast<std::uint32_t>(-5));
}

TEST_F(Profile, CutsWhatDoesNotFit) {
    const File file = NewFile("[ab]\r\nk=123456789\r\n[cd]\r\n");
    const struct {
        std::size_t capacity;
        const char* value;
        const char* entries;
        const char* names;
    } cases[] = {
        {11, "123456789", "k=1234567", "ab|cd|"},
        {10, "123456789", "k=123456", "ab|cd|"},
        {9, "12345678", "k=12345", "ab|cd|"},
        {8, "1234567", "k=1234", "ab|cd|"},
        {7, "123456", "k=123", "ab|cd"},
        {3, "12", "k", "a"},
        {2, "1", "", ""},
        {1, "", "", ""},
        {0, "", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ReadText(file, "ab", "k", "", c.capacity), c.value) << c.capacity;
        EXPECT_EQ(Joined(ReadSection(file, "ab", c.capacity)), c.entries) << c.capacity;
        EXPECT_EQ(Joined(ReadSectionNames(file, c.capacity)), c.names) << c.capacity;
    }
}

TEST_F(Profile, ReadsEveryKindOfLineEnd) {
    for (const std::string_view text : {"[a]\nj=1\n\n[b]\nk=2"sv, "[a]\r\nj=1\r\n\r\n[b]\r\nk=2"sv,
                                        "[a]\rj=1\r\r[b]\rk=2"sv, "\n\r\n[a]\r\r\nj=1\n[b]\nk=2\r"sv}) {
        const File file = NewFile(text);
        EXPECT_EQ(ReadText(file, "a", "j", "D", enough), "1") << text;
        EXPECT_EQ(ReadText(file, "b", "k", "D", enough), "2") << text;
        EXPECT_EQ(Joined(ReadSectionNames(file, enough)), "a|b|") << text;
    }
}

// What a file holds, what is set and what it holds then.
constexpr struct {
    const char* before;  // null: there is no file
    const char* section;
    const char* key;
    const char* value;
    const char* after;
} writeCases[] = {
    {nullptr, "a", "k", "v", "[a]\r\nk=v\r\n"},
    {"", "a", "k", "v", "[a]\r\nk=v\r\n"},
    {nullptr, "", "k", "v", "k=v\r\n"},
    {"[a]\r\n", "", "k", "v", "k=v\r\n[a]\r\n"},
    {nullptr, "a", "k", nullptr, ""},
    {nullptr, "a", nullptr, nullptr, ""},
    {"[a]\r\nk=1\r\n", "A", "K", "2", "[a]\r\nk=2\r\n"},
    {"[a]\r\nk=1\r\n", "a", "j", "2", "[a]\r\nk=1\r\nj=2\r\n"},
    {"[a]\r\nk=1\r\n[b]\r\nk=1\r\n", "a", "j", "2", "[a]\r\nk=1\r\nj=2\r\n[b]\r\nk=1\r\n"},
    {"[a]\r\nk=1\r\n[b]\r\nk=1\r\n", "b", "k", "2", "[a]\r\nk=1\r\n[b]\r\nk=2\r\n"},
    {"[a]\r\nk=1\r\n", "b", "k", "2", "[a]\r\nk=1\r\n[b]\r\nk=2\r\n"},
    {"; top\r\n[a]\r\n; about k\r\nk=1\r\n; end\r\n[b]\r\n", "a", "j", "2",
     "; top\r\n[a]\r\n; about k\r\nk=1\r\n; end\r\nj=2\r\n[b]\r\n"},
    {"[a]\r\nk=1\r\nk=2\r\n", "a", "k", "3", "[a]\r\nk=3\r\nk=2\r\n"},
    {"[a]\r\nk=1\r\n[A]\r\nj=2\r\n", "a", "j", "3", "[a]\r\nk=1\r\nj=3\r\n[A]\r\nj=2\r\n"},
    {"[a]\r\nk\r\n", "a", "k", "1", "[a]\r\nk=1\r\n"},
    {"[a]\r\nk=1\r\n", "a", "k", "", "[a]\r\nk=\r\n"},
    {"[a]\r\nk=1\r\n", "a", "k", "\" q \"", "[a]\r\nk=\" q \"\r\n"},
    {"[a]\r\nk=1\r\n", "a", "k", "  v", "[a]\r\nk=v\r\n"},
    {"[a]\r\nk=1\r\n", " a ", " K ", " v ", "[a]\r\nk=v \r\n"},
    {"[a]\r\nk=1\r\n", " n ", " j ", "", "[a]\r\nk=1\r\n[n ]\r\nj =\r\n"},
    {"[a]\r\nk=1\r\n", "a", "\xC3\xA4", "\xE2\x82\xAC", "[a]\r\nk=1\r\n\xC3\xA4=\xE2\x82\xAC\r\n"},
    {"[a]\r\nk=1", "a", "j", "2", "[a]\r\nk=1\r\nj=2\r\n"},
    {"[a]", "a", "j", "2", "[a]\r\nj=2\r\n"},
    {"x", "a", "j", "2", "x\r\n[a]\r\nj=2\r\n"},
    // Removing
    {"[a]\r\nk=1\r\nj=2\r\n", "a", "K", nullptr, "[a]\r\nj=2\r\n"},
    {"[a]\r\nk=1\r\nk=2\r\n", "a", "k", nullptr, "[a]\r\nk=2\r\n"},
    {"[a]\r\nk=1\r\n", "a", "j", nullptr, "[a]\r\nk=1\r\n"},
    {"[a]\r\nk\r\n", "a", "k", nullptr, "[a]\r\n"},
    {"[a]\r\nk=1\r\n; c\r\n[b]\r\nk=1\r\n", "A", nullptr, nullptr, "[b]\r\nk=1\r\n"},
    {"[a]\r\nk=1\r\n[b]\r\nk=1\r\n", "b", nullptr, "v", "[a]\r\nk=1\r\n"},
    {"[a]\r\n[b]\r\n[a]\r\n", "a", nullptr, nullptr, "[b]\r\n[a]\r\n"},
    {"k=1\r\n[a]\r\n", "", nullptr, nullptr, "[a]\r\n"},
    {"[a]\r\nk=1\r\n", " a", "k", nullptr, "[a]\r\nk=1\r\n"},
    {"[a]\r\nk=1\r\n", "a", "k ", nullptr, "[a]\r\nk=1\r\n"},
    {"[a]\r\nk=1\r\n", "a ", nullptr, nullptr, "[a]\r\nk=1\r\n"},
};

TEST_F(Profile, KeepsEverythingElseWhenItWrites) {
    for (const auto& c : writeCases) {
        const File file = c.before != nullptr ? NewFile(c.before) : NewFile();
        EXPECT_TRUE(WriteText(file, c.section, c.key, c.value)) << c.after;
        EXPECT_EQ(file.GetContent(), c.after);
        EXPECT_EQ(std::filesystem::exists(file.GetPath()), c.before != nullptr || *c.after != '\0');
    }
    EXPECT_FALSE(WriteText(NewFile("[a]\r\n"), nullptr, "k", "v"));
    EXPECT_FALSE(WriteText(NewFile("[a]\r\n"), nullptr, nullptr, nullptr));
}

TEST_F(Profile, ReplacesTheLinesOfASection) {
    const std::string_view before = "; top\r\n[a]\r\nk=1\r\n;c\r\nj=2\r\n[b]\r\nx=1\r\n";
    const struct {
        const char* section;
        const char* entries;
        const char* after;
    } cases[] = {
        {"A", "n=1\0m=2\0", "; top\r\n[a]\r\nn=1\r\nm=2\r\n[b]\r\nx=1\r\n"},
        {"a", "k=1\0K=2\0", "; top\r\n[a]\r\nk=1\r\nK=2\r\n[b]\r\nx=1\r\n"},
        {"a", "dropped\0;com\0=v\0;c=1\0", "; top\r\n[a]\r\n=v\r\n;c=1\r\n[b]\r\nx=1\r\n"},
        {"b", "", "; top\r\n[a]\r\nk=1\r\n;c\r\nj=2\r\n[b]\r\n"},
        {"a", nullptr, "; top\r\n[b]\r\nx=1\r\n"},
        {" b ", nullptr, before.data()},
        {" b ", " x = 5 \0", "; top\r\n[a]\r\nk=1\r\n;c\r\nj=2\r\n[b]\r\nx=1\r\nx =5 \r\n"},
        {"c", "n=1\0", "; top\r\n[a]\r\nk=1\r\n;c\r\nj=2\r\n[b]\r\nx=1\r\n[c]\r\nn=1\r\n"},
        {"c", "", before.data()},
        {"c", nullptr, before.data()},
        {"", "n=1\0", "n=1\r\n[a]\r\nk=1\r\n;c\r\nj=2\r\n[b]\r\nx=1\r\n"},
    };
    for (const auto& c : cases) {
        const File file = NewFile(before);
        EXPECT_TRUE(WriteSection(file, c.section, c.entries));
        EXPECT_EQ(file.GetContent(), c.after);
    }
    EXPECT_FALSE(WriteSection(NewFile(before), nullptr, "n=1\0"));
}

TEST_F(Profile, StoresBytesWithTheirSum) {
    const File file = NewFile();
    EXPECT_TRUE(WriteStruct(file, "s", "k", "\x01\xAB\xFF", 3));
    EXPECT_TRUE(WriteStruct(file, "s", "empty", "", 0));
    EXPECT_EQ(file.GetContent(), "[s]\r\nk=01ABFFAB\r\nempty=00\r\n");
    std::array<char, 4> bytes = {};
    EXPECT_TRUE(ReadStruct(file, "s", "k", bytes.data(), 3));
    EXPECT_EQ(std::string_view(bytes.data(), 4), "\x01\xAB\xFF\0"sv);
    EXPECT_FALSE(ReadStruct(file, "s", "k", bytes.data(), 2));
    EXPECT_FALSE(ReadStruct(file, "s", "k", bytes.data(), 4));
    EXPECT_TRUE(ReadStruct(file, "s", "empty", bytes.data(), 0));
    EXPECT_FALSE(ReadStruct(file, "s", "missing", bytes.data(), 0));
    EXPECT_TRUE(WriteStruct(file, "s", "k", nullptr, 0));
    EXPECT_EQ(file.GetContent(), "[s]\r\nempty=00\r\n");

    const struct {
        const char* value;
        bool isRead;
    } cases[] = {{"01abac", true},  {" 01ABAC ", true}, {"01ABAD", false},     {"01ABA", false},
                 {"0GABAC", false}, {"01XBAC", false},  {"\"01ABAC\"", false}, {"01AB", false},
                 {"", false},       {"01ABAC00", true}, {"01ABACx", true},     {"01 AB AC", false}};
    for (const auto& c : cases) {
        const File stored = NewFile(std::string("[s]\r\nk=") + c.value + "\r\n");
        EXPECT_EQ(ReadStruct(stored, "s", "k", bytes.data(), 2), c.isRead) << c.value;
    }
}

TEST_F(Profile, FailsWhereNothingCanBeWritten) {
    EXPECT_FALSE(WriteText(File(m_folder / "missing" / "a.ini"), "a", "k", "v"));
    EXPECT_FALSE(WriteText(File(m_folder.GetPath()), "a", "k", "v"));
    EXPECT_EQ(ReadText(File(m_folder.GetPath()), "a", "k", "D", enough), "D");
}

TEST_F(Profile, LeavesTextWithAByteOrderMarkAlone) {
    for (const std::string_view text : {"\xEF\xBB\xBF[a]\r\nk=1\r\n"sv, "\xEF\xBB\xBF\r\n[a]\r\nk=1\r\n"sv,
                                        "\xFF\xFE[\0a\0]\0\n\0k\0=\0001\0"sv, "\xFE\xFF\0[\0a\0]"sv}) {
        const File file = NewFile(text);
        EXPECT_EQ(ReadText(file, "a", "k", "D", enough) + ReadSection(file, "a", enough) +
                      ReadSectionNames(file, enough),
                  "D");
        EXPECT_EQ(ReadNumber(file, "a", "k", 7), 7u);
        EXPECT_FALSE(WriteText(file, "a", "k", "2") || WriteText(file, "b", "k", "\xC3\xA4") ||
                     WriteText(file, "a", nullptr, nullptr) || WriteSection(file, "a", "k=2\0") ||
                     WriteStruct(file, "a", "k", "2", 1));
        EXPECT_EQ(file.GetContent(), text);
    }
}

TEST_F(Profile, NeverTakesASimilarNameForTheFiles) {
    std::filesystem::create_directory(m_folder / "sub");
    const File other(m_folder / "A.ini", "[a]\r\nk=1\r\n");
    const File below(m_folder / "sub" / "A.ini", other.GetContent());
    for (const char8_t* name : {u8"\u0100.ini", u8"A\uFF0Eini", u8"sub\uFF0FA.ini", u8"sub\uFF3CA.ini"}) {
        const File file(m_folder / name);
        const bool isWritten = WriteText(file, "a", "k", "2");  // which only the code page may prevent
        EXPECT_EQ(std::filesystem::exists(file.GetPath()), isWritten);
        EXPECT_NE(ReadText(file, "a", "k", "D", enough), "1");
    }
    EXPECT_EQ(other.GetContent(), "[a]\r\nk=1\r\n");
    EXPECT_EQ(below.GetContent(), other.GetContent());
}

TEST_F(Profile, LosesNothingOfSeveralWriters) {
    const File file = NewFile();
    constexpr int writers = 4;
    constexpr int keys = 25;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([&file, writer] {
            for (int key = 0; key < keys; ++key)
                EXPECT_TRUE(WriteText(file, "a", std::to_string(100 * writer + key).c_str(), "v"));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const std::string list = ReadText(file, "a", nullptr, "", enough);
    EXPECT_EQ(std::count(list.begin(), list.end(), '\0'), writers * keys);
}

}  // namespace
