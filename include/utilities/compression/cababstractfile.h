// CabAbstractFile: a file that a cabinet is read from, written to or made of, wherever its bytes are.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/cabinet.h"
#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// Error numbers that virtual files report to the cabinet library, with the C library's values.
enum CabFileError : int {
    cabFileErrorNone = 0,
    cabFileErrorNotFound = 2,
    cabFileErrorBadHandle = 9,
    cabFileErrorNoMemory = 12,
    cabFileErrorAccessDenied = 13,
    cabFileErrorInvalidArgument = 22,
};

/// Open flags of the cabinet library, with the platform's values. The low two bits say how a file is opened.
enum CabOpenFlags : int {
    cabOpenReadOnly = 0x0000,
    cabOpenWriteOnly = 0x0001,
    cabOpenReadWrite = 0x0002,
    cabOpenAccessMask = 0x0003,
    cabOpenSequential = 0x0020,
    cabOpenCreate = 0x0100,
    cabOpenBinary = 0x8000,
};

/// Open mode of a file that may be read and written.
inline constexpr int cabModeReadAndWrite = 0x0180;

/// The result of a read or write that failed.
inline constexpr unsigned cabFailedTransfer = 0xFFFFFFFF;

/// What a cabinet stores about a file besides its name and size.
struct CabFileAttributes {
    WORD date;        ///< DOS encoding.
    WORD time;        ///< DOS encoding.
    WORD attributes;  ///< DOS attribute bits.
};

/// One opening of a virtual file, with a position of its own that starts at 0. Destroying it closes it.
///
/// It must not outlive its file. Failures are told by the result and the error number; only allocation
/// failures leave as exceptions.
class NVUTIL_API CabOpenFile {
public:
    CabOpenFile() = default;
    CabOpenFile(const CabOpenFile&) = delete;
    CabOpenFile& operator=(const CabOpenFile&) = delete;
    virtual ~CabOpenFile();

    /// Reads from the position; fewer bytes than asked for only at the end of the file.
    virtual unsigned Read(void* out, unsigned bytes, int& error) = 0;
    /// Writes all bytes at the position.
    virtual unsigned Write(const void* bytes, unsigned length, int& error) = 0;
    /// Moves the position, also behind the end. @param origin  0 start, 1 position, 2 end
    /// @return the new position, or -1
    virtual LONG Seek(LONG distance, int origin, int& error) = 0;
};

/// A virtual file: a name and a way to open it.
///
/// A name is 8-bit text. Everything up to and including the last backslash is its path; other characters,
/// slashes among them, belong to the name.
class NVUTIL_API CabAbstractFile {
public:
    /// @param pathAndName  terminated 8-bit text
    explicit CabAbstractFile(const char* pathAndName);
    CabAbstractFile(const CabAbstractFile&) = delete;
    CabAbstractFile& operator=(const CabAbstractFile&) = delete;
    virtual ~CabAbstractFile();

    const std::string& GetPathAndName() const { return m_pathAndName; }
    std::string_view GetNameWithoutPath() const;
    /// With its closing backslash; empty when there is none.
    std::string_view GetPath() const;

    /// Where failures are described: a text that outlives its use, or null for nowhere.
    void SetErrorDetailsLocation(CXString* errorDetails) { m_errorDetails = errorDetails; }

    /// Opens the file.
    /// @param error  receives the error number on failure
    /// @return null on failure, which the error details then describe
    std::unique_ptr<CabOpenFile> OpenCabFile(int flags, int mode, int& error);

    /// The same values for every file, so that the same data gives the same cabinet on every run.
    virtual CabFileAttributes GetCabFileAttributes() const;

    /// A new, empty, writable file of the same kind with a name that no other file of the process has.
    virtual std::unique_ptr<CabAbstractFile> GetTempCabFile() const = 0;

protected:
    virtual std::unique_ptr<CabOpenFile> DoOpenCabFile(int flags, int mode, int& error) = 0;

    void AppendErrorDetails(const WChar* text);

private:
    std::string m_pathAndName;
    std::size_t m_nameBegin;
    CXString* m_errorDetails = nullptr;
};
