// The names that product data goes by: properties of models, and values in the driver data of a printer.
#pragma once

#include "environment/mappingdata.h"
#include "environment/productdata.h"
#include "platform/types.h"

namespace productkeys {

// Properties; those by which a model is looked for stand in MappingData.
inline constexpr const WChar* colorCapable = NV_TEXT("COLORCAPABLE");
inline constexpr const WChar* companyName = NV_TEXT("COMPANYNAME");
inline constexpr const WChar* controllerFamily = NV_TEXT("CONTROLLERFAMILY");
inline constexpr const WChar* familyName = NV_TEXT("FAMILYNAME");
inline constexpr const WChar* familyPath = NV_TEXT("FAMPATH");
inline constexpr const WChar* platformVersion = NV_TEXT("PLATFORMVERSION");
inline constexpr const WChar* printerLanguages = NV_TEXT("PRINTERLANG");
inline constexpr const WChar* ratedSpeed = NV_TEXT("RATEDSPEED");

// Values in the driver data, beside those of models.
inline constexpr const WChar* currentModelValue = NV_TEXT("xUPDCurrentModel");
inline constexpr const WChar* folderValue = NV_TEXT("ProductDataMappings");

/// The keys of a type of information; null where there is none.
struct InfoKeys {
    const WChar* path;  ///< Of a property that is a path.
    const WChar* info;
};

/// By the number of the type.
inline constexpr InfoKeys byType[] = {
    {NV_TEXT("AUTO"), nullptr},    // Auto
    {nullptr, controllerFamily},   // ControllerFamily
    {NV_TEXT("HLK"), nullptr},     // Hlk
    {nullptr, nullptr},            // Model, which is no property
    {NV_TEXT("PDL"), nullptr},     // Pdl
    {NV_TEXT("PMM"), nullptr},     // Pmm
    {familyPath, familyPath},      // FamilyPath
    {nullptr, nullptr},            // ProductUniqueId, which is none either
    {NV_TEXT("PSCOUT"), nullptr},  // PsCout
    {NV_TEXT("NCAP"), nullptr},    // Ncap
    {nullptr, familyName},         // FamilyName
    {nullptr, companyName},        // CompanyName
    {nullptr, platformVersion},    // PlatformVersion
    {nullptr, colorCapable},       // ColorCapable
    {nullptr, ratedSpeed},         // RatedSpeed
    {NV_TEXT("MARG"), nullptr},    // Margins
    {nullptr, printerLanguages},   // PrinterLanguages
};

/// Neither key for a type that there is not.
constexpr InfoKeys Of(ProductData::InfoType type) {
    const auto index = static_cast<std::size_t>(type);
    return index < std::size(byType) ? byType[index] : InfoKeys{nullptr, nullptr};
}

}  // namespace productkeys
