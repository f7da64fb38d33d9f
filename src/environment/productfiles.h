// Product files: finding, naming and reading them, without ever leaving their folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "environment/textview.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace productfiles {

/// The largest file that is read, in bytes.
constexpr std::uintmax_t largestFile = 64 * 1024 * 1024;

/// A path of the file system; up to its first zero.
NVUTIL_API std::filesystem::path PathOf(const CXString& name);
/// The name of a path; each byte in it that is not UTF-8, off Windows, becomes U+FFFD.
NVUTIL_API CXString NameOf(const std::filesystem::path& path);

/// Every file with ".map" in its name, in a folder and all below it. Folders and files come in the order of
/// their names without regard to case, as file systems of the product's platform list them. Links to folders
/// are not followed, so that it ends.
NVUTIL_API std::vector<std::filesystem::path> FindMapFiles(const std::filesystem::path& folder);

/// Everything in a file.
/// @return nothing when it is no ordinary file, cannot be read or is larger than `largestFile`
NVUTIL_API std::optional<ByteBuffer> ReadFile(const std::filesystem::path& file);

/// Text in the system's ANSI code page, up to its first zero.
NVUTIL_API CXString TextOf(const ByteBuffer& bytes);

/// A relative path with the platform's separators; "/" and "\" both separate.
/// @return nothing when it is empty, could lead out of the folder that it is relative to, or names a device
NVUTIL_API std::optional<CXString> RelativePath(TextView path);

/// The name of a file below a folder.
CXString JoinPath(const CXString& folder, const CXString& relative);

}  // namespace productfiles
