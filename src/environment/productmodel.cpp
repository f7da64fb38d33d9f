// ProductModel: the printer, the product data folder and the current model that product data is asked about.
#include "environment/productmodel.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "environment/printermappings.h"
#include "environment/productkeys.h"
#include "environment/storedtext.h"
#include "environment/textview.h"
#include "utilities/debuggingandexceptions/norvaexception.h"
#include "utilities/utilitiesdll/crc32.h"

namespace nvutil {

namespace fs = std::filesystem;

namespace {

/// Stands for the printer's name where there is no printer.
const WChar* const noPrinter = NV_TEXT("Transient");

/// A string that shares nothing with this one.
CXString CopyOf(const CXString& text) {
    return StringOf(ViewOf(text));
}

/// Whether there is something of that name.
bool Exists(const CXString& path) {
    std::error_code ignored;
    return fs::exists(productfiles::PathOf(path), ignored);
}

}  // namespace

ProductModel::ProductModel(HANDLE printer, const CXString& folder)
    : m_printerHandle(printer), m_folder(CopyOf(folder)) {
    if (printer != nullptr) m_printer = std::make_unique<Printer>(printer);
    if (!folder.IsEmpty()) m_folderIdentity = productfiles::IdentityOfFolder(productfiles::PathOf(folder));
}

void ProductModel::CopyFrom(const ProductModel& other, bool withPrinter, bool withCommands) {
    if (withPrinter) {
        m_printer = other.m_printer != nullptr ? std::make_unique<Printer>(other.m_printerHandle) : nullptr;
        m_printerHandle = other.m_printerHandle;
    }
    m_folder = CopyOf(other.m_folder);
    m_folderIdentity = other.m_folderIdentity;
    m_isInitialized = other.m_isInitialized;
    m_current = {other.GetMapping(), other.GetUniqueId(), other.m_current.isKnown,
                 withCommands ? other.m_current.commands : nullptr};
}

platform::Text ProductModel::GetTableName() const {
    return m_printer != nullptr ? platform::Text(ViewOf(m_printer->GetName())) : noPrinter;
}

// The current model

void ProductModel::Initialize(ProductData::_ModelType type, const CXString& model) {
    if (type == ProductData::ModelTypeUsbProductId) {
        FindById(MappingData::usbProductIdKey, model);
    } else if (type == ProductData::ModelTypeSysObjectId) {
        FindById(MappingData::sysObjectIdKey, model);
    } else if (!FindByName(model)) {
        m_current.mapping = MappingData(CopyOf(model));
    }
    if (model.IsEmpty() && m_printer != nullptr)
        FindByName(storedtext::Read(*m_printer, productkeys::currentModelValue));
    m_isInitialized = true;
}

/// Of the map files in the product data folder, else of any source.
std::optional<KnownMappings::Entry> ProductModel::FindEntry(TextView model) const {
    const KnownMappings& known = KnownMappings::OfProcess();
    const auto found = known.FindModel(GetTableName(), model, productfiles::PrefixOf(m_folderIdentity));
    return found ? found : known.FindModel(GetTableName(), model, {});
}

bool ProductModel::FindByName(const CXString& model) {
    if (model.IsEmpty()) return false;
    const auto found = FindEntry(ViewOf(model));
    MappingData mapping = found ? found->GetMapping() : MappingData(CopyOf(model));
    if (m_printer != nullptr) mapping.GetData(MappingData::usbProductIdKey, *m_printer);
    if (!found && mapping.GetAllData().IsBlank()) return false;
    CXString id = mapping.GetData(MappingData::usbProductIdKey);
    m_current = {std::move(mapping), std::move(id), true, nullptr};
    return true;
}

bool ProductModel::FindById(const CXString& key, const CXString& id) {
    if (id.IsEmpty()) return false;  // a model without an id has none to be found by
    const auto found = KnownMappings::OfProcess().FindByValue(GetTableName(), ViewOf(key), ViewOf(id));
    if (!found) return false;
    m_current = {found->GetMapping(), CopyOf(id), true, nullptr};
    return true;
}

void ProductModel::Refresh() {
    if (m_printer == nullptr) return;
    try {
        KnownMappings::OfProcess().Refresh(GetTableName(), PrinterMappings(*m_printer));
    } catch (const NorvaException&) {
        return;  // what was known is as good as it gets
    }
    if (const auto current = FindEntry(ViewOf(m_current.mapping.GetModel())))
        m_current.mapping = current->GetMapping();
}

/// Nothing is written when the driver data tells it already.
void ProductModel::KeepFolderName() {
    if (m_printer == nullptr || m_folder.IsEmpty()) return;
    std::error_code error;
    CXString path = productfiles::NameOf(m_folderIdentity);
    if (productfiles::PathOf(path) != fs::path(m_folderIdentity))  // whose bytes are no text
        path = productfiles::NameOf(fs::absolute(productfiles::PathOf(m_folder), error));
    if (!error && storedtext::Read(*m_printer, productkeys::folderValue) != path)
        storedtext::Write(*m_printer, productkeys::folderValue, path);
}

void ProductModel::KeepModelName() {
    if (m_printer != nullptr)
        storedtext::Write(*m_printer, productkeys::currentModelValue, m_current.mapping.GetModel());
}

// Look-ups

MappingData ProductModel::GetMapping() const {
    return MappingData(GetModelName(), CopyOf(m_current.mapping.GetAllData()));
}

std::vector<CXString> ProductModel::GetModels() const {
    std::vector<CXString> models;
    for (const KnownMappings::Entry& entry :
         KnownMappings::OfProcess().GetEntries(GetTableName(), productfiles::PrefixOf(m_folderIdentity)))
        models.push_back(StringOf(entry.GetModel()));
    return models;
}

CXString ProductModel::GetModelName() const {
    return CopyOf(m_current.mapping.GetModel());
}

CXString ProductModel::GetUniqueId() const {
    return CopyOf(m_current.uniqueId);
}

CXString ProductModel::GetValue(const CXString& key) {
    MappingData& mapping = m_current.mapping;
    return m_printer != nullptr ? mapping.GetData(key, *m_printer) : mapping.GetData(key);
}

std::optional<CXString> ProductModel::GetRelativePath(const CXString& key) {
    const CXString value = GetValue(key);
    return productfiles::RelativePath(ViewOf(value)) ? std::optional(value) : std::nullopt;
}

std::optional<CXString> ProductModel::GetPath(const CXString& key) {
    const auto relative = productfiles::RelativePath(ViewOf(GetValue(key)));
    if (!relative || m_folder.IsEmpty()) return std::nullopt;
    if (key != productkeys::familyPath) {
        if (const auto family = productfiles::RelativePath(ViewOf(GetValue(productkeys::familyPath)))) {
            const CXString path =
                productfiles::JoinPath(productfiles::JoinPath(m_folder, *family), *relative);
            if (Exists(path)) return path;
        }
    }
    return productfiles::JoinPath(m_folder, *relative);
}

std::optional<ByteBuffer> ProductModel::LoadFile(const CXString& key) {
    const auto path = GetPath(key);
    return path ? productfiles::ReadFile(productfiles::PathOf(*path)) : std::nullopt;
}

CXString ProductModel::GetCacheFileName() const {
    // A zero, which no name holds, keeps the names apart.
    ByteBuffer names(m_printer != nullptr ? m_printer->GetName() : CXString());
    names.appendNullChar().append(m_current.mapping.GetModel());
    CXString name;
    name.Format(NV_TEXT("DmCache%08X.bin"), Crc32::GetCrc(names.data(), names.getDword()));
    return m_folder.IsEmpty() ? name : productfiles::JoinPath(m_folder, name);
}

/// A file without any instruction is not kept, and so read again next time.
void ProductModel::ReadCommands() {
    if (m_current.commands != nullptr) return;
    const auto bytes = LoadFile(productkeys::Of(ProductData::InfoTypePdl).path);
    if (!bytes) return;
    auto commands = std::make_shared<const PdlCommandFile>(productfiles::TextOf(*bytes));
    if (!commands->GetInstructions().empty()) m_current.commands = std::move(commands);
}

const PdlInstruction* ProductModel::FindInstruction(const CXString& feature, const CXString& option,
                                                    ProductData::PdlType type,
                                                    const CXString& qualifier) const {
    if (m_current.commands == nullptr) return nullptr;
    return m_current.commands->Find(ViewOf(feature), ViewOf(option), type, ViewOf(qualifier));
}

}  // namespace nvutil
