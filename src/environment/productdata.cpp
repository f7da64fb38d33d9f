// ProductData: the current model, and the tables of map files that it comes from.
#include "environment/productdata.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

#include "environment/knownmappings.h"
#include "environment/modeltable.h"
#include "environment/pdlcommandfile.h"
#include "environment/productfiles.h"
#include "environment/storedtext.h"
#include "utilities/debuggingandexceptions/norvaexception.h"

namespace {

using platform::Text;

/// What the driver data of a printer takes of the properties of one map file's models, in bytes.
constexpr std::uint64_t mostStored = 256 * 1024 * 1024;

const WChar* const noPrinter = NV_TEXT("Transient");
const WChar* const currentModelValue = NV_TEXT("xUPDCurrentModel");

KnownMappings& GetKnownMappings() {
    static KnownMappings known;
    return known;
}

/// The name that a printer's mappings stand under.
Text TableNameOf(const Printer* printer) {
    return printer != nullptr ? Text(ViewOf(printer->GetName())) : Text(noPrinter);
}

/// How the names of the files in a folder begin.
Text PrefixOf(const CXString& folder) {
    return folder.IsEmpty() ? Text() : Text(ViewOf(productfiles::JoinPath(folder, {})));
}

/// Keeps the properties of every model in the driver data, as far as there is room for them.
void StoreMappings(Printer& printer, const ModelTable& table) {
    if (table.GetCount() == 0) return;
    PrinterDataUpdate update(printer);
    std::uint64_t stored = 0;
    for (std::size_t i = 0; i < table.GetCount(); ++i) {
        stored += sizeof(WChar) * (table.GetDataLength(i) + 1);
        if (stored > mostStored) break;
        storedtext::Write(printer, MappingData::valueNamePrefix + StringOf(table.GetModel(i)),
                          StringOf(table.GetData(i)));
    }
    update.Commit();
}

/// The models whose properties the driver data keeps.
std::vector<CXString> ListStoredModels(const Printer& printer) {
    std::vector<CXString> models;
    const TextView prefix = MappingData::valueNamePrefix;
    for (const CXString& name : printer.EnumeratePrinterDataExW(Printer::driverDataKey)) {
        if (ViewOf(name).starts_with(prefix)) models.push_back(name.Mid(static_cast<int>(prefix.size())));
    }
    return models;
}

/// The properties that the driver data keeps now: of the models that are known, in their order, and then of
/// all others.
std::unique_ptr<ModelTable> ReadStoredMappings(const Printer& printer,
                                               const std::vector<KnownMappings::Entry>& known) {
    auto table = std::make_unique<ModelTable>();
    for (const KnownMappings::Entry& entry : known) {
        const CXString model = StringOf(entry.GetModel());
        CXString data = storedtext::Read(printer, MappingData::valueNamePrefix + model);
        if (data.IsBlank()) data = entry.GetMapping().GetAllData();  // it could not be kept
        table->Add(ViewOf(model), ViewOf(data));
    }
    for (const CXString& model : ListStoredModels(printer)) {
        if (!table->Find(ViewOf(model)))
            table->Add(ViewOf(model),
                       ViewOf(storedtext::Read(printer, MappingData::valueNamePrefix + model)));
    }
    return table;
}

/// Reads a map file and keeps what it says in the driver data of a printer, if there is one.
std::unique_ptr<ModelTable> ReadMapFile(const std::filesystem::path& file, Printer* printer) {
    const CXString text = productfiles::TextOf(productfiles::ReadFile(file).value_or(ByteBuffer()));
    auto table = std::make_unique<ModelTable>(ViewOf(text));
    if (printer != nullptr) StoreMappings(*printer, *table);
    return table;
}

}  // namespace

const DWORD ProductData::largestFile = productfiles::largestFile;

ProductData::ProductData() = default;

ProductData::ProductData(HANDLE printer, const CXString& folder, _ModelType type, const CXString& model) {
    Initialize(printer, folder, type, model);
}

ProductData::~ProductData() = default;

/// The lock of the process's tables and of every look-up.
CriticalResource& ProductData::GetLock() {
    static CriticalResource lock;
    return lock;
}

void ProductData::Initialize(HANDLE printer, const CXString& folder, _ModelType type, const CXString& model) {
    Reset();
    m_printerHandle = printer;
    if (printer != nullptr) m_printer = std::make_unique<Printer>(printer);
    m_folder = folder;
    if (!folder.IsEmpty()) {
        UpdateRegistryMappings(folder);
        KeepFolderName();
    }
    if (!model.IsEmpty()) {
        FindModel(type, model);
    } else if (m_printer != nullptr) {
        FindByName(storedtext::Read(*m_printer, currentModelValue));
    }
    if (m_isValidated) {
        UpdateRegistryWithProductDataValues();
    } else if (type == ModelTypeName) {
        m_mapping = MappingData(model);  // a name that nobody knows is still the model's name
    }
    m_isInitialized = true;
}

void ProductData::Reset() {
    m_printer.reset();
    m_printerHandle = nullptr;
    m_folder.Empty();
    m_commands.reset();
    SetModel({}, {});
    m_isInitialized = m_isValidated = false;
}

void ProductData::CopyFromAnother(ProductData& other, bool withPrinter, bool withCommands) {
    if (&other == this) return;
    const OwnedCriticalResource lock(GetLock());
    if (withPrinter) {
        m_printer = other.m_printer != nullptr ? std::make_unique<Printer>(other.m_printerHandle) : nullptr;
        m_printerHandle = other.m_printerHandle;
    }
    m_folder = StringOf(ViewOf(other.m_folder));
    SetModel(other.GetMapping(), other.m_uniqueId);
    m_isInitialized = other.m_isInitialized;
    m_isValidated = other.m_isValidated;
    m_commands = withCommands ? other.m_commands : nullptr;
}

// Models

/// Makes a model the current one; nothing that was looked up for the former one is kept.
void ProductData::SetModel(const MappingData& mapping, const CXString& uniqueId) {
    m_mapping = mapping;
    m_uniqueId = StringOf(ViewOf(uniqueId));
    m_lastKey.Empty();
    m_lastValue.Empty();
    m_commands.reset();
    m_isValidated = true;
}

bool ProductData::FindModel(_ModelType type, const CXString& model) {
    switch (type) {
        case ModelTypeUsbProductId:
            return FindById(MappingData::usbProductIdKey, model);
        case ModelTypeSysObjectId:
            return FindById(MappingData::sysObjectIdKey, model);
        default:
            return FindByName(model);
    }
}

bool ProductData::FindByName(const CXString& model) {
    if (model.IsEmpty()) return false;
    const OwnedCriticalResource lock(GetLock());
    const KnownMappings& known = GetKnownMappings();
    const Text table = TableNameOf(m_printer.get());
    auto found = known.FindModel(table, ViewOf(model), PrefixOf(m_folder));
    if (!found) found = known.FindModel(table, ViewOf(model), {});

    MappingData mapping = found ? found->GetMapping() : MappingData(StringOf(ViewOf(model)));
    if (m_printer != nullptr) mapping.GetData(MappingData::usbProductIdKey, *m_printer);
    if (!found && mapping.GetAllData().IsBlank()) return false;
    SetModel(mapping, mapping.GetData(MappingData::usbProductIdKey));
    return true;
}

bool ProductData::FindById(const CXString& key, const CXString& id) {
    if (id.IsEmpty()) return false;  // a model without an id has none to be found by
    const OwnedCriticalResource lock(GetLock());
    const auto found = GetKnownMappings().FindByValue(TableNameOf(m_printer.get()), ViewOf(key), ViewOf(id));
    if (!found) return false;
    SetModel(found->GetMapping(), id);
    return true;
}

bool ProductData::ValidateUsbProductId(const CXString& id) {
    const OwnedCriticalResource lock(GetLock());
    UpdateCachedMapData();
    FindById(MappingData::usbProductIdKey, id);
    return m_isValidated;
}

bool ProductData::ValidateModelInfo(CXString& model, bool refresh) {
    const OwnedCriticalResource lock(GetLock());
    if (refresh) UpdateCachedMapData();
    if (!FindByName(model)) return false;
    model = StringOf(ViewOf(m_mapping.GetModel()));
    return true;
}

void ProductData::EnumerateInstalledDriverModels(std::set<CXString>& models) {
    const OwnedCriticalResource lock(GetLock());
    for (const Text& model : GetKnownMappings().GetModels())
        models.insert(StringOf(model));
}

MappingData ProductData::GetMapping() {
    const OwnedCriticalResource lock(GetLock());
    // No string of an object is shared with one outside, which another thread may use.
    return MappingData(StringOf(ViewOf(m_mapping.GetModel())), StringOf(ViewOf(m_mapping.GetAllData())));
}

std::vector<CXString> ProductData::GetModels() {
    const OwnedCriticalResource lock(GetLock());
    std::vector<CXString> models;
    const Text table = TableNameOf(m_printer.get());
    for (const KnownMappings::Entry& entry : GetKnownMappings().GetEntries(table, PrefixOf(m_folder)))
        models.push_back(StringOf(entry.GetModel()));
    return models;
}

// Map files and the driver data

void ProductData::UpdateRegistryMappings(const CXString& folder) {
    for (const std::filesystem::path& file : productfiles::FindMapFiles(productfiles::PathOf(folder)))
        AddMappings(productfiles::NameOf(file), ReadMapFile(file, m_printer.get()));
}

void ProductData::ParseMapFile(const CXString& path) {
    AddMappings(path, ReadMapFile(productfiles::PathOf(path), m_printer.get()));
}

/// Takes what a map file said into the tables of the process.
void ProductData::AddMappings(const CXString& file, std::unique_ptr<const ModelTable> table) {
    const OwnedCriticalResource lock(GetLock());
    GetKnownMappings().Add(TableNameOf(m_printer.get()), Text(ViewOf(file)), std::move(table));
}

void ProductData::UpdateCachedMapData() {
    if (m_printer == nullptr) return;
    const OwnedCriticalResource lock(GetLock());
    KnownMappings& known = GetKnownMappings();
    const Text name = TableNameOf(m_printer.get());
    try {
        auto table = ReadStoredMappings(*m_printer, known.GetEntries(name, {}));
        known.Forget(name);
        known.Add(name, {}, std::move(table));
    } catch (const NorvaException&) {
        return;  // what was known is as good as it gets
    }
    if (const auto current = known.FindModel(name, ViewOf(m_mapping.GetModel()), {}))
        m_mapping = current->GetMapping();
    m_lastKey.Empty();
}

void ProductData::UpdateRegistryWithProductDataValues() {
    if (m_printer != nullptr) storedtext::Write(*m_printer, currentModelValue, m_mapping.GetModel());
}
