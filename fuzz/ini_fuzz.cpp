// Any bytes as an INI file, and anything written to it: what was written is read back, and the rest stays.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "expect.h"
#include "platform/profile.h"

namespace {

using namespace platform::profile;

constexpr std::size_t enough = 1 << 20;

/// The file of this process, in a folder that goes with it; in memory where there is a place for such files,
/// since each write waits for the disk.
class ScratchFile {
public:
    ScratchFile() {
        const std::filesystem::path memory = "/dev/shm";
        m_folder = (std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path()) /
                   ("nvutil_ini_fuzz_" + std::to_string(std::random_device()()));
        std::filesystem::create_directories(m_folder);
    }
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    std::filesystem::path GetPath() const { return m_folder / "a.ini"; }

private:
    std::filesystem::path m_folder;
};

std::filesystem::path Path() {
    static const ScratchFile file;
    return file.GetPath();
}

const WChar* File() {
    static const std::u16string name = Path().u16string();
    return name.c_str();
}

std::vector<std::string> Split(const std::string& list) {
    std::vector<std::string> texts;
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = list.find('\0', begin);
        FUZZ_EXPECT(end != std::string::npos);
        texts.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return texts;
}

/// Everything that a file says, as lists.
std::map<std::string, std::vector<std::string>> Everything() {
    std::map<std::string, std::vector<std::string>> sections;
    sections[""] = Split(ReadSection(File(), "", enough));
    for (const std::string& name : Split(ReadSectionNames(File(), enough))) {
        FUZZ_EXPECT(!name.empty());
        sections.emplace(name, Split(ReadSection(File(), name.c_str(), enough)));
        for (const std::string& key : Split(ReadText(File(), name.c_str(), nullptr, "", enough))) {
            ReadText(File(), name.c_str(), key.c_str(), "", enough);
            ReadNumber(File(), name.c_str(), key.c_str(), 0);
            char bytes[4];
            ReadStruct(File(), name.c_str(), key.c_str(), bytes, sizeof bytes);
        }
    }
    return sections;
}

/// Takes a piece of the input, without the characters that would end what it is used for.
std::string Take(std::string_view& input, std::string_view forbidden) {
    const std::size_t end = std::min(input.find('\n'), input.size());
    std::string piece;
    for (const char c : input.substr(0, end)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte != 0x1A && forbidden.find(c) == std::string_view::npos) piece += c;
    }
    input.remove_prefix(std::min(end + 1, input.size()));
    return piece;
}

void CheckWriting(const std::string& section, const std::string& key, const std::string& value) {
    if (!WriteText(File(), section.c_str(), key.c_str(), value.c_str())) {
        FUZZ_EXPECT(ReadSectionNames(File(), enough).empty());  // a byte-order mark
        return;
    }
    FUZZ_EXPECT(ReadText(File(), section.c_str(), key.c_str(), "none", enough) == value);
    const auto before = Everything();
    FUZZ_EXPECT(WriteText(File(), section.c_str(), key.c_str(), (value + "2").c_str()));
    FUZZ_EXPECT(WriteText(File(), section.c_str(), key.c_str(), value.c_str()));
    FUZZ_EXPECT(Everything() == before);

    FUZZ_EXPECT(
        WriteStruct(File(), section.c_str(), key.c_str(), value.data(), static_cast<DWORD>(value.size())));
    std::string bytes(value.size(), '\0');
    FUZZ_EXPECT(
        ReadStruct(File(), section.c_str(), key.c_str(), bytes.data(), static_cast<DWORD>(bytes.size())));
    FUZZ_EXPECT(bytes == value);

    // Once all of a name are gone, there is none.
    constexpr int most = 1000;
    for (int i = 0; i < most && ReadText(File(), section.c_str(), key.c_str(), "none", enough) != "none"; ++i)
        FUZZ_EXPECT(WriteText(File(), section.c_str(), key.c_str(), nullptr));
    FUZZ_EXPECT(WriteSection(File(), section.c_str(), (key + "=" + value + '\0').c_str()));
    FUZZ_EXPECT(ReadText(File(), section.c_str(), key.c_str(), "none", enough) == value);
    FUZZ_EXPECT(WriteSection(File(), section.c_str(), nullptr));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    // Quotes would be taken off, and a name that looks like a header or holds the sign would be another.
    // In the unnamed section a key could begin the file with the mark of another encoding.
    const std::string section = "s" + Take(input, "]");
    const std::string key = Take(input, "=[");
    const std::string value = Take(input, "\"'");
    std::ofstream(Path(), std::ios::binary) << input;
    Everything();
    CheckWriting(section, key, value);
    return 0;
}
