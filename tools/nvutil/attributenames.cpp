// What people read in place of numbers: the names of kinds and namespaces, and values with their units.
#include "nvutil/attributenames.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>

#include "nvutil/attributevisit.h"
#include "nvutil/statefile.h"
#include "nvutil/text.h"
#include "utilities/attributebytes/persistentattributes.h"

namespace {

constexpr std::string_view valueKindNames[] = {
    "option",    "integer",    "string",    "boolean", "range",    "dimension range",
    "dimension", "resolution", "data blob", "list",    "date-time"};

struct NamedNameSpace {
    const AttributeBytesNameSpacesId& (*id)();
    std::string_view name;
};

constexpr NamedNameSpace namedNameSpaces[] = {
    {PersistentAttributes::GetDataModelDocPropNameSpaceId, "document properties"},
    {PersistentAttributes::GetDataModelDevicePropNameSpaceId, "device properties"},
    {PersistentAttributes::GetMsDeviceCapabilitiesNameSpaceId, "device capabilities of the system"},
};

struct IdDisplay {
    std::string operator()(const AttributeBytesFeatureId& id) const {
        return Numbered("feature", id.GetFeatureId());
    }
    std::string operator()(const AttributeBytesNewFeatureId& id) const {
        return "new feature " + QuotedText(id.GetNewFeatureId());
    }
    std::string operator()(const AttributeBytesValueId& id) const {
        return Numbered("value", id.GetValueId());
    }
    std::string operator()(const AttributeBytesNewValueId& id) const {
        return "new value " + QuotedText(id.GetNewValueId());
    }
    std::string operator()(const AttributeBytesListOfValuesItemId& id) const {
        return Numbered("item", id.GetIndexValue());
    }
    std::string operator()(const AttributeBytesCapabilityId& id) const {
        return Numbered("capability", id.GetFeatureId()) + Numbered(", type", id.GetCapabilityTypeEnum());
    }
    std::string operator()(const AttributeBytesNewCapabilityId& id) const {
        return "new capability " + QuotedText(id.GetNewFeatureId()) +
               Numbered(", type", id.GetCapabilityTypeEnum());
    }
    std::string operator()(const AttributeBytesNameSpacesId& id) const {
        return Numbered("namespace", id.GetNameSpaceId());
    }

private:
    static std::string Numbered(std::string_view name, LONG number) {
        return std::string(name) + ' ' + std::to_string(number);
    }
};

struct ValueDisplay {
    std::string operator()(const AttributeBytesOptionValue& value) const {
        return DisplayOfId(value.GetValue());
    }
    std::string operator()(const AttributeBytesIntegerValue& value) const {
        return std::to_string(value.GetValue());
    }
    std::string operator()(const AttributeBytesStringValue& value) const {
        return QuotedText(value.GetValue());
    }
    std::string operator()(const AttributeBytesBooleanValue& value) const {
        return value.GetValue() ? "true" : "false";
    }
    std::string operator()(const AttributeBytesRangeValue& value) const {
        LONG low = 0;
        LONG high = 0;
        value.GetValue(low, high);
        return std::to_string(low) + " to " + std::to_string(high);
    }
    std::string operator()(const AttributeBytesRangeOfDimensionValue& value) const {
        Dimension low;
        Dimension high;
        value.GetValue(low, high);
        return DisplayOfLength(ThousandthsOf(low)) + " to " + DisplayOfLength(ThousandthsOf(high));
    }
    std::string operator()(const AttributeBytesDimensionValue& value) const {
        return DisplayOfLength(ThousandthsOf(value.GetValue()));
    }
    std::string operator()(const AttributeBytesResolutionValue& value) const {
        LONG crossFeed = 0;
        LONG feed = 0;
        short units = 0;
        value.GetValue(crossFeed, feed, units);
        return std::to_string(crossFeed) + " x " + std::to_string(feed) + " (cross-feed x feed), units " +
               std::to_string(units);
    }
    std::string operator()(const AttributeBytesDataBlobValue& value) const {
        constexpr std::size_t shown = 16;
        const ByteBuffer& bytes = value.GetValue();
        std::string text = CountText(bytes.size(), "byte");
        if (bytes.empty()) return text;
        text += ": " + HexText(std::span(bytes).first(std::min(shown, bytes.size())), " ");
        return bytes.size() > shown ? text + " ..." : text;
    }
    std::string operator()(const AttributeBytesListValue& value) const {
        return "of type " + std::to_string(value.GetListType()) + ", " +
               CountText(CountAttributes(value.GetValue()), "item");
    }
    std::string operator()(const AttributeBytesDateTimeValue& value) const {
        return ToUtf8(value.GetValue().GetDisplayString());
    }
};

}  // namespace

std::string_view NameOfValueKind(AttributeBytesValue::AttributeBytesValueEnum kind) {
    const int index = kind - AttributeBytesValue::ABVTE_OPTION;
    const bool isKnown = index >= 0 && index < static_cast<int>(std::size(valueKindNames));
    return isKnown ? valueKindNames[index] : "unknown";
}

std::string_view NameOfNameSpace(LONG number) {
    const auto* const found =
        std::find_if(std::begin(namedNameSpaces), std::end(namedNameSpaces),
                     [number](const NamedNameSpace& named) { return named.id().GetNameSpaceId() == number; });
    return found != std::end(namedNameSpaces) ? found->name : "unnamed";
}

std::string DisplayOfId(const AttributeBytesId& id) {
    return VisitId(id, IdDisplay());
}

std::string DisplayOfValue(const AttributeBytesValue& value) {
    return VisitValue(value, ValueDisplay());
}

LONG ThousandthsOf(const Dimension& dimension) {
    // Not rounded as the library does it, which would change a stored length of many metres.
    return static_cast<LONG>(dimension.GetDoubleValue(Dimension::ThousandthsOfMillimetres));
}

std::string DisplayOfLength(LONG thousandths) {
    const Dimension length(Number(thousandths), Dimension::ThousandthsOfMillimetres);
    return DisplayOfNumber(length.GetDoubleValue(Dimension::Millimetres), 3) + " mm (" +
           DisplayOfNumber(length.GetDoubleValue(Dimension::Inches), 4) + " in)";
}

std::string DisplayOfNumber(double number, int decimals) {
    std::array<char, 512> digits{};  // more than the 309 digits of the largest number and its decimals
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                   std::chars_format::fixed, decimals);
    std::string text(digits.data(), end.ptr);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
    }
    return text == "-0" ? "0" : text;
}
