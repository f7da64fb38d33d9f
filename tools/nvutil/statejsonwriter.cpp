// The JSON form of a state, written.
#include <utility>

#include "nvutil/attributenames.h"
#include "nvutil/attributevisit.h"
#include "nvutil/statejson.h"
#include "nvutil/text.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

/// `{"name": content}`
std::string Object(std::string_view name, std::string_view content) {
    std::string json = "{\"";
    return json.append(name).append("\": ").append(content).append("}");
}

std::string Pair(LONG first, LONG second) {
    return '[' + std::to_string(first) + ", " + std::to_string(second) + ']';
}

struct IdJson {
    std::string operator()(const AttributeBytesFeatureId& id) const {
        return Number("feature", id.GetFeatureId());
    }
    std::string operator()(const AttributeBytesNewFeatureId& id) const {
        return Object("newFeature", QuotedText(id.GetNewFeatureId()));
    }
    std::string operator()(const AttributeBytesValueId& id) const { return Number("value", id.GetValueId()); }
    std::string operator()(const AttributeBytesNewValueId& id) const {
        return Object("newValue", QuotedText(id.GetNewValueId()));
    }
    std::string operator()(const AttributeBytesListOfValuesItemId& id) const {
        return Number("item", id.GetIndexValue());
    }
    std::string operator()(const AttributeBytesCapabilityId& id) const {
        return Capability("capability", std::to_string(id.GetFeatureId()), id.GetCapabilityTypeEnum());
    }
    std::string operator()(const AttributeBytesNewCapabilityId& id) const {
        return Capability("newCapability", QuotedText(id.GetNewFeatureId()), id.GetCapabilityTypeEnum());
    }
    std::string operator()(const AttributeBytesNameSpacesId& id) const {
        return Number("namespace", id.GetNameSpaceId());
    }

private:
    static std::string Number(std::string_view name, LONG number) {
        return Object(name, std::to_string(number));
    }
    static std::string Capability(std::string_view name, const std::string& feature, short type) {
        return Object(name, "{\"feature\": " + feature + ", \"type\": " + std::to_string(type) + '}');
    }
};

std::string WriteItems(const AttributeBytesRawList& list, int depth, bool isOnOneLine);

struct ValueJson {
    int depth;
    bool isOnOneLine;

    std::string operator()(const AttributeBytesOptionValue& value) const {
        return Object("option", VisitId(value.GetValue(), IdJson()));
    }
    std::string operator()(const AttributeBytesIntegerValue& value) const {
        return Object("integer", std::to_string(value.GetValue()));
    }
    std::string operator()(const AttributeBytesStringValue& value) const {
        return Object("string", QuotedText(value.GetValue()));
    }
    std::string operator()(const AttributeBytesBooleanValue& value) const {
        return Object("boolean", value.GetValue() ? "true" : "false");
    }
    std::string operator()(const AttributeBytesRangeValue& value) const {
        LONG low = 0;
        LONG high = 0;
        value.GetValue(low, high);
        return Object("range", Pair(low, high));
    }
    std::string operator()(const AttributeBytesRangeOfDimensionValue& value) const {
        Dimension low;
        Dimension high;
        value.GetValue(low, high);
        return Object("dimensionRange", Pair(ThousandthsOf(low), ThousandthsOf(high)));
    }
    std::string operator()(const AttributeBytesDimensionValue& value) const {
        return Object("dimension", std::to_string(ThousandthsOf(value.GetValue())));
    }
    std::string operator()(const AttributeBytesResolutionValue& value) const {
        LONG crossFeed = 0;
        LONG feed = 0;
        short units = 0;
        value.GetValue(crossFeed, feed, units);
        return Object("resolution", "{\"crossFeed\": " + std::to_string(crossFeed) + ", \"feed\": " +
                                        std::to_string(feed) + ", \"units\": " + std::to_string(units) + '}');
    }
    std::string operator()(const AttributeBytesDataBlobValue& value) const {
        return Object("blob", '"' + HexText(value.GetValue()) + '"');
    }
    std::string operator()(const AttributeBytesListValue& value) const {
        return Object("list", "{\"type\": " + std::to_string(value.GetListType()) + ", \"items\": " +
                                  WriteItems(value.GetValue(), depth + 1, isOnOneLine) + '}');
    }
    std::string operator()(const AttributeBytesDateTimeValue& value) const {
        return Object("dateTime", std::to_string(value.GetValue().GetTime64Value()));
    }
};

std::string WriteRecord(const AttributeBytes& record, int depth, bool isOnOneLine) {
    const AttributeBytesValue& value = record.GetAttributeBytesValue();
    std::string json = "{\"id\": " + VisitId(record.GetAttributeBytesId(), IdJson());
    json += ", \"value\": " + VisitValue(value, ValueJson{depth, isOnOneLine});
    if (!value.IsSpecified()) json += ", \"unspecified\": true";
    return json + '}';
}

/// A list's array. The attributes of a namespace are of depth 0.
std::string WriteItems(const AttributeBytesRawList& list, int depth, bool isOnOneLine) {
    if (depth > deepestNesting) {
        NV_THROW(ExceptionInvalidArgument, "WriteStateJson", __LINE__,
                 NV_TEXT("lists are nested more than %d levels deep"), deepestNesting);
    }
    constexpr int outerIndent = 2;
    const std::string lineEnd =
        isOnOneLine ? std::string()
                    : '\n' + std::string(2 * static_cast<std::size_t>(depth + outerIndent), ' ');
    std::string json = "[";
    for (auto it = list.GetRawListIterator(); list.IsValidRawListIterator(it);) {
        const auto record = list.GetNextAttributeBytesFromRawListIterator(it);
        if (json.size() > 1) json += isOnOneLine ? ", " : ",";
        json += lineEnd;
        if (!isOnOneLine) json += "  ";
        json += WriteRecord(*record, depth, isOnOneLine);
    }
    if (json.size() > 1) json += lineEnd;
    return json + ']';
}

}  // namespace

std::string WriteStateJson(const StateContents& contents) {
    std::string json =
        "{\n  \"driverVersion\": \"" + VersionText(contents.version) + "\",\n  \"namespaces\": {";
    const char* separator = "\n";
    for (const NameSpace& nameSpace : contents.nameSpaces) {
        json += std::exchange(separator, ",\n");
        json +=
            "    \"" + std::to_string(nameSpace.number) + "\": " + WriteItems(nameSpace.attributes, 0, false);
    }
    if (!contents.nameSpaces.empty()) json += "\n  ";
    return json + "}\n}\n";
}

std::string WriteAttributeJson(const AttributeBytes& attribute) {
    return WriteRecord(attribute, 0, true);
}

std::string WriteValueJson(const AttributeBytesValue& value) {
    return VisitValue(value, ValueJson{0, true});
}
