// Files as the commands read and write them; "-" is standard input or output.
#include "nvutil/files.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <istream>
#include <ostream>
#include <random>
#include <string_view>
#include <system_error>

#include "nvutil/platform/privatefile.h"
#include "nvutil/progress.h"
#include "nvutil/text.h"
#include "platform/dataprotection.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view standardStream = "-";

/// Keeps a stream from copying what may be secret into a buffer of its own.
void MakeUnbuffered(std::basic_filebuf<char>& file) {
    file.pubsetbuf(nullptr, 0);
}

/// A file or standard input, opened to be read from its beginning.
class InputFile {
public:
    InputFile(ToolRun& run, const std::string& name)
        : m_in(name == standardStream ? run.in : m_file), m_progress(run.error, name, Open(name)) {
        run.subject = name == standardStream ? "standard input" : name;
        if (!m_in)
            NV_THROW(ExceptionCreateFileForReading, "ReadInput", __LINE__, NV_TEXT("cannot be opened"));
    }

    /// The size that the file had when it was opened; 0 when it is not known.
    std::uint64_t GetSize() const { return m_size; }

    /// Fills a piece as far as there are bytes.
    /// @return how many were read; fewer than the piece holds only at the end
    std::size_t Read(std::span<BYTE> piece) {
        m_in.read(reinterpret_cast<char*>(piece.data()), static_cast<std::streamsize>(piece.size()));
        if (m_in.bad()) NV_THROW(ExceptionReadFile, "ReadInput", __LINE__, NV_TEXT("cannot be read"));
        const auto count = static_cast<std::size_t>(m_in.gcount());
        m_progress.Advance(count);
        return count;
    }

private:
    /// @return the file's size
    std::uint64_t Open(const std::string& name) {
        if (name == standardStream) return 0;
        const fs::path path = PathOf(name);
        MakeUnbuffered(*m_file.rdbuf());
        m_file.open(path, std::ios::binary);
        std::error_code error;
        const std::uintmax_t size = fs::file_size(path, error);
        m_size = error ? 0 : size;
        return m_size;
    }

    std::uint64_t m_size = 0;
    std::ifstream m_file;
    std::istream& m_in;
    ByteProgress m_progress;
};

void WriteAll(std::ostream& out, std::string_view bytes) {
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.flush();
    if (!out) NV_THROW(ExceptionWriteFile, "WriteOutput", __LINE__, NV_TEXT("cannot be written"));
}

void WriteTo(const fs::path& path, std::string_view bytes) {
    std::ofstream file;
    MakeUnbuffered(*file.rdbuf());
    file.open(path, std::ios::binary | std::ios::trunc);
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
    /// In the target's folder. Its name is not made from the target's, which may be as long as names can be.
    explicit TemporaryFile(const fs::path& target) {
        std::random_device random;
        m_path =
            target.parent_path() / (".nvutil-" + HexNumber(random(), 8) + HexNumber(random(), 8) + ".tmp");
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

void WriteFileAtomically(const fs::path& name, std::string_view bytes, bool isSecret) {
    std::error_code error;
    const fs::path real = fs::canonical(name, error);  // a link is kept, and what it names is replaced
    const fs::path& target = error ? name : real;
    const fs::file_status status = fs::status(target, error);
    if (fs::exists(status) && !fs::is_regular_file(status))
        return WriteTo(target, bytes);  // a device or a pipe
    TemporaryFile temporary(target);
    // A file that replaces another gets the permissions of that one at the end; until then only its owner may
    // open it.
    if ((isSecret || fs::exists(status)) && !MakePrivateFile(temporary.GetPath())) {
        NV_THROW(ExceptionCreateFileForWriting, "WriteOutput", __LINE__, NV_TEXT("cannot be created"));
    }
    WriteTo(temporary.GetPath(), bytes);
    temporary.MoveTo(target);
}

/// Makes room for more, and wipes the memory that is given up.
void Grow(ByteBuffer& bytes, std::size_t size) {
    ByteBuffer larger(size);
    std::ranges::copy(bytes, larger.begin());
    bytes.swap(larger);
    platform::WipeMemory(larger);
}

}  // namespace

ByteBuffer ReadInput(ToolRun& run, const std::string& name, std::size_t limit) {
    constexpr std::size_t smallestStep = 65536;
    InputFile file(run, name);
    ByteBuffer bytes;
    std::size_t step = static_cast<std::size_t>(std::min<std::uint64_t>(file.GetSize(), limit)) + 1;
    for (bool isAtEnd = false; !isAtEnd; step = bytes.size() / 2) {
        const std::size_t size = bytes.size();
        Grow(bytes, size + std::max(smallestStep, step));
        const std::size_t count = file.Read(std::span(bytes).subspan(size));
        isAtEnd = size + count < bytes.size();
        bytes.resize(size + count);
        if (bytes.size() > limit) {
            NV_THROW(ExceptionInvalidArgument, "ReadInput", __LINE__, NV_TEXT("is larger than %I64d bytes"),
                     static_cast<std::int64_t>(limit));
        }
    }
    return bytes;
}

void ReadPieces(ToolRun& run, const std::string& name,
                const std::function<void(std::span<const BYTE>)>& take) {
    constexpr std::size_t pieceSize = 262144;
    InputFile file(run, name);
    ByteBuffer piece;
    piece.resize(pieceSize);
    for (std::size_t count = pieceSize; count == pieceSize;) {
        count = file.Read(piece);
        take(std::span(piece).first(count));
    }
}

void WriteOutput(ToolRun& run, const OutputChoice& choice, const ByteBuffer& bytes) {
    run.subject = choice.name == standardStream ? "standard output" : choice.name;
    std::string hex = choice.isHex ? HexText(bytes) + '\n' : std::string();
    const platform::WipeAtEnd wipe(hex);
    const std::string_view text =
        choice.isHex ? hex : std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (choice.name == standardStream) {
        WriteAll(run.out, text);
    } else {
        WriteFileAtomically(PathOf(choice.name), text, choice.isSecret);
    }
}

void AddOutputOptions(CLI::App& command, OutputChoice& output, const std::string& what) {
    command.add_option("-o,--output", output.name, "Where " + what + "; standard output if not given");
    command.add_flag("--hex", output.isHex, "Write upper-case hexadecimal text instead of bytes");
}
