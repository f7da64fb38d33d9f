// Where below a folder the file of a cabinet belongs.
#pragma once

#include <string_view>

#include "platform/internalapi.h"
#include "platform/types.h"
#include "utilities/compression/cabinetlayout.h"
#include "utilities/utilitiesdll/cxstring.h"

/// What stands between the names of folders in the paths that ReadCabinetEntryPath makes.
inline constexpr WChar cabinetPathSeparator = NV_TEXT('/');
/// The most names that a path has, its file's included.
inline constexpr int deepestCabinetPath = 16;

/// The name of a file in a cabinet: UTF-8 where its attributes say so, else in the ANSI code page. Bytes that
/// are no text become U+FFFD.
NVUTIL_INTERNAL_API CXString DecodeCabinetName(std::string_view name, WORD attributes);

/// Turns the name of a cabinet's file into a path that stays below any folder on every platform.
///
/// Both slashes separate names. A path is refused when it has more than `deepestCabinetPath` names, or when
/// one of them
/// - is empty (so that no path begins or ends with a separator) or ends with a blank or a dot ("." and ".."
///   included);
/// - holds a control character, a character that bytes without meaning are read as, or one of `< > : " | ?
/// *`;
/// - is the name of a device (see IsDeviceName);
/// - has more than 255 bytes in UTF-8.
///
/// @param path  receives the names with `cabinetPathSeparator` between them
/// @return why the name is refused; null when it is not
NVUTIL_INTERNAL_API const WChar* ReadCabinetEntryPath(const nvutil::CabinetEntry& entry, CXString& path);
