// Tests of `nvutil ini`.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "tools/tooltest.h"

namespace {

TEST(IniCommands, SetReadListAndRemove) {
    const ToolFolder folder;
    const std::string file = " " + folder / "Größe.ini" + " ";
    const struct {
        const char* verb;
        const char* arguments;
        int status;
        const char* out;
    } runs[] = {
        {"set", "Druck Größe '东京 €'", 0, ""},
        {"set", "Druck copies -2", 0, ""},
        {"set", "b k ''", 0, ""},
        {"set", "'' '' first", 0, ""},
        {"get", "DRUCK Größe", 0, "东京 €\n"},
        {"get", "b k", 0, "\n"},
        {"get", "'' ''", 0, "first\n"},
        {"keys", "Druck", 0, "Größe\ncopies\n"},
        {"keys", "missing", 0, ""},
        {"sections", "", 0, "Druck\nb\n"},
        {"set", "Druck x", 2, ""},
        {"set", "Druck", 2, ""},
        {"set", "Druck x v --remove", 2, ""},
        {"set", "Druck copies --remove", 0, ""},
        {"set", "b --remove", 0, ""},
    };
    for (const auto& [verb, arguments, status, out] : runs) {
        SCOPED_TRACE(std::string(verb) + ' ' + arguments);
        ExpectResult(RunLine(std::string("ini ") + verb + file + arguments), status, out,
                     status == 0 ? "" : "*\n");
        if (out == std::string("Druck\nb\n")) {
            EXPECT_EQ(folder.Read("Größe.ini"),
                      "=first\r\n[Druck]\r\nGröße=东京 €\r\ncopies=-2\r\n[b]\r\nk=\r\n");
        }
    }
    EXPECT_EQ(folder.Read("Größe.ini"), "=first\r\n[Druck]\r\nGröße=东京 €\r\n");
    for (const std::size_t length : {4093u, 4094u, 4095u, 4096u, 50000u}) {
        const std::string value(length, 'v');
        const std::string large = folder.Write(std::to_string(length), "[a]\nk=" + value + "\n");
        EXPECT_EQ(RunLine("ini get " + large + " a k").out, value + "\n");
    }
}

TEST(IniCommands, RefuseWhatIsNotThere) {
    const ToolFolder folder;
    const std::string file = folder / "a.ini";
    ExpectRefused(RunLine("ini sections " + file), "ExceptionCreateFileForReading: ");
    ExpectRefused(RunLine("ini get '' a k"), "ExceptionCreateFileForReading: ");
    ExpectRefused(RunLine("ini set " + folder / "no/folder.ini" + " a k v"), "ExceptionWriteFile: ");
    EXPECT_EQ(RunLine("ini set " + file + " a k v").status, 0);
    ExpectRefused(RunLine("ini get " + file + " a missing"), "ExceptionUnknownKeyRequest: ");
    for (const std::string mark : {"\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"}) {
        const std::string marked = folder.Write("marked.ini", mark + "[");
        ExpectRefused(RunLine("ini sections " + marked), "ExceptionInvalidArgument: ");
        ExpectRefused(RunLine("ini set " + marked + " a k v"), "begins with a byte-order mark");
        EXPECT_EQ(folder.Read("marked.ini"), mark + "[");
    }
    const std::string large = folder.Write("large.ini", "[a]\nk=1\n");
    std::filesystem::resize_file(folder.PathOf("large.ini"), (std::uintmax_t{64} << 20) + 1);
    for (const std::string& line : {"get " + large + " a k", "keys " + large + " a", "sections " + large}) {
        ExpectRefused(RunLine("ini " + line),
                      "ExceptionInvalidArgument: " + large + ": is larger than 64 MiB");
    }
}

}  // namespace
