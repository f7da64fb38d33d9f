// CheckCabinetLayout and ReadCabinetContents: one pass over a cabinet's header, entries and block headers.
#include "utilities/compression/cabinetlayout.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

#include "platform/cabinetformat.h"
#include "platform/deflate.h"
#include "utilities/utilitiesdll/bytebuffer.h"

namespace {

using namespace platform::cabinet;

constexpr int knownFlags = hasPreviousCabinet | hasNextCabinet | hasReservedAreas;
constexpr std::uint32_t largestPayload = maxBlockSize + maxBlockOverhead;
static_assert(cabinetHeaderSize == encodedSize<Header>);

/// What a folder's entry tells, and what its blocks hold together.
struct CheckedFolder {
    std::uint32_t blocksBegin;
    unsigned blockCount;
    WORD compression;
    std::uint64_t size;  ///< Uncompressed.
};

/// A file's entry.
struct CheckedFile {
    nvutil::CabinetEntry entry;
    std::uint32_t offset;  ///< In the folder's uncompressed data.
    WORD folder;
};

/// Whether there is such a method with such a level and window.
bool IsKnownCompression(WORD compression) {
    constexpr int largestLevel = 7;
    constexpr int largestWindow = 21;  // as a power of two
    const int level = compression >> 4 & 0x0F;
    const int window = compression >> 8;
    switch (compression & compressionMethodMask) {
        case tcompTYPE_QUANTUM:
            return level >= 1 && level <= largestLevel && window >= 10 && window <= largestWindow;
        case tcompTYPE_LZX:
            return window >= 15 && window <= largestWindow;
        default:
            return compression == tcompTYPE_NONE || compression == tcompTYPE_MSZIP;
    }
}

/// Checks one cabinet from front to back. Every step returns the code of the fault it found.
class LayoutChecker {
public:
    explicit LayoutChecker(CabOpenFile& file) : m_file(file) {}

    /// Any cabinet; see ReadCabinetContents.
    FDIERROR Check() {
        FDIERROR fault = CheckHeader();
        if (fault == FDIERROR_NONE) fault = CheckFolders();
        if (fault == FDIERROR_NONE) fault = CheckFiles();
        for (CheckedFolder& folder : m_folders) {
            if (fault == FDIERROR_NONE) fault = CheckBlocks(folder);
        }
        return fault == FDIERROR_NONE ? CheckExtents() : fault;
    }

    /// A cabinet that the library itself makes; see CheckCabinetLayout.
    FDIERROR CheckSingleFile() {
        m_isSingleFile = true;
        const FDIERROR fault = Check();
        if (fault != FDIERROR_NONE) return fault;
        const bool endsWithItsBlocks = m_folders[0].blockCount == 0 || m_position == m_cabinetSize;
        const bool isWhole = m_files[0].entry.size == m_folders[0].size && endsWithItsBlocks;
        return isWhole ? FDIERROR_NONE : FDIERROR_CORRUPT_CABINET;
    }

    std::uint32_t GetFileSize() const { return m_files.empty() ? 0 : m_files[0].entry.size; }

    /// Once the cabinet has been found to be sound.
    CabinetContents TakeContents() {
        CabinetContents contents;
        contents.cabinetSize = m_cabinetSize;
        contents.files.reserve(m_files.size());
        for (std::size_t i = 0; i < m_files.size(); ++i) {
            CheckedFile& file = m_files[i];
            const bool isLast = i + 1 == m_files.size() || m_files[i + 1].folder != file.folder;
            if (isLast) contents.expandedSize += std::uint64_t{file.offset} + file.entry.size;
            contents.files.push_back(std::move(file.entry));
        }
        return contents;
    }

private:
    struct Block {
        std::uint64_t begin;  ///< Of the payload.
        std::uint32_t payloadSize;
        std::uint32_t uncompressedSize;
        std::uint64_t history;  ///< Bytes of earlier blocks that the payload may refer to.
    };

    FDIERROR CheckHeader() {
        BYTE bytes[cabinetHeaderSize];
        int error = 0;
        const LONG length = m_file.Seek(0, 2, error);
        m_cabinetSize = cabinetHeaderSize;  // until the header tells
        if (length < 0 || !ReadAt(0, std::span(bytes))) return FDIERROR_NOT_A_CABINET;
        const FDIERROR fault = CheckCabinetHeader(bytes, static_cast<std::uint64_t>(length), m_cabinetSize);
        if (fault != FDIERROR_NONE) return fault;
        const auto header = Decode<Header>(bytes);
        m_position = header.firstFileOffset;
        m_folderCount = header.folderCount;
        m_fileCount = header.fileCount;
        if (m_isSingleFile && (m_folderCount != 1 || m_fileCount != 1)) return FDIERROR_CORRUPT_CABINET;
        m_foldersBegin = cabinetHeaderSize;
        if ((header.flags & hasReservedAreas) == 0) return FDIERROR_NONE;

        ReserveSizes sizes;
        if (!ReadAt(cabinetHeaderSize, sizes)) return FDIERROR_CORRUPT_CABINET;
        m_foldersBegin += std::uint32_t{encodedSize<ReserveSizes>} + sizes.header;
        m_folderReserve = sizes.folder;
        m_blockReserve = sizes.data;
        return FDIERROR_NONE;
    }

    FDIERROR CheckFolders() {
        std::uint64_t position = m_foldersBegin;
        for (unsigned i = 0; i < m_folderCount; ++i) {
            FolderEntry entry;
            if (!ReadAt(position, entry)) return FDIERROR_CORRUPT_CABINET;
            const WORD compression = entry.compression;
            const bool isPlain = compression == tcompTYPE_NONE || compression == tcompTYPE_MSZIP;
            if (m_isSingleFile ? !isPlain : !IsKnownCompression(compression)) return FDIERROR_BAD_COMPR_TYPE;
            m_folders.push_back({entry.dataOffset, entry.blockCount, compression, 0});
            position += encodedSize<FolderEntry> + m_folderReserve;
        }
        return m_position == position ? FDIERROR_NONE : FDIERROR_CORRUPT_CABINET;
    }

    FDIERROR CheckFiles() {
        for (unsigned i = 0; i < m_fileCount; ++i) {
            FileEntry entry;
            if (!ReadAt(m_position, entry)) return FDIERROR_CORRUPT_CABINET;
            m_position += encodedSize<FileEntry>;
            CheckedFile& file = m_files.emplace_back();
            file.entry.size = entry.size;
            file.offset = entry.offset;
            file.folder = entry.folder;
            file.entry.attributes = entry.attributes;
            if (file.folder >= m_folderCount || !ReadName(file.entry.name)) return FDIERROR_CORRUPT_CABINET;
            file.entry.method = m_folders[file.folder].compression & compressionMethodMask;
        }
        return FDIERROR_NONE;
    }

    /// A name of 1 to 255 bytes and its terminator.
    bool ReadName(std::string& out) {
        BYTE name[maxCabinetName];
        if (m_position > m_cabinetSize) return false;
        const auto room = std::min<std::uint64_t>(sizeof name, m_cabinetSize - m_position);
        if (!ReadAt(m_position, std::span(name).first(room))) return false;
        const void* const terminator = std::memchr(name, 0, room);
        if (terminator == nullptr || terminator == name) return false;
        const auto* const end = static_cast<const BYTE*>(terminator);
        out.assign(static_cast<const BYTE*>(name), end);
        m_position += out.size() + 1;
        return true;
    }

    /// The blocks of a folder, which follow those of the folder before, with or without a gap.
    FDIERROR CheckBlocks(CheckedFolder& folder) {
        if (folder.blockCount == 0) return FDIERROR_NONE;
        if (folder.blocksBegin < m_position) return FDIERROR_CORRUPT_CABINET;
        m_position = folder.blocksBegin;
        for (unsigned block = 0; block < folder.blockCount; ++block) {
            DataHeader header;
            if (!ReadAt(m_position, header)) return FDIERROR_CORRUPT_CABINET;
            m_position += encodedSize<DataHeader> + m_blockReserve;
            const Block found{.begin = m_position,
                              .payloadSize = header.payloadSize,
                              .uncompressedSize = header.uncompressedSize,
                              .history = std::min<std::uint64_t>(folder.size, maxBlockSize)};
            const bool last = block + 1 == folder.blockCount;
            if (found.uncompressedSize > maxBlockSize || (!last && found.uncompressedSize != maxBlockSize) ||
                (found.uncompressedSize == 0 && folder.blockCount != 1) || !CheckPayload(folder, found))
                return FDIERROR_CORRUPT_CABINET;
            m_position += found.payloadSize;
            folder.size += found.uncompressedSize;
        }
        return FDIERROR_NONE;
    }

    bool CheckPayload(const CheckedFolder& folder, const Block& block) {
        constexpr std::uint32_t signatureSize = sizeof blockSignature;
        BYTE start[signatureSize];
        if (block.payloadSize > largestPayload || block.begin + block.payloadSize > m_cabinetSize)
            return false;
        const bool isSigned = block.payloadSize >= signatureSize && ReadAt(block.begin, std::span(start)) &&
                              std::memcmp(start, blockSignature, signatureSize) == 0;
        const bool isStored = folder.compression == tcompTYPE_NONE;
        if (isStored && block.payloadSize != block.uncompressedSize) return false;
        if (isStored) return !(m_isSingleFile && isSigned && Expands(block));
        if (folder.compression != tcompTYPE_MSZIP) return true;
        if (!isSigned) return false;
        // Nothing is expanded of a folder without data, whatever the payload of its block.
        return block.uncompressedSize == 0 || Expands(block);
    }

    /// Whether a payload that begins as MSZIP's do expands to exactly the block's bytes.
    bool Expands(const Block& block) {
        constexpr std::uint32_t signatureSize = sizeof blockSignature;
        m_payload.resize(block.payloadSize - signatureSize);
        if (!ReadAt(block.begin + signatureSize, std::span(m_payload))) return false;
        const auto found = platform::WalkDeflate(m_payload, block.history, block.uncompressedSize);
        return found && found->size == block.uncompressedSize;
    }

    /// The files' places in the data of their folders.
    FDIERROR CheckExtents() const {
        unsigned folder = 0;
        std::uint64_t end = 0;
        for (const CheckedFile& file : m_files) {
            if (file.folder != folder) end = 0;
            if (file.folder < folder || file.offset < end) return FDIERROR_CORRUPT_CABINET;
            folder = file.folder;
            end = std::uint64_t{file.offset} + file.entry.size;
            if (end > m_folders[folder].size) return FDIERROR_CORRUPT_CABINET;
        }
        return FDIERROR_NONE;
    }

    /// Fills `out` with bytes of the cabinet; false when they do not all lie inside it.
    bool ReadAt(std::uint64_t position, std::span<BYTE> out) {
        int error = 0;
        return position + out.size() <= m_cabinetSize &&
               m_file.Seek(static_cast<LONG>(position), 0, error) == static_cast<LONG>(position) &&
               m_file.Read(out.data(), static_cast<unsigned>(out.size()), error) == out.size();
    }

    /// The same for one of the format's structures.
    template <class Structure>
    bool ReadAt(std::uint64_t position, Structure& out) {
        BYTE bytes[encodedSize<Structure>];
        if (!ReadAt(position, std::span(bytes))) return false;
        out = Decode<Structure>(bytes);
        return true;
    }

    CabOpenFile& m_file;
    bool m_isSingleFile = false;
    std::uint32_t m_cabinetSize = 0;
    std::uint32_t m_foldersBegin = 0;
    std::uint32_t m_folderReserve = 0;
    std::uint32_t m_blockReserve = 0;
    unsigned m_folderCount = 0;
    unsigned m_fileCount = 0;
    std::uint64_t m_position = 0;  ///< Behind what has been checked.
    std::vector<CheckedFolder> m_folders;
    std::vector<CheckedFile> m_files;
    ByteBuffer m_payload;  ///< Of the block under check.
};

}  // namespace

FDIERROR CheckCabinetHeader(std::span<const BYTE, cabinetHeaderSize> header, std::uint64_t fileSize,
                            std::uint32_t& cabinetSize) {
    const auto found = Decode<Header>(header.data());
    if (found.signature != headerSignature) return FDIERROR_NOT_A_CABINET;
    if (found.majorVersion != formatMajor || found.minorVersion != formatMinor)
        return FDIERROR_UNKNOWN_CABINET_VERSION;
    cabinetSize = found.cabinetSize;
    if (cabinetSize > fileSize) return FDIERROR_CORRUPT_CABINET;
    if ((found.flags & (hasPreviousCabinet | hasNextCabinet)) != 0) return FDIERROR_USER_ABORT;
    const bool isEmpty = found.folderCount == 0 || found.fileCount == 0;
    return isEmpty || (found.flags & ~knownFlags) != 0 ? FDIERROR_CORRUPT_CABINET : FDIERROR_NONE;
}

FDIERROR CheckCabinetLayout(CabOpenFile& file, DWORD& fileSize) {
    LayoutChecker checker(file);
    const FDIERROR fault = checker.CheckSingleFile();
    fileSize = checker.GetFileSize();
    return fault;
}

FDIERROR ReadCabinetContents(CabOpenFile& file, CabinetContents& contents) {
    LayoutChecker checker(file);
    const FDIERROR fault = checker.Check();
    if (fault == FDIERROR_NONE) contents = checker.TakeContents();
    return fault;
}
