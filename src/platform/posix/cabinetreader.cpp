// FDI: walks a cabinet's tables and hands the files' data out block by block.
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "platform/cabinetformat.h"
#include "platform/posix/cabinetfunctions.h"
#include "platform/posix/cabinetmemory.h"
#include "platform/posix/cabinetmspack.h"
#include "platform/posix/cabinetmszip.h"

namespace platform::cabinet {

namespace {

constexpr FailureCodes fdiCodes{FDIERROR_ALLOC_FAIL, FDIERROR_MDI_FAIL};

// As the C library of the platform defines them: read only, binary; for owner read, write.
constexpr int openFlags = 0x8000;
constexpr int openMode = 0x180;
constexpr int seekFromStart = 0;

// A writer lays files and folders out in the order of their data. Reading follows the same order in one pass;
// a cabinet may still go back to earlier data this often, for files that share their data.
constexpr int maxJumpsBack = 16;

struct FdiCallbacks {
    FdiOpenFunction open;
    FdiReadFunction read;
    FdiWriteFunction write;
    FdiCloseFunction close;
    FdiSeekFunction seek;
};

struct CabinetReader {
    ERF& errors;
    Memory memory;
    FdiCallbacks callbacks;
};

// Reads up to `size` bytes, fewer only at the end of the file.
std::size_t ReadUpTo(const FdiCallbacks& callbacks, FileHandle file, BYTE* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const auto wanted = static_cast<unsigned>(size - done);
        const unsigned got = callbacks.read(file, bytes + done, wanted);
        if (got > wanted) throw Failure{FDIERROR_CORRUPT_CABINET};
        if (got == 0) break;
        done += got;
    }
    return done;
}

// A file opened through the callbacks, to be closed through them.
class FdiFile final : public FileTarget {
public:
    FdiFile(const FdiCallbacks& callbacks, FileHandle handle) : m_callbacks(callbacks), m_handle(handle) {}
    FdiFile(const FdiFile&) = delete;
    FdiFile& operator=(const FdiFile&) = delete;
    ~FdiFile() override {
        if (m_handle != invalidFileHandle) m_callbacks.close(m_handle);
    }

    std::size_t Read(BYTE* bytes, std::size_t size) { return ReadUpTo(m_callbacks, m_handle, bytes, size); }

    void Write(const BYTE* bytes, std::size_t size) override {
        const auto count = static_cast<unsigned>(size);
        if (m_callbacks.write(m_handle, const_cast<BYTE*>(bytes), count) != count)
            throw Failure{FDIERROR_TARGET_FILE};
    }

    void Seek(std::size_t offset) {
        const auto target = static_cast<LONG>(offset);
        if (m_callbacks.seek(m_handle, target, seekFromStart) != target)
            throw Failure{FDIERROR_CORRUPT_CABINET};
    }

    // The handle, which from now on belongs to the caller.
    FileHandle Release() { return std::exchange(m_handle, invalidFileHandle); }

private:
    const FdiCallbacks& m_callbacks;
    FileHandle m_handle;
};

Header DecodeAndCheckHeader(const BYTE* bytes, std::size_t size) {
    if (size < encodedSize<Header>) throw Failure{FDIERROR_NOT_A_CABINET};
    const auto header = Decode<Header>(bytes);
    if (header.signature != headerSignature) throw Failure{FDIERROR_NOT_A_CABINET};
    if (header.majorVersion != formatMajor || header.minorVersion != formatMinor)
        throw Failure{FDIERROR_UNKNOWN_CABINET_VERSION};
    const std::uint64_t foldersEnd =
        encodedSize<Header> + std::uint64_t{header.folderCount} * encodedSize<FolderEntry>;
    const std::uint64_t filesEnd =
        header.firstFileOffset + std::uint64_t{header.fileCount} * (encodedSize<FileEntry> + 1);
    if (header.folderCount == 0 || header.fileCount == 0 || header.firstFileOffset < foldersEnd ||
        header.cabinetSize < filesEnd || header.cabinetSize > maxCabinetSize) {
        throw Failure{FDIERROR_CORRUPT_CABINET};
    }
    return header;
}

// The cabinet file: reads at any offset within the cabinet's own size, small ones through a buffer.
class CabinetFile final : public CabinetSource {
public:
    CabinetFile(const FdiCallbacks& callbacks, FileHandle handle) : m_file(callbacks, handle) {}

    // Reads and checks the header, and from then on refuses to read past the cabinet's end.
    Header ReadHeader() {
        Fill(0);
        const Header header = DecodeAndCheckHeader(m_buffer, m_bufferSize);
        m_size = header.cabinetSize;
        return header;
    }

    void ReadAt(std::size_t offset, BYTE* bytes, std::size_t size) {
        if (offset > m_size || size > m_size - offset) throw Failure{FDIERROR_CORRUPT_CABINET};
        const std::size_t buffered = CopyBuffered(offset, bytes, size);
        offset += buffered;
        bytes += buffered;
        size -= buffered;
        if (size == 0) return;
        if (size < sizeof(m_buffer)) {
            Fill(offset);
            if (CopyBuffered(offset, bytes, size) != size) throw Failure{FDIERROR_CORRUPT_CABINET};
        } else if (ReadFile(offset, bytes, size) != size) {
            throw Failure{FDIERROR_CORRUPT_CABINET};
        }
    }

    std::size_t ReadUpTo(std::size_t offset, BYTE* bytes, std::size_t size) override {
        const std::size_t count = std::min(size, m_size - std::min(offset, m_size));
        ReadAt(offset, bytes, count);
        return count;
    }

    template <class Structure>
    Structure ReadAt(std::size_t offset) {
        BYTE bytes[encodedSize<Structure>];
        ReadAt(offset, bytes, sizeof(bytes));
        return Decode<Structure>(bytes);
    }

    // Reads a name and its NUL; returns the offset that follows.
    std::size_t ReadNameAt(std::size_t offset, char (&name)[maxNameSize]) {
        for (char& character : name) {
            BYTE byte = 0;
            ReadAt(offset++, &byte, 1);
            character = static_cast<char>(byte);
            if (character == '\0') return offset;
        }
        throw Failure{FDIERROR_CORRUPT_CABINET};
    }

private:
    std::size_t CopyBuffered(std::size_t offset, BYTE* bytes, std::size_t size) const {
        if (offset < m_bufferOffset || offset - m_bufferOffset >= m_bufferSize) return 0;
        const std::size_t skipped = offset - m_bufferOffset;
        const std::size_t count = std::min(size, m_bufferSize - skipped);
        std::memcpy(bytes, m_buffer + skipped, count);
        return count;
    }

    void Fill(std::size_t offset) {
        m_bufferSize = 0;
        m_bufferSize = ReadFile(offset, m_buffer, sizeof(m_buffer));
        m_bufferOffset = offset;
    }

    std::size_t ReadFile(std::size_t offset, BYTE* bytes, std::size_t size) {
        if (m_position != offset) m_file.Seek(offset);
        const std::size_t got = m_file.Read(bytes, size);
        m_position = offset + got;
        return got;
    }

    FdiFile m_file;
    std::size_t m_position = 0;
    std::size_t m_size = 0;
    std::size_t m_bufferOffset = 0;
    std::size_t m_bufferSize = 0;
    BYTE m_buffer[4096];
};

void CheckCompression(std::uint16_t compression) {
    constexpr unsigned largestWindow = 21;
    constexpr unsigned smallestWindows[] = {0, 0, 10, 15};  // as powers of two, by method
    const unsigned method = compression & compressionMethodMask;
    const unsigned window = compression >> 8;
    if (method > tcompTYPE_LZX || window < smallestWindows[method] || window > largestWindow)
        throw Failure{FDIERROR_BAD_COMPR_TYPE};
}

bool IsReadThroughMspack(const FolderEntry& folder) {
    const unsigned method = folder.compression & compressionMethodMask;
    return method == tcompTYPE_QUANTUM || method == tcompTYPE_LZX;
}

// One run of FDICopy over one cabinet.
class CabinetExtraction {
public:
    CabinetExtraction(const CabinetReader& reader, FileHandle cabinet, char* path, FdiNotifyFunction notify,
                      void* user);

    void Run();

private:
    void ReadTablesHead();
    void SendCabinetInfo();
    std::size_t ReadFileEntry(std::size_t offset);
    void SendPartialFile();
    void CopyFile();
    void CloseTarget(FdiFile& target);
    FileHandle Notify(FDINOTIFICATIONTYPE type, FDINOTIFICATION& notification) const;
    FDINOTIFICATION FileNotification();

    void CheckFile() const;
    std::size_t FolderIndex() const;
    void ExtractTo(FdiFile& target);
    void ExtractThroughMspack(FdiFile& target);
    void SelectFolder(std::size_t folder, std::size_t offset);
    void ReadBlock();
    const BYTE* DecodeBlock(const DataHeader& header);
    [[noreturn]] void EndOfFolder();

    const CabinetReader& m_reader;
    CabinetFile m_cabinet;
    char* m_path;
    FdiNotifyFunction m_notify;
    void* m_user;

    Header m_header{};
    ReserveSizes m_reserve{};
    std::size_t m_foldersOffset = 0;
    char m_previousCabinet[maxNameSize] = "";
    char m_previousDisk[maxNameSize] = "";
    char m_nextCabinet[maxNameSize] = "";
    char m_nextDisk[maxNameSize] = "";

    std::size_t m_fileNumber = 0;
    FileEntry m_file{};
    char m_fileName[maxNameSize] = "";

    // The folder being read and its current block, which begins at m_blockOffset of the uncompressed data.
    static constexpr std::size_t noFolder = static_cast<std::size_t>(-1);
    std::size_t m_folder = noFolder;
    FolderEntry m_folderEntry{};
    MszipDecoder m_decoder;
    std::size_t m_blocksRead = 0;
    std::size_t m_nextBlock = 0;
    std::size_t m_furthestBlock = 0;
    int m_jumpsBack = 0;
    MspackExtractor m_mspack;
    const BYTE* m_block = nullptr;
    std::size_t m_blockOffset = 0;
    std::size_t m_blockSize = 0;
};

CabinetExtraction::CabinetExtraction(const CabinetReader& reader, FileHandle cabinet, char* path,
                                     FdiNotifyFunction notify, void* user)
    : m_reader(reader),
      m_cabinet(reader.callbacks, cabinet),
      m_path(path),
      m_notify(notify),
      m_user(user),
      m_decoder(reader.memory),
      m_mspack(m_cabinet) {}

void CabinetExtraction::Run() {
    ReadTablesHead();
    SendCabinetInfo();
    std::size_t entryOffset = m_header.firstFileOffset;
    for (m_fileNumber = 0; m_fileNumber < m_header.fileCount; ++m_fileNumber) {
        entryOffset = ReadFileEntry(entryOffset);
        if (m_file.folder == continuedFromPrevious || m_file.folder == continuedFromPreviousToNext) {
            SendPartialFile();
        } else {
            CopyFile();
        }
    }
}

// Reads what stands before the folder entries.
void CabinetExtraction::ReadTablesHead() {
    m_header = m_cabinet.ReadHeader();
    std::size_t offset = encodedSize<Header>;
    if (m_header.flags & hasReservedAreas) {
        m_reserve = m_cabinet.ReadAt<ReserveSizes>(offset);
        offset += encodedSize<ReserveSizes> + m_reserve.header;
    }
    if (m_header.flags & hasPreviousCabinet) {
        offset = m_cabinet.ReadNameAt(offset, m_previousCabinet);
        offset = m_cabinet.ReadNameAt(offset, m_previousDisk);
    }
    if (m_header.flags & hasNextCabinet) {
        offset = m_cabinet.ReadNameAt(offset, m_nextCabinet);
        offset = m_cabinet.ReadNameAt(offset, m_nextDisk);
    }
    m_foldersOffset = offset;
}

FileHandle CabinetExtraction::Notify(FDINOTIFICATIONTYPE type, FDINOTIFICATION& notification) const {
    notification.pv = m_user;
    notification.setID = m_header.setId;
    notification.iCabinet = m_header.cabinetIndex;
    const FileHandle answer = m_notify(type, &notification);
    if (answer == -1) throw Failure{FDIERROR_USER_ABORT};
    return answer;
}

void CabinetExtraction::SendCabinetInfo() {
    FDINOTIFICATION notification{};
    notification.psz1 = m_nextCabinet;
    notification.psz2 = m_nextDisk;
    notification.psz3 = m_path;
    Notify(fdintCABINET_INFO, notification);
}

// Reads the entry at the offset into m_file and m_fileName; returns the offset of the next one.
std::size_t CabinetExtraction::ReadFileEntry(std::size_t offset) {
    m_file = m_cabinet.ReadAt<FileEntry>(offset);
    return m_cabinet.ReadNameAt(offset + encodedSize<FileEntry>, m_fileName);
}

void CabinetExtraction::SendPartialFile() {
    FDINOTIFICATION notification{};
    notification.psz1 = m_fileName;
    notification.psz2 = m_previousCabinet;
    notification.psz3 = m_previousDisk;
    Notify(fdintPARTIAL_FILE, notification);
}

FDINOTIFICATION CabinetExtraction::FileNotification() {
    FDINOTIFICATION notification{};
    notification.psz1 = m_fileName;
    notification.date = m_file.date;
    notification.time = m_file.time;
    notification.attribs = m_file.attributes;
    notification.iFolder = m_file.folder;
    return notification;
}

void CabinetExtraction::CopyFile() {
    CheckFile();
    FDINOTIFICATION notification = FileNotification();
    notification.cb = static_cast<LONG>(m_file.size);
    const FileHandle handle = Notify(fdintCOPY_FILE, notification);
    if (handle == 0) return;
    FdiFile target(m_reader.callbacks, handle);
    if (m_file.size != 0) ExtractTo(target);
    CloseTarget(target);
}

void CabinetExtraction::CloseTarget(FdiFile& target) {
    FDINOTIFICATION notification = FileNotification();
    notification.cb = (m_file.attributes & executeAttribute) != 0 ? 1 : 0;
    notification.hf = target.Release();
    if (Notify(fdintCLOSE_FILE_INFO, notification) == 0) throw Failure{FDIERROR_USER_ABORT};
}

std::size_t CabinetExtraction::FolderIndex() const {
    return m_file.folder == continuedToNext ? m_header.folderCount - 1u : m_file.folder;
}

void CabinetExtraction::CheckFile() const {
    if (FolderIndex() >= m_header.folderCount) throw Failure{FDIERROR_CORRUPT_CABINET};
    if (m_file.offset > maxCabinetSize || m_file.size > maxCabinetSize - m_file.offset)
        throw Failure{FDIERROR_CORRUPT_CABINET};
}

void CabinetExtraction::ExtractTo(FdiFile& target) {
    std::size_t offset = m_file.offset;
    std::size_t left = m_file.size;
    SelectFolder(FolderIndex(), offset);
    if (IsReadThroughMspack(m_folderEntry)) return ExtractThroughMspack(target);
    while (left != 0) {
        if (offset >= m_blockOffset + m_blockSize) {
            ReadBlock();
            continue;
        }
        const std::size_t skipped = offset - m_blockOffset;
        const std::size_t count = std::min(left, m_blockSize - skipped);
        target.Write(m_block + skipped, count);
        offset += count;
        left -= count;
    }
}

// libmspack keeps its own place in a folder, which it leaves only to read another one or to go back.
void CabinetExtraction::ExtractThroughMspack(FdiFile& target) {
    m_mspack.Extract(m_fileNumber, m_file, target);
    m_furthestBlock = std::max(m_furthestBlock, m_mspack.GetFurthestByte());
    m_blockOffset = m_file.offset + m_file.size;
}

// Makes a folder's data available from an offset on, going back to the folder's start where that is needed.
void CabinetExtraction::SelectFolder(std::size_t folder, std::size_t offset) {
    if (folder == m_folder && offset >= m_blockOffset) return;
    m_folderEntry = m_cabinet.ReadAt<FolderEntry>(m_foldersOffset +
                                                  folder * (encodedSize<FolderEntry> + m_reserve.folder));
    CheckCompression(m_folderEntry.compression);
    if (m_folderEntry.dataOffset < m_furthestBlock && ++m_jumpsBack > maxJumpsBack)
        throw Failure{FDIERROR_CORRUPT_CABINET};
    m_folder = folder;
    m_decoder.Restart();
    m_blocksRead = 0;
    m_nextBlock = m_folderEntry.dataOffset;
    m_blockOffset = 0;
    m_blockSize = 0;
}

void CabinetExtraction::ReadBlock() {
    if (m_blocksRead == m_folderEntry.blockCount) EndOfFolder();
    const auto header = m_cabinet.ReadAt<DataHeader>(m_nextBlock);
    const std::size_t headSize = encodedSize<DataHeader> + m_reserve.data;
    if (header.uncompressedSize > maxBlockSize || header.payloadSize > maxBlockSize + maxBlockOverhead)
        throw Failure{FDIERROR_CORRUPT_CABINET};
    BYTE* payload = m_decoder.PayloadRoom(header.payloadSize);
    m_cabinet.ReadAt(m_nextBlock + headSize, payload, header.payloadSize);
    if (header.checksum != 0 && header.checksum != BlockChecksum(header, {payload, header.payloadSize}))
        throw Failure{FDIERROR_CORRUPT_CABINET};
    if (header.uncompressedSize == 0) EndOfFolder();

    m_blockOffset += m_blockSize;
    m_blockSize = header.uncompressedSize;
    m_block = DecodeBlock(header);
    ++m_blocksRead;
    m_nextBlock += headSize + header.payloadSize;
    m_furthestBlock = std::max(m_furthestBlock, m_nextBlock);
}

const BYTE* CabinetExtraction::DecodeBlock(const DataHeader& header) {
    if ((m_folderEntry.compression & compressionMethodMask) == tcompTYPE_MSZIP) {
        const BYTE* block = m_decoder.Decode(header.payloadSize, header.uncompressedSize);
        if (block == nullptr) throw Failure{FDIERROR_MDI_FAIL};
        return block;
    }
    if (header.payloadSize != header.uncompressedSize) throw Failure{FDIERROR_CORRUPT_CABINET};
    return m_decoder.PayloadRoom(header.payloadSize);
}

// The file wants more data than the folder has here.
void CabinetExtraction::EndOfFolder() {
    if (m_file.folder != continuedToNext) throw Failure{FDIERROR_CORRUPT_CABINET};
    FDINOTIFICATION notification{};
    notification.psz1 = m_nextCabinet;
    notification.psz2 = m_nextDisk;
    notification.psz3 = m_path;
    notification.fdie = FDIERROR_NONE;
    Notify(fdintNEXT_CABINET, notification);
    throw Failure{FDIERROR_WRONG_CABINET};
}

}  // namespace

HFDI FDICreate(AllocFunction allocate, FreeFunction release, FdiOpenFunction open, FdiReadFunction read,
               FdiWriteFunction write, FdiCloseFunction close, FdiSeekFunction seek, int, ERF* errors) {
    if (errors == nullptr || allocate == nullptr || release == nullptr) return nullptr;
    *errors = ERF{};
    CabinetReader* reader = nullptr;
    RunReporting(*errors, fdiCodes, [&] {
        const Memory memory{allocate, release};
        const FdiCallbacks callbacks{open, read, write, close, seek};
        reader = CreateIn<CabinetReader>(memory, CabinetReader{*errors, memory, callbacks});
    });
    return reader;
}

BOOL FDIIsCabinet(HFDI context, FileHandle file, FDICABINETINFO* info) {
    const auto* reader = static_cast<CabinetReader*>(context);
    if (reader == nullptr || info == nullptr) return 0;
    *info = FDICABINETINFO{};
    return RunReporting(reader->errors, fdiCodes, [&] {
        BYTE bytes[encodedSize<Header>];
        const std::size_t got = ReadUpTo(reader->callbacks, file, bytes, sizeof(bytes));
        const Header header = DecodeAndCheckHeader(bytes, got);
        info->cbCabinet = static_cast<LONG>(header.cabinetSize);
        info->cFolders = header.folderCount;
        info->cFiles = header.fileCount;
        info->setID = header.setId;
        info->iCabinet = header.cabinetIndex;
        info->fReserve = (header.flags & hasReservedAreas) != 0;
        info->hasprev = (header.flags & hasPreviousCabinet) != 0;
        info->hasnext = (header.flags & hasNextCabinet) != 0;
    });
}

BOOL FDICopy(HFDI context, char* cabinetName, char* cabinetPath, int, FdiNotifyFunction notify,
             FdiDecryptFunction, void* user) {
    const auto* reader = static_cast<CabinetReader*>(context);
    if (reader == nullptr || cabinetName == nullptr || cabinetPath == nullptr || notify == nullptr) return 0;
    return RunReporting(reader->errors, fdiCodes, [&] {
        std::string name = std::string(cabinetPath) + cabinetName;
        const FileHandle handle = reader->callbacks.open(name.data(), openFlags, openMode);
        if (handle == invalidFileHandle) throw Failure{FDIERROR_CABINET_NOT_FOUND};
        CabinetExtraction(*reader, handle, cabinetPath, notify, user).Run();
    });
}

BOOL FDIDestroy(HFDI context) {
    auto* reader = static_cast<CabinetReader*>(context);
    if (reader == nullptr) return 0;
    const Memory memory = reader->memory;
    DestroyIn(memory, reader);
    return 1;
}

}  // namespace platform::cabinet
