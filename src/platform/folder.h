// Folders whose content is read and changed by plain names, so that no link leads anywhere else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <system_error>
#include <vector>

#include "platform/internalapi.h"
#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// What stands under a name.
enum class EntryKind {
    None,
    File,
    Folder,
    Other,  ///< A link, a device, a pipe: nothing that is read, written or walked into.
};

struct FolderEntry {
    Text name;  ///< Opens and removes the entry, also where it is no text (a lone surrogate is in it then).
    EntryKind kind = EntryKind::None;
};

/// A file that is being written. What is written may be lost until Close has succeeded; it is on disk then.
class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() { Close(); }

    std::error_code Write(std::span<const BYTE> bytes);
    /// Waits for the disk to have the file and closes it; nothing is done when none is open.
    std::error_code Close();

private:
    friend class Folder;
    static constexpr std::intptr_t none = -1;

    std::intptr_t m_handle = none;
};

/// An open folder. Nobody can put another folder in its place as far as its functions are concerned.
///
/// Every name is that of an entry in the folder itself: no separators, not "." and not "..". A name that is a
/// link is refused or, by Rename and the functions that remove, taken for the link itself.
class NVUTIL_INTERNAL_API Folder {
public:
    /// Refers to no folder; only to be opened, moved to and destroyed.
    Folder() = default;
    Folder(Folder&& other) noexcept;
    Folder& operator=(Folder&& other) noexcept;
    ~Folder();

    /// Opens the folder of a path, which may be relative to the process's and may lead through links.
    std::error_code Open(const Text& path);
    /// Opens a folder in another one.
    std::error_code OpenIn(const Folder& parent, const Text& name);

    /// Creates an empty folder; one that exists is an error.
    std::error_code CreateSubfolder(const Text& name) const;
    /// Creates an empty file; one that exists is an error.
    std::error_code CreateOutput(const Text& name, OutputFile& file) const;
    /// Moves a file into another folder of the same disk in one step, in the place of any file there.
    std::error_code Rename(const Text& name, const Folder& target, const Text& newName) const;
    std::error_code RemoveEntry(const Text& name) const;
    std::error_code RemoveEmptySubfolder(const Text& name) const;

    /// What stands under a name, and for a file its size in bytes.
    std::error_code Describe(const Text& name, EntryKind& kind, std::uint64_t& size) const;
    /// All entries, in the order of the platform.
    std::error_code List(std::vector<FolderEntry>& entries) const;

private:
    static constexpr std::intptr_t none = -1;

    std::intptr_t m_handle = none;
    Text m_path;  ///< Of the folder, on a platform that takes entries by path; else empty.
};

}  // namespace platform
