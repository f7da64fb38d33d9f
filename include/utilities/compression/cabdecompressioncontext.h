// CabDecompressionContext: extracts the file of a cabinet.
#pragma once

#include "utilities/compression/cabcontext.h"

/// The text of an error code of the cabinet reader, such as "FDIERROR_NONE (No error)".
const WChar* GetFdiErrorText(int operationError);

/// What the cabinet reader tells its user.
class NVUTIL_API CabFdiCallbacks {
public:
    using FileHandle = platform::cabinet::FileHandle;

    virtual ~CabFdiCallbacks();
    virtual FileHandle DoFdiNotify(platform::cabinet::FDINOTIFICATIONTYPE type,
                                   platform::cabinet::FDINOTIFICATION& notification) = 0;
};

/// Extracts the single file of a cabinet into the destination file, from its first byte.
///
/// The destination is the file that has the name stored in the cabinet. A cabinet is read only when its
/// structure is sound from end to end; see CheckCabinetLayout for the rules. What follows the cabinet in the
/// source file is ignored.
class NVUTIL_API CabDecompressionContext : public CabContext, public CabFdiCallbacks {
public:
    using FileHandle = platform::cabinet::FileHandle;

    CabDecompressionContext(CabAbstractFile& source, CabAbstractFile& destination);
    ~CabDecompressionContext() override;

    /// Makes DecompressSourceFile refuse, before it writes anything, a file of any other size.
    void ExpectFileSize(DWORD size);

    /// Runs the whole operation.
    /// @throws ExceptionFileOperationCompression when the source file cannot be opened
    /// @throws ExceptionCompression when the source is not a cabinet or is damaged, when its file has another
    ///         name or size than expected, and when the destination cannot be written
    /// @throws ExceptionCabinetLibraryConstructionFailure when the cabinet library cannot be had
    void DecompressSourceFile();
    /// Runs all of it but the extraction, and so tells at little cost whether the structure is sound.
    /// @throws what DecompressSourceFile throws before it writes
    void CheckSourceFile();

    CXString CreateDisplayStringFromOperationError(int operationError) const override;

    FileHandle DoFdiNotify(platform::cabinet::FDINOTIFICATIONTYPE type,
                           platform::cabinet::FDINOTIFICATION& notification) override;

    // What the cabinet library calls. The file callbacks have no user pointer: they serve the context that
    // the calling thread is running, and fail when there is none. No exception leaves these.
    static FileHandle NV_CABINET_CALL sfnFdiOpenCallback(char* name, int flags, int mode);
    static unsigned NV_CABINET_CALL sfnFdiReadCallback(FileHandle handle, void* out, unsigned bytes);
    static unsigned NV_CABINET_CALL sfnFdiWriteCallback(FileHandle handle, void* bytes, unsigned length);
    static int NV_CABINET_CALL sfnFdiCloseCallback(FileHandle handle);
    static LONG NV_CABINET_CALL sfnFdiSeekCallback(FileHandle handle, LONG distance, int origin);
    static FileHandle NV_CABINET_CALL sfnFdiNotifyCallback(platform::cabinet::FDINOTIFICATIONTYPE type,
                                                           platform::cabinet::FDINOTIFICATION* notification);

protected:
    /// Lets the cabinet library go through the source file and ask DoFdiNotify about each file in it. Unlike
    /// DecompressSourceFile this does not check the cabinet first.
    /// @return whether all went well; if not, m_errorInfo and m_exceptionInCallback tell why
    bool CopyFiles();

private:
    static constexpr std::int64_t anySize = -1;

    /// Runs a callback's work in the context that the calling thread is running.
    template <class Result, class Action>
    static Result GuardCurrent(Result failure, Action action) noexcept;

    void Run(bool extracts);
    bool CreateLibraryContext();
    bool DestroyLibraryContext();
    bool CallFdiCopy(const WChar* messageSuffix);
    void OpenCabinetContext();
    void ValidateCabinet();
    void CheckLayout(FileHandle handle);
    void DecompressCabinetFile();
    /// @param success  whether the operation went well, so that a failure to close is one of its own
    void CloseCabinetContext(bool success);

    std::int64_t m_expectedSize = anySize;
    DWORD m_fileSize = 0;              ///< What the checked cabinet says.
    std::uint64_t m_bytesWritten = 0;  ///< What the library wrote.
};
