// CabinetUnpacker: unpacks a cabinet file below a folder.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {

struct CabinetEntry;

/// How far a cabinet may expand before it is refused.
struct CabinetLimits {
    /// Of all data that is expanded, in bytes, whether files cover it or not.
    std::uint64_t totalSize = std::uint64_t{1} << 30;
    /// Of that size to the cabinet's own, without what follows it. MSZIP reaches 600 with nothing but zeros.
    std::uint64_t ratio = 1000;
    /// Files, and the folders that hold them below the target folder.
    std::uint64_t entries = 10000;
};

/// A file in a cabinet.
struct CabinetFile {
    CXString path;   ///< Below the folder that it is unpacked to, with "/" between names.
    DWORD size = 0;  ///< In bytes.
};

/// A cabinet, read whole and checked from end to end, that can be unpacked.
///
/// A cabinet holds one file or more in folders that are stored or compressed with MSZIP, LZX or Quantum. It
/// is refused when
/// - its structure is not sound or it belongs to a set of several cabinets;
/// - a name might lead out of the target folder or to a device (see ReadCabinetEntryPath);
/// - two files have one path, where the case of letters does not count, or a file stands where another one
///   needs a folder;
/// - it expands beyond the limits, which count folders too, before the first of them is made.
///
/// Messages begin with the name of the cabinet's file, or "the cabinet" for one in memory.
///
/// Objects are independent of each other and each is used by one thread at a time. Unpacking holds the lock
/// that serialises all cabinet work of the process.
class NVUTIL_API CabinetUnpacker {
public:
    /// Reads and checks a file.
    /// @param cabinetFile  path of a file with a cabinet of at most 1 GiB, whatever follows it
    /// @throws ExceptionCreateFileForReading, ExceptionReadFile when the file cannot be read
    /// @throws ExceptionCompression when the cabinet is refused
    explicit CabinetUnpacker(const CXString& cabinetFile, const CabinetLimits& limits = {});
    /// Checks a cabinet in memory; what follows it there is ignored.
    /// @throws ExceptionCompression when the cabinet is refused
    explicit CabinetUnpacker(ByteBuffer cabinet, const CabinetLimits& limits = {});
    CabinetUnpacker(const CabinetUnpacker&) = delete;
    CabinetUnpacker& operator=(const CabinetUnpacker&) = delete;
    ~CabinetUnpacker();

    /// The files in the order of the cabinet.
    const std::vector<CabinetFile>& GetFiles() const { return m_files; }

    /// Unpacks every file below a folder, which is created where it is missing.
    ///
    /// All files are first written beside their places, into a folder ".unpack-" of the target folder that is
    /// gone when this returns. Only when the last one is complete and on disk, and all folders are there, do
    /// they replace what was there, each in one step. So a damaged cabinet or a full disk changes no file. A
    /// failure of the system in between, an end of memory among them, or a file that another program holds
    /// open on Windows, leaves some files new and others old, but none half written. The path of the target
    /// folder may lead through links; below it none is followed: a link, a device or a folder in the place of
    /// a file, and anything but a folder in the place of a folder, is refused before anything is written. The
    /// times and attributes that the cabinet tells are not kept.
    /// @throws ExceptionCompression when the cabinet's data is damaged
    /// @throws ExceptionFileOperationCompression when a file or folder cannot be made
    /// @throws ExceptionCabinetLibraryConstructionFailure when the cabinet library cannot be had
    void UnpackTo(const CXString& targetFolder) const;

    /// Whether every file stands below a folder with its size, without regard to its bytes.
    bool IsUnpackedTo(const CXString& targetFolder) const;

private:
    CabinetUnpacker(const CXString& name, ByteBuffer cabinet, const CabinetLimits& limits);
    void ReadFiles(const CabinetLimits& limits);
    void CheckEntries(const CabinetLimits& limits) const;
    void CheckPathsDiffer() const;

    CXString m_name;  ///< For messages.
    ByteBuffer m_cabinet;
    std::vector<CabinetFile> m_files;
    std::vector<CabinetEntry> m_entries;  ///< The same files as they stand in the cabinet.
};

}  // namespace nvutil
