// What the values of properties stand for, where they are codes or numbers.
#include "environment/productcodes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

#include "environment/productdata.h"
#include "environment/textview.h"
#include "platform/widechar.h"

namespace productcodes {

namespace {

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

template <std::size_t count>
LONG NumberOf(const Code (&codes)[count], const CXString& text) {
    const auto found =
        std::find_if(codes, codes + count, [&text](const Code& each) { return text == each.code; });
    return found != codes + count ? found->number : 0;
}

template <class Number>
Number Leading(const CXString& text) {
    std::string digits;
    for (const WChar unit : ViewOf(text)) {
        if (digits.empty() && platform::IsSpace(unit)) continue;
        digits += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    Number number = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return result.ec == std::errc() ? number : Number{0};
}

}  // namespace

DataModelIds::tagControllerFamilyEnum ControllerFamilyOf(const CXString& code) {
    return static_cast<DataModelIds::tagControllerFamilyEnum>(NumberOf(controllerFamilies, code));
}

DataModelIds::tagCompanyEnum CompanyOf(const CXString& code) {
    return static_cast<DataModelIds::tagCompanyEnum>(NumberOf(companies, code));
}

DWORD SupportedPdlsOf(const CXString& languages) {
    CXString lower = languages;
    lower.MakeLower();
    DWORD supported = 0;
    for (const Code& each : supportedPdls) {
        if (lower.Find(each.code) >= 0) supported |= static_cast<DWORD>(each.number);
    }
    return supported;
}

double LeadingNumber(const CXString& text) {
    const auto number = Leading<double>(text);
    return std::isfinite(number) ? number : 0;
}

int LeadingInteger(const CXString& text) {
    return Leading<int>(text);
}

}  // namespace productcodes
