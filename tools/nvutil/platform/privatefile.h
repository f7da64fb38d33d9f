// Files that their owner alone can open.
#pragma once

#include <filesystem>

/// Makes an empty file for the current user alone; on Windows the folder decides who may open it.
/// @return false when there is one already, or none can be made
bool MakePrivateFile(const std::filesystem::path& path);
