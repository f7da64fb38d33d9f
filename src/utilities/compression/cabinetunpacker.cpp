// CabinetUnpacker: checks a cabinet, has it expanded beside its target, and moves it there.
#include "utilities/compression/cabinetunpacker.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <system_error>
#include <utility>

#include "platform/folder.h"
#include "platform/text.h"
#include "platform/widechar.h"
#include "utilities/compression/cabbufferasfile.h"
#include "utilities/compression/cabdecompressioncontext.h"
#include "utilities/compression/cabinetentrypath.h"
#include "utilities/compression/cabinetexpansion.h"
#include "utilities/compression/cabinetlayout.h"
#include "utilities/compression/unpackingfolders.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

namespace cabinet = platform::cabinet;
using namespace nvutil;
using platform::EntryKind;
using platform::Text;

constexpr std::uint32_t largestCabinet = std::uint32_t{1} << 30;

/// Throws unless a check has found no fault.
void RequireSound(const CXString& name, cabinet::FDIERROR fault) {
    if (fault != cabinet::FDIERROR_NONE) {
        NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadContents", __LINE__, NV_TEXT("%s: %ld: %s"),
                 name, static_cast<LONG>(fault), GetFdiErrorText(fault));
    }
}

ByteBuffer ReadCabinet(const CXString& name) {
    std::error_code error;
    std::ifstream file;
    std::uintmax_t size = 0;
    try {
        const std::filesystem::path path(TextOf(name));
        if (std::filesystem::is_regular_file(path)) file.open(path, std::ios::binary);
        if (file) size = std::filesystem::file_size(path, error);
    } catch (const std::filesystem::filesystem_error& failure) {
        error = failure.code();
    }
    if (error || !file.is_open()) {
        NV_THROW(ExceptionCreateFileForReading, "CabinetUnpacker::ReadCabinet", __LINE__,
                 NV_TEXT("%s cannot be opened"), name);
    }
    const auto read = [&file, &name](BYTE* bytes, std::size_t count) {
        file.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(count));
        if (file.bad() || file.gcount() != static_cast<std::streamsize>(count)) {
            NV_THROW(ExceptionReadFile, "CabinetUnpacker::ReadCabinet", __LINE__,
                     NV_TEXT("%s cannot be read"), name);
        }
    };
    // Memory is only taken for what begins like a cabinet, and not for what follows it.
    BYTE header[cabinetHeaderSize];
    std::uint32_t cabinetSize = 0;
    if (size < cabinetHeaderSize) RequireSound(name, cabinet::FDIERROR_NOT_A_CABINET);
    read(header, cabinetHeaderSize);
    RequireSound(name, CheckCabinetHeader(header, size, cabinetSize));
    if (cabinetSize > largestCabinet) {
        NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadCabinet", __LINE__,
                 NV_TEXT("%s is larger than %I64d bytes"), name, static_cast<std::int64_t>(largestCabinet));
    }
    ByteBuffer bytes(header, cabinetHeaderSize);
    bytes.resize(std::max<std::size_t>(cabinetSize, cabinetHeaderSize));
    read(bytes.data() + cabinetHeaderSize, bytes.size() - cabinetHeaderSize);
    return bytes;
}

/// What a cabinet holds that is sound.
CabinetContents ReadContents(const CXString& name, const ByteBuffer& bytes) {
    constexpr BYTE nothing = 0;
    CabBufferAsFile source("", bytes.empty() ? &nothing : bytes.data(), static_cast<DWORD>(bytes.size()));
    int error = 0;
    const std::unique_ptr<CabOpenFile> file = source.OpenCabFile(cabOpenReadOnly | cabOpenBinary, 0, error);
    CabinetContents contents;
    RequireSound(name, ReadCabinetContents(*file, contents));
    return contents;
}

void OpenTarget(const CXString& path, platform::Folder& folder) {
    std::error_code error;
    try {
        std::filesystem::create_directories(std::filesystem::path(TextOf(path)), error);
    } catch (const std::filesystem::filesystem_error& failure) {
        error = failure.code();  // the path has no form that the system knows
    }
    RequireUnpacking(error, path);
    RequireUnpacking(folder.Open(TextOf(path)), path);
}

/// Refuses what stands in the way of a file.
void CheckPlace(const platform::Folder& folder, const CabinetFile& file) {
    EntryKind kind = EntryKind::None;
    std::uint64_t size = 0;
    RequireUnpacking(folder.Describe(NamesOf(file.path).back(), kind, size), file.path);
    if (kind != EntryKind::None && kind != EntryKind::File) {
        NV_THROW(ExceptionFileOperationCompression, "CabinetUnpacker::UnpackTo", __LINE__,
                 NV_TEXT("%s: a folder or a link is in the place of the file"), file.path);
    }
}

// What stands for a separator in a sort key: it comes before every character of a name, so that a folder is
// followed by what is in it.
constexpr WChar sortSeparator = 1;

/// A path in the form that decides which paths are the same: the case of letters counts in no script, as in
/// the file systems of the product's platform.
Text SortKey(const CXString& path) {
    Text key = TextOf(path);
    for (WChar& character : key)
        character = character == cabinetPathSeparator ? sortSeparator : platform::FoldCase(character);
    return key;
}

}  // namespace

CabinetUnpacker::CabinetUnpacker(const CXString& cabinetFile, const CabinetLimits& limits)
    : CabinetUnpacker(cabinetFile, ReadCabinet(cabinetFile), limits) {}

CabinetUnpacker::CabinetUnpacker(ByteBuffer cabinet, const CabinetLimits& limits)
    : CabinetUnpacker(NV_TEXT("the cabinet"), std::move(cabinet), limits) {}

CabinetUnpacker::CabinetUnpacker(const CXString& name, ByteBuffer cabinet, const CabinetLimits& limits)
    : m_name(name), m_cabinet(std::move(cabinet)) {
    ReadFiles(limits);
    CheckPathsDiffer();
}

CabinetUnpacker::~CabinetUnpacker() = default;

void CabinetUnpacker::ReadFiles(const CabinetLimits& limits) {
    CabinetContents contents = ReadContents(m_name, m_cabinet);
    const std::uint64_t total = contents.expandedSize;
    for (CabinetEntry& entry : contents.files) {
        CabinetFile& file = m_files.emplace_back();
        file.size = entry.size;
        if (const WChar* const fault = ReadCabinetEntryPath(entry, file.path)) {
            NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadFiles", __LINE__,
                     NV_TEXT("%s: the name %s %s"), m_name, DecodeCabinetName(entry.name, entry.attributes),
                     fault);
        }
        m_entries.push_back(std::move(entry));
    }
    const std::uint64_t cabinetSize = contents.cabinetSize;
    if (total > limits.totalSize || total / std::max<std::uint64_t>(limits.ratio, 1) > cabinetSize) {
        NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadFiles", __LINE__,
                 NV_TEXT("%s: %I64d bytes expand to %I64d bytes"), m_name,
                 static_cast<std::int64_t>(cabinetSize), static_cast<std::int64_t>(total));
    }
    CheckEntries(limits);
}

void CabinetUnpacker::CheckEntries(const CabinetLimits& limits) const {
    // Each folder in the case of its letters, since some file systems make one for each.
    std::set<Text> folders;
    for (const CabinetFile& file : m_files) {
        const Text path = TextOf(file.path);
        for (std::size_t end = path.find(cabinetPathSeparator); end != Text::npos;
             end = path.find(cabinetPathSeparator, end + 1))
            folders.insert(path.substr(0, end));
        if (m_files.size() + folders.size() > limits.entries) {
            NV_THROW(ExceptionCompression, "CabinetUnpacker::CheckEntries", __LINE__,
                     NV_TEXT("%s: has more than %I64d files and folders"), m_name,
                     static_cast<std::int64_t>(limits.entries));
        }
    }
}

void CabinetUnpacker::CheckPathsDiffer() const {
    std::vector<std::pair<Text, const CabinetFile*>> keys;
    keys.reserve(m_files.size());
    for (const CabinetFile& file : m_files)
        keys.emplace_back(SortKey(file.path), &file);
    std::sort(keys.begin(), keys.end());
    for (std::size_t i = 1; i < keys.size(); ++i) {
        const Text& before = keys[i - 1].first;
        const Text& key = keys[i].first;
        if (key.starts_with(before) && (key.size() == before.size() || key[before.size()] == sortSeparator)) {
            NV_THROW(ExceptionCompression, "CabinetUnpacker::CheckPathsDiffer", __LINE__,
                     NV_TEXT("%s: %s and %s cannot both exist"), m_name, keys[i - 1].second->path,
                     keys[i].second->path);
        }
    }
}

void CabinetUnpacker::UnpackTo(const CXString& targetFolder) const {
    const OwnedCriticalResource lock(CabContext::GetOperationLock());
    platform::Folder target;
    OpenTarget(targetFolder, target);
    FolderWalk before(target, FolderWalk::Missing::Stop);
    for (const CabinetFile& file : m_files) {
        const platform::Folder* const folder = before.GoTo(file.path);
        if (folder != nullptr) CheckPlace(*folder, file);
    }

    StagingFolder staging(target, targetFolder);
    ExpandCabinet(m_name, m_cabinet, m_entries, m_files, staging);

    // All folders are made before the first file is replaced, so that little is left to fail then.
    FolderWalk after(target, FolderWalk::Missing::Create);
    for (const CabinetFile& file : m_files)
        CheckPlace(*after.GoTo(file.path), file);
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        const platform::Folder* const folder = after.GoTo(m_files[i].path);
        RequireUnpacking(staging.Move(i, *folder, NamesOf(m_files[i].path).back()), m_files[i].path);
    }
}

bool CabinetUnpacker::IsUnpackedTo(const CXString& targetFolder) const {
    platform::Folder target;
    if (target.Open(TextOf(targetFolder))) return false;
    try {
        FolderWalk walk(target, FolderWalk::Missing::Stop);
        return std::all_of(m_files.begin(), m_files.end(), [&walk](const CabinetFile& file) {
            const platform::Folder* const folder = walk.GoTo(file.path);
            EntryKind kind = EntryKind::None;
            std::uint64_t size = 0;
            return folder != nullptr && !folder->Describe(NamesOf(file.path).back(), kind, size) &&
                   kind == EntryKind::File && size == file.size;
        });
    } catch (const ExceptionFileOperationCompression&) {
        return false;
    }
}
