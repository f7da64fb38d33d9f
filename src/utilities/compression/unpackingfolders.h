// The folders that an unpacked cabinet goes through and to.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/folder.h"
#include "platform/text.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {

platform::Text TextOf(const CXString& text);
/// The names of a file's path in order.
std::vector<platform::Text> NamesOf(const CXString& path);

/// Throws when an operation of the system on a path has failed.
void RequireUnpacking(const std::error_code& error, const CXString& path);

/// Walks to the folders of files, each from the one before when they are the same.
class FolderWalk {
public:
    enum class Missing { Stop, Create };

    FolderWalk(const platform::Folder& root, Missing missing) : m_root(root), m_missing(missing) {}

    /// @return the file's folder; null when it is missing and not to be created
    const platform::Folder* GoTo(const CXString& path);

private:
    const platform::Folder* GetCurrent() const;
    bool Enter(const platform::Text& name, const CXString& path);

    const platform::Folder& m_root;
    Missing m_missing;
    std::vector<platform::Text> m_names;
    std::optional<platform::Folder> m_folder;  ///< Empty for the root.
    bool m_isThere = true;
};

/// The folder where files wait until all are complete; each is named by its number in the cabinet.
class StagingFolder {
public:
    /// @param path  of the target folder, for messages
    StagingFolder(const platform::Folder& target, const CXString& path);
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;
    ~StagingFolder();

    std::error_code CreateOutput(std::size_t file, platform::OutputFile& output);
    std::error_code Move(std::size_t file, const platform::Folder& folder, const platform::Text& name) const;

private:
    const platform::Folder& m_target;
    platform::Text m_name;
    platform::Folder m_folder;
    std::size_t m_created = 0;
};

}  // namespace nvutil
