// Tests of `nvutil ini` and `nvutil base64`.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/profilefiles.h"
#include "tools/toolruns.h"

namespace {

TEST(IniCommands, SetReadListAndRemove) {
    const TemporaryFolder folder;
    const std::string file = folder.NameOf(u8"Größe.ini");
    const auto run = [&file](const std::string& verb, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"ini", verb, file});
        return Nvutil(arguments);
    };
    EXPECT_EQ(run("set", {"Druck", "Größe", "东京 €"}).status, 0);
    EXPECT_EQ(run("set", {"Druck", "copies", "-2"}).status, 0);
    EXPECT_EQ(run("set", {"b", "k", ""}).status, 0);
    EXPECT_EQ(run("set", {"", "", "first"}).status, 0);
    EXPECT_EQ(folder.Read(u8"Größe.ini"), "=first\r\n[Druck]\r\nGröße=东京 €\r\ncopies=-2\r\n[b]\r\nk=\r\n");
    EXPECT_EQ(run("get", {"DRUCK", "Größe"}).out, "东京 €\n");
    EXPECT_EQ(run("get", {"b", "k"}).out, "\n");
    EXPECT_EQ(run("get", {"", ""}).out, "first\n");
    EXPECT_EQ(run("keys", {"Druck"}).out, "Größe\ncopies\n");
    EXPECT_EQ(run("keys", {"missing"}).out, "");
    EXPECT_EQ(run("sections", {}).out, "Druck\nb\n");

    EXPECT_EQ(run("set", {"Druck", "copies", "--remove"}).status, 0);
    EXPECT_EQ(run("set", {"b", "--remove"}).status, 0);
    EXPECT_EQ(folder.Read(u8"Größe.ini"), "=first\r\n[Druck]\r\nGröße=东京 €\r\n");
}

TEST(IniCommands, PrintValuesOfAnyLength) {
    const TemporaryFolder folder;
    for (const std::size_t length : {4093u, 4094u, 4095u, 4096u, 50000u}) {
        const std::string value(length, 'v');
        const std::string name = std::to_string(length);
        const profiletest::File file(folder / name, "[a]\nk=" + value + "\n");
        EXPECT_EQ(Nvutil({"ini", "get", file.GetPath().string(), "a", "k"}).out, value + "\n");
    }
}

TEST(IniCommands, RefuseWhatIsNotThere) {
    const TemporaryFolder folder;
    const std::string file = folder.NameOf(u8"a.ini");
    const auto expectRefused = [](const ToolResult& result, const std::string& className) {
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.error.find(" " + className + ": "), std::string::npos) << result.error;
    };
    expectRefused(Nvutil({"ini", "sections", file}), "ExceptionCreateFileForReading");
    expectRefused(Nvutil({"ini", "set", folder.NameOf(u8"no/folder.ini"), "a", "k", "v"}),
                  "ExceptionWriteFile");
    EXPECT_EQ(Nvutil({"ini", "set", file, "a", "k", "v"}).status, 0);
    expectRefused(Nvutil({"ini", "get", file, "a", "missing"}), "ExceptionUnknownKeyRequest");
    const profiletest::File utf16(folder / "utf16.ini", "\xFF\xFE[");
    const std::string utf16Name = folder.NameOf(u8"utf16.ini");
    expectRefused(Nvutil({"ini", "sections", utf16Name}), "ExceptionInvalidArgument");
    expectRefused(Nvutil({"ini", "set", utf16Name, "a", "k", "v"}), "ExceptionInvalidArgument");
    EXPECT_EQ(utf16.GetContent(), "\xFF\xFE[");
    const profiletest::File large(folder / "large.ini", "[a]\nk=1\n");
    std::filesystem::resize_file(large.GetPath(), (std::uintmax_t{64} << 20) + 1);
    for (const std::string verb : {"get", "keys", "sections"}) {
        std::vector<std::string> arguments = {"ini", verb, large.GetPath().string(), "a", "k"};
        arguments.resize(verb == "get" ? 5 : verb == "keys" ? 4 : 3);
        expectRefused(Nvutil(arguments), "ExceptionInvalidArgument");
    }
    expectRefused(Nvutil({"ini", "get", "", "a", "k"}), "ExceptionCreateFileForReading");
    EXPECT_EQ(Nvutil({"ini", "set", file, "a", "k"}).status, 2);
    EXPECT_EQ(Nvutil({"ini", "set", file, "a"}).status, 2);
    EXPECT_EQ(Nvutil({"ini", "set", file, "a", "k", "v", "--remove"}).status, 2);
    EXPECT_EQ(Nvutil({"ini", "get", file, "a", "k"}).out, "v\n");
}

TEST(Base64Commands, EncodeAndDecode) {
    const std::string bytes("\0\xFF\r\n\x80", 5);
    EXPECT_EQ(Nvutil({"base64", "encode", "-"}, bytes).out, "AP8NCoA=");
    EXPECT_EQ(Nvutil({"base64", "encode", "-", "--no-padding"}, bytes).out, "AP8NCoA");
    EXPECT_EQ(Nvutil({"base64", "decode", "-"}, " AP8N\r\nCoA=\r\n").out, bytes);
    EXPECT_EQ(Nvutil({"base64", "decode", "-", "--hex"}, "AP8NCoA").out, "00FF0D0A80\n");
    const std::string line(76, 'A');
    EXPECT_EQ(Nvutil({"base64", "encode", "-"}, std::string(60, '\0')).out, line + "\r\nAAAA");
    EXPECT_EQ(Nvutil({"base64", "encode", "-", "--no-line-breaks"}, std::string(60, '\0')).out,
              line + "AAAA");
    EXPECT_EQ(Nvutil({"base64", "encode", "-"}, "").out, "");
    EXPECT_EQ(Nvutil({"base64", "decode", "-"}, "").out, "");
}

}  // namespace
