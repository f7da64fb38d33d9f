// FCI: gathers folders of compressed blocks in memory and writes them as one cabinet.
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/cabinetformat.h"
#include "platform/posix/cabinetfunctions.h"
#include "platform/posix/cabinetmemory.h"
#include "platform/posix/cabinetmszip.h"

namespace platform::cabinet {

namespace {

constexpr FailureCodes fciCodes{FCIERR_ALLOC_FAIL, FCIERR_MCI_FAIL};

// As the C library of the platform defines them: read and write, create, truncate, binary; for owner read,
// write.
constexpr int createFlags = 0x8302;
constexpr int createMode = 0x180;

template <class T>
using List = std::vector<T, CallerAllocator<T>>;
using Bytes = List<BYTE>;

struct FciCallbacks {
    FciFilePlacedFunction filePlaced;
    FciOpenFunction open;
    FciReadFunction read;
    FciWriteFunction write;
    FciCloseFunction close;
    void* user;
};

// A file opened through the callbacks.
class FciFile {
public:
    FciFile(const FciCallbacks& callbacks, FileHandle handle) : m_callbacks(callbacks), m_handle(handle) {}
    FciFile(const FciFile&) = delete;
    FciFile& operator=(const FciFile&) = delete;
    ~FciFile() {
        int ignored = 0;
        if (m_handle != invalidFileHandle) m_callbacks.close(m_handle, &ignored, m_callbacks.user);
    }

    // Number of bytes read; 0 at the end of the file.
    std::size_t Read(BYTE* bytes, std::size_t capacity) {
        int error = 0;
        const unsigned got =
            m_callbacks.read(m_handle, bytes, static_cast<unsigned>(capacity), &error, m_callbacks.user);
        if (got > capacity) throw Failure{FCIERR_READ_SRC, error};
        return got;
    }

    void Write(Bytes& bytes) {
        int error = 0;
        const auto size = static_cast<unsigned>(bytes.size());
        if (m_callbacks.write(m_handle, bytes.data(), size, &error, m_callbacks.user) != size)
            throw Failure{FCIERR_CAB_FILE, error};
    }

    void Close(int operation) {
        int error = 0;
        const FileHandle handle = std::exchange(m_handle, invalidFileHandle);
        if (m_callbacks.close(handle, &error, m_callbacks.user) != 0) throw Failure{operation, error};
    }

private:
    const FciCallbacks& m_callbacks;
    FileHandle m_handle;
};

class CabinetWriter {
public:
    CabinetWriter(ERF& errors, const Memory& memory, const FciCallbacks& callbacks, const CCAB& parameters);

    const Memory& GetMemory() const { return m_memory; }

    // Runs one operation, unless an earlier one failed.
    template <class Operation>
    BOOL Run(Operation&& operation) {
        return m_errors.fError ? 0 : RunReporting(m_errors, fciCodes, operation);
    }

    void AddFile(char* sourceFile, const char* name, bool execute, FciGetOpenInfoFunction getOpenInfo,
                 FciStatusFunction status, WORD compression);
    void FlushFolder(FciStatusFunction status);
    void FlushCabinet(FciStatusFunction status);

private:
    struct File {
        FileEntry entry;
        std::size_t name;  // Where its name begins in m_names.
    };

    bool HasReservedAreas() const;
    std::size_t FirstFolderOffset() const;
    std::size_t CabinetSize() const;
    void CheckCabinetSize() const;
    void ReportStatus(FciStatusFunction status, unsigned type, std::size_t first, std::size_t second) const;

    File BeginFile(const char* name, bool execute) const;
    void ReadSource(FciFile& source, File& file, FciStatusFunction status);
    void AppendBlock(FciStatusFunction status);
    std::size_t EncodeBlock(BYTE* payload);

    Bytes EncodeTables();
    void WriteCabinetFile(Bytes& tables);

    ERF& m_errors;
    Memory m_memory;
    FciCallbacks m_callbacks;
    CCAB m_parameters;

    // The folder that grows: its entry (without the offset), its files and the block being filled.
    FolderEntry m_folder{};
    std::uint32_t m_folderSize = 0;
    std::size_t m_folderDataSize = 0;
    std::size_t m_firstFileOfFolder = 0;
    std::size_t m_blockFill = 0;
    Scratch m_block;
    Scratch m_encoded;

    // The cabinet: offsets in the folder entries count from the first block until the tables are encoded.
    List<FolderEntry> m_folders;
    List<File> m_files;
    List<char> m_names;
    List<Bytes> m_blocks;
    std::size_t m_blocksSize = 0;
};

CabinetWriter::CabinetWriter(ERF& errors, const Memory& memory, const FciCallbacks& callbacks,
                             const CCAB& parameters)
    : m_errors(errors),
      m_memory(memory),
      m_callbacks(callbacks),
      m_parameters(parameters),
      m_block(memory),
      m_encoded(memory),
      m_folders(CallerAllocator<FolderEntry>(memory)),
      m_files(CallerAllocator<File>(memory)),
      m_names(CallerAllocator<char>(memory)),
      m_blocks(CallerAllocator<Bytes>(memory)) {
    if (parameters.cbReserveCFHeader > maxHeaderReserve || parameters.cbReserveCFFolder > maxEntryReserve ||
        parameters.cbReserveCFData > maxEntryReserve) {
        throw Failure{FCIERR_CAB_FILE};
    }
}

bool CabinetWriter::HasReservedAreas() const {
    return m_parameters.cbReserveCFHeader != 0 || m_parameters.cbReserveCFFolder != 0 ||
           m_parameters.cbReserveCFData != 0;
}

std::size_t CabinetWriter::FirstFolderOffset() const {
    return encodedSize<Header> +
           (HasReservedAreas() ? encodedSize<ReserveSizes> + m_parameters.cbReserveCFHeader : 0);
}

std::size_t CabinetWriter::CabinetSize() const {
    return FirstFolderOffset() +
           m_folders.size() * (encodedSize<FolderEntry> + m_parameters.cbReserveCFFolder) +
           m_files.size() * encodedSize<FileEntry> + m_names.size() + m_blocksSize;
}

void CabinetWriter::CheckCabinetSize() const {
    const std::size_t limit =
        m_parameters.cb == 0 ? maxCabinetSize : std::min<std::size_t>(m_parameters.cb, maxCabinetSize);
    if (CabinetSize() > limit) throw Failure{FCIERR_CAB_FILE};
}

void CabinetWriter::ReportStatus(FciStatusFunction status, unsigned type, std::size_t first,
                                 std::size_t second) const {
    if (status == nullptr) return;
    if (status(type, static_cast<DWORD>(first), static_cast<DWORD>(second), m_callbacks.user) == -1)
        throw Failure{FCIERR_USER_ABORT};
}

void CabinetWriter::AddFile(char* sourceFile, const char* name, bool execute,
                            FciGetOpenInfoFunction getOpenInfo, FciStatusFunction status, WORD compression) {
    const WORD method = compression & compressionMethodMask;
    if (method != tcompTYPE_NONE && method != tcompTYPE_MSZIP) throw Failure{FCIERR_BAD_COMPR_TYPE};
    if (method != m_folder.compression) FlushFolder(status);
    m_folder.compression = method;

    File file = BeginFile(name, execute);
    WORD attributes = 0;
    int error = 0;
    const FileHandle handle =
        getOpenInfo(sourceFile, &file.entry.date, &file.entry.time, &attributes, &error, m_callbacks.user);
    if (handle == invalidFileHandle) throw Failure{FCIERR_OPEN_SRC, error};
    FciFile source(m_callbacks, handle);
    file.entry.attributes = static_cast<std::uint16_t>(file.entry.attributes | attributes);
    m_names.insert(m_names.end(), name, name + std::strlen(name) + 1);
    ReadSource(source, file, status);
    source.Close(FCIERR_READ_SRC);

    m_files.push_back(file);
    CheckCabinetSize();
    const bool folderIsFull =
        m_parameters.cbFolderThresh != 0 && m_folderDataSize >= m_parameters.cbFolderThresh;
    if (folderIsFull) FlushFolder(status);
}

CabinetWriter::File CabinetWriter::BeginFile(const char* name, bool execute) const {
    if (name == nullptr || *name == '\0' || std::strlen(name) >= maxNameSize) throw Failure{FCIERR_OPEN_SRC};
    if (m_files.size() == 0xFFFF) throw Failure{FCIERR_CAB_FILE};
    File file{};
    file.name = m_names.size();
    file.entry.offset = m_folderSize;
    file.entry.folder = static_cast<std::uint16_t>(m_folders.size());
    file.entry.attributes = execute ? executeAttribute : 0;
    return file;
}

void CabinetWriter::ReadSource(FciFile& source, File& file, FciStatusFunction status) {
    BYTE* block = m_block.Reserve(maxBlockSize);
    while (const std::size_t got = source.Read(block + m_blockFill, maxBlockSize - m_blockFill)) {
        if (m_folderSize > maxCabinetSize - got) throw Failure{FCIERR_CAB_FILE};
        m_blockFill += got;
        m_folderSize += static_cast<std::uint32_t>(got);
        file.entry.size += static_cast<std::uint32_t>(got);
        if (m_blockFill == maxBlockSize) AppendBlock(status);
    }
}

// Encodes the block being filled, with its header and reserved area, and appends it to the cabinet's blocks.
void CabinetWriter::AppendBlock(FciStatusFunction status) {
    if (m_folder.blockCount == 0xFFFF) throw Failure{FCIERR_CAB_FILE};
    const std::size_t headSize = encodedSize<DataHeader> + m_parameters.cbReserveCFData;
    BYTE* head = m_encoded.Reserve(headSize + m_blockFill + maxMszipOverhead);
    const std::size_t payloadSize = EncodeBlock(head + headSize);

    DataHeader header{0, static_cast<std::uint16_t>(payloadSize), static_cast<std::uint16_t>(m_blockFill)};
    header.checksum = BlockChecksum(header, {head + headSize, payloadSize});
    std::memset(head, 0, headSize);
    Encode(header, head);

    const std::size_t size = headSize + payloadSize;
    m_blocks.emplace_back(head, head + size, CallerAllocator<BYTE>(m_memory));
    m_blocksSize += size;
    m_folderDataSize += size;
    ++m_folder.blockCount;
    CheckCabinetSize();
    ReportStatus(status, statusFile, payloadSize, std::exchange(m_blockFill, 0));
}

std::size_t CabinetWriter::EncodeBlock(BYTE* payload) {
    const BYTE* block = m_block.Get();
    if (m_folder.compression == tcompTYPE_MSZIP) return EncodeMszipBlock({block, m_blockFill}, payload);
    std::memcpy(payload, block, m_blockFill);
    return m_blockFill;
}

void CabinetWriter::FlushFolder(FciStatusFunction status) {
    if (m_firstFileOfFolder == m_files.size()) return;
    if (m_folders.size() == continuedFromPrevious)
        throw Failure{FCIERR_CAB_FILE};  // No folder number is left.
    if (m_blockFill != 0) AppendBlock(status);
    m_folder.dataOffset = static_cast<std::uint32_t>(m_blocksSize - m_folderDataSize);
    m_folders.push_back(m_folder);
    CheckCabinetSize();

    for (; m_firstFileOfFolder != m_files.size(); ++m_firstFileOfFolder) {
        const File& file = m_files[m_firstFileOfFolder];
        if (m_callbacks.filePlaced == nullptr) continue;
        if (m_callbacks.filePlaced(&m_parameters, m_names.data() + file.name,
                                   static_cast<LONG>(file.entry.size), 0, m_callbacks.user) == -1) {
            throw Failure{FCIERR_USER_ABORT};
        }
    }
    ReportStatus(status, statusFolder, m_folderDataSize, m_folderDataSize);
    m_folder = FolderEntry{};
    m_folderSize = 0;
    m_folderDataSize = 0;
}

void CabinetWriter::FlushCabinet(FciStatusFunction status) {
    FlushFolder(status);
    if (m_files.empty()) return;
    ReportStatus(status, statusCabinet, CabinetSize(), CabinetSize());
    Bytes tables = EncodeTables();
    WriteCabinetFile(tables);

    m_folders.clear();
    m_files.clear();
    m_names.clear();
    m_blocks.clear();
    m_blocksSize = 0;
    m_firstFileOfFolder = 0;
}

// Everything that stands before the folders' blocks. Reserved areas stay zero.
Bytes CabinetWriter::EncodeTables() {
    const std::size_t folderEntrySize = encodedSize<FolderEntry> + m_parameters.cbReserveCFFolder;
    Header header{};
    header.signature = headerSignature;
    header.cabinetSize = static_cast<std::uint32_t>(CabinetSize());
    header.firstFileOffset =
        static_cast<std::uint32_t>(FirstFolderOffset() + m_folders.size() * folderEntrySize);
    header.minorVersion = formatMinor;
    header.majorVersion = formatMajor;
    header.folderCount = static_cast<std::uint16_t>(m_folders.size());
    header.fileCount = static_cast<std::uint16_t>(m_files.size());
    header.flags = HasReservedAreas() ? hasReservedAreas : 0;
    header.setId = m_parameters.setID;
    header.cabinetIndex = static_cast<std::uint16_t>(m_parameters.iCab);

    Bytes tables(CabinetSize() - m_blocksSize, BYTE{0}, CallerAllocator<BYTE>(m_memory));
    Encode(header, tables.data());
    if (HasReservedAreas()) {
        const ReserveSizes sizes{static_cast<std::uint16_t>(m_parameters.cbReserveCFHeader),
                                 static_cast<std::uint8_t>(m_parameters.cbReserveCFFolder),
                                 static_cast<std::uint8_t>(m_parameters.cbReserveCFData)};
        Encode(sizes, tables.data() + encodedSize<Header>);
    }
    BYTE* next = tables.data() + FirstFolderOffset();
    for (FolderEntry folder : m_folders) {
        folder.dataOffset += static_cast<std::uint32_t>(tables.size());
        Encode(folder, next);
        next += folderEntrySize;
    }
    for (const File& file : m_files) {
        Encode(file.entry, next);
        next += encodedSize<FileEntry>;
        const char* name = m_names.data() + file.name;
        const std::size_t nameSize = std::strlen(name) + 1;
        std::memcpy(next, name, nameSize);
        next += nameSize;
    }
    return tables;
}

void CabinetWriter::WriteCabinetFile(Bytes& tables) {
    std::string path = std::string(m_parameters.szCabPath, strnlen(m_parameters.szCabPath, maxCabinetPath)) +
                       std::string(m_parameters.szCab, strnlen(m_parameters.szCab, maxCabinetName));
    int error = 0;
    const FileHandle handle =
        m_callbacks.open(path.data(), createFlags, createMode, &error, m_callbacks.user);
    if (handle == invalidFileHandle) throw Failure{FCIERR_CAB_FILE, error};
    FciFile cabinet(m_callbacks, handle);
    cabinet.Write(tables);
    for (Bytes& block : m_blocks)
        cabinet.Write(block);
    cabinet.Close(FCIERR_CAB_FILE);
}

}  // namespace

HFCI FCICreate(ERF* errors, FciFilePlacedFunction filePlaced, AllocFunction allocate, FreeFunction release,
               FciOpenFunction open, FciReadFunction read, FciWriteFunction write, FciCloseFunction close,
               FciSeekFunction, FciDeleteFunction, FciGetTempFileFunction, CCAB* parameters, void* user) {
    if (errors == nullptr || allocate == nullptr || release == nullptr || parameters == nullptr)
        return nullptr;
    *errors = ERF{};
    CabinetWriter* writer = nullptr;
    RunReporting(*errors, fciCodes, [&] {
        const Memory memory{allocate, release};
        const FciCallbacks callbacks{filePlaced, open, read, write, close, user};
        writer = CreateIn<CabinetWriter>(memory, *errors, memory, callbacks, *parameters);
    });
    return writer;
}

BOOL FCIAddFile(HFCI context, char* sourceFile, char* nameInCabinet, BOOL execute, FciGetNextCabinetFunction,
                FciStatusFunction status, FciGetOpenInfoFunction getOpenInfo, WORD compressionType) {
    auto* writer = static_cast<CabinetWriter*>(context);
    if (writer == nullptr) return 0;
    return writer->Run([&] {
        writer->AddFile(sourceFile, nameInCabinet, execute != 0, getOpenInfo, status, compressionType);
    });
}

BOOL FCIFlushFolder(HFCI context, FciGetNextCabinetFunction, FciStatusFunction status) {
    auto* writer = static_cast<CabinetWriter*>(context);
    if (writer == nullptr) return 0;
    return writer->Run([&] { writer->FlushFolder(status); });
}

BOOL FCIFlushCabinet(HFCI context, BOOL wantsNextCabinet, FciGetNextCabinetFunction,
                     FciStatusFunction status) {
    auto* writer = static_cast<CabinetWriter*>(context);
    if (writer == nullptr) return 0;
    return writer->Run([&] {
        if (wantsNextCabinet) throw Failure{FCIERR_CAB_FILE};
        writer->FlushCabinet(status);
    });
}

BOOL FCIDestroy(HFCI context) {
    auto* writer = static_cast<CabinetWriter*>(context);
    if (writer == nullptr) return 0;
    const Memory memory = writer->GetMemory();
    DestroyIn(memory, writer);
    return 1;
}

}  // namespace platform::cabinet
