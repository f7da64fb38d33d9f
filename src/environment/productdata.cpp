// ProductData: the current model, and the tables of map files that it comes from.
#include "environment/productdata.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <unordered_map>
#include <utility>

#include "environment/knownmappings.h"
#include "environment/modeltable.h"
#include "environment/pdlcommandfile.h"
#include "environment/productfiles.h"
#include "environment/storedtext.h"
#include "platform/fork.h"
#include "utilities/debuggingandexceptions/norvaexception.h"

namespace fs = std::filesystem;

namespace {

using platform::Text;

/// What the driver data of a printer takes of the properties of models, in bytes.
constexpr std::uint64_t mostStored = 256 * 1024 * 1024;

const WChar* const noPrinter = NV_TEXT("Transient");
const WChar* const currentModelValue = NV_TEXT("xUPDCurrentModel");

KnownMappings& GetKnownMappings() {
    static KnownMappings& known = *new KnownMappings;
    return known;
}

[[maybe_unused]] const bool isMadeBeforeForks = platform::MakeBeforeForks([] { GetKnownMappings(); });

/// The name that a printer's mappings stand under.
Text TableNameOf(const Printer* printer) {
    return printer != nullptr ? Text(ViewOf(printer->GetName())) : Text(noPrinter);
}

/// A model among those of a table: of the map files in a folder, else of any source.
std::optional<KnownMappings::Entry> FindEntry(const Text& table, TextView model,
                                              const productfiles::Identity& folder) {
    const KnownMappings& known = GetKnownMappings();
    const auto found = known.FindModel(table, model, productfiles::PrefixOf(folder));
    return found ? found : known.FindModel(table, model, {});
}

CXString ValueNameOf(TextView model) {
    return MappingData::valueNamePrefix + StringOf(model);
}

std::uint64_t SizeOf(std::uint64_t length) {
    return sizeof(WChar) * (length + 1);
}

/// The properties of models in the driver data of a printer.
class PrinterMappings final : public KnownMappings::StoredMappings {
public:
    explicit PrinterMappings(Printer& printer) : m_printer(printer) {}

    std::vector<CXString> ListModels() const override {
        std::vector<CXString> models;
        const TextView prefix = MappingData::valueNamePrefix;
        for (const CXString& name : m_printer.EnumeratePrinterDataExW(Printer::driverDataKey)) {
            if (ViewOf(name).starts_with(prefix)) models.push_back(name.Mid(static_cast<int>(prefix.size())));
        }
        return models;
    }

    CXString ReadData(TextView model) const override {
        return storedtext::Read(m_printer, ValueNameOf(model));
    }

    /// Keeps what a map file says, as far as there is room: a model without gets an empty text.
    void Keep(const nvutil::ModelTable& table) {
        if (table.GetCount() == 0) return;
        MeasureStored();
        PrinterDataUpdate update(m_printer);
        for (std::size_t i = 0; i < table.GetCount(); ++i) {
            std::uint64_t& size = m_sizes[Text(table.GetModel(i))];
            const bool fits = m_stored - size + SizeOf(table.GetDataLength(i)) <= mostStored;
            if (!fits && size <= SizeOf(0)) continue;
            const Text data = fits ? table.GetData(i) : Text();
            storedtext::Write(m_printer, ValueNameOf(table.GetModel(i)), StringOf(data));
            m_stored = m_stored - size + SizeOf(data.size());
            size = SizeOf(data.size());
        }
        update.Commit();
    }

private:
    /// Sees once what is there already.
    void MeasureStored() {
        if (std::exchange(m_isMeasured, true)) return;
        for (const CXString& model : ListModels()) {
            std::uint64_t& size = m_sizes[Text(ViewOf(model))];
            size = SizeOf(static_cast<std::uint64_t>(ReadData(ViewOf(model)).GetLength()));
            m_stored += size;
        }
    }

    Printer& m_printer;
    std::unordered_map<Text, std::uint64_t> m_sizes;  ///< Of values, in bytes, by model.
    std::uint64_t m_stored = 0;                       ///< All of them together.
    bool m_isMeasured = false;
};

/// Reads a map file and keeps what it says in the driver data of a printer, if there is one.
std::unique_ptr<nvutil::ModelTable> ReadMapFile(const fs::path& file, std::optional<PrinterMappings>& kept) {
    const CXString text = productfiles::TextOf(productfiles::ReadFile(file).value_or(ByteBuffer()));
    auto table = std::make_unique<nvutil::ModelTable>(ViewOf(text));
    if (kept) kept->Keep(*table);
    return table;
}

std::optional<PrinterMappings> MappingsOf(Printer* printer) {
    return printer != nullptr ? std::optional<PrinterMappings>(*printer) : std::nullopt;
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
    return GetProcessLock(ProcessLock::ProductData);
}

void ProductData::Initialize(HANDLE printer, const CXString& folder, _ModelType type, const CXString& model) {
    Reset();
    m_printerHandle = printer;
    if (printer != nullptr) m_printer = std::make_unique<Printer>(printer);
    m_folder = folder;
    if (!folder.IsEmpty()) {
        m_folderIdentity = productfiles::IdentityOfFolder(productfiles::PathOf(folder));
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
    m_folderIdentity.clear();
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
    m_folderIdentity = other.m_folderIdentity;
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
    const auto found = FindEntry(TableNameOf(m_printer.get()), ViewOf(model), m_folderIdentity);
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
    for (const KnownMappings::Entry& entry :
         GetKnownMappings().GetEntries(table, productfiles::PrefixOf(m_folderIdentity)))
        models.push_back(StringOf(entry.GetModel()));
    return models;
}

// Map files and the driver data

void ProductData::UpdateRegistryMappings(const CXString& folder) {
    std::optional<PrinterMappings> kept = MappingsOf(m_printer.get());
    // The files are named below the folder's own path, which is that of no other.
    const fs::path root = productfiles::IdentityOfFolder(productfiles::PathOf(folder));
    for (const fs::path& file : productfiles::FindMapFiles(root).files)
        AddMappings(file.native(), ReadMapFile(file, kept));
}

void ProductData::ParseMapFile(const CXString& path) {
    std::optional<PrinterMappings> kept = MappingsOf(m_printer.get());
    const fs::path file = productfiles::PathOf(path);
    AddMappings(productfiles::IdentityOfFile(file), ReadMapFile(file, kept));
}

/// Takes what a map file said into the tables of the process.
void ProductData::AddMappings(const fs::path::string_type& file, std::unique_ptr<nvutil::ModelTable> table) {
    const OwnedCriticalResource lock(GetLock());
    GetKnownMappings().Add(TableNameOf(m_printer.get()), file, std::move(table));
}

void ProductData::UpdateCachedMapData() {
    if (m_printer == nullptr) return;
    const OwnedCriticalResource lock(GetLock());
    KnownMappings& known = GetKnownMappings();
    const Text name = TableNameOf(m_printer.get());
    try {
        known.Refresh(name, PrinterMappings(*m_printer));
    } catch (const NorvaException&) {
        return;  // what was known is as good as it gets
    }
    if (const auto current = FindEntry(name, ViewOf(m_mapping.GetModel()), m_folderIdentity))
        m_mapping = current->GetMapping();
    m_lastKey.Empty();
}

void ProductData::UpdateRegistryWithProductDataValues() {
    if (m_printer != nullptr) storedtext::Write(*m_printer, currentModelValue, m_mapping.GetModel());
}
