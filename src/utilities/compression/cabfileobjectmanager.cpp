// CabFileObjectManager: the name and handle tables, searched in order since an operation has few of each.
#include "utilities/compression/cabfileobjectmanager.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace {

constexpr std::size_t usualNumberOfFiles = 8;  // source, destination and what the writer keeps temporarily

CabFileObjectManager::FileHandle TakeHandle() {
    static std::atomic<CabFileObjectManager::FileHandle> lastHandle{0};
    return ++lastHandle;
}

}  // namespace

CabFileObjectManager::CabFileObjectManager() {
    m_files.reserve(usualNumberOfFiles);
    m_handles.reserve(usualNumberOfFiles);
}

CabFileObjectManager::~CabFileObjectManager() = default;

void CabFileObjectManager::AddFile(CabAbstractFile& file) {
    m_files.push_back({&file, nullptr});
}

void CabFileObjectManager::AddOwnedFile(std::unique_ptr<CabAbstractFile> file) {
    CabAbstractFile* const known = file.get();
    m_files.push_back({known, std::move(file)});
}

CabAbstractFile* CabFileObjectManager::FindFile(std::string_view pathAndName) const {
    const auto found = std::find_if(m_files.begin(), m_files.end(), [pathAndName](const KnownFile& known) {
        return known.file->GetPathAndName() == pathAndName;
    });
    return found != m_files.end() ? found->file : nullptr;
}

CabFileObjectManager::FileHandle CabFileObjectManager::OpenFile(std::string_view pathAndName, int flags,
                                                                int mode, int& error) {
    CabAbstractFile* const file = FindFile(pathAndName);
    if (file == nullptr) {
        error = cabFileErrorNotFound;
        return platform::cabinet::invalidFileHandle;
    }
    std::unique_ptr<CabOpenFile> opening = file->OpenCabFile(flags, mode, error);
    if (opening == nullptr) return platform::cabinet::invalidFileHandle;
    m_handles.push_back({TakeHandle(), file, std::move(opening)});
    return m_handles.back().handle;
}

CabOpenFile* CabFileObjectManager::FindOpenFile(FileHandle handle) const {
    const auto found = std::find_if(m_handles.begin(), m_handles.end(),
                                    [handle](const OpenHandle& open) { return open.handle == handle; });
    return found != m_handles.end() ? found->opening.get() : nullptr;
}

bool CabFileObjectManager::CloseFile(FileHandle handle) {
    return std::erase_if(m_handles, [handle](const OpenHandle& open) { return open.handle == handle; }) != 0;
}

bool CabFileObjectManager::RemoveFile(std::string_view pathAndName) {
    const auto found = std::find_if(m_files.begin(), m_files.end(), [pathAndName](const KnownFile& known) {
        return known.owned != nullptr && known.file->GetPathAndName() == pathAndName;
    });
    if (found == m_files.end()) return false;
    std::erase_if(m_handles, [file = found->file](const OpenHandle& open) { return open.file == file; });
    m_files.erase(found);
    return true;
}
