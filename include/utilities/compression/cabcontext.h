// CabContext: what one cabinet operation needs, whether it makes a cabinet or reads one.
#pragma once

#include <exception>

#include "platform/cabinet.h"
#include "platform/types.h"
#include "utilities/compression/cababstractfile.h"
#include "utilities/compression/cabfileobjectmanager.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/ownedcriticalresource.h"

/// Bytes that a name may have in the cabinet library's interface, its terminator included.
inline constexpr int cabNameCapacity = 256;

/// Runs one cabinet operation between two virtual files, which must outlive it.
///
/// A context is used by one thread from construction to destruction. The message of every exception that a
/// context throws is CreateDisplayStringFromCurrentCabinetErrors, a space, the error details collected so far
/// and a text beginning with " while " that names the step.
class NVUTIL_API CabContext {
public:
    using FileHandle = platform::cabinet::FileHandle;

    CabContext(const CabContext&) = delete;
    CabContext& operator=(const CabContext&) = delete;
    virtual ~CabContext();
    /// Does nothing.
    virtual void Dump() const;
    /// The text of an operation code of the cabinet library, such as "FCIERR_NONE (No error)".
    virtual CXString CreateDisplayStringFromOperationError(int operationError) const = 0;

    /// "4: FCIERR_TEMP_FILE (Could not create a temporary file) (err type=0)", or "None".
    CXString CreateDisplayStringFromCurrentCabinetErrors() const;

    // Copies of a file's name as terminated 8-bit text.
    //
    // @param capacity       bytes available at `out`; no more than cabNameCapacity are used
    // @param messageSuffix  end of the exception's message
    // @throws ExceptionCompression when the name does not fit
    void GetNameWithoutPathFromFileObject(const CabAbstractFile& file, char* out, int capacity,
                                          const WChar* messageSuffix) const;
    void GetPathFromFileObject(const CabAbstractFile& file, char* out, int capacity,
                               const WChar* messageSuffix) const;
    void GetPathAndNameFromFileObject(const CabAbstractFile& file, char* out, int capacity,
                                      const WChar* messageSuffix) const;

    // The functions of the cabinet library.
    // @throws ExceptionCabinetLibraryConstructionFailure when the library cannot be had
    static platform::cabinet::FciCreateFunction GetFciCreatePfn();
    static platform::cabinet::FciAddFileFunction GetFciAddFilePfn();
    static platform::cabinet::FciFlushCabinetFunction GetFciFlushCabinetPfn();
    static platform::cabinet::FciFlushFolderFunction GetFciFlushFolderPfn();
    static platform::cabinet::FciDestroyFunction GetFciDestroyPfn();
    static platform::cabinet::FdiCreateFunction GetFdiCreatePfn();
    static platform::cabinet::FdiIsCabinetFunction GetFdiIsCabinetPfn();
    static platform::cabinet::FdiCopyFunction GetFdiCopyPfn();
    static platform::cabinet::FdiDestroyFunction GetFdiDestroyPfn();

    /// The lock that whoever runs an operation holds for its whole duration: one at a time in the process.
    static CriticalResource& GetOperationLock();

    CabFileObjectManager& GetCabFileObjectManager() { return m_fileObjectManager; }
    platform::cabinet::ERF& GetErrorInfo() { return m_errorInfo; }
    CXString& GetErrorDetailsRef() { return m_errorDetails; }

protected:
    /// Registers both files and lets them describe their failures here.
    CabContext(CabAbstractFile& source, CabAbstractFile& destination);

    /// The message of an exception; see the class.
    CXString CreateFailureMessage(const WChar* messageSuffix) const;

    // File operations as the library's callbacks need them: a failure is appended to the error details and
    // given back as a result and an error number.
    FileHandle OpenCabFile(const char* name, int flags, int mode, int& error);
    unsigned ReadCabFile(FileHandle handle, void* out, unsigned bytes, int& error);
    unsigned WriteCabFile(FileHandle handle, const void* bytes, unsigned length, int& error);
    LONG SeekCabFile(FileHandle handle, LONG distance, int origin, int& error);
    int CloseCabFile(FileHandle handle, int& error);

    /// Runs a callback's work: no exception may pass through the cabinet library's own frames.
    template <class Result, class Action>
    Result GuardCallback(Result failure, Action action) noexcept {
        try {
            return action();
        } catch (...) {
            NoteExceptionInCallback();
            return failure;
        }
    }

    CabAbstractFile& m_source;
    CabAbstractFile& m_destination;
    CabFileObjectManager m_fileObjectManager;
    platform::cabinet::ERF m_errorInfo{};
    CXString m_errorDetails;
    void* m_libraryHandle = nullptr;           ///< FCI or FDI context of the running operation.
    std::exception_ptr m_exceptionInCallback;  ///< The last that GuardCallback kept back; null when none was.

private:
    CabOpenFile* FindOpenFile(FileHandle handle, int& error);
    /// The result, which is added to the details when it is a failure.
    template <class Result>
    Result TellFailure(const WChar* operation, Result result, Result failure, int error);
    void AppendFailure(const WChar* operation, int error);
    void NoteExceptionInCallback() noexcept;
    void CopyName(std::string_view name, char* out, int capacity, const WChar* messageSuffix) const;
};
