// ProductData: unpacking the cabinets that product files come in.
#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "environment/textview.h"
#include "platform/folder.h"
#include "platform/text.h"
#include "platform/widechar.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

using platform::Text;

constexpr int deepestFolder = 64;
constexpr TextView cabExtension = NV_TEXT(".cab");
constexpr const WChar* dtdFolder = NV_TEXT("DTDs");
constexpr const WChar* jarFolder = NV_TEXT("V5.0");

/// Cabinets that are told by their names, in lower case, and the folder for what they hold; all others are
/// product cabinets.
struct NamedCab {
    TextView name;
    const WChar* subfolder;
};
constexpr std::array<NamedCab, 4> namedCabs{{{NV_TEXT("dtd.cab"), dtdFolder},
                                             {NV_TEXT("dtds.cab"), dtdFolder},
                                             {NV_TEXT("jar.cab"), jarFolder},
                                             {NV_TEXT("jars.cab"), jarFolder}}};

Text Lower(Text name) {
    std::transform(name.begin(), name.end(), name.begin(), platform::ToLower);
    return name;
}

CXString SubfolderOf(const Text& name) {
    const Text lower = Lower(name);
    const auto* const found = std::find_if(namedCabs.begin(), namedCabs.end(),
                                           [&](const NamedCab& cab) { return cab.name == lower; });
    return found != namedCabs.end() ? found->subfolder : NV_TEXT("");
}

struct FoundCab {
    CXString folder;  ///< Relative to where the search began; empty for there.
    Text name;
};

CXString Join(const CXString& folder, const CXString& relative) {
    if (folder.IsEmpty()) return relative;
    return relative.IsEmpty() ? folder : productfiles::JoinPath(folder, relative);
}

void RequireDone(const std::error_code& error, const CXString& path) {
    if (error) {
        NV_THROW(ExceptionOperatingSystemFailure, "ProductData::UnpackCabFilesInAllDirectoriesRecursively",
                 __LINE__, NV_TEXT("%s: %s"), path, CXString(error.message().c_str()));
    }
}

/// Adds the cabinets of a folder and then those of the folders in it.
void FindCabs(const platform::Folder& folder, const CXString& path, int depth, std::vector<FoundCab>& cabs) {
    if (depth > deepestFolder) RequireDone(std::make_error_code(std::errc::filename_too_long), path);
    std::vector<platform::FolderEntry> entries;
    RequireDone(folder.List(entries), path);
    std::sort(entries.begin(), entries.end(),
              [](const auto& left, const auto& right) { return Lower(left.name) < Lower(right.name); });
    for (const platform::FolderEntry& entry : entries) {
        const bool isCab =
            entry.kind == platform::EntryKind::File && Lower(entry.name).ends_with(cabExtension);
        if ((isCab || entry.kind == platform::EntryKind::Folder) && !productfiles::IsPathText(entry.name)) {
            RequireDone(std::make_error_code(std::errc::illegal_byte_sequence),
                        Join(path, StringOf(entry.name)));
        }
        if (isCab) cabs.push_back({path, entry.name});
    }
    for (const platform::FolderEntry& entry : entries) {
        if (entry.kind != platform::EntryKind::Folder) continue;
        const CXString subpath = Join(path, StringOf(entry.name));
        platform::Folder subfolder;
        RequireDone(subfolder.OpenIn(folder, entry.name), subpath);
        FindCabs(subfolder, subpath, depth + 1, cabs);
    }
}

/// Refuses a cabinet that would replace one whose turn has not come.
void RequireNoneReplaced(const nvutil::CabinetUnpacker& cab, const CXString& path, const CXString& target,
                         std::span<const CXString> waiting) {
    for (const nvutil::CabinetFile& file : cab.GetFiles()) {
        if (!Lower(Text(ViewOf(file.path))).ends_with(cabExtension)) continue;
        const auto place = productfiles::PathOf(Join(target, file.path));
        for (const CXString& other : waiting) {
            std::error_code absent;
            if (std::filesystem::equivalent(place, productfiles::PathOf(other), absent)) {
                NV_THROW(ExceptionFileOperationCompression,
                         "ProductData::UnpackCabFilesInAllDirectoriesRecursively", __LINE__,
                         NV_TEXT("%s: %s would replace the cabinet %s, which is not unpacked yet"), path,
                         file.path, other);
            }
        }
    }
}

}  // namespace

void ProductData::UnpackProductCabFile(const CXString& cabFile, const CXString& folder) {
    nvutil::CabinetUnpacker(cabFile).UnpackTo(folder);
}

void ProductData::UnpackDtdCabFile(const CXString& cabFile, const CXString& folder) {
    nvutil::CabinetUnpacker(cabFile).UnpackTo(Join(folder, dtdFolder));
}

void ProductData::UnpackJarCabFile(const CXString& cabFile, const CXString& folder) {
    nvutil::CabinetUnpacker(cabFile).UnpackTo(Join(folder, jarFolder));
}

std::vector<CXString> ProductData::UnpackCabFilesInAllDirectoriesRecursively(const CXString& folder,
                                                                             const CXString& target) {
    platform::Folder root;
    RequireDone(root.Open(Text(ViewOf(folder))), folder);
    // All are found before the first is unpacked: what comes out of a cabinet is not unpacked again.
    std::vector<FoundCab> cabs;
    FindCabs(root, {}, 1, cabs);
    std::vector<CXString> paths;
    paths.reserve(cabs.size());
    for (const FoundCab& cab : cabs)
        paths.push_back(Join(Join(folder, cab.folder), StringOf(cab.name)));
    for (std::size_t i = 0; i < cabs.size(); ++i) {
        const nvutil::CabinetUnpacker cab(paths[i]);
        const CXString place =
            Join(Join(target.IsEmpty() ? folder : target, cabs[i].folder), SubfolderOf(cabs[i].name));
        RequireNoneReplaced(cab, paths[i], place, std::span(paths).subspan(i + 1));
        cab.UnpackTo(place);
    }
    return paths;
}

bool ProductData::HasProductCabBeenExtracted(const CXString& cabFile, const CXString& folder) {
    try {
        return nvutil::CabinetUnpacker(cabFile).IsUnpackedTo(folder);
    } catch (const std::exception&) {
        return false;
    }
}
