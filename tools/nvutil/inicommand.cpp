// nvutil ini: reads and changes INI files of UTF-8 text.
#include <CLI/CLI.hpp>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "nvutil/command.h"
#include "nvutil/files.h"
#include "nvutil/text.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/utf8ini.h"

namespace {

namespace fs = std::filesystem;

struct Arguments {
    std::string file;
    std::string section;
    std::string key;
    std::string value;
    bool isSection = false;  ///< Neither key nor value was given.
    bool isRemoval = false;
};

/// Whether a file is there and can be read.
/// @throws ExceptionInvalidArgument when it begins with a byte-order mark
bool CanBeRead(const fs::path& path) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored)) return false;
    std::ifstream file(path, std::ios::binary);
    char begin[3] = {};
    file.read(begin, sizeof begin);
    const std::string_view mark(begin, sizeof begin);
    if (mark == "\xEF\xBB\xBF" || mark.starts_with("\xFF\xFE") || mark.starts_with("\xFE\xFF"))
        NV_THROW(ExceptionInvalidArgument, "ReadIniFile", __LINE__, NV_TEXT("begins with a byte-order mark"));
    return file.is_open() && !file.bad();
}

/// The name for the library's functions, which look elsewhere for a name without a folder.
/// @param mustBeThere  refuse a file that cannot be read, which the functions would take for an empty one
CXString NameOf(ToolRun& run, const Arguments& arguments, bool mustBeThere) {
    run.subject = arguments.file;
    std::error_code error;
    const fs::path path = fs::absolute(PathOf(arguments.file), error);
    const bool isThere = !error && CanBeRead(path);
    if (error || (mustBeThere && !isThere))
        NV_THROW(ExceptionCreateFileForReading, "ReadIniFile", __LINE__, NV_TEXT("cannot be opened"));
    const std::u8string name = path.u8string();
    return FromUtf8({reinterpret_cast<const char*>(name.data()), name.size()});
}

/// A file to read from, and room for whatever it may say.
struct Source {
    CXString name;
    DWORD room;  ///< In code units; no byte becomes more than one.
};

Source SourceOf(ToolRun& run, const Arguments& arguments) {
    constexpr std::uintmax_t largestFile = 64 * 1024 * 1024;
    constexpr DWORD roomForTerminators = 16;
    const CXString name = NameOf(run, arguments, true);
    std::error_code error;
    const std::uintmax_t size = fs::file_size(PathOf(arguments.file), error);
    if (error || size > largestFile)
        NV_THROW(ExceptionInvalidArgument, "ReadIniFile", __LINE__, NV_TEXT("is larger than 64 MiB"));
    return {name, static_cast<DWORD>(size) + roomForTerminators};
}

/// What a function puts into a buffer.
/// @throws ExceptionReadFile when it did not fit
CXString ReadWhole(const Source& source, const std::function<DWORD(WChar* out, DWORD size)>& read) {
    std::vector<WChar> buffer(source.room);
    const DWORD length = read(buffer.data(), source.room);
    if (length + 2 >= source.room)
        NV_THROW(ExceptionReadFile, "ReadIniFile", __LINE__, NV_TEXT("cannot be read whole"));
    return {buffer.data(), static_cast<int>(length)};
}

/// Each text of a list, of which none is empty.
std::vector<CXString> TextsOf(const CXString& list) {
    std::vector<CXString> texts;
    for (int begin = 0; begin < list.GetLength(); begin += texts.back().GetLength() + 1)
        texts.emplace_back(static_cast<const WChar*>(list) + begin);
    return texts;
}

void Get(ToolRun& run, const Arguments& arguments) {
    const Source file = SourceOf(run, arguments);
    const CXString section = FromUtf8(arguments.section);
    const CXString key = FromUtf8(arguments.key);
    const WChar* const none = NV_TEXT("\n.");  // no value holds a line break
    const CXString value = ReadWhole(file, [&](WChar* out, DWORD size) {
        return UTF8Ini::GetPrivateProfileStringW(section, key, none, out, size, file.name);
    });
    if (value == none) {
        NV_THROW(ExceptionUnknownKeyRequest, "ReadIniFile", __LINE__, NV_TEXT("has no key \"%s\" in \"%s\""),
                 key, section);
    }
    run.out << ToUtf8(value) << '\n';
}

void Set(ToolRun& run, const Arguments& arguments) {
    const CXString section = FromUtf8(arguments.section);
    const CXString key = FromUtf8(arguments.key);
    const CXString value = FromUtf8(arguments.value);
    const WChar* const keyOrNone = arguments.isSection ? nullptr : static_cast<const WChar*>(key);
    const WChar* const valueOrNone = arguments.isRemoval ? nullptr : static_cast<const WChar*>(value);
    const CXString file = NameOf(run, arguments, false);
    if (UTF8Ini::WritePrivateProfileStringW(section, keyOrNone, valueOrNone, file) == 0)
        NV_THROW(ExceptionWriteFile, "WriteIniFile", __LINE__, NV_TEXT("cannot be written"));
}

void ListKeys(ToolRun& run, const Arguments& arguments) {
    const Source file = SourceOf(run, arguments);
    const CXString section = FromUtf8(arguments.section);
    const CXString lines = ReadWhole(file, [&](WChar* out, DWORD size) {
        return UTF8Ini::GetPrivateProfileSectionW(section, out, size, file.name);
    });
    for (const CXString& line : TextsOf(lines)) {
        const int equals = line.Find(WChar{'='});
        if (equals >= 0) run.out << ToUtf8(line.Left(equals)) << '\n';
    }
}

void ListSections(ToolRun& run, const Arguments& arguments) {
    const Source file = SourceOf(run, arguments);
    const CXString names = ReadWhole(file, [&](WChar* out, DWORD size) {
        return UTF8Ini::GetPrivateProfileSectionNamesW(out, size, file.name);
    });
    for (const CXString& name : TextsOf(names))
        run.out << ToUtf8(name) << '\n';
}

using Command = void (*)(ToolRun& run, const Arguments& arguments);

/// @return the command and what it reads its arguments into
std::pair<CLI::App*, std::shared_ptr<Arguments>> AddCommand(CLI::App& group, ToolRun& run,
                                                            const std::string& name,
                                                            const std::string& description, Command command) {
    CLI::App* const app = group.add_subcommand(name, description);
    const auto arguments = std::make_shared<Arguments>();
    app->add_option("FILE", arguments->file, "The INI file")->required();
    app->callback([&run, arguments, command] { command(run, *arguments); });
    return {app, arguments};
}

void AddSetCommand(CLI::App& group, ToolRun& run) {
    const auto [app, arguments] = AddCommand(group, run, "set", "Set a key, or remove it or a section", Set);
    app->add_option("SECTION", arguments->section, "Its section, \"\" for what precedes all")->required();
    CLI::Option* const key = app->add_option("KEY", arguments->key, "The key");
    CLI::Option* const value = app->add_option("VALUE", arguments->value, "Its value");
    CLI::Option* const remove =
        app->add_flag("--remove", arguments->isRemoval, "Remove the key, or without a key the section");
    remove->excludes(value);
    app->callback([&run, arguments = arguments, key, value, remove] {
        if (remove->count() == 0 && value->count() == 0)
            throw CLI::RequiredError("KEY and VALUE, or --remove,");
        arguments->isSection = key->count() == 0;
        Set(run, *arguments);
    });
}

}  // namespace

void AddIniCommands(CLI::App& app, ToolRun& run) {
    CLI::App* const group = app.add_subcommand("ini", "INI files of UTF-8 text");
    group->require_subcommand(1);
    const auto [get, getArguments] = AddCommand(*group, run, "get", "Print a value", Get);
    get->add_option("SECTION", getArguments->section, "Its section, \"\" for what precedes all")->required();
    get->add_option("KEY", getArguments->key, "Its key")->required();
    AddSetCommand(*group, run);
    const auto [keys, keysArguments] =
        AddCommand(*group, run, "keys", "List the keys of a section", ListKeys);
    keys->add_option("SECTION", keysArguments->section, "The section, \"\" for what precedes all")
        ->required();
    AddCommand(*group, run, "sections", "List the sections", ListSections);
}
