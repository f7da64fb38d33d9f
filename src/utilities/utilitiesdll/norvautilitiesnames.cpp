// NorvaUtilities: the names of the platform's published constants.
#include <algorithm>
#include <cstdint>
#include <span>

#include "utilities/utilitiesdll/formattext.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

struct Constant {
    DWORD value;
    const WChar* name;
};

constexpr Constant deviceCapabilities[] = {
    {1, NV_TEXT("DC_FIELDS")},
    {2, NV_TEXT("DC_PAPERS")},
    {3, NV_TEXT("DC_PAPERSIZE")},
    {4, NV_TEXT("DC_MINEXTENT")},
    {5, NV_TEXT("DC_MAXEXTENT")},
    {6, NV_TEXT("DC_BINS")},
    {7, NV_TEXT("DC_DUPLEX")},
    {8, NV_TEXT("DC_SIZE")},
    {9, NV_TEXT("DC_EXTRA")},
    {10, NV_TEXT("DC_VERSION")},
    {11, NV_TEXT("DC_DRIVER")},
    {12, NV_TEXT("DC_BINNAMES")},
    {13, NV_TEXT("DC_ENUMRESOLUTIONS")},
    {14, NV_TEXT("DC_FILEDEPENDENCIES")},
    {15, NV_TEXT("DC_TRUETYPE")},
    {16, NV_TEXT("DC_PAPERNAMES")},
    {17, NV_TEXT("DC_ORIENTATION")},
    {18, NV_TEXT("DC_COPIES")},
    {19, NV_TEXT("DC_BINADJUST")},
    {20, NV_TEXT("DC_EMF_COMPLIANT")},
    {21, NV_TEXT("DC_DATATYPE_PRODUCED")},
    {22, NV_TEXT("DC_COLLATE")},
    {23, NV_TEXT("DC_MANUFACTURER")},
    {24, NV_TEXT("DC_MODEL")},
    {25, NV_TEXT("DC_PERSONALITY")},
    {26, NV_TEXT("DC_PRINTRATE")},
    {27, NV_TEXT("DC_PRINTRATEUNIT")},
    {28, NV_TEXT("DC_PRINTERMEM")},
    {29, NV_TEXT("DC_MEDIAREADY")},
    {30, NV_TEXT("DC_STAPLE")},
    {31, NV_TEXT("DC_PRINTRATEPPM")},
    {32, NV_TEXT("DC_COLORDEVICE")},
    {33, NV_TEXT("DC_NUP")},
    {34, NV_TEXT("DC_MEDIATYPENAMES")},
    {35, NV_TEXT("DC_MEDIATYPES")},
};

constexpr Constant documentEvents[] = {
    {1, NV_TEXT("DOCUMENTEVENT_CREATEDCPRE")},   {2, NV_TEXT("DOCUMENTEVENT_CREATEDCPOST")},
    {3, NV_TEXT("DOCUMENTEVENT_RESETDCPRE")},    {4, NV_TEXT("DOCUMENTEVENT_RESETDCPOST")},
    {5, NV_TEXT("DOCUMENTEVENT_STARTDOCPRE")},   {6, NV_TEXT("DOCUMENTEVENT_STARTPAGE")},
    {7, NV_TEXT("DOCUMENTEVENT_ENDPAGE")},       {8, NV_TEXT("DOCUMENTEVENT_ENDDOCPRE")},
    {9, NV_TEXT("DOCUMENTEVENT_ABORTDOC")},      {10, NV_TEXT("DOCUMENTEVENT_DELETEDC")},
    {11, NV_TEXT("DOCUMENTEVENT_ESCAPE")},       {12, NV_TEXT("DOCUMENTEVENT_ENDDOCPOST")},
    {13, NV_TEXT("DOCUMENTEVENT_STARTDOCPOST")}, {14, NV_TEXT("DOCUMENTEVENT_QUERYFILTER")},
};
constexpr DWORD documentEventSpooled = 0x10000;

// The third name is published with two letters "E".
constexpr Constant xpsDocumentEvents[] = {
    {1, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRE")},
    {2, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRE")},
    {3, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDPAGEEPRE")},
    {4, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDPAGEPOST")},
    {5, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPOST")},
    {6, NV_TEXT("DOCUMENTEVENT_XPS_CANCELJOB")},
    {7, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRINTTICKETPRE")},
    {8, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRINTTICKETPRE")},
    {9, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDPAGEPRINTTICKETPRE")},
    {10, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDPAGEPRINTTICKETPOST")},
    {11, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRINTTICKETPOST")},
    {12, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRINTTICKETPOST")},
    {13, NV_TEXT("DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPOST")},
    {14, NV_TEXT("DOCUMENTEVENT_QUERYFILTER")},
};

constexpr Constant devmodeFields[] = {
    {0x00000001, NV_TEXT("DM_ORIENTATION")},
    {0x00000002, NV_TEXT("DM_PAPERSIZE")},
    {0x00000004, NV_TEXT("DM_PAPERLENGTH")},
    {0x00000008, NV_TEXT("DM_PAPERWIDTH")},
    {0x00000010, NV_TEXT("DM_SCALE")},
    {0x00000020, NV_TEXT("DM_POSITION")},
    {0x00000040, NV_TEXT("DM_NUP")},
    {0x00000080, NV_TEXT("DM_DISPLAYORIENTATION")},
    {0x00000100, NV_TEXT("DM_COPIES")},
    {0x00000200, NV_TEXT("DM_DEFAULTSOURCE")},
    {0x00000400, NV_TEXT("DM_PRINTQUALITY")},
    {0x00000800, NV_TEXT("DM_COLOR")},
    {0x00001000, NV_TEXT("DM_DUPLEX")},
    {0x00002000, NV_TEXT("DM_YRESOLUTION")},
    {0x00004000, NV_TEXT("DM_TTOPTION")},
    {0x00008000, NV_TEXT("DM_COLLATE")},
    {0x00010000, NV_TEXT("DM_FORMNAME")},
    {0x00020000, NV_TEXT("DM_LOGPIXELS")},
    {0x00040000, NV_TEXT("DM_BITSPERPEL")},
    {0x00080000, NV_TEXT("DM_PELSWIDTH")},
    {0x00100000, NV_TEXT("DM_PELSHEIGHT")},
    {0x00200000, NV_TEXT("DM_DISPLAYFLAGS")},
    {0x00400000, NV_TEXT("DM_DISPLAYFREQUENCY")},
    {0x00800000, NV_TEXT("DM_ICMMETHOD")},
    {0x01000000, NV_TEXT("DM_ICMINTENT")},
    {0x02000000, NV_TEXT("DM_MEDIATYPE")},
    {0x04000000, NV_TEXT("DM_DITHERTYPE")},
    {0x08000000, NV_TEXT("DM_PANNINGWIDTH")},
    {0x10000000, NV_TEXT("DM_PANNINGHEIGHT")},
    {0x20000000, NV_TEXT("DM_DISPLAYFIXEDOUTPUT")},
};

constexpr Constant devmodeModes[] = {
    {1, NV_TEXT("DM_UPDATE")},
    {2, NV_TEXT("DM_OUT_BUFFER")},
    {4, NV_TEXT("DM_IN_PROMPT")},
    {8, NV_TEXT("DM_IN_BUFFER")},
};

constexpr Constant registryKeys[] = {
    {0x80000000, NV_TEXT("HKEY_CLASSES_ROOT")},     {0x80000001, NV_TEXT("HKEY_CURRENT_USER")},
    {0x80000002, NV_TEXT("HKEY_LOCAL_MACHINE")},    {0x80000003, NV_TEXT("HKEY_USERS")},
    {0x80000004, NV_TEXT("HKEY_PERFORMANCE_DATA")}, {0x80000005, NV_TEXT("HKEY_CURRENT_CONFIG")},
    {0x80000006, NV_TEXT("HKEY_DYN_DATA")},         {0x80000007, NV_TEXT("HKEY_CURRENT_USER_LOCAL_SETTINGS")},
    {0x80000050, NV_TEXT("HKEY_PERFORMANCE_TEXT")}, {0x80000060, NV_TEXT("HKEY_PERFORMANCE_NLSTEXT")},
};

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
