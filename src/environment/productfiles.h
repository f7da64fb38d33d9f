// Product files: finding, naming and reading them, without ever leaving their folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "environment/textview.h"
#include "platform/internalapi.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace productfiles {

/// The largest file that is read, in bytes.
constexpr std::uintmax_t largestFile = 64 * 1024 * 1024;

/// A path of the file system; up to its first zero.
NVUTIL_INTERNAL_API std::filesystem::path PathOf(const CXString& name);
/// The name of a path; each byte in it that is not UTF-8, off Windows, becomes U+FFFD.
NVUTIL_INTERNAL_API CXString NameOf(const std::filesystem::path& path);
/// Whether an entry of a folder can be named in a path: not so, off Windows, with bytes that are no text.
bool IsPathText(TextView name);

/// How a folder or file is told from all others: its one path, however it is named, in the bytes of the
/// system. One that cannot be looked at is known by its absolute path.
using Identity = std::filesystem::path::string_type;

NVUTIL_INTERNAL_API Identity IdentityOfFolder(const std::filesystem::path& folder);
/// That of a file as an entry of its folder: a link is another file than the one that it leads to.
NVUTIL_INTERNAL_API Identity IdentityOfFile(const std::filesystem::path& file);
/// How the identities of what is in a folder begin; empty only for the empty identity.
NVUTIL_INTERNAL_API Identity PrefixOf(const Identity& folder);

/// What could not be looked at.
struct Skipped {
    std::filesystem::path path;
    std::error_code reason;  ///< None for a link to a folder, which is never followed.
};

struct MapFiles {
    std::vector<std::filesystem::path> files;
    std::vector<Skipped> skipped;

    /// Whether all folders were read.
    bool IsComplete() const;
};

/// Every file with ".map" in its name, in a folder and all below it, however deep. Folders and files come in
/// the order of their names without regard to case, as file systems of the product's platform list them.
/// Links to folders are not followed, so that it ends.
NVUTIL_INTERNAL_API MapFiles FindMapFiles(const std::filesystem::path& folder);

/// Reads everything in a file.
/// @return std::errc::file_too_large when it is larger than `largestFile`
NVUTIL_INTERNAL_API std::error_code ReadFile(const std::filesystem::path& file, ByteBuffer& bytes);
/// The same, where nothing but absence matters.
NVUTIL_INTERNAL_API std::optional<ByteBuffer> ReadFile(const std::filesystem::path& file);

/// Text in the system's ANSI code page, up to its first zero.
NVUTIL_INTERNAL_API CXString TextOf(const ByteBuffer& bytes);

/// A relative path with the platform's separators; "/" and "\" both separate.
/// @return nothing when it is empty, could lead out of the folder that it is relative to, or names a device
NVUTIL_INTERNAL_API std::optional<CXString> RelativePath(TextView path);

/// The name of a file below a folder.
CXString JoinPath(const CXString& folder, const CXString& relative);

}  // namespace productfiles
