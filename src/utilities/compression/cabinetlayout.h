// The check that a cabinet passes before the cabinet library gets to see it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/cabinet.h"
#include "platform/types.h"
#include "utilities/compression/cababstractfile.h"

inline constexpr std::size_t cabinetHeaderSize = 36;

/// Checks what the first bytes of a file tell about the cabinet in it.
/// @param cabinetSize  receives the size of the cabinet, at most that of the file
/// @return FDIERROR_NONE, or the code that fits the fault
platform::cabinet::FDIERROR CheckCabinetHeader(std::span<const BYTE, cabinetHeaderSize> header,
                                               std::uint64_t fileSize, std::uint32_t& cabinetSize);

/// Checks that a file begins with a sound cabinet whose single file can be extracted.
///
/// Cabinets come from places that other processes can write to, and cabinet libraries differ in what damage
/// they survive. So both builds accept exactly the cabinets that hold to these rules:
/// - version 1.3, not part of a set, no longer than the file; reserved areas are allowed and skipped;
/// - the last block ends where the cabinet does;
/// - one folder, with MSZIP compression or none, and one file, which is all that the folder holds;
/// - folder, file entry (a name of 1 to 255 bytes) and every block lie inside the cabinet, and the file entry
///   follows the folder at once;
/// - every block but the last has 32,768 bytes, the last has fewer or as many, and a block without bytes is
///   the only one of its folder;
/// - in a folder without compression a payload has exactly the block's bytes, and these are not a sound MSZIP
///   payload: no checksum covers the compression type, so that such a folder is an MSZIP folder with a
///   damaged type;
/// - with MSZIP the payload of a block begins with "CK" and expands to exactly the block's bytes, with codes
///   that are complete, empty and unused, or one bit long.
///
/// @param file      read from anywhere; its position is not restored
/// @param fileSize  receives the size of the file in the cabinet, at most 32,768 times the number of blocks
/// @return FDIERROR_NONE, or the code that fits the fault
platform::cabinet::FDIERROR CheckCabinetLayout(CabOpenFile& file, DWORD& fileSize);

namespace nvutil {

/// A file as the tables of a cabinet describe it.
struct CabinetEntry {
    std::string name;     ///< 1 to 255 bytes, as they stand in the cabinet.
    DWORD size = 0;       ///< In bytes, uncompressed.
    WORD attributes = 0;  ///< DOS attribute bits, and `cabinetNameIsUtf8`.
    WORD method = 0;      ///< How its folder is compressed, as tcompTYPE_MSZIP.
};

}  // namespace nvutil

/// What the tables of a cabinet tell.
struct CabinetContents {
    std::uint32_t cabinetSize = 0;            ///< In bytes, without what follows the cabinet in its file.
    std::vector<nvutil::CabinetEntry> files;  ///< In the order of the cabinet.
    /// What extracting all files expands, in bytes: each folder from its beginning to the end of its last
    /// file, whether or not files cover what lies before.
    std::uint64_t expandedSize = 0;
};

/// Attribute of a file whose name is UTF-8 and not in the ANSI code page.
inline constexpr WORD cabinetNameIsUtf8 = 0x80;

/// Checks that a file begins with a sound cabinet, whatever the number of its folders and files.
///
/// The rules are those of CheckCabinetLayout with these differences:
/// - any number of folders, compressed with MSZIP, LZX, Quantum (of level 1 to 7) or not at all; their blocks
/// lie in the order
///   of the folders and no two share bytes, so that reading a cabinet takes time in proportion to its size;
///   bytes may follow the last;
/// - one file or more, in the order of their folders and of their data, which lies inside the folder; no two
///   files share data;
/// - a stored payload may be anything, and what LZX and Quantum payloads hold is left to the library.
///
/// @param file      read from anywhere; its position is not restored
/// @param contents  unchanged when the cabinet is refused
/// @return FDIERROR_NONE, or the code that fits the fault
platform::cabinet::FDIERROR ReadCabinetContents(CabOpenFile& file, CabinetContents& contents);
