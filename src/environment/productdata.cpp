// ProductData: which printer model is served, where its files lie, and its printer-language commands.
#include "environment/productdata.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "environment/knownmappings.h"
#include "environment/modeltable.h"
#include "environment/printermappings.h"
#include "environment/productcodes.h"
#include "environment/productfiles.h"
#include "environment/productkeys.h"
#include "environment/productmodel.h"
#include "environment/textview.h"
#include "utilities/utilitiesdll/ownedcriticalresource.h"

namespace fs = std::filesystem;

namespace {

using nvutil::ProductModel;

/// Guards the tables of the process and every look-up.
CriticalResource& GetLock() {
    return GetProcessLock(ProcessLock::ProductData);
}

/// A model for as long as the lock is held. Public functions take it once and never call another that does.
class LockedModel {
public:
    explicit LockedModel(const std::unique_ptr<ProductModel>& model) : m_lock(GetLock()), m_model(*model) {}

    ProductModel* operator->() const { return &m_model; }

private:
    OwnedCriticalResource m_lock;
    ProductModel& m_model;
};

/// Takes map files into the tables of the process, and into the driver data of a model's printer if it has
/// one. The files are read without the lock, for which look-ups of other threads would have to wait.
class MapFileReader {
public:
    explicit MapFileReader(const ProductModel& model) : m_table(model.GetTableName()) {
        if (Printer* const printer = model.GetPrinter()) m_kept.emplace(*printer);
    }

    void ReadFolder(const CXString& folder) {
        // The files are named below the folder's own path, which is that of no other.
        const fs::path root = productfiles::IdentityOfFolder(productfiles::PathOf(folder));
        for (const fs::path& file : productfiles::FindMapFiles(root).files)
            Read(file, file.native());
    }

    void Read(const fs::path& file, const productfiles::Identity& identity) {
        const CXString text = productfiles::TextOf(productfiles::ReadFile(file).value_or(ByteBuffer()));
        auto models = std::make_unique<nvutil::ModelTable>(ViewOf(text));
        if (m_kept) m_kept->Keep(*models);
        const OwnedCriticalResource lock(GetLock());
        KnownMappings::OfProcess().Add(m_table, identity, std::move(models));
    }

private:
    platform::Text m_table;
    std::optional<PrinterMappings> m_kept;
};

/// Hands out a result, or an empty text where there is none.
bool Take(const std::optional<CXString>& result, CXString& out) {
    out = result.value_or(CXString());
    return result.has_value();
}

/// Converts an instruction into the bytes of its command, if there is one.
bool Convert(const PdlInstruction* instruction, ByteBuffer& out, void* context) {
    if (instruction == nullptr) return false;
    out.clear();
    return ProductData::ConvertAmpCommands(instruction->instruction, out, context);
}

}  // namespace

const DWORD ProductData::largestFile = productfiles::largestFile;

ProductData::ProductData() : m_model(std::make_unique<ProductModel>()) {}

ProductData::ProductData(HANDLE printer, const CXString& folder, _ModelType type, const CXString& model)
    : ProductData() {
    Initialize(printer, folder, type, model);
}

ProductData::~ProductData() = default;

void ProductData::Initialize(HANDLE printer, const CXString& folder, _ModelType type, const CXString& model) {
    auto served = std::make_unique<ProductModel>(printer, folder);
    if (!folder.IsEmpty()) MapFileReader(*served).ReadFolder(folder);
    served->KeepFolderName();
    LockedModel(served)->Initialize(type, model);
    if (served->IsValidated()) served->KeepModelName();
    m_model = std::move(served);
}

void ProductData::CopyFromAnother(ProductData& other, bool withPrinter, bool withCommands) {
    if (&other != this) LockedModel(m_model)->CopyFrom(*other.m_model, withPrinter, withCommands);
}

HANDLE ProductData::GetAssociatedPrinterHandle() const {
    return m_model->GetPrinterHandle();
}

bool ProductData::IsInitialized() const {
    return m_model->IsInitialized();
}

bool ProductData::IsValidated() const {
    return m_model->IsValidated();
}

// Look-ups

bool ProductData::GetPath(InfoType type, CXString& out) {
    const WChar* const key = productkeys::Of(type).path;
    return Take(key != nullptr ? LockedModel(m_model)->GetPath(key) : std::nullopt, out);
}

bool ProductData::GetPath(const CXString& key, CXString& out) {
    return Take(LockedModel(m_model)->GetPath(key), out);
}

bool ProductData::GetMapFilePathFromRegistry(const CXString& key, CXString& out, bool isWholePath) {
    const LockedModel model(m_model);
    return Take(isWholePath ? model->GetPath(key) : model->GetRelativePath(key), out);
}

bool ProductData::GetInfo(InfoType type, CXString& out) {
    const LockedModel model(m_model);
    const WChar* const key = productkeys::Of(type).info;
    if (type == InfoTypeModel) {
        out = model->GetModelName();
    } else if (type == InfoTypeProductUniqueId) {
        out = model->GetUniqueId();
    } else {
        out = key != nullptr ? model->GetValue(key) : CXString();
    }
    return !out.IsEmpty();
}

CXString ProductData::GetModelName() {
    return LockedModel(m_model)->GetModelName();
}

CXString ProductData::GetPrinterProductUniqueId() {
    return LockedModel(m_model)->GetUniqueId();
}

DataModelIds::tagControllerFamilyEnum ProductData::GetControllerFamily() {
    return productcodes::ControllerFamilyOf(LockedModel(m_model)->GetValue(productkeys::controllerFamily));
}

DataModelIds::tagCompanyEnum ProductData::GetCompanyName() {
    return productcodes::CompanyOf(LockedModel(m_model)->GetValue(productkeys::companyName));
}

double ProductData::GetPlatformVersion() {
    return productcodes::LeadingNumber(LockedModel(m_model)->GetValue(productkeys::platformVersion));
}

int ProductData::GetRatedSpeed() {
    return productcodes::LeadingInteger(LockedModel(m_model)->GetValue(productkeys::ratedSpeed));
}

DWORD ProductData::GetSupportedPDLS() {
    return productcodes::SupportedPdlsOf(LockedModel(m_model)->GetValue(productkeys::printerLanguages));
}

bool ProductData::LoadFile(InfoType type, ByteBuffer& out) {
    const WChar* const key = productkeys::Of(type).path;
    auto bytes = key != nullptr ? LockedModel(m_model)->LoadFile(key) : std::nullopt;
    const bool isLoaded = bytes.has_value();
    out = std::move(bytes).value_or(ByteBuffer());
    return isLoaded;
}

CXString ProductData::GenerateDmCacheFileName() {
    return LockedModel(m_model)->GetCacheFileName();
}

// Models

bool ProductData::ValidateUsbProductId(const CXString& id) {
    const LockedModel model(m_model);
    model->Refresh();
    model->FindById(MappingData::usbProductIdKey, id);
    return model->IsValidated();
}

bool ProductData::ValidateModelInfo(CXString& model, bool refresh) {
    const LockedModel served(m_model);
    if (refresh) served->Refresh();
    if (!served->FindByName(model)) return false;
    model = served->GetModelName();
    return true;
}

void ProductData::EnumerateInstalledDriverModels(std::set<CXString>& models) {
    const OwnedCriticalResource lock(GetLock());
    for (const platform::Text& model : KnownMappings::OfProcess().GetModels())
        models.insert(StringOf(model));
}

MappingData ProductData::GetMapping() {
    return LockedModel(m_model)->GetMapping();
}

std::vector<CXString> ProductData::GetModels() {
    return LockedModel(m_model)->GetModels();
}

// Map files and the driver data

void ProductData::UpdateRegistryMappings(const CXString& folder) {
    MapFileReader(*m_model).ReadFolder(folder);
}

void ProductData::ParseMapFile(const CXString& path) {
    const fs::path file = productfiles::PathOf(path);
    MapFileReader(*m_model).Read(file, productfiles::IdentityOfFile(file));
}

void ProductData::UpdateCachedMapData() {
    LockedModel(m_model)->Refresh();
}

void ProductData::UpdateRegistryWithProductDataValues() {
    m_model->KeepModelName();
}

// Commands

bool ProductData::GetPDLCommand(const CXString& feature, const CXString& option, PdlType type,
                                ByteBuffer& out, void* context, const CXString& qualifier, bool reload) {
    const LockedModel model(m_model);
    if (reload) model->ForgetCommands();
    model->ReadCommands();
    return Convert(model->FindInstruction(feature, option, type, qualifier), out, context);
}

bool ProductData::FindPDLInstruction(const CXString& feature, const CXString& option, PdlType type,
                                     const CXString& qualifier, ByteBuffer& out, void* context) {
    const LockedModel model(m_model);
    return Convert(model->FindInstruction(feature, option, type, qualifier), out, context);
}
