// CabContext: virtual file operations, names and error texts that both kinds of context share.
#include "utilities/compression/cabcontext.h"

#include <algorithm>

#include "utilities/compression/microsoftcabinetlibrary.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace cabinet = platform::cabinet;

CriticalResource& CabContext::GetOperationLock() {
    return GetProcessLock(ProcessLock::Cabinets);
}

CabContext::CabContext(CabAbstractFile& source, CabAbstractFile& destination)
    : m_source(source), m_destination(destination) {
    m_fileObjectManager.AddFile(source);
    m_fileObjectManager.AddFile(destination);
    source.SetErrorDetailsLocation(&m_errorDetails);
    destination.SetErrorDetailsLocation(&m_errorDetails);
}

CabContext::~CabContext() {
    m_source.SetErrorDetailsLocation(nullptr);
    m_destination.SetErrorDetailsLocation(nullptr);
}

void CabContext::Dump() const {}

CXString CabContext::CreateDisplayStringFromCurrentCabinetErrors() const {
    if (!m_errorInfo.fError) return NV_TEXT("None");
    CXString code;
    code.Format(NV_TEXT("%ld: "), static_cast<LONG>(m_errorInfo.erfOper));
    CXString type;
    type.Format(NV_TEXT(" (err type=%ld)"), static_cast<LONG>(m_errorInfo.erfType));
    return code + CreateDisplayStringFromOperationError(m_errorInfo.erfOper) + type;
}

CXString CabContext::CreateFailureMessage(const WChar* messageSuffix) const {
    return CreateDisplayStringFromCurrentCabinetErrors() + NV_TEXT(" ") + m_errorDetails + messageSuffix;
}

void CabContext::GetNameWithoutPathFromFileObject(const CabAbstractFile& file, char* out, int capacity,
                                                  const WChar* messageSuffix) const {
    CopyName(file.GetNameWithoutPath(), out, capacity, messageSuffix);
}

void CabContext::GetPathFromFileObject(const CabAbstractFile& file, char* out, int capacity,
                                       const WChar* messageSuffix) const {
    CopyName(file.GetPath(), out, capacity, messageSuffix);
}

void CabContext::GetPathAndNameFromFileObject(const CabAbstractFile& file, char* out, int capacity,
                                              const WChar* messageSuffix) const {
    CopyName(file.GetPathAndName(), out, capacity, messageSuffix);
}

void CabContext::CopyName(std::string_view name, char* out, int capacity, const WChar* messageSuffix) const {
    if (static_cast<std::int64_t>(name.size()) >= std::min(capacity, cabNameCapacity)) {
        NV_THROW(ExceptionCompression, "CabContext::CopyName", __LINE__, NV_TEXT("%s"),
                 CreateFailureMessage(messageSuffix));
    }
    *std::copy(name.begin(), name.end(), out) = '\0';
}

template <class Result>
Result CabContext::TellFailure(const WChar* operation, Result result, Result failure, int error) {
    if (result == failure) AppendFailure(operation, error);
    return result;
}

CabContext::FileHandle CabContext::OpenCabFile(const char* name, int flags, int mode, int& error) {
    const FileHandle handle = m_fileObjectManager.OpenFile(name, flags, mode, error);
    return TellFailure(NV_TEXT("open"), handle, cabinet::invalidFileHandle, error);
}

unsigned CabContext::ReadCabFile(FileHandle handle, void* out, unsigned bytes, int& error) {
    CabOpenFile* const file = FindOpenFile(handle, error);
    const unsigned result = file == nullptr ? cabFailedTransfer : file->Read(out, bytes, error);
    return TellFailure(NV_TEXT("read"), result, cabFailedTransfer, error);
}

unsigned CabContext::WriteCabFile(FileHandle handle, const void* bytes, unsigned length, int& error) {
    CabOpenFile* const file = FindOpenFile(handle, error);
    const unsigned result = file == nullptr ? cabFailedTransfer : file->Write(bytes, length, error);
    return TellFailure(NV_TEXT("write"), result, cabFailedTransfer, error);
}

LONG CabContext::SeekCabFile(FileHandle handle, LONG distance, int origin, int& error) {
    CabOpenFile* const file = FindOpenFile(handle, error);
    const LONG result = file == nullptr ? -1 : file->Seek(distance, origin, error);
    return TellFailure(NV_TEXT("seek"), result, LONG{-1}, error);
}

int CabContext::CloseCabFile(FileHandle handle, int& error) {
    const int result = m_fileObjectManager.CloseFile(handle) ? 0 : -1;
    if (result != 0) error = cabFileErrorBadHandle;
    return TellFailure(NV_TEXT("close"), result, -1, error);
}

CabOpenFile* CabContext::FindOpenFile(FileHandle handle, int& error) {
    CabOpenFile* const file = m_fileObjectManager.FindOpenFile(handle);
    if (file == nullptr) error = cabFileErrorBadHandle;
    return file;
}

void CabContext::AppendFailure(const WChar* operation, int error) {
    CXString text;
    text.Format(NV_TEXT("File operation \"%s\" failed with error %ld. "), operation,
                static_cast<LONG>(error));
    m_errorDetails += text;
}

void CabContext::NoteExceptionInCallback() noexcept {
    m_exceptionInCallback = std::current_exception();
    try {
        m_errorDetails += NV_TEXT("An exception was thrown in a file operation. ");
    } catch (...) {
        // There is no memory for the text; the failed result alone tells the library.
    }
}

cabinet::FciCreateFunction CabContext::GetFciCreatePfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFciCreatePfn();
}

cabinet::FciAddFileFunction CabContext::GetFciAddFilePfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFciAddFilePfn();
}

cabinet::FciFlushCabinetFunction CabContext::GetFciFlushCabinetPfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFciFlushCabinetPfn();
}

cabinet::FciFlushFolderFunction CabContext::GetFciFlushFolderPfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFciFlushFolderPfn();
}

cabinet::FciDestroyFunction CabContext::GetFciDestroyPfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFciDestroyPfn();
}

cabinet::FdiCreateFunction CabContext::GetFdiCreatePfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFdiCreatePfn();
}

cabinet::FdiIsCabinetFunction CabContext::GetFdiIsCabinetPfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFdiIsCabinetPfn();
}

cabinet::FdiCopyFunction CabContext::GetFdiCopyPfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFdiCopyPfn();
}

cabinet::FdiDestroyFunction CabContext::GetFdiDestroyPfn() {
    return MicrosoftCabinetLibrary::GetShared().GetFdiDestroyPfn();
}
