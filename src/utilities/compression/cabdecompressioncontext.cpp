// CabDecompressionContext: the steps of reading a cabinet and the reader's callbacks.
#include "utilities/compression/cabdecompressioncontext.h"

#include <array>
#include <utility>

#include "utilities/compression/cabcompressioncontext.h"
#include "utilities/compression/cabinetlayout.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace cabinet = platform::cabinet;

namespace {

constexpr int cpuUnknown = -1;
constexpr int destinationFlags = cabOpenBinary | cabOpenCreate | cabOpenSequential | cabOpenWriteOnly;

constexpr std::array operationErrorTexts{
    NV_TEXT("FDIERROR_NONE (No error)"),
    NV_TEXT("FDIERROR_CABINET_NOT_FOUND (Cabinet not found)"),
    NV_TEXT("FDIERROR_NOT_A_CABINET (Cabinet file does not have the correct format)"),
    NV_TEXT("FDIERROR_UNKNOWN_CABINET_VERSION (Cabinet file has an unknown version number)"),
    NV_TEXT("FDIERROR_CORRUPT_CABINET (Cabinet file is corrupt)"),
    NV_TEXT("FDIERROR_ALLOC_FAIL (Could not allocate enough memory)"),
    NV_TEXT("FDIERROR_BAD_COMPR_TYPE (Unknown compression type in a cabinet folder)"),
    NV_TEXT("FDIERROR_MDI_FAIL (Failure decompressing data from a cabinet file)"),
    NV_TEXT("FDIERROR_TARGET_FILE (Failure writing to target file)"),
    NV_TEXT("FDIERROR_RESERVE_MISMATCH (Cabinets in a set do not have the same RESERVE sizes)"),
    NV_TEXT("FDIERROR_WRONG_CABINET (Cabinet returned on fdintNEXT_CABINET is incorrect)"),
    NV_TEXT("FDIERROR_USER_ABORT (FDI aborted)"),
};

/// The context that this thread runs, for the callbacks without a user pointer.
thread_local CabDecompressionContext* currentContext = nullptr;

/// Makes a context the current one for a scope.
class CurrentContextScope {
public:
    explicit CurrentContextScope(CabDecompressionContext& context)
        : m_previous(std::exchange(currentContext, &context)) {}
    CurrentContextScope(const CurrentContextScope&) = delete;
    CurrentContextScope& operator=(const CurrentContextScope&) = delete;
    ~CurrentContextScope() { currentContext = m_previous; }

private:
    CabDecompressionContext* m_previous;
};

/// Closes a handle of the cabinet reader at the end of a scope.
class OpenSource {
public:
    explicit OpenSource(char* name)
        : handle(CabDecompressionContext::sfnFdiOpenCallback(name, cabOpenReadOnly | cabOpenBinary,
                                                             cabModeReadAndWrite)) {}
    OpenSource(const OpenSource&) = delete;
    OpenSource& operator=(const OpenSource&) = delete;
    ~OpenSource() {
        if (handle != cabinet::invalidFileHandle) CabDecompressionContext::sfnFdiCloseCallback(handle);
    }

    const cabinet::FileHandle handle;
};

}  // namespace

const WChar* GetFdiErrorText(int operationError) {
    const auto index = static_cast<std::size_t>(operationError);  // a negative code becomes a large index
    return index < operationErrorTexts.size() ? operationErrorTexts[index]
                                              : NV_TEXT("Unknown FDIERROR_XXX value");
}

CabFdiCallbacks::~CabFdiCallbacks() = default;

CabDecompressionContext::CabDecompressionContext(CabAbstractFile& source, CabAbstractFile& destination)
    : CabContext(source, destination) {}

CabDecompressionContext::~CabDecompressionContext() = default;

void CabDecompressionContext::ExpectFileSize(DWORD size) {
    m_expectedSize = size;
}

void CabDecompressionContext::DecompressSourceFile() {
    Run(true);
}

void CabDecompressionContext::CheckSourceFile() {
    Run(false);
}

void CabDecompressionContext::Run(bool extracts) {
    const CurrentContextScope scope(*this);
    try {
        OpenCabinetContext();
        ValidateCabinet();
        if (extracts) DecompressCabinetFile();
    } catch (...) {
        CloseCabinetContext(false);
        throw;
    }
    CloseCabinetContext(true);
}

bool CabDecompressionContext::CopyFiles() {
    const CurrentContextScope scope(*this);
    m_errorInfo = {};
    if (!CreateLibraryContext()) return false;
    const bool isCopied = CallFdiCopy(NV_TEXT(" while calling FDICopy"));
    DestroyLibraryContext();
    return isCopied;
}

bool CabDecompressionContext::CreateLibraryContext() {
    m_libraryHandle = GetFdiCreatePfn()(&CabCompressionContext::sfnFciAllocCallback,
                                        &CabCompressionContext::sfnFciFreeCallback, &sfnFdiOpenCallback,
                                        &sfnFdiReadCallback, &sfnFdiWriteCallback, &sfnFdiCloseCallback,
                                        &sfnFdiSeekCallback, cpuUnknown, &m_errorInfo);
    return m_libraryHandle != nullptr;
}

bool CabDecompressionContext::DestroyLibraryContext() {
    return GetFdiDestroyPfn()(std::exchange(m_libraryHandle, nullptr)) != 0;
}

bool CabDecompressionContext::CallFdiCopy(const WChar* messageSuffix) {
    char name[cabNameCapacity];
    char path[cabNameCapacity];
    GetNameWithoutPathFromFileObject(m_source, name, cabNameCapacity, messageSuffix);
    GetPathFromFileObject(m_source, path, cabNameCapacity, messageSuffix);
    return GetFdiCopyPfn()(m_libraryHandle, name, path, 0, &sfnFdiNotifyCallback, nullptr, this) != 0;
}

void CabDecompressionContext::OpenCabinetContext() {
    if (!CreateLibraryContext()) {
        NV_THROW(ExceptionCompression, "CabDecompressionContext::OpenCabinetContext", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(NV_TEXT(" while calling FDICreate")));
    }
}

void CabDecompressionContext::ValidateCabinet() {
    constexpr auto suffix = NV_TEXT(" while validating the cabinet");
    char name[cabNameCapacity];
    GetPathAndNameFromFileObject(m_source, name, cabNameCapacity, suffix);
    const OpenSource source(name);
    if (source.handle == cabinet::invalidFileHandle) {
        NV_THROW(ExceptionFileOperationCompression, "CabDecompressionContext::ValidateCabinet", __LINE__,
                 NV_TEXT("%s"), CreateFailureMessage(suffix));
    }
    CheckLayout(source.handle);
    cabinet::FDICABINETINFO info{};
    if (!GetFdiIsCabinetPfn()(m_libraryHandle, source.handle, &info)) {
        NV_THROW(ExceptionCompression, "CabDecompressionContext::ValidateCabinet", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(suffix));
    }
}

// The library is not trusted with a damaged cabinet: it only gets to see what passes here.
void CabDecompressionContext::CheckLayout(FileHandle handle) {
    CabOpenFile* const file = m_fileObjectManager.FindOpenFile(handle);
    cabinet::FDIERROR fault = CheckCabinetLayout(*file, m_fileSize);
    int error = 0;
    if (SeekCabFile(handle, 0, 0, error) != 0) fault = cabinet::FDIERROR_CABINET_NOT_FOUND;
    if (fault != cabinet::FDIERROR_NONE) {
        m_errorInfo = {fault, error, true};
        NV_THROW(ExceptionCompression, "CabDecompressionContext::ValidateCabinet", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(NV_TEXT(" while validating the cabinet")));
    }
    if (m_expectedSize != anySize && m_expectedSize != static_cast<std::int64_t>(m_fileSize)) {
        NV_THROW(ExceptionCompression, "CabDecompressionContext::ValidateCabinet", __LINE__,
                 NV_TEXT("The file in the cabinet has %I64d bytes where %I64d are expected"),
                 static_cast<std::int64_t>(m_fileSize), m_expectedSize);
    }
}

void CabDecompressionContext::DecompressCabinetFile() {
    constexpr auto suffix =
        NV_TEXT(" while preparing to call FDICopy in CabDecompressionContext::DecompressCabinetFile()");
    m_bytesWritten = 0;
    const bool copied = CallFdiCopy(suffix);
    if (!copied || m_bytesWritten != m_fileSize) {
        NV_THROW(ExceptionCompression, "CabDecompressionContext::DecompressCabinetFile", __LINE__,
                 NV_TEXT("%s"), CreateFailureMessage(suffix));
    }
}

void CabDecompressionContext::CloseCabinetContext(bool success) {
    if (m_libraryHandle == nullptr) return;
    const bool closed = DestroyLibraryContext();
    if (success && !closed) {
        NV_THROW(ExceptionCompression, "CabDecompressionContext::CloseCabinetContext", __LINE__,
                 NV_TEXT("%s"), CreateFailureMessage(NV_TEXT(" while calling FDIDestroy")));
    }
}

CXString CabDecompressionContext::CreateDisplayStringFromOperationError(int operationError) const {
    return GetFdiErrorText(operationError);
}

CabDecompressionContext::FileHandle CabDecompressionContext::DoFdiNotify(
    cabinet::FDINOTIFICATIONTYPE type, cabinet::FDINOTIFICATION& notification) {
    int error = 0;
    switch (type) {
        case cabinet::fdintPARTIAL_FILE:
        case cabinet::fdintNEXT_CABINET:
            return -1;  // spanned cabinets are refused
        case cabinet::fdintCOPY_FILE:
            return OpenCabFile(notification.psz1, destinationFlags, cabModeReadAndWrite, error);
        case cabinet::fdintCLOSE_FILE_INFO:
            return CloseCabFile(notification.hf, error) == 0 ? 1 : 0;
        default:
            return 0;
    }
}

template <class Result, class Action>
Result CabDecompressionContext::GuardCurrent(Result failure, Action action) noexcept {
    CabDecompressionContext* const context = currentContext;
    if (context == nullptr) return failure;
    int error = 0;
    return context->GuardCallback(failure, [&] { return action(*context, error); });
}

CabDecompressionContext::FileHandle CabDecompressionContext::sfnFdiOpenCallback(char* name, int flags,
                                                                                int mode) {
    return GuardCurrent(cabinet::invalidFileHandle, [&](CabDecompressionContext& context, int& error) {
        return context.OpenCabFile(name, flags, mode, error);
    });
}

unsigned CabDecompressionContext::sfnFdiReadCallback(FileHandle handle, void* out, unsigned bytes) {
    return GuardCurrent(cabFailedTransfer, [&](CabDecompressionContext& context, int& error) {
        return context.ReadCabFile(handle, out, bytes, error);
    });
}

unsigned CabDecompressionContext::sfnFdiWriteCallback(FileHandle handle, void* bytes, unsigned length) {
    return GuardCurrent(cabFailedTransfer, [&](CabDecompressionContext& context, int& error) {
        const unsigned written = context.WriteCabFile(handle, bytes, length, error);
        if (written != cabFailedTransfer) context.m_bytesWritten += written;
        return written;
    });
}

int CabDecompressionContext::sfnFdiCloseCallback(FileHandle handle) {
    return GuardCurrent(-1, [&](CabDecompressionContext& context, int& error) {
        return context.CloseCabFile(handle, error);
    });
}

LONG CabDecompressionContext::sfnFdiSeekCallback(FileHandle handle, LONG distance, int origin) {
    return GuardCurrent(LONG{-1}, [&](CabDecompressionContext& context, int& error) {
        return context.SeekCabFile(handle, distance, origin, error);
    });
}

CabDecompressionContext::FileHandle CabDecompressionContext::sfnFdiNotifyCallback(
    cabinet::FDINOTIFICATIONTYPE type, cabinet::FDINOTIFICATION* notification) {
    auto& context = *static_cast<CabDecompressionContext*>(notification->pv);
    return context.GuardCallback(FileHandle{-1}, [&] { return context.DoFdiNotify(type, *notification); });
}
