// The files that a document is made of.
#include "utilities/xmlparser/xmlinput.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/xmlparser/xmllimits.h"

namespace {

namespace fs = std::filesystem;

fs::path PathOf(const CXString& name) {
    return {static_cast<const WChar*>(name), static_cast<const WChar*>(name) + name.GetLength()};
}

/// Reads piece by piece: the size of a file is not always known.
void ReadUpToLimit(std::istream& in, ByteBuffer& bytes) {
    constexpr std::size_t limit = xmllimits::documentBytes + 1;
    constexpr std::size_t smallestPiece = 65536;
    bytes.clear();
    while (in && bytes.size() < limit) {
        const std::size_t size = bytes.size();
        bytes.resize(std::min(limit, size + std::max(smallestPiece, size)));
        in.read(reinterpret_cast<char*>(bytes.data() + size),
                static_cast<std::streamsize>(bytes.size() - size));
        bytes.resize(size + static_cast<std::size_t>(in.gcount()));
    }
}

}  // namespace

bool ReadDocumentFile(const CXString& fileName, ByteBuffer& bytes) {
    constexpr auto function = "ReadDocumentFile";
    const fs::path path = PathOf(fileName);
    std::error_code error;
    if (!fs::exists(path, error)) return false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        NV_THROW(ExceptionCreateFileForReading, function, __LINE__, NV_TEXT("could not open %s"), fileName);
    ReadUpToLimit(in, bytes);
    if (in.bad()) NV_THROW(ExceptionReadFile, function, __LINE__, NV_TEXT("could not read %s"), fileName);
    return true;
}

bool ReadRegularFile(const CXString& fileName, ByteBuffer& bytes) {
    const fs::path path = PathOf(fileName);
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(path, error))) return false;
    std::ifstream in(path, std::ios::binary);
    ReadUpToLimit(in, bytes);
    return in.eof() || bytes.size() > xmllimits::documentBytes;
}

CXString FolderOf(const CXString& path) {
    const auto preferred = static_cast<WChar>(fs::path::preferred_separator);
    return path.Left(std::max(path.ReverseFind(WChar{'/'}), path.ReverseFind(preferred)) + 1);
}
