// CabFileObjectManager: the virtual files of one cabinet operation and the handles open on them.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/cabinet.h"
#include "utilities/compression/cababstractfile.h"

/// Finds virtual files by name and openings by handle. Handles are unique in the process.
///
/// Names are compared exactly. Where several files share a name, the one added first is found.
class NVUTIL_API CabFileObjectManager {
public:
    using FileHandle = platform::cabinet::FileHandle;

    CabFileObjectManager();
    CabFileObjectManager(const CabFileObjectManager&) = delete;
    CabFileObjectManager& operator=(const CabFileObjectManager&) = delete;
    ~CabFileObjectManager();

    /// Makes a file known that outlives this object.
    void AddFile(CabAbstractFile& file);
    /// Makes a file known and takes it over.
    void AddOwnedFile(std::unique_ptr<CabAbstractFile> file);

    /// The file of a full name; null when there is none.
    CabAbstractFile* FindFile(std::string_view pathAndName) const;

    /// Opens a known file.
    /// @return its handle, or platform::cabinet::invalidFileHandle with the reason in `error`
    FileHandle OpenFile(std::string_view pathAndName, int flags, int mode, int& error);
    /// The opening behind a handle; null when the handle is not open.
    CabOpenFile* FindOpenFile(FileHandle handle) const;
    /// @return whether the handle was open
    bool CloseFile(FileHandle handle);
    /// Removes a file that this object owns, and closes what is open on it.
    /// @return whether there was such a file
    bool RemoveFile(std::string_view pathAndName);

private:
    struct KnownFile {
        CabAbstractFile* file;
        std::unique_ptr<CabAbstractFile> owned;  ///< Null when the file belongs to someone else.
    };
    struct OpenHandle {
        FileHandle handle;
        CabAbstractFile* file;
        std::unique_ptr<CabOpenFile> opening;
    };

    std::vector<KnownFile> m_files;
    std::vector<OpenHandle> m_handles;  ///< Behind the files, so that openings go before their files.
};
