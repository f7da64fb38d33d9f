// Folders compressed with LZX or Quantum, read through libmspack.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/cabinetformat.h"

namespace platform::cabinet {

/// Where the bytes of a cabinet come from.
class CabinetSource {
public:
    virtual ~CabinetSource() = default;
    /// Reads bytes at any offset; fewer only at the cabinet's end.
    /// @throws Failure
    virtual std::size_t ReadUpTo(std::size_t offset, BYTE* bytes, std::size_t size) = 0;
};

/// Where the bytes of a file go.
class FileTarget {
public:
    virtual ~FileTarget() = default;
    /// @throws Failure
    virtual void Write(const BYTE* bytes, std::size_t size) = 0;
};

/// Extracts files by their number in the cabinet; those in ascending order in one pass over each folder. Its
/// memory is that of the C library, up to 4 MiB for LZX: libmspack cannot tell for whom it asks.
class MspackExtractor {
public:
    /// @param source  must outlive the extractor
    explicit MspackExtractor(CabinetSource& source);
    ~MspackExtractor();
    MspackExtractor(const MspackExtractor&) = delete;
    MspackExtractor& operator=(const MspackExtractor&) = delete;

    /// Hands a file's bytes over.
    /// @param number  of the file among all files of the cabinet, from 0
    /// @param entry   what the cabinet's table tells of the file
    /// @throws Failure when the cabinet is damaged, or the one of the source or the target
    void Extract(std::size_t number, const FileEntry& entry, FileTarget& target);

    /// Behind the last byte of the cabinet that any call has read.
    std::size_t GetFurthestByte() const;

private:
    class Session;
    std::unique_ptr<Session> m_session;  ///< Null until the first file is asked for.
    CabinetSource& m_source;
};

}  // namespace platform::cabinet
