// The cabinet file format, version 1.3: its structures, their byte layout and the block checksum.
//
// A cabinet is: Header, ReserveSizes with the header's reserved area (when flagged), names of the
// neighbouring cabinets (when flagged), FolderEntry..., FileEntry with its name..., then the folders' blocks,
// each a DataHeader, a reserved area and the payload. All integers are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <tuple>
#include <type_traits>

#include "platform/types.h"

namespace platform::cabinet {

inline constexpr std::uint32_t headerSignature = 0x4643534D;  // "MSCF"
inline constexpr std::uint8_t formatMajor = 1;
inline constexpr std::uint8_t formatMinor = 3;

/// A block holds at most this many bytes of uncompressed data.
inline constexpr std::size_t maxBlockSize = 32768;
/// A block's payload is at most this much larger than its uncompressed data.
inline constexpr std::size_t maxBlockOverhead = 6144;
/// Cabinets, folders and files are addressed with signed 32-bit offsets.
inline constexpr std::uint32_t maxCabinetSize = 0x7FFFFFFF;
/// Longest name of a file, cabinet or disk, including its NUL.
inline constexpr std::size_t maxNameSize = 256;
/// Largest reserved areas of the header, of a folder and of a block.
inline constexpr unsigned maxHeaderReserve = 60000;
inline constexpr unsigned maxEntryReserve = 255;

enum HeaderFlags : std::uint16_t { hasPreviousCabinet = 1, hasNextCabinet = 2, hasReservedAreas = 4 };

/// Folder numbers of files that do not lie wholly in this cabinet.
enum ContinuedFolder : std::uint16_t {
    continuedFromPrevious = 0xFFFD,
    continuedToNext = 0xFFFE,
    continuedFromPreviousToNext = 0xFFFF,
};

/// What the payload of an MSZIP block begins with.
inline constexpr BYTE blockSignature[] = {'C', 'K'};

/// File attribute: to be run after extraction.
inline constexpr std::uint16_t executeAttribute = 0x40;
/// The bits of a compression type that name the method.
inline constexpr std::uint16_t compressionMethodMask = 0x0F;

struct Header {
    std::uint32_t signature = 0;        // 0
    std::uint32_t reserved1 = 0;        // 4
    std::uint32_t cabinetSize = 0;      // 8
    std::uint32_t reserved2 = 0;        // 12
    std::uint32_t firstFileOffset = 0;  // 16
    std::uint32_t reserved3 = 0;        // 20
    std::uint8_t minorVersion = 0;      // 24
    std::uint8_t majorVersion = 0;      // 25
    std::uint16_t folderCount = 0;      // 26
    std::uint16_t fileCount = 0;        // 28
    std::uint16_t flags = 0;            // 30
    std::uint16_t setId = 0;            // 32
    std::uint16_t cabinetIndex = 0;     // 34
};

struct ReserveSizes {
    std::uint16_t header = 0;  // 0
    std::uint8_t folder = 0;   // 2
    std::uint8_t data = 0;     // 3
};

struct FolderEntry {
    std::uint32_t dataOffset = 0;   // 0, of the first block, from the cabinet's start
    std::uint16_t blockCount = 0;   // 4
    std::uint16_t compression = 0;  // 6
};

struct FileEntry {
    std::uint32_t size = 0;        // 0
    std::uint32_t offset = 0;      // 4, in the folder's uncompressed data
    std::uint16_t folder = 0;      // 8
    std::uint16_t date = 0;        // 10
    std::uint16_t time = 0;        // 12
    std::uint16_t attributes = 0;  // 14, followed by the name and its NUL
};

struct DataHeader {
    std::uint32_t checksum = 0;          // 0, or 0 when the block has none
    std::uint16_t payloadSize = 0;       // 4
    std::uint16_t uncompressedSize = 0;  // 6, or 0 when the block goes on in the next cabinet
};

/// The fields of a structure in the order of their bytes.
template <class Structure>
inline constexpr std::tuple<> layoutOf{};
template <>
inline constexpr auto layoutOf<Header> = std::tuple(&Header::signature, &Header::reserved1,
                                                    &Header::cabinetSize, &Header::reserved2,
                                                    &Header::firstFileOffset, &Header::reserved3,
                                                    &Header::minorVersion, &Header::majorVersion,
                                                    &Header::folderCount, &Header::fileCount, &Header::flags,
                                                    &Header::setId, &Header::cabinetIndex);
template <>
inline constexpr auto layoutOf<ReserveSizes> = std::tuple(&ReserveSizes::header, &ReserveSizes::folder,
                                                          &ReserveSizes::data);
template <>
inline constexpr auto layoutOf<FolderEntry> = std::tuple(&FolderEntry::dataOffset, &FolderEntry::blockCount,
                                                         &FolderEntry::compression);
template <>
inline constexpr auto layoutOf<FileEntry> = std::tuple(&FileEntry::size, &FileEntry::offset,
                                                       &FileEntry::folder, &FileEntry::date, &FileEntry::time,
                                                       &FileEntry::attributes);
template <>
inline constexpr auto layoutOf<DataHeader> = std::tuple(&DataHeader::checksum, &DataHeader::payloadSize,
                                                        &DataHeader::uncompressedSize);

/// Number of bytes that a structure takes in the file.
template <class Structure>
inline constexpr std::size_t encodedSize = std::apply(
    [](auto... field) { return (std::size_t{0} + ... + sizeof(Structure{}.*field)); }, layoutOf<Structure>);

static_assert(encodedSize<Header> == 36 && encodedSize<ReserveSizes> == 4 && encodedSize<FolderEntry> == 8);
static_assert(encodedSize<FileEntry> == 16 && encodedSize<DataHeader> == 8);

/// Writes a structure's encodedSize bytes.
template <class Structure>
void Encode(const Structure& structure, BYTE* bytes) {
    const auto encodeField = [&bytes](auto value) {
        for (std::size_t i = 0; i < sizeof(value); ++i)
            *bytes++ = static_cast<BYTE>(value >> (8 * i));
    };
    std::apply([&](auto... field) { (encodeField(structure.*field), ...); }, layoutOf<Structure>);
}

/// Reads a structure from its encodedSize bytes.
template <class Structure>
Structure Decode(const BYTE* bytes) {
    Structure structure{};
    const auto decodeField = [&bytes](auto& value) {
        using Field = std::remove_reference_t<decltype(value)>;
        for (std::size_t i = 0; i < sizeof(value); ++i)
            value = static_cast<Field>(value | static_cast<Field>(Field{*bytes++} << (8 * i)));
    };
    std::apply([&](auto... field) { (decodeField(structure.*field), ...); }, layoutOf<Structure>);
    return structure;
}

/// The format's checksum of one run of bytes: the exclusive or of its little-endian 32-bit words, and of the
/// last one to three bytes taken as a big-endian number.
inline std::uint32_t Checksum(std::span<const BYTE> bytes) {
    std::uint32_t sum = 0;
    const std::size_t wholeWords = bytes.size() / 4 * 4;
    for (std::size_t i = 0; i < wholeWords; i += 4) {
        sum ^= bytes[i] | std::uint32_t{bytes[i + 1]} << 8 | std::uint32_t{bytes[i + 2]} << 16 |
               std::uint32_t{bytes[i + 3]} << 24;
    }
    std::uint32_t rest = 0;
    for (const BYTE byte : bytes.subspan(wholeWords))
        rest = rest << 8 | byte;
    return sum ^ rest;
}

/// A block's checksum: it covers the payload and, as one word, the two sizes. The reserved area in between is
/// left out, as cabinet.dll under Wine and libmspack have it; 7-Zip counts it in.
inline std::uint32_t BlockChecksum(const DataHeader& header, std::span<const BYTE> payload) {
    return Checksum(payload) ^ (header.payloadSize | std::uint32_t{header.uncompressedSize} << 16);
}

}  // namespace platform::cabinet
