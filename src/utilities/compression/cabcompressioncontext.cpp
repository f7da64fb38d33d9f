// CabCompressionContext: the steps of making a cabinet and the writer's callbacks.
#include "utilities/compression/cabcompressioncontext.h"

#include <algorithm>
#include <array>
#include <new>

#include "utilities/compression/cabbufferasfile.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace cabinet = platform::cabinet;

namespace {

constexpr DWORD unlimitedSize = 0x7FFFFFFF;  // one cabinet and one folder, never a spanned set
constexpr WORD cabinetSetId = 12345;

constexpr std::array operationErrorTexts{
    NV_TEXT("FCIERR_NONE (No error)"),
    NV_TEXT("FCIERR_OPEN_SRC (Failure opening file to be stored in cabinet)"),
    NV_TEXT("FCIERR_READ_SRC (Failure reading file to be stored in cabinet)"),
    NV_TEXT("FCIERR_ALLOC_FAIL (Out of memory in FCI)"),
    NV_TEXT("FCIERR_TEMP_FILE (Could not create a temporary file)"),
    NV_TEXT("FCIERR_BAD_COMPR_TYPE (Unknown compression type)"),
    NV_TEXT("FCIERR_CAB_FILE (Could not create cabinet file)"),
    NV_TEXT("FCIERR_USER_ABORT (Client requested abort)"),
    NV_TEXT("FCIERR_MCI_FAIL (No error)"),  // this text is deliberately that of no error
};

CabCompressionContext& ContextOf(void* user) {
    return *static_cast<CabCompressionContext*>(user);
}

}  // namespace

CabFciCallbacks::~CabFciCallbacks() = default;

CabCompressionContext::CabCompressionContext(CabAbstractFile& source, CabAbstractFile& destination)
    : CabContext(source, destination) {}

CabCompressionContext::~CabCompressionContext() = default;

void CabCompressionContext::CompressSourceFile() {
    try {
        OpenCabinetContext();
        AddFile();
        FlushFolder();
        FlushCabinet();
    } catch (...) {
        CloseCabinetContext(false);
        throw;
    }
    CloseCabinetContext(true);
}

void CabCompressionContext::OpenCabinetContext() {
    constexpr auto suffix =
        NV_TEXT(" while initializing CCAB structure in CabCompressionContext::OpenCabinetContext()");
    cabinet::CCAB parameters{};
    parameters.cb = unlimitedSize;
    parameters.cbFolderThresh = unlimitedSize;
    parameters.iCab = 1;
    parameters.setID = cabinetSetId;
    GetNameWithoutPathFromFileObject(m_destination, parameters.szCab, cabinet::maxCabinetName, suffix);
    GetPathFromFileObject(m_destination, parameters.szCabPath, cabinet::maxCabinetPath, suffix);
    m_libraryHandle = GetFciCreatePfn()(&m_errorInfo, &sfnFciFilePlacedCallback, &sfnFciAllocCallback,
                                        &sfnFciFreeCallback, &sfnFciOpenCallback, &sfnFciReadCallback,
                                        &sfnFciWriteCallback, &sfnFciCloseCallback, &sfnFciSeekCallback,
                                        &sfnFciDeleteCallback, &sfnFciGetTempFileCallback, &parameters, this);
    if (m_libraryHandle == nullptr) {
        NV_THROW(ExceptionCompression, "CabCompressionContext::OpenCabinetContext", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(suffix));
    }
}

void CabCompressionContext::AddFile() {
    constexpr auto suffix =
        NV_TEXT(" while preparing to call FCIAddFile in CabCompressionContext::AddFile()");
    char fileToRead[cabNameCapacity];
    char nameInCabinet[cabNameCapacity];
    GetPathAndNameFromFileObject(m_source, fileToRead, cabNameCapacity, suffix);
    GetNameWithoutPathFromFileObject(m_source, nameInCabinet, cabNameCapacity, suffix);
    if (!GetFciAddFilePfn()(m_libraryHandle, fileToRead, nameInCabinet, false, &sfnFciGetNextCabinetCallback,
                            &sfnFciStatusCallback, &sfnFciGetOpenInfoCallback, cabinet::tcompTYPE_MSZIP))
        NV_THROW(ExceptionCompression, "CabCompressionContext::AddFile", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(suffix));
}

void CabCompressionContext::FlushFolder() {
    if (!GetFciFlushFolderPfn()(m_libraryHandle, &sfnFciGetNextCabinetCallback, &sfnFciStatusCallback)) {
        NV_THROW(ExceptionCompression, "CabCompressionContext::FlushFolder", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(NV_TEXT(" while calling FCIFlushFolder")));
    }
}

void CabCompressionContext::FlushCabinet() {
    if (!GetFciFlushCabinetPfn()(m_libraryHandle, false, &sfnFciGetNextCabinetCallback,
                                 &sfnFciStatusCallback))
        NV_THROW(ExceptionCompression, "CabCompressionContext::FlushCabinet", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(NV_TEXT(" while calling FCIFlushCabinet")));
}

void CabCompressionContext::CloseCabinetContext(bool success) {
    if (m_libraryHandle == nullptr) return;
    const bool closed = GetFciDestroyPfn()(m_libraryHandle) != 0;
    m_libraryHandle = nullptr;
    if (success && !closed) {
        NV_THROW(ExceptionCompression, "CabCompressionContext::CloseCabinetContext", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(NV_TEXT(" while calling FCIDestroy")));
    }
}

CXString CabCompressionContext::CreateDisplayStringFromOperationError(int operationError) const {
    const auto index = static_cast<std::size_t>(operationError);  // a negative code becomes a large index
    return index < operationErrorTexts.size() ? operationErrorTexts[index]
                                              : NV_TEXT("Unknown FCIERR_XXX value");
}

CabCompressionContext::FileHandle CabCompressionContext::DoFciOpen(const char* name, int flags, int mode,
                                                                   int& error) {
    return OpenCabFile(name, flags, mode, error);
}

unsigned CabCompressionContext::DoFciRead(FileHandle handle, void* out, unsigned bytes, int& error) {
    return ReadCabFile(handle, out, bytes, error);
}

unsigned CabCompressionContext::DoFciWrite(FileHandle handle, const void* bytes, unsigned length,
                                           int& error) {
    return WriteCabFile(handle, bytes, length, error);
}

int CabCompressionContext::DoFciClose(FileHandle handle, int& error) {
    return CloseCabFile(handle, error);
}

LONG CabCompressionContext::DoFciSeek(FileHandle handle, LONG distance, int origin, int& error) {
    return SeekCabFile(handle, distance, origin, error);
}

int CabCompressionContext::DoFciDelete(const char* name, int& error) {
    if (m_fileObjectManager.RemoveFile(name)) return 0;
    error = cabFileErrorAccessDenied;
    m_errorDetails += NV_TEXT("CabCompressionContext::DoFciDelete(): There is no such temporary file. ");
    return -1;
}

bool CabCompressionContext::DoFciGetTempFile(char* name, int capacity) {
    const CabBufferAsFile dummy("dummyfile");
    std::unique_ptr<CabAbstractFile> file = dummy.GetTempCabFile();
    const std::string& fileName = file->GetPathAndName();
    if (capacity < 1 || fileName.size() >= static_cast<std::size_t>(capacity)) return false;
    *std::copy(fileName.begin(), fileName.end(), name) = '\0';
    file->SetErrorDetailsLocation(&m_errorDetails);
    m_fileObjectManager.AddOwnedFile(std::move(file));
    return true;
}

CabCompressionContext::FileHandle CabCompressionContext::DoFciGetOpenInfo(const char* name, WORD& date,
                                                                          WORD& time, WORD& attributes,
                                                                          int& error) {
    const FileHandle handle = OpenCabFile(name, cabOpenReadOnly | cabOpenBinary, 0, error);
    if (handle == cabinet::invalidFileHandle) return handle;
    const CabFileAttributes stored = m_fileObjectManager.FindFile(name)->GetCabFileAttributes();
    date = stored.date;
    time = stored.time;
    attributes = stored.attributes;
    return handle;
}

LONG CabCompressionContext::DoFciGetStatus(unsigned type, DWORD first, DWORD /*second*/) {
    switch (type) {
        case cabinet::statusFile:
        case cabinet::statusFolder:
            return 0;
        case cabinet::statusCabinet:
            return static_cast<LONG>(first);
        default: {
            CXString text;
            text.Format(NV_TEXT("CabCompressionContext::DoFciGetStatus(): Unrecognized type status %ld! "
                                "Ignoring it. "),
                        static_cast<LONG>(type));
            m_errorDetails += text;
            return 0;
        }
    }
}

void* CabCompressionContext::sfnFciAllocCallback(DWORD bytes) {
    return ::operator new(bytes, std::nothrow);
}

void CabCompressionContext::sfnFciFreeCallback(void* memory) {
    ::operator delete(memory);
}

CabCompressionContext::FileHandle CabCompressionContext::sfnFciOpenCallback(char* name, int flags, int mode,
                                                                            int* error, void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(cabinet::invalidFileHandle,
                                 [&] { return context.DoFciOpen(name, flags, mode, *error); });
}

unsigned CabCompressionContext::sfnFciReadCallback(FileHandle handle, void* out, unsigned bytes, int* error,
                                                   void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(cabFailedTransfer,
                                 [&] { return context.DoFciRead(handle, out, bytes, *error); });
}

unsigned CabCompressionContext::sfnFciWriteCallback(FileHandle handle, void* bytes, unsigned length,
                                                    int* error, void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(cabFailedTransfer,
                                 [&] { return context.DoFciWrite(handle, bytes, length, *error); });
}

int CabCompressionContext::sfnFciCloseCallback(FileHandle handle, int* error, void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(-1, [&] { return context.DoFciClose(handle, *error); });
}

LONG CabCompressionContext::sfnFciSeekCallback(FileHandle handle, LONG distance, int origin, int* error,
                                               void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(LONG{-1},
                                 [&] { return context.DoFciSeek(handle, distance, origin, *error); });
}

int CabCompressionContext::sfnFciDeleteCallback(char* name, int* error, void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(-1, [&] { return context.DoFciDelete(name, *error); });
}

BOOL CabCompressionContext::sfnFciGetTempFileCallback(char* name, int capacity, void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(false, [&] { return context.DoFciGetTempFile(name, capacity); });
}

BOOL CabCompressionContext::sfnFciGetNextCabinetCallback(cabinet::CCAB* /*parameters*/,
                                                         DWORD /*previousSize*/, void* /*user*/) {
    return false;  // there is only ever one cabinet
}

CabCompressionContext::FileHandle CabCompressionContext::sfnFciGetOpenInfoCallback(char* name, WORD* date,
                                                                                   WORD* time,
                                                                                   WORD* attributes,
                                                                                   int* error, void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(cabinet::invalidFileHandle, [&] {
        return context.DoFciGetOpenInfo(name, *date, *time, *attributes, *error);
    });
}

LONG CabCompressionContext::sfnFciStatusCallback(unsigned type, DWORD first, DWORD second, void* user) {
    CabCompressionContext& context = ContextOf(user);
    return context.GuardCallback(LONG{-1}, [&] { return context.DoFciGetStatus(type, first, second); });
}

int CabCompressionContext::sfnFciFilePlacedCallback(cabinet::CCAB* /*parameters*/, char* /*name*/,
                                                    LONG /*size*/, BOOL /*continuation*/, void* /*user*/) {
    return 0;
}
