// CabinetUnpacker: checks a cabinet, lets the cabinet library expand it beside its target, and moves it
// there.
#include "utilities/compression/cabinetunpacker.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include "platform/folder.h"
#include "platform/text.h"
#include "platform/widechar.h"
#include "utilities/compression/cabbufferasfile.h"
#include "utilities/compression/cabcompressioncontext.h"
#include "utilities/compression/cabdecompressioncontext.h"
#include "utilities/compression/cabinetentrypath.h"
#include "utilities/compression/cabinetlayout.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

namespace cabinet = platform::cabinet;
using cabinet::FileHandle;
using platform::EntryKind;
using platform::Text;

constexpr std::uint32_t largestCabinet = std::uint32_t{1} << 30;
constexpr int cpuUnknown = -1;
constexpr auto stagingPrefix = NV_TEXT(".unpack-%08lX%08lX");
// The cabinet library asks for the cabinet by this name, which no file has.
constexpr char sourceName[] = "//Cabinet//";

Text TextOf(const CXString& text) {
    return {static_cast<const WChar*>(text), static_cast<std::size_t>(text.GetLength())};
}

CXString StringOf(const std::error_code& error) {
    return CXString(error.message().c_str());
}

/// The names of a path in order.
std::vector<Text> NamesOf(const CXString& path) {
    const Text text = TextOf(path);
    std::vector<Text> names;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(cabinetPathSeparator, begin), text.size());
        names.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

/// Throws unless a check has found no fault.
void RequireSound(const CXString& name, cabinet::FDIERROR fault) {
    if (fault != cabinet::FDIERROR_NONE)
        NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadContents", __LINE__, NV_TEXT("%s: %ld: %s"),
                 name, static_cast<LONG>(fault), GetFdiErrorText(fault));
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
    if (error || !file.is_open())
        NV_THROW(ExceptionCreateFileForReading, "CabinetUnpacker::ReadCabinet", __LINE__,
                 NV_TEXT("%s cannot be opened"), name);
    const auto read = [&file, &name](BYTE* bytes, std::size_t count) {
        file.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(count));
        if (file.bad() || file.gcount() != static_cast<std::streamsize>(count))
            NV_THROW(ExceptionReadFile, "CabinetUnpacker::ReadCabinet", __LINE__,
                     NV_TEXT("%s cannot be read"), name);
    };
    // Memory is only taken for what begins like a cabinet, and not for what follows it.
    BYTE header[cabinetHeaderSize];
    std::uint32_t cabinetSize = 0;
    if (size < cabinetHeaderSize) RequireSound(name, cabinet::FDIERROR_NOT_A_CABINET);
    read(header, cabinetHeaderSize);
    RequireSound(name, CheckCabinetHeader(header, size, cabinetSize));
    if (cabinetSize > largestCabinet)
        NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadCabinet", __LINE__,
                 NV_TEXT("%s is larger than %I64d bytes"), name, static_cast<std::int64_t>(largestCabinet));
    ByteBuffer bytes(header, cabinetHeaderSize);
    bytes.resize(std::max<std::size_t>(cabinetSize, cabinetHeaderSize));
    read(bytes.data() + cabinetHeaderSize, bytes.size() - cabinetHeaderSize);
    return bytes;
}

/// What a cabinet holds that is sound.
CabinetContents ReadContents(const CXString& name, const ByteBuffer& bytes) {
    constexpr BYTE nothing = 0;
    CabBufferAsFile source(sourceName, bytes.empty() ? &nothing : bytes.data(),
                           static_cast<DWORD>(bytes.size()));
    int error = 0;
    const std::unique_ptr<CabOpenFile> file = source.OpenCabFile(cabOpenReadOnly | cabOpenBinary, 0, error);
    CabinetContents contents;
    RequireSound(name, ReadCabinetContents(*file, contents));
    return contents;
}

/// Throws when an operation of the system on a path has failed.
void Require(const std::error_code& error, const CXString& path) {
    if (error)
        NV_THROW(ExceptionFileOperationCompression, "CabinetUnpacker::UnpackTo", __LINE__, NV_TEXT("%s: %s"),
                 path, StringOf(error));
}

void OpenTarget(const CXString& path, platform::Folder& folder, bool creates) {
    if (creates) {
        std::error_code error;
        try {
            std::filesystem::create_directories(std::filesystem::path(TextOf(path)), error);
        } catch (const std::filesystem::filesystem_error& failure) {
            error = failure.code();  // the path has no form that the system knows
        }
        Require(error, path);
    }
    Require(folder.Open(TextOf(path)), path);
}

/// Walks to the folders of files, each from the one before when they are the same.
class FolderWalk {
public:
    enum class Missing { Stop, Create };

    FolderWalk(const platform::Folder& root, Missing missing) : m_root(root), m_missing(missing) {}

    /// @return the file's folder; null when it is missing and not to be created
    const platform::Folder* GoTo(const CXString& path) {
        std::vector<Text> names = NamesOf(path);
        names.pop_back();
        if (names == m_names && m_isThere) return GetCurrent();
        m_names = std::move(names);
        m_folder.reset();
        m_isThere = true;
        for (const Text& name : m_names) {
            m_isThere = m_isThere && Enter(name, path);
        }
        return GetCurrent();
    }

private:
    const platform::Folder* GetCurrent() const {
        if (!m_isThere) return nullptr;
        return m_folder ? &*m_folder : &m_root;
    }

    bool Enter(const Text& name, const CXString& path) {
        const platform::Folder& parent = *GetCurrent();
        EntryKind kind = EntryKind::None;
        std::uint64_t size = 0;
        Require(parent.Describe(name, kind, size), path);
        if (kind == EntryKind::None) {
            if (m_missing == Missing::Stop) return false;
            // Somebody else may create it meanwhile: what counts is whether it can be opened.
            static_cast<void>(parent.CreateSubfolder(name));
        } else if (kind != EntryKind::Folder) {
            NV_THROW(ExceptionFileOperationCompression, "CabinetUnpacker::UnpackTo", __LINE__,
                     NV_TEXT("%s: a file or a link is in the place of a folder"), path);
        }
        platform::Folder next;
        Require(next.OpenIn(parent, name), path);
        m_folder = std::move(next);
        return true;
    }

    const platform::Folder& m_root;
    Missing m_missing;
    std::vector<Text> m_names;
    std::optional<platform::Folder> m_folder;  ///< Empty for the root.
    bool m_isThere = true;
};

/// The folder where files wait until all are complete; each is named by its number in the cabinet.
class StagingFolder {
public:
    StagingFolder(const platform::Folder& target, const CXString& path) : m_target(target) {
        std::random_device random;
        CXString name;
        name.Format(stagingPrefix, static_cast<DWORD>(random()), static_cast<DWORD>(random()));
        m_name = TextOf(name);
        Require(target.CreateSubfolder(m_name), path);
        const std::error_code error = m_folder.OpenIn(target, m_name);
        if (error) static_cast<void>(target.RemoveEmptySubfolder(m_name));
        Require(error, path);
    }
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;
    ~StagingFolder() {
        try {
            for (std::size_t file = 0; file < m_created; ++file)
                static_cast<void>(m_folder.RemoveEntry(NameOf(file)));  // most have been moved away
            m_folder = platform::Folder();
            static_cast<void>(m_target.RemoveEmptySubfolder(m_name));
        } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the folder stays where it is
        }
    }

    std::error_code CreateOutput(std::size_t file, platform::OutputFile& output) {
        m_created = std::max(m_created, file + 1);
        return m_folder.CreateOutput(NameOf(file), output);
    }

    std::error_code Move(std::size_t file, const platform::Folder& folder, const Text& name) const {
        return m_folder.Rename(NameOf(file), folder, name);
    }

private:
    static Text NameOf(std::size_t file) {
        const std::string digits = std::to_string(file);
        return {digits.begin(), digits.end()};
    }

    const platform::Folder& m_target;
    Text m_name;
    platform::Folder m_folder;
    std::size_t m_created = 0;
};

/// A file that the cabinet library writes from its beginning to its end.
class StagedFile final : public CabOpenFile {
public:
    StagedFile(StagingFolder& staging, std::size_t number, const nvutil::CabinetFile& file) : m_file(file) {
        Require(staging.CreateOutput(number, m_output), file.path);
    }

    unsigned Read(void* /*out*/, unsigned /*bytes*/, int& /*error*/) override { return cabFailedTransfer; }
    LONG Seek(LONG /*distance*/, int /*origin*/, int& /*error*/) override { return -1; }
    unsigned Write(const void* bytes, unsigned length, int& /*error*/) override {
        if (length > m_file.size - m_written) return cabFailedTransfer;
        Require(m_output.Write({static_cast<const BYTE*>(bytes), length}), m_file.path);
        m_written += length;
        return length;
    }

    /// @return whether the file has got all its bytes
    bool Finish() {
        Require(m_output.Close(), m_file.path);
        return m_written == m_file.size;
    }

private:
    const nvutil::CabinetFile& m_file;
    platform::OutputFile m_output;
    DWORD m_written = 0;
};

/// Expands a checked cabinet into a staging folder through the cabinet library.
class Expansion {
public:
    Expansion(const CXString& name, const ByteBuffer& bytes, const std::vector<nvutil::CabinetEntry>& entries,
              const std::vector<nvutil::CabinetFile>& files, StagingFolder& staging)
        : m_name(name),
          m_source(sourceName, bytes.data(), static_cast<DWORD>(bytes.size())),
          m_entries(entries),
          m_files(files),
          m_staging(staging),
          m_outer(std::exchange(s_current, this)) {}
    Expansion(const Expansion&) = delete;
    Expansion& operator=(const Expansion&) = delete;
    ~Expansion() { s_current = m_outer; }

    /// Each method has a pass to itself: not every library can change from one to another in a cabinet.
    void Run() {
        for (m_method = cabinet::tcompTYPE_NONE; m_method <= cabinet::tcompTYPE_LZX; ++m_method) {
            const bool isUsed = std::any_of(m_entries.begin(), m_entries.end(),
                                            [this](const auto& entry) { return entry.method == m_method; });
            if (isUsed) RunPass();
        }
        if (m_finished != m_files.size())
            NV_THROW(ExceptionCompression, "CabinetUnpacker::UnpackTo", __LINE__,
                     NV_TEXT("%s: only %I64d files were found"), m_name,
                     static_cast<std::int64_t>(m_finished));
    }

private:
    void RunPass() {
        cabinet::ERF errors{};
        m_current = 0;
        const bool copied = Copy(errors);
        if (m_failure) std::rethrow_exception(m_failure);
        if (!copied)
            NV_THROW(ExceptionCompression, "CabinetUnpacker::UnpackTo", __LINE__, NV_TEXT("%s: %ld: %s"),
                     m_name, static_cast<LONG>(errors.erfOper), GetFdiErrorText(errors.erfOper));
    }

    bool Copy(cabinet::ERF& errors) {
        const cabinet::HFDI context = CabContext::GetFdiCreatePfn()(
            &CabCompressionContext::sfnFciAllocCallback, &CabCompressionContext::sfnFciFreeCallback, &OnOpen,
            &OnRead, &OnWrite, &OnClose, &OnSeek, cpuUnknown, &errors);
        if (context == nullptr) return false;
        std::string name = sourceName;
        char path[] = "";
        const bool copied =
            CabContext::GetFdiCopyPfn()(context, name.data(), path, 0, &OnNotify, nullptr, this) != 0;
        CabContext::GetFdiDestroyPfn()(context);
        return copied;
    }

    /// The library's handles are the addresses of what is open; null for any other number.
    CabOpenFile* Find(FileHandle handle) const {
        for (const auto& file : m_open) {
            if (HandleOf(*file) == handle) return file.get();
        }
        return nullptr;
    }

    static FileHandle HandleOf(const CabOpenFile& file) { return reinterpret_cast<FileHandle>(&file); }

    FileHandle Keep(std::unique_ptr<CabOpenFile> file) {
        if (file == nullptr) return cabinet::invalidFileHandle;
        m_open.push_back(std::move(file));
        return HandleOf(*m_open.back());
    }

    int Close(FileHandle handle) {
        return std::erase_if(m_open, [handle](const auto& file) { return HandleOf(*file) == handle; }) != 0
                   ? 0
                   : -1;
    }

    FileHandle Notify(cabinet::FDINOTIFICATIONTYPE type, const cabinet::FDINOTIFICATION& notification) {
        switch (type) {
            case cabinet::fdintCABINET_INFO:
            case cabinet::fdintENUMERATE:
                return 0;
            case cabinet::fdintCOPY_FILE:
                // What the library reads must be what has been checked.
                if (m_current >= m_files.size() || notification.psz1 != m_entries[m_current].name)
                    return cabinet::invalidFileHandle;
                if (m_entries[m_current].method != m_method) {
                    ++m_current;
                    return 0;
                }
                m_staged = new StagedFile(m_staging, m_current, m_files[m_current]);
                return Keep(std::unique_ptr<CabOpenFile>(m_staged));
            case cabinet::fdintCLOSE_FILE_INFO: {
                const bool isComplete =
                    m_staged != nullptr && Find(notification.hf) == m_staged && m_staged->Finish();
                m_staged = nullptr;
                Close(notification.hf);
                ++m_current;
                ++m_finished;
                return isComplete ? 1 : cabinet::invalidFileHandle;
            }
            default:
                return cabinet::invalidFileHandle;
        }
    }

    /// Runs a callback's work: no exception may pass through the cabinet library's own frames.
    template <class Result, class Action>
    static Result Guard(Result failure, Action action) noexcept {
        Expansion* const current = s_current;
        if (current == nullptr) return failure;
        try {
            return action(*current);
        } catch (...) {
            current->m_failure = std::current_exception();
            return failure;
        }
    }

    static FileHandle NV_CABINET_CALL OnOpen(char* name, int flags, int mode) {
        return Guard(cabinet::invalidFileHandle, [&](Expansion& expansion) {
            int error = 0;
            return name == std::string_view(sourceName)
                       ? expansion.Keep(expansion.m_source.OpenCabFile(flags, mode, error))
                       : cabinet::invalidFileHandle;
        });
    }
    static unsigned NV_CABINET_CALL OnRead(FileHandle handle, void* out, unsigned bytes) {
        return Guard(cabFailedTransfer, [&](const Expansion& expansion) {
            int error = 0;
            CabOpenFile* const file = expansion.Find(handle);
            return file == nullptr ? cabFailedTransfer : file->Read(out, bytes, error);
        });
    }
    static unsigned NV_CABINET_CALL OnWrite(FileHandle handle, void* bytes, unsigned length) {
        return Guard(cabFailedTransfer, [&](const Expansion& expansion) {
            int error = 0;
            CabOpenFile* const file = expansion.Find(handle);
            return file == nullptr ? cabFailedTransfer : file->Write(bytes, length, error);
        });
    }
    static int NV_CABINET_CALL OnClose(FileHandle handle) {
        return Guard(-1, [handle](Expansion& expansion) { return expansion.Close(handle); });
    }
    static LONG NV_CABINET_CALL OnSeek(FileHandle handle, LONG distance, int origin) {
        return Guard(LONG{-1}, [&](const Expansion& expansion) {
            int error = 0;
            CabOpenFile* const file = expansion.Find(handle);
            return file == nullptr ? LONG{-1} : file->Seek(distance, origin, error);
        });
    }
    static FileHandle NV_CABINET_CALL OnNotify(cabinet::FDINOTIFICATIONTYPE type,
                                               cabinet::FDINOTIFICATION* notification) {
        return Guard(cabinet::invalidFileHandle,
                     [&](Expansion& expansion) { return expansion.Notify(type, *notification); });
    }

    /// The thread's running expansion, for the callbacks without a user pointer.
    static inline thread_local Expansion* s_current = nullptr;

    const CXString& m_name;  ///< For messages.
    CabBufferAsFile m_source;
    const std::vector<nvutil::CabinetEntry>& m_entries;
    const std::vector<nvutil::CabinetFile>& m_files;
    StagingFolder& m_staging;
    Expansion* m_outer;
    std::vector<std::unique_ptr<CabOpenFile>> m_open;
    StagedFile* m_staged = nullptr;  ///< The file being written, which `m_open` owns.
    WORD m_method = 0;               ///< Of the files that the pass expands.
    std::size_t m_current = 0;       ///< Of the pass: the number of the file in the cabinet.
    std::size_t m_finished = 0;
    std::exception_ptr m_failure;
};

/// Refuses what stands in the way of a file.
void CheckPlace(const platform::Folder& folder, const nvutil::CabinetFile& file) {
    EntryKind kind = EntryKind::None;
    std::uint64_t size = 0;
    Require(folder.Describe(NamesOf(file.path).back(), kind, size), file.path);
    if (kind != EntryKind::None && kind != EntryKind::File)
        NV_THROW(ExceptionFileOperationCompression, "CabinetUnpacker::UnpackTo", __LINE__,
                 NV_TEXT("%s: a folder or a link is in the place of the file"), file.path);
}

/// A path in the form that decides which paths are the same: the case of letters of no script counts, since
/// neither does it for the file systems of the product's platform. A separator
/// comes before every character of a name, so that a folder is followed by what is in it.
Text SortKey(const CXString& path) {
    constexpr WChar lowest = 1;
    Text key = TextOf(path);
    for (WChar& character : key)
        character = character == cabinetPathSeparator ? lowest : platform::FoldCase(character);
    return key;
}

}  // namespace

nvutil::CabinetUnpacker::CabinetUnpacker(const CXString& cabinetFile, const nvutil::CabinetLimits& limits)
    : nvutil::CabinetUnpacker(cabinetFile, ReadCabinet(cabinetFile), limits) {}

nvutil::CabinetUnpacker::CabinetUnpacker(ByteBuffer cabinet, const nvutil::CabinetLimits& limits)
    : nvutil::CabinetUnpacker(NV_TEXT("the cabinet"), std::move(cabinet), limits) {}

nvutil::CabinetUnpacker::CabinetUnpacker(const CXString& name, ByteBuffer cabinet,
                                         const nvutil::CabinetLimits& limits)
    : m_name(name), m_cabinet(std::move(cabinet)) {
    ReadFiles(limits);
    CheckPathsDiffer();
}

nvutil::CabinetUnpacker::~CabinetUnpacker() = default;

void nvutil::CabinetUnpacker::ReadFiles(const nvutil::CabinetLimits& limits) {
    CabinetContents contents = ReadContents(m_name, m_cabinet);
    const std::uint64_t total = contents.expandedSize;
    for (nvutil::CabinetEntry& entry : contents.files) {
        nvutil::CabinetFile& file = m_files.emplace_back();
        file.size = entry.size;
        if (const WChar* const fault = ReadCabinetEntryPath(entry, file.path)) {
            NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadFiles", __LINE__,
                     NV_TEXT("%s: the name %s %s"), m_name, DecodeCabinetName(entry.name, entry.attributes),
                     fault);
        }
        m_entries.push_back(std::move(entry));
    }
    const std::uint64_t cabinetSize = contents.cabinetSize;
    if (total > limits.totalSize || total / std::max<std::uint64_t>(limits.ratio, 1) > cabinetSize)
        NV_THROW(ExceptionCompression, "CabinetUnpacker::ReadFiles", __LINE__,
                 NV_TEXT("%s: %I64d bytes expand to %I64d bytes"), m_name,
                 static_cast<std::int64_t>(cabinetSize), static_cast<std::int64_t>(total));
    CheckEntries(limits);
}

void nvutil::CabinetUnpacker::CheckEntries(const nvutil::CabinetLimits& limits) const {
    // Each folder in the case of its letters, since some file systems make one for each.
    std::set<Text> folders;
    for (const nvutil::CabinetFile& file : m_files) {
        const Text path = TextOf(file.path);
        for (std::size_t end = path.find(cabinetPathSeparator); end != Text::npos;
             end = path.find(cabinetPathSeparator, end + 1))
            folders.insert(path.substr(0, end));
        if (m_files.size() + folders.size() > limits.entries)
            NV_THROW(ExceptionCompression, "CabinetUnpacker::CheckEntries", __LINE__,
                     NV_TEXT("%s: has more than %I64d files and folders"), m_name,
                     static_cast<std::int64_t>(limits.entries));
    }
}

void nvutil::CabinetUnpacker::CheckPathsDiffer() const {
    constexpr WChar separator = 1;
    std::vector<std::pair<Text, const nvutil::CabinetFile*>> keys;
    keys.reserve(m_files.size());
    for (const nvutil::CabinetFile& file : m_files)
        keys.emplace_back(SortKey(file.path), &file);
    std::sort(keys.begin(), keys.end());
    for (std::size_t i = 1; i < keys.size(); ++i) {
        const Text& before = keys[i - 1].first;
        const Text& key = keys[i].first;
        if (key.starts_with(before) && (key.size() == before.size() || key[before.size()] == separator))
            NV_THROW(ExceptionCompression, "CabinetUnpacker::CheckPathsDiffer", __LINE__,
                     NV_TEXT("%s: %s and %s cannot both exist"), m_name, keys[i - 1].second->path,
                     keys[i].second->path);
    }
}

void nvutil::CabinetUnpacker::UnpackTo(const CXString& targetFolder) const {
    const OwnedCriticalResource lock(CabContext::GetOperationLock());
    platform::Folder target;
    OpenTarget(targetFolder, target, true);
    FolderWalk before(target, FolderWalk::Missing::Stop);
    for (const nvutil::CabinetFile& file : m_files) {
        const platform::Folder* const folder = before.GoTo(file.path);
        if (folder != nullptr) CheckPlace(*folder, file);
    }

    StagingFolder staging(target, targetFolder);
    Expansion(m_name, m_cabinet, m_entries, m_files, staging).Run();

    // All folders are made before the first file is replaced, so that little is left to fail then.
    FolderWalk after(target, FolderWalk::Missing::Create);
    for (const nvutil::CabinetFile& file : m_files)
        CheckPlace(*after.GoTo(file.path), file);
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        const platform::Folder* const folder = after.GoTo(m_files[i].path);
        Require(staging.Move(i, *folder, NamesOf(m_files[i].path).back()), m_files[i].path);
    }
}

bool nvutil::CabinetUnpacker::IsUnpackedTo(const CXString& targetFolder) const {
    platform::Folder target;
    if (target.Open(TextOf(targetFolder))) return false;
    try {
        FolderWalk walk(target, FolderWalk::Missing::Stop);
        return std::all_of(m_files.begin(), m_files.end(), [&walk](const nvutil::CabinetFile& file) {
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
