// NorvaUtilities: the names of the platform's published constants.
#include <algorithm>
#include <cstdint>
#include <span>

#include "utilities/base/formattext.h"
#include "utilities/utilitiesdll/constantnames.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

struct Constant {
    DWORD value;
    const WChar* name;
};

#define NV_CONSTANT(name, value) {value, NV_TEXT(#name)},

constexpr Constant deviceCapabilities[] = {NV_DEVICE_CAPABILITIES(NV_CONSTANT)};

constexpr Constant documentEvents[] = {NV_DOCUMENT_EVENTS(NV_CONSTANT)};
constexpr DWORD documentEventSpooled = 0x10000;

constexpr Constant xpsDocumentEvents[] = {NV_XPS_DOCUMENT_EVENTS(NV_CONSTANT)};

constexpr Constant devmodeFields[] = {NV_DEVMODE_FIELDS(NV_CONSTANT)};

constexpr Constant devmodeModes[] = {NV_DEVMODE_MODES(NV_CONSTANT)};

constexpr Constant registryKeys[] = {NV_REGISTRY_KEYS(NV_CONSTANT)};

CXString Number(DWORD value) {
    return FormatText(NV_TEXT("0x%08lX"), value);
}

CXString NameOf(std::span<const Constant> constants, DWORD value) {
    const auto found =
        std::find_if(constants.begin(), constants.end(), [value](const auto& c) { return c.value == value; });
    return found != constants.end() ? CXString(found->name) : Number(value);
}

void Join(CXString& names, const CXString& name) {
    if (!names.IsEmpty()) names += NV_TEXT(" | ");
    names += name;
}

/// The names of all bits that are set; those without a name are given as one number.
CXString NamesOfBits(std::span<const Constant> constants, DWORD bits) {
    if (bits == 0) return NV_TEXT("0");
    CXString names;
    for (const Constant& constant : constants) {
        if ((bits & constant.value) != 0) Join(names, constant.name);
        bits &= ~constant.value;
    }
    if (bits != 0) Join(names, Number(bits));
    return names;
}

}  // namespace

namespace NorvaUtilities {

CXString DeviceCapabilitiesString(WORD capability) {
    return NameOf(deviceCapabilities, capability);
}

CXString DocumentEventString(int event) {
    const auto value = static_cast<DWORD>(event);
    CXString name = NameOf(documentEvents, value & ~documentEventSpooled);
    if ((value & documentEventSpooled) != 0) Join(name, NV_TEXT("DOCUMENTEVENT_SPOOLED"));
    return name;
}

CXString XpsDocumentEventString(int event) {
    return NameOf(xpsDocumentEvents, static_cast<DWORD>(event));
}

CXString DevmodeDmFieldString(DWORD fields) {
    return NamesOfBits(devmodeFields, fields);
}

CXString DevmodeModeString(DWORD mode) {
    return NamesOfBits(devmodeModes, mode);
}

CXString HkeyString(const HKEY__* key) {
    // The predefined keys are 32-bit numbers, with their sign extended or not.
    const auto value = reinterpret_cast<std::uintptr_t>(key);
    const auto low = static_cast<DWORD>(value & 0xFFFFFFFF);
    const bool isNumber = value == low || value == (low | ~std::uintptr_t{0xFFFFFFFF});
    return isNumber ? NameOf(registryKeys, low)
                    : FormatText(NV_TEXT("0x%016I64X"), static_cast<std::uint64_t>(value));
}

}  // namespace NorvaUtilities
