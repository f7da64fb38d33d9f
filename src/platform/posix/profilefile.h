// Profile (INI) files on disk: read whole, and replaced in one step under a lock.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// What a file holds.
struct FileContent {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;

    std::string_view GetView() const { return {bytes.get(), size}; }
};

/// Reads a regular file; nothing when that is not possible.
std::optional<FileContent> ReadProfileFile(const std::string& path);

/// Changes a file's text. Writers in other threads and processes wait meanwhile, at most for some seconds;
/// readers find either the old file or the new one. The new one keeps the permissions of the old. Of a
/// symbolic link the file that it names is changed.
///
/// The lock is the folder's: it leaves no file behind, and is there before the file is. It is advisory, so
/// whoever can read the folder can hold it and make writers fail, but not make them write elsewhere.
/// A writer that is killed may leave a file ".nvutil-profile.<number>.tmp", which can be removed.
/// @param change  is given the text, empty for a missing file, and returns whether it may be written. A text
///                that it leaves alone is not.
/// @return whether the file holds the changed text now
bool ChangeProfileFile(const std::string& path, const std::function<bool(std::string& text)>& change);

}  // namespace platform
