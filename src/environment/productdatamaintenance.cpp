// ProductData: what installed printers use of product data, and deleting what none of them does.
#include <algorithm>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "environment/modeltable.h"
#include "environment/printer.h"
#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "environment/productkeys.h"
#include "environment/storedtext.h"
#include "environment/textview.h"
#include "platform/folder.h"
#include "platform/path.h"
#include "platform/text.h"
#include "platform/widechar.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

namespace fs = std::filesystem;
using platform::EntryKind;
using platform::Text;

constexpr int deepestFolder = 64;
const WChar* const productDataFolder = NV_TEXT("Product Data");

/// What an installed printer's driver data keeps of product data.
struct PrinterUse {
    CXString printer;
    CXString folder;                 ///< Empty when it is not told.
    CXString model;                  ///< The current one; empty for none.
    std::vector<CXString> mappings;  ///< The names of the values of models.
};

bool IsSameName(const CXString& left, const CXString& right) {
    return platform::CompareNoCase(left, right) == 0;
}

bool IsMappingName(const CXString& valueName) {
    return IsSameName(valueName.Left(CXString(MappingData::valueNamePrefix).GetLength()),
                      MappingData::valueNamePrefix);
}

/// A text that is absent is empty; one that cannot be read is a failure here, since it may name what is in
/// use.
CXString ReadText(const Printer& printer, const CXString& valueName) {
    DWORD type = 0;
    ByteBuffer data;
    return printer.GetPrinterDataW(valueName, type, data) ? storedtext::Read(printer, valueName) : CXString();
}

std::vector<PrinterUse> ReadUses() {
    std::vector<PrinterUse> uses;
    for (const CXString& name : Printer::EnumeratePrinters()) {
        const Printer printer(name);
        PrinterUse& use = uses.emplace_back();
        use.printer = name;
        use.folder = ReadText(printer, productkeys::folderValue);
        use.model = ReadText(printer, productkeys::currentModelValue);
        use.mappings = printer.EnumeratePrinterDataExW(Printer::driverDataKey);
        std::erase_if(use.mappings, [](const CXString& value) { return !IsMappingName(value); });
        std::sort(use.mappings.begin(), use.mappings.end());
    }
    return uses;
}

void RequireDone(const std::error_code& error, const CXString& path) {
    if (error) {
        NV_THROW(ExceptionOperatingSystemFailure, "ProductData::DeleteOrphanedProductDataFolders", __LINE__,
                 NV_TEXT("%s: %s"), path, CXString(error.message().c_str()));
    }
}

/// Whether two paths lead to one folder. What cannot be told counts as the same, so that it is not deleted.
bool IsSameFolder(const fs::path& left, const fs::path& right) {
    std::error_code error;
    const bool isSame = fs::equivalent(left, right, error);
    return isSame ||
           (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory);
}

/// Whether one path leads to a folder that the other one leads into, or to the same.
bool IsInside(const fs::path& inner, const fs::path& outer) {
    for (fs::path path = inner;; path = path.parent_path()) {
        if (IsSameFolder(path, outer)) return true;
        if (path == path.parent_path()) return false;
    }
}

bool IsUsed(const fs::path& folder, const std::vector<fs::path>& used) {
    return std::any_of(used.begin(), used.end(), [&folder](const fs::path& path) {
        return IsInside(path, folder) || IsInside(folder, path);
    });
}

void DeleteFolder(const platform::Folder& parent, const Text& name, const CXString& path, int depth);

void DeleteContent(const platform::Folder& folder, const CXString& path, int depth) {
    if (depth > deepestFolder) RequireDone(std::make_error_code(std::errc::filename_too_long), path);
    std::vector<platform::FolderEntry> entries;
    RequireDone(folder.List(entries), path);
    for (const platform::FolderEntry& entry : entries) {
        const CXString entryPath = productfiles::JoinPath(path, StringOf(entry.name));
        if (entry.kind == EntryKind::Folder) {
            DeleteFolder(folder, entry.name, entryPath, depth + 1);
        } else {
            RequireDone(folder.RemoveEntry(entry.name), entryPath);
        }
    }
}

void DeleteFolder(const platform::Folder& parent, const Text& name, const CXString& path, int depth) {
    {
        platform::Folder folder;
        RequireDone(folder.OpenIn(parent, name), path);
        DeleteContent(folder, path, depth);
    }
    RequireDone(parent.RemoveEmptySubfolder(name), path);
}

/// The folders of product data of all installed printers.
std::set<CXString> ListUsedFolders(const std::vector<PrinterUse>& uses) {
    std::set<CXString> folders;
    for (const PrinterUse& use : uses) {
        if (!use.folder.IsEmpty()) folders.insert(use.folder);
    }
    return folders;
}

/// Whether a folder that could not be looked at is known not to be there: its own folder has nothing of that
/// name, not even a link that leads nowhere. A disk that is not mounted and a renamed folder above take that
/// folder away too.
bool IsKnownAbsent(const fs::path& path) {
    std::error_code error;
    return fs::symlink_status(path, error).type() == fs::file_type::not_found &&
           fs::is_directory(path.parent_path(), error);
}

/// Where the folders in use are, as they are named and as links in their names lead. Throws when one of them
/// cannot be found out, or has gone from the folder that is cleaned: it may have another name there now.
std::vector<fs::path> FindUsedFolders(const std::vector<PrinterUse>& uses, const fs::path& cleaned) {
    std::vector<fs::path> folders;
    for (const PrinterUse& use : uses) {
        if (use.folder.IsEmpty()) continue;
        const fs::path path = productfiles::PathOf(use.folder);
        folders.push_back(path);
        fs::path resolved;
        const std::error_code error = platform::ResolvePath(path, platform::LastLink::Follow, resolved);
        if (!error) {
            folders.push_back(resolved);
        } else if (!IsKnownAbsent(path) || IsInside(path.parent_path(), cleaned)) {
            NV_THROW(ExceptionPrinterFailure, "ProductData::DeleteOrphanedProductDataFolders", __LINE__,
                     NV_TEXT("%s: the printer's product data folder %s cannot be found: %s"), use.printer,
                     use.folder, CXString(error.message().c_str()));
        }
    }
    return folders;
}

/// Throws when one of the folders in use is not known.
void RequireFoldersKnown(const std::vector<PrinterUse>& uses) {
    for (const PrinterUse& use : uses) {
        if (use.folder.IsEmpty() && !(use.model.IsEmpty() && use.mappings.empty())) {
            NV_THROW(ExceptionPrinterFailure, "ProductData::DeleteOrphanedProductDataFolders", __LINE__,
                     NV_TEXT("%s: the printer does not tell which product data folder it uses"), use.printer);
        }
    }
}

/// The models that the map files of folders name now.
class FolderModels {
public:
    /// Also where not all that the folder's map files say could be read.
    bool MayName(const CXString& folder, const CXString& model) {
        if (folder.IsEmpty()) return true;
        const auto [found, isNew] = m_models.try_emplace(folder);
        if (isNew) found->second = ReadFolder(productfiles::PathOf(folder));
        return !found->second || found->second->contains(Lower(ViewOf(model)));
    }

private:
    using Models = std::unordered_set<Text>;

    /// Names of values do not differ by case.
    static Text Lower(TextView model) {
        Text lower(model);
        std::transform(lower.begin(), lower.end(), lower.begin(), platform::ToLower);
        return lower;
    }

    static std::optional<Models> ReadFolder(const fs::path& folder) {
        const productfiles::MapFiles found = productfiles::FindMapFiles(folder);
        if (!found.IsComplete()) return std::nullopt;
        Models models;
        for (const fs::path& file : found.files) {
            ByteBuffer bytes;
            if (productfiles::ReadFile(file, bytes)) return std::nullopt;
            const nvutil::ModelTable table(ViewOf(productfiles::TextOf(bytes)));
            for (std::size_t i = 0; i < table.GetCount(); ++i)
                models.insert(Lower(table.GetModel(i)));
        }
        return models;
    }

    std::map<CXString, std::optional<Models>> m_models;  ///< None where they could not all be read.
};

}  // namespace

void ProductData::EnumerateProductDataFoldersUsedByInstalledDrivers(std::set<CXString>& folders) {
    folders.merge(ListUsedFolders(ReadUses()));
}

std::vector<CXString> ProductData::DeleteOrphanedProductDataFolders(const CXString& folder, bool dryRun) {
    const std::vector<PrinterUse> uses = ReadUses();
    RequireFoldersKnown(uses);
    const CXString rootPath = productfiles::JoinPath(folder, productDataFolder);
    const std::vector<fs::path> used = FindUsedFolders(uses, productfiles::PathOf(rootPath));
    platform::Folder parent;
    RequireDone(parent.Open(Text(ViewOf(folder))), folder);
    EntryKind kind = EntryKind::None;
    std::uint64_t size = 0;
    RequireDone(parent.Describe(productDataFolder, kind, size), rootPath);
    std::vector<CXString> orphans;
    if (kind != EntryKind::Folder) return orphans;

    platform::Folder root;
    RequireDone(root.OpenIn(parent, productDataFolder), rootPath);
    std::vector<platform::FolderEntry> entries;
    RequireDone(root.List(entries), rootPath);
    std::sort(entries.begin(), entries.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    fs::path rootIdentity;
    RequireDone(
        platform::ResolvePath(productfiles::PathOf(rootPath), platform::LastLink::Follow, rootIdentity),
        rootPath);
    std::exception_ptr failure;
    for (const platform::FolderEntry& entry : entries) {
        // One whose name is no text cannot be looked at here, and stays.
        if (!productfiles::IsPathText(entry.name)) continue;
        fs::path found;
        const fs::path named = rootIdentity / productfiles::PathOf(StringOf(entry.name));
        if (entry.kind != EntryKind::Folder ||
            platform::ResolvePath(named, platform::LastLink::Keep, found) || IsUsed(found, used))
            continue;
        const CXString path = productfiles::JoinPath(rootPath, StringOf(entry.name));
        try {
            if (!dryRun) DeleteFolder(root, entry.name, path, 1);
            orphans.push_back(path);
        } catch (const ExceptionOperatingSystemFailure&) {
            if (failure == nullptr) failure = std::current_exception();
        }
    }
    if (failure != nullptr) std::rethrow_exception(failure);
    return orphans;
}

void ProductData::EnumeratePerPrinterRegKeysForInstalledPrinters(std::vector<PerPrinterRegKey>& keys) {
    for (const PrinterUse& use : ReadUses()) {
        for (const CXString& valueName : use.mappings)
            keys.push_back({use.printer, valueName});
    }
}

std::vector<ProductData::PerPrinterRegKey> ProductData::DeleteOrphanedPerPrinterRegKeys(bool dryRun) {
    const std::vector<PrinterUse> uses = ReadUses();
    FolderModels folders;
    const auto isCurrent = [&uses](const CXString& model) {
        return std::any_of(uses.begin(), uses.end(),
                           [&model](const PrinterUse& use) { return IsSameName(use.model, model); });
    };
    std::vector<PerPrinterRegKey> orphans;
    for (const PrinterUse& use : uses) {
        if (use.model.IsEmpty()) continue;
        for (const CXString& valueName : use.mappings) {
            const CXString model = valueName.Mid(CXString(MappingData::valueNamePrefix).GetLength());
            if (!isCurrent(model) && !folders.MayName(use.folder, model))
                orphans.push_back({use.printer, valueName});
        }
    }
    for (auto orphan = orphans.begin(); !dryRun && orphan != orphans.end(); ++orphan)
        Printer(orphan->printer).DeletePrinterDataExW(Printer::driverDataKey, orphan->valueName);
    return orphans;
}
