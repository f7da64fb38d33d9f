// CabCompressionContext: makes a cabinet of one file.
#pragma once

#include "utilities/compression/cabcontext.h"

/// What the cabinet writer asks of its user.
class NVUTIL_API CabFciCallbacks {
public:
    using FileHandle = platform::cabinet::FileHandle;

    virtual ~CabFciCallbacks();
    virtual FileHandle DoFciOpen(const char* name, int flags, int mode, int& error) = 0;
    virtual unsigned DoFciRead(FileHandle handle, void* out, unsigned bytes, int& error) = 0;
    virtual unsigned DoFciWrite(FileHandle handle, const void* bytes, unsigned length, int& error) = 0;
    virtual int DoFciClose(FileHandle handle, int& error) = 0;
    virtual LONG DoFciSeek(FileHandle handle, LONG distance, int origin, int& error) = 0;
    virtual int DoFciDelete(const char* name, int& error) = 0;
    /// Makes a temporary file and writes its name into a buffer of `capacity` bytes.
    virtual bool DoFciGetTempFile(char* name, int capacity) = 0;
    /// Tells what a cabinet stores about a file, and opens it.
    virtual FileHandle DoFciGetOpenInfo(const char* name, WORD& date, WORD& time, WORD& attributes,
                                        int& error) = 0;
    virtual LONG DoFciGetStatus(unsigned type, DWORD first, DWORD second) = 0;
};

/// Makes a cabinet that holds the source file, and writes it over the destination file from its first byte.
///
/// The cabinet has the set identifier 12345, one folder with MSZIP compression and one file. Its file is
/// dated as CabAbstractFile::GetCabFileAttributes says, so equal sources give equal cabinets.
class NVUTIL_API CabCompressionContext : public CabContext, public CabFciCallbacks {
public:
    using FileHandle = platform::cabinet::FileHandle;

    CabCompressionContext(CabAbstractFile& source, CabAbstractFile& destination);
    ~CabCompressionContext() override;

    /// Runs the whole operation.
    /// @throws ExceptionCompression when the cabinet library or one of the files fails
    /// @throws ExceptionCabinetLibraryConstructionFailure when the cabinet library cannot be had
    void CompressSourceFile();

    CXString CreateDisplayStringFromOperationError(int operationError) const override;

    FileHandle DoFciOpen(const char* name, int flags, int mode, int& error) override;
    unsigned DoFciRead(FileHandle handle, void* out, unsigned bytes, int& error) override;
    unsigned DoFciWrite(FileHandle handle, const void* bytes, unsigned length, int& error) override;
    int DoFciClose(FileHandle handle, int& error) override;
    LONG DoFciSeek(FileHandle handle, LONG distance, int origin, int& error) override;
    /// Only temporary files can be deleted.
    int DoFciDelete(const char* name, int& error) override;
    bool DoFciGetTempFile(char* name, int capacity) override;
    FileHandle DoFciGetOpenInfo(const char* name, WORD& date, WORD& time, WORD& attributes,
                                int& error) override;
    LONG DoFciGetStatus(unsigned type, DWORD first, DWORD second) override;

    // What the cabinet library calls. No exception leaves these.
    static void* NV_CABINET_CALL sfnFciAllocCallback(DWORD bytes);
    static void NV_CABINET_CALL sfnFciFreeCallback(void* memory);
    static FileHandle NV_CABINET_CALL sfnFciOpenCallback(char* name, int flags, int mode, int* error,
                                                         void* user);
    static unsigned NV_CABINET_CALL sfnFciReadCallback(FileHandle handle, void* out, unsigned bytes,
                                                       int* error, void* user);
    static unsigned NV_CABINET_CALL sfnFciWriteCallback(FileHandle handle, void* bytes, unsigned length,
                                                        int* error, void* user);
    static int NV_CABINET_CALL sfnFciCloseCallback(FileHandle handle, int* error, void* user);
    static LONG NV_CABINET_CALL sfnFciSeekCallback(FileHandle handle, LONG distance, int origin, int* error,
                                                   void* user);
    static int NV_CABINET_CALL sfnFciDeleteCallback(char* name, int* error, void* user);
    static BOOL NV_CABINET_CALL sfnFciGetTempFileCallback(char* name, int capacity, void* user);
    static BOOL NV_CABINET_CALL sfnFciGetNextCabinetCallback(platform::cabinet::CCAB* parameters,
                                                             DWORD previousSize, void* user);
    static FileHandle NV_CABINET_CALL sfnFciGetOpenInfoCallback(char* name, WORD* date, WORD* time,
                                                                WORD* attributes, int* error, void* user);
    static LONG NV_CABINET_CALL sfnFciStatusCallback(unsigned type, DWORD first, DWORD second, void* user);
    static int NV_CABINET_CALL sfnFciFilePlacedCallback(platform::cabinet::CCAB* parameters, char* name,
                                                        LONG size, BOOL continuation, void* user);

private:
    void OpenCabinetContext();
    void AddFile();
    void FlushFolder();
    void FlushCabinet();
    /// @param success  whether the operation went well, so that a failure to close is one of its own
    void CloseCabinetContext(bool success);
};
