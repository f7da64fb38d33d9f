// CheckCabinetLayout: one pass over a cabinet's header, entries and block headers.
#include "utilities/compression/cabinetlayout.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "utilities/compression/mszippayload.h"
#include "utilities/utilitiesdll/bytebuffer.h"

namespace {

using namespace platform::cabinet;

constexpr std::uint32_t signature = 0x4643534D;  // "MSCF"
constexpr WORD version = 0x0103;
constexpr WORD flagPreviousCabinet = 0x0001;
constexpr WORD flagNextCabinet = 0x0002;
constexpr WORD flagReservedAreas = 0x0004;
constexpr WORD knownFlags = flagPreviousCabinet | flagNextCabinet | flagReservedAreas;

constexpr std::uint32_t headerSize = 36;
constexpr std::uint32_t reserveSizesSize = 4;
constexpr std::uint32_t folderEntrySize = 8;
constexpr std::uint32_t fileEntrySize = 16;
constexpr std::uint32_t blockHeaderSize = 8;
constexpr std::uint32_t largestBlock = 32768;
constexpr std::uint32_t largestPayload = largestBlock + 6144;  // what the format allows for expansion
constexpr BYTE blockSignature[] = {'C', 'K'};

WORD WordAt(const BYTE* bytes) {
    return static_cast<WORD>(bytes[0] | bytes[1] << 8);
}

std::uint32_t DwordAt(const BYTE* bytes) {
    return WordAt(bytes) | static_cast<std::uint32_t>(WordAt(bytes + 2)) << 16;
}

/// Checks one cabinet from front to back. Every step returns the code of the fault it found.
class LayoutChecker {
public:
    explicit LayoutChecker(CabOpenFile& file) : m_file(file) {}

    FDIERROR Check() {
        FDIERROR fault = CheckHeader();
        if (fault == FDIERROR_NONE) fault = CheckFolder();
        if (fault == FDIERROR_NONE) fault = CheckFile();
        if (fault == FDIERROR_NONE) fault = CheckBlocks();
        return fault;
    }

    std::uint32_t GetFileSize() const { return m_fileSize; }

private:
    struct Block {
        std::uint64_t begin;  ///< Of the payload.
        std::uint32_t payloadSize;
        std::uint32_t uncompressedSize;
        std::uint64_t history;  ///< Bytes of earlier blocks that the payload may refer to.
        bool hasChecksum;
    };

    FDIERROR CheckHeader() {
        BYTE header[headerSize];
        int error = 0;
        const LONG length = m_file.Seek(0, 2, error);
        m_cabinetSize = headerSize;  // until the header tells
        if (length < static_cast<LONG>(headerSize) || !ReadAt(0, header)) return FDIERROR_NOT_A_CABINET;
        if (DwordAt(header) != signature) return FDIERROR_NOT_A_CABINET;
        if (WordAt(header + 24) != version) return FDIERROR_UNKNOWN_CABINET_VERSION;
        m_cabinetSize = DwordAt(header + 8);
        m_fileEntryBegin = DwordAt(header + 16);
        const WORD flags = WordAt(header + 30);
        if (m_cabinetSize > static_cast<std::uint32_t>(length)) return FDIERROR_CORRUPT_CABINET;
        if ((flags & (flagPreviousCabinet | flagNextCabinet)) != 0) return FDIERROR_USER_ABORT;
        if (WordAt(header + 26) != 1 || WordAt(header + 28) != 1 || (flags & ~knownFlags) != 0)
            return FDIERROR_CORRUPT_CABINET;
        m_folderEntryBegin = headerSize;
        if ((flags & flagReservedAreas) == 0) return FDIERROR_NONE;

        BYTE sizes[reserveSizesSize];
        if (!ReadAt(headerSize, sizes)) return FDIERROR_CORRUPT_CABINET;
        m_folderEntryBegin += reserveSizesSize + WordAt(sizes);
        m_folderReserve = sizes[2];
        m_blockReserve = sizes[3];
        return FDIERROR_NONE;
    }

    FDIERROR CheckFolder() {
        BYTE entry[folderEntrySize];
        if (!ReadAt(m_folderEntryBegin, entry)) return FDIERROR_CORRUPT_CABINET;
        m_blocksBegin = DwordAt(entry);
        m_blockCount = WordAt(entry + 4);
        const WORD compression = WordAt(entry + 6);
        m_isStored = compression == tcompTYPE_NONE;
        return m_isStored || compression == tcompTYPE_MSZIP ? FDIERROR_NONE : FDIERROR_BAD_COMPR_TYPE;
    }

    FDIERROR CheckFile() {
        BYTE entry[fileEntrySize];
        const std::uint64_t entriesEnd = m_folderEntryBegin + folderEntrySize + m_folderReserve;
        if (m_fileEntryBegin < entriesEnd || !ReadAt(m_fileEntryBegin, entry))
            return FDIERROR_CORRUPT_CABINET;
        m_fileSize = DwordAt(entry);
        const bool wholeFolder = DwordAt(entry + 4) == 0 && WordAt(entry + 8) == 0;
        return wholeFolder && CheckName(m_fileEntryBegin + std::uint64_t{fileEntrySize})
                   ? FDIERROR_NONE
                   : FDIERROR_CORRUPT_CABINET;
    }

    /// A name of 1 to 255 bytes and its terminator, followed by the blocks or by a gap.
    bool CheckName(std::uint64_t begin) {
        BYTE name[maxCabinetName];
        if (begin > m_cabinetSize) return false;
        const auto room = std::min<std::uint64_t>(sizeof name, m_cabinetSize - begin);
        if (!ReadAt(begin, std::span(name).first(room))) return false;
        const void* const terminator = std::memchr(name, 0, room);
        if (terminator == nullptr || terminator == name) return false;
        m_entriesEnd = begin + static_cast<std::uint64_t>(static_cast<const BYTE*>(terminator) - name) + 1;
        return true;
    }

    FDIERROR CheckBlocks() {
        std::uint64_t position = m_blocksBegin;
        std::uint64_t total = 0;
        if (m_blockCount != 0 && position < m_entriesEnd) return FDIERROR_CORRUPT_CABINET;
        for (unsigned block = 0; block < m_blockCount; ++block) {
            BYTE header[blockHeaderSize];
            if (!ReadAt(position, header)) return FDIERROR_CORRUPT_CABINET;
            position += blockHeaderSize + m_blockReserve;
            const Block found{.begin = position,
                              .payloadSize = WordAt(header + 4),
                              .uncompressedSize = WordAt(header + 6),
                              .history = std::min<std::uint64_t>(total, largestBlock),
                              .hasChecksum = DwordAt(header) != 0};
            const bool last = block + 1 == m_blockCount;
            if (found.uncompressedSize > largestBlock || (!last && found.uncompressedSize != largestBlock) ||
                (found.uncompressedSize == 0 && m_blockCount != 1) || !CheckPayload(found))
                return FDIERROR_CORRUPT_CABINET;
            position += found.payloadSize;
            total += found.uncompressedSize;
        }
        const bool isWhole = total == m_fileSize && (m_blockCount == 0 || position == m_cabinetSize);
        return isWhole ? FDIERROR_NONE : FDIERROR_CORRUPT_CABINET;
    }

    bool CheckPayload(const Block& block) {
        constexpr std::uint32_t signatureSize = sizeof blockSignature;
        BYTE start[signatureSize];
        if (block.payloadSize > largestPayload || block.begin + block.payloadSize > m_cabinetSize)
            return false;
        const bool isSigned = block.payloadSize >= signatureSize && ReadAt(block.begin, start) &&
                              std::memcmp(start, blockSignature, signatureSize) == 0;
        if (m_isStored) return block.payloadSize == block.uncompressedSize && !(isSigned && Expands(block));
        if (!isSigned) return false;
        // Nothing is expanded of a folder without data, whatever the payload of its block.
        return (readerChecksPayloads && block.hasChecksum) || block.uncompressedSize == 0 || Expands(block);
    }

    /// Whether a payload that begins as MSZIP's do expands to exactly the block's bytes.
    bool Expands(const Block& block) {
        constexpr std::uint32_t signatureSize = sizeof blockSignature;
        m_payload.resize(block.payloadSize - signatureSize);
        return ReadAt(block.begin + signatureSize, m_payload) &&
               MszipPayloadFillsBlock(m_payload, block.history, block.uncompressedSize);
    }

    /// Fills `out` with bytes of the cabinet; false when they do not all lie inside it.
    bool ReadAt(std::uint64_t position, std::span<BYTE> out) {
        int error = 0;
        return position + out.size() <= m_cabinetSize &&
               m_file.Seek(static_cast<LONG>(position), 0, error) == static_cast<LONG>(position) &&
               m_file.Read(out.data(), static_cast<unsigned>(out.size()), error) == out.size();
    }

    CabOpenFile& m_file;
    std::uint32_t m_cabinetSize = 0;
    std::uint32_t m_folderEntryBegin = 0;
    std::uint32_t m_folderReserve = 0;
    std::uint32_t m_blockReserve = 0;
    std::uint32_t m_fileEntryBegin = 0;
    std::uint64_t m_entriesEnd = 0;
    std::uint32_t m_fileSize = 0;
    std::uint32_t m_blocksBegin = 0;
    unsigned m_blockCount = 0;
    bool m_isStored = false;
    ByteBuffer m_payload;  ///< Of the block under check.
};

}  // namespace

FDIERROR CheckCabinetLayout(CabOpenFile& file, DWORD& fileSize) {
    LayoutChecker checker(file);
    const FDIERROR fault = checker.Check();
    fileSize = checker.GetFileSize();
    return fault;
}
