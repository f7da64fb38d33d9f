// Paths of any length and any bytes: which folder or file they lead to, what is in it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/folder.h"
#include "platform/internalapi.h"
#include "platform/types.h"

namespace platform {

/// What to do with a link that a path ends with.
enum class LastLink { Follow, Keep };

struct PathEntry {
    std::filesystem::path name;
    EntryKind kind = EntryKind::None;  ///< Of what stands there, which may be a link.
};

/// The one path of a folder or file that is there, however it is named: absolute, with links, junctions and
/// drives that stand for other folders resolved, in the case that the disk has, and with one kind of
/// separator.
NVUTIL_INTERNAL_API std::error_code ResolvePath(const std::filesystem::path& path, LastLink lastLink,
                                                std::filesystem::path& resolved);

/// All entries of a folder, in the order of the platform.
NVUTIL_INTERNAL_API std::error_code ListPath(const std::filesystem::path& folder,
                                             std::vector<PathEntry>& entries);

/// Reads a whole ordinary file while others may read, write, rename and delete it.
/// @param most  std::errc::file_too_large when it has more bytes
NVUTIL_INTERNAL_API std::error_code ReadPath(const std::filesystem::path& file, std::uint64_t most,
                                             std::vector<BYTE>& bytes);

}  // namespace platform
