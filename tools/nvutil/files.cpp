// Files as the commands read and write them; "-" is standard input or output.
#include "nvutil/files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>
#include <ostream>
#include <random>
#include <string_view>
#include <system_error>

#include "nvutil/text.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view standardStream = "-";

fs::path PathOf(const std::string& name) {
    return {std::u8string(name.begin(), name.end())};
}

ByteBuffer ReadAll(std::istream& in, std::size_t limit) {
    constexpr std::size_t smallestStep = 65536;
    ByteBuffer bytes;
    while (in) {
        const std::size_t size = bytes.size();
        if (size > limit) {
            NV_THROW(ExceptionInvalidArgument, "ReadInput", __LINE__, NV_TEXT("is larger than %I64d bytes"),
                     static_cast<std::int64_t>(limit));
        }
        bytes.resize(size + std::max(smallestStep, size / 2));
        in.read(reinterpret_cast<char*>(bytes.data() + size),
                static_cast<std::streamsize>(bytes.size() - size));
        bytes.resize(size + static_cast<std::size_t>(in.gcount()));
    }
    if (in.bad()) NV_THROW(ExceptionReadFile, "ReadInput", __LINE__, NV_TEXT("cannot be read"));
    return bytes;
}

void WriteAll(std::ostream& out, std::string_view bytes) {
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.flush();
    if (!out) NV_THROW(ExceptionWriteFile, "WriteOutput", __LINE__, NV_TEXT("cannot be written"));
}

void WriteTo(const fs::path& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) {
        NV_THROW(ExceptionCreateFileForWriting, "WriteOutput", __LINE__, NV_TEXT("cannot be created"));
    }
    WriteAll(file, bytes);
    file.close();
    if (!file) NV_THROW(ExceptionWriteFile, "WriteOutput", __LINE__, NV_TEXT("cannot be written"));
}

/// A file that is removed unless it takes its final name.
class TemporaryFile {
public:
    explicit TemporaryFile(const fs::path& target) : m_path(target) {
        std::random_device random;
        m_path += "." + HexNumber(random(), 8) + HexNumber(random(), 8) + ".tmp";
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        if (!m_path.empty()) fs::remove(m_path, ignored);
    }

    const fs::path& GetPath() const { return m_path; }

    void MoveTo(const fs::path& target) {
        std::error_code error;
        const fs::file_status replaced = fs::status(target, error);
        if (!error && fs::exists(replaced)) fs::permissions(m_path, replaced.permissions(), error);
        fs::rename(m_path, target, error);
        if (error) NV_THROW(ExceptionWriteFile, "WriteOutput", __LINE__, NV_TEXT("cannot be replaced"));
        m_path.clear();
    }

private:
    fs::path m_path;
};

void WriteFileAtomically(const fs::path& name, std::string_view bytes) {
    std::error_code error;
    const fs::path real = fs::canonical(name, error);  // a link is kept, and what it names is replaced
    const fs::path& target = error ? name : real;
    const fs::file_status status = fs::status(target, error);
    if (fs::exists(status) && !fs::is_regular_file(status))
        return WriteTo(target, bytes);  // a device or a pipe
    TemporaryFile temporary(target);
    WriteTo(temporary.GetPath(), bytes);
    temporary.MoveTo(target);
}

}  // namespace

ByteBuffer ReadInput(ToolRun& run, const std::string& name, std::size_t limit) {
    run.subject = name == standardStream ? "standard input" : name;
    if (name == standardStream) return ReadAll(run.in, limit);
    std::ifstream file(PathOf(name), std::ios::binary);
    if (!file) NV_THROW(ExceptionCreateFileForReading, "ReadInput", __LINE__, NV_TEXT("cannot be opened"));
    return ReadAll(file, limit);
}

void WriteOutput(ToolRun& run, const OutputChoice& choice, const ByteBuffer& bytes) {
    run.subject = choice.name == standardStream ? "standard output" : choice.name;
    const std::string hex = choice.isHex ? HexText(bytes) + '\n' : std::string();
    const std::string_view text =
        choice.isHex ? hex : std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (choice.name == standardStream) {
        WriteAll(run.out, text);
    } else {
        WriteFileAtomically(PathOf(choice.name), text);
    }
}
