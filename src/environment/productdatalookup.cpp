// ProductData: look-ups of properties and of the files that they name.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <utility>

#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "environment/textview.h"
#include "platform/widechar.h"
#include "utilities/utilitiesdll/crc32.h"

namespace {

const WChar* const familyPathKey = NV_TEXT("FAMPATH");

/// The keys of a type of information; null where there is none.
struct InfoKeys {
    const WChar* path;
    const WChar* info;
};

constexpr InfoKeys infoKeys[] = {
    {NV_TEXT("AUTO"), nullptr},
    {nullptr, NV_TEXT("CONTROLLERFAMILY")},
    {NV_TEXT("HLK"), nullptr},
    {nullptr, nullptr},  // the name of the current model
    {NV_TEXT("PDL"), nullptr},
    {NV_TEXT("PMM"), nullptr},
    {NV_TEXT("FAMPATH"), NV_TEXT("FAMPATH")},
    {nullptr, nullptr},  // the id of the printer's product
    {NV_TEXT("PSCOUT"), nullptr},
    {NV_TEXT("NCAP"), nullptr},
    {nullptr, NV_TEXT("FAMILYNAME")},
    {nullptr, NV_TEXT("COMPANYNAME")},
    {nullptr, NV_TEXT("PLATFORMVERSION")},
    {nullptr, NV_TEXT("COLORCAPABLE")},
    {nullptr, NV_TEXT("RATEDSPEED")},
    {NV_TEXT("MARG"), nullptr},
    {nullptr, NV_TEXT("PRINTERLANG")},
};

InfoKeys KeysOf(ProductData::InfoType type) {
    const auto index = static_cast<std::size_t>(type);
    return index < std::size(infoKeys) ? infoKeys[index] : InfoKeys{nullptr, nullptr};
}

/// A code of product data and the number that stands for it.
struct Code {
    const WChar* code;
    LONG number;
};

constexpr Code controllerFamilies[] = {
    {NV_TEXT("M"), DataModelIds::CONTROLLER_FAMILY_M}, {NV_TEXT("E"), DataModelIds::CONTROLLER_FAMILY_E},
    {NV_TEXT("D"), DataModelIds::CONTROLLER_FAMILY_D}, {NV_TEXT("G"), DataModelIds::CONTROLLER_FAMILY_G},
    {NV_TEXT("Y"), DataModelIds::CONTROLLER_FAMILY_Y},
};

constexpr Code companies[] = {
    {NV_TEXT("NV"), DataModelIds::COMPANY_NV},
    {NV_TEXT("QV"), DataModelIds::COMPANY_QV},
};

constexpr Code supportedPdls[] = {
    {NV_TEXT("pscript"), ProductData::SupportedPdlPs},      {NV_TEXT("pcl5"), ProductData::SupportedPdlPcl5},
    {NV_TEXT("pcl6"), ProductData::SupportedPdlPcl6},       {NV_TEXT("xps"), ProductData::SupportedPdlXps},
    {NV_TEXT("xraster"), ProductData::SupportedPdlXRaster},
};

/// The number of a code; 0 for any other text.
template <std::size_t count>
LONG NumberOf(const Code (&codes)[count], const CXString& text) {
    const auto found =
        std::find_if(codes, codes + count, [&text](const Code& each) { return text == each.code; });
    return found != codes + count ? found->number : 0;
}

/// The number at the beginning of a text, behind white space; 0 when there is none or it is out of range.
template <class Number>
Number LeadingNumber(const CXString& text) {
    std::string digits;
    for (const WChar unit : ViewOf(text)) {
        if (digits.empty() && platform::IsSpace(unit)) continue;
        digits += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    Number number = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return result.ec == std::errc() ? number : Number{0};
}

/// Whether there is something of that name.
bool Exists(const CXString& path) {
    std::error_code ignored;
    return std::filesystem::exists(productfiles::PathOf(path), ignored);
}

}  // namespace

/// The value of a property of the current model.
CXString ProductData::GetValue(const CXString& key) {
    const OwnedCriticalResource lock(GetLock());
    if (key.IsEmpty() || key != m_lastKey) {
        m_lastValue = m_printer != nullptr ? m_mapping.GetData(key, *m_printer) : m_mapping.GetData(key);
        m_lastKey = StringOf(ViewOf(key));
    }
    return StringOf(ViewOf(m_lastValue));
}

bool ProductData::GetPath(InfoType type, CXString& out) {
    const InfoKeys keys = KeysOf(type);
    if (keys.path != nullptr) return GetPath(CXString(keys.path), out);
    out.Empty();
    return false;
}

bool ProductData::GetPath(const CXString& key, CXString& out) {
    const OwnedCriticalResource lock(GetLock());
    if (!m_folder.IsEmpty()) return GetMapFilePathFromRegistry(key, out, true);
    out.Empty();
    return false;
}

bool ProductData::GetMapFilePathFromRegistry(const CXString& key, CXString& out, bool isWholePath) {
    const OwnedCriticalResource lock(GetLock());
    const CXString value = GetValue(key);
    const bool isInFamily = key != familyPathKey;
    out.Empty();  // only now: it may be the key
    const auto relative = productfiles::RelativePath(ViewOf(value));
    if (!relative || (isWholePath && m_folder.IsEmpty())) return false;
    if (!isWholePath) {
        out = value;
        return true;
    }
    const auto family = productfiles::RelativePath(ViewOf(GetValue(familyPathKey)));
    if (family && isInFamily)
        out = productfiles::JoinPath(productfiles::JoinPath(m_folder, *family), *relative);
    if (!Exists(out)) out = productfiles::JoinPath(m_folder, *relative);
    return true;
}

bool ProductData::GetInfo(InfoType type, CXString& out) {
    const OwnedCriticalResource lock(GetLock());
    const InfoKeys keys = KeysOf(type);
    if (type == InfoTypeModel) {
        out = GetModelName();
    } else if (type == InfoTypeProductUniqueId) {
        out = GetPrinterProductUniqueId();
    } else if (keys.info != nullptr) {
        out = GetValue(keys.info);
    } else {
        out.Empty();
    }
    return !out.IsEmpty();
}

CXString ProductData::GetModelName() {
    const OwnedCriticalResource lock(GetLock());
    return StringOf(ViewOf(m_mapping.GetModel()));
}

CXString ProductData::GetPrinterProductUniqueId() {
    const OwnedCriticalResource lock(GetLock());
    return StringOf(ViewOf(m_uniqueId));
}

DataModelIds::tagControllerFamilyEnum ProductData::GetControllerFamily() {
    const LONG number = NumberOf(controllerFamilies, GetValue(KeysOf(InfoTypeControllerFamily).info));
    return static_cast<DataModelIds::tagControllerFamilyEnum>(number);
}

DataModelIds::tagCompanyEnum ProductData::GetCompanyName() {
    const LONG number = NumberOf(companies, GetValue(KeysOf(InfoTypeCompanyName).info));
    return static_cast<DataModelIds::tagCompanyEnum>(number);
}

double ProductData::GetPlatformVersion() {
    const auto version = LeadingNumber<double>(GetValue(KeysOf(InfoTypePlatformVersion).info));
    return std::isfinite(version) ? version : 0;
}

int ProductData::GetRatedSpeed() {
    return LeadingNumber<int>(GetValue(KeysOf(InfoTypeRatedSpeed).info));
}

DWORD ProductData::GetSupportedPDLS() {
    CXString languages = GetValue(KeysOf(InfoTypePrinterLanguages).info);
    languages.MakeLower();
    DWORD supported = 0;
    for (const Code& each : supportedPdls) {
        if (languages.Find(each.code) >= 0) supported |= static_cast<DWORD>(each.number);
    }
    return supported;
}

bool ProductData::LoadFile(InfoType type, ByteBuffer& out) {
    const OwnedCriticalResource lock(GetLock());
    out.clear();
    CXString path;
    if (!GetPath(type, path)) return false;
    auto bytes = productfiles::ReadFile(productfiles::PathOf(path));
    if (!bytes) return false;
    out = std::move(*bytes);
    return true;
}

CXString ProductData::GenerateDmCacheFileName() {
    const OwnedCriticalResource lock(GetLock());
    // A zero, which no name holds, keeps the names apart.
    ByteBuffer names(m_printer != nullptr ? m_printer->GetName() : CXString());
    names.appendNullChar().append(m_mapping.GetModel());
    CXString name;
    name.Format(NV_TEXT("DmCache%08X.bin"), Crc32::GetCrc(names.data(), names.getDword()));
    return m_folder.IsEmpty() ? name : productfiles::JoinPath(m_folder, name);
}
