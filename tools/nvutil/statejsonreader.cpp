// The JSON form of a state, read.
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "nvutil/attributenames.h"
#include "nvutil/jsontext.h"
#include "nvutil/statejson.h"
#include "nvutil/text.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesoptionvalue.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

using Json = nlohmann::json;

[[noreturn]] void Refuse(const std::string& message) {
    NV_THROW(ExceptionInvalidArgument, "ReadStateJson", __LINE__, NV_TEXT("%s"), FromUtf8(message));
}

/// Refuses the member at a path, of which a long one is cut in its middle.
[[noreturn]] void RefuseMember(const std::string& path, const std::string& problem) {
    constexpr std::size_t longestPath = 160;
    constexpr std::size_t part = (longestPath - 3) / 2;
    const bool isLong = path.size() > longestPath;
    const std::string shown = isLong ? path.substr(0, part) + "..." + path.substr(path.size() - part) : path;
    Refuse((path.empty() ? "the document" : shown) + ": " + problem);
}

/// A place in a document, as a chain of members from the innermost to the root.
class Place {
public:
    explicit Place(const Json& json) : m_json(json) {}
    Place(const Place& parent, const Json& json, std::string_view name)
        : m_json(json), m_parent(&parent), m_name(name) {}
    Place(const Place& parent, const Json& json, std::size_t index)
        : m_json(json), m_parent(&parent), m_index(index) {}

    const Json& GetJson() const { return m_json; }
    const Json* operator->() const { return &m_json; }

    std::string GetPath() const {
        if (m_parent == nullptr) return {};
        const std::string parent = m_parent->GetPath();
        if (m_name.empty()) return parent + '[' + std::to_string(m_index) + ']';
        return parent.empty() ? std::string(m_name) : parent + '.' + std::string(m_name);
    }

    [[noreturn]] void RefuseBecause(const std::string& problem) const { RefuseMember(GetPath(), problem); }

    const Place& RequireObject() const {
        if (!m_json.is_object()) RefuseBecause("must be an object");
        return *this;
    }
    const Place& RequireArray() const {
        if (!m_json.is_array()) RefuseBecause("must be an array");
        return *this;
    }
    const Place& RequireMembersAmong(std::initializer_list<std::string_view> names) const {
        RequireObject();
        for (const auto& member : m_json.items()) {
            if (std::find(names.begin(), names.end(), member.key()) == names.end())
                Place(*this, member.value(), member.key()).RefuseBecause("is not known here");
        }
        return *this;
    }
    Place GetMember(std::string_view name) const {
        const auto found = m_json.find(name);
        if (found == m_json.end()) RefuseBecause("\"" + std::string(name) + "\" is missing");
        return {*this, *found, name};
    }
    Place GetItem(std::size_t index) const { return {*this, m_json[index], index}; }

    template <class Number>
    Number GetNumber() const {
        constexpr auto lowest = std::numeric_limits<Number>::min();
        constexpr auto highest = std::numeric_limits<Number>::max();
        const bool isTooHigh =
            m_json.is_number_unsigned() && m_json.get<std::uint64_t>() > std::uint64_t{highest};
        if (!m_json.is_number_integer() || isTooHigh || m_json.get<std::int64_t>() < lowest) {
            RefuseBecause("must be a whole number from " + std::to_string(lowest) + " to " +
                          std::to_string(highest));
        }
        return m_json.get<Number>();
    }
    bool GetBoolean() const {
        if (!m_json.is_boolean()) RefuseBecause("must be true or false");
        return m_json.get<bool>();
    }
    const std::string& GetString() const {
        if (!m_json.is_string()) RefuseBecause("must be a string");
        return m_json.get_ref<const std::string&>();
    }
    CXString GetText() const {
        constexpr int longestText = std::numeric_limits<short>::max();  // the count is a short in the state
        CXString text = DecodeJsonString(GetString());
        if (text.GetLength() > longestText) {
            RefuseBecause("has " + Grouped(static_cast<std::uint64_t>(text.GetLength())) +
                          " UTF-16 code units, more than " + Grouped(longestText));
        }
        return text;
    }

private:
    const Json& m_json;
    const Place* m_parent = nullptr;
    std::string_view m_name;
    std::size_t m_index = 0;
};

/// Reads a document before the parser does, and refuses what the parser would accept: a member that comes
/// twice, of which it would keep one, and nesting deeper than a state can have.
class DocumentGuard final : public nlohmann::json_sax<Json> {
public:
    bool null() override { return CountItem(); }
    bool boolean(bool /*value*/) override { return CountItem(); }
    bool number_integer(number_integer_t /*value*/) override { return CountItem(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return CountItem(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return CountItem(); }
    bool string(string_t& /*value*/) override { return CountItem(); }
    bool binary(binary_t& /*value*/) override { return CountItem(); }
    bool start_object(std::size_t /*size*/) override { return Enter(); }
    bool key(string_t& name) override { return TakeKey(name); }
    bool end_object() override { return Leave(); }
    bool start_array(std::size_t /*size*/) override { return Enter(); }
    bool end_array() override { return Leave(); }
    /// Leaves it to the parser to say what is wrong.
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const Json::exception& /*error*/) override {
        return false;
    }

private:
    struct Level {
        std::set<std::string> names;  ///< Of the members so far; none in an array.
        std::string name;             ///< Of the member at hand.
        std::size_t index = 0;        ///< Of the item at hand.
    };

    bool Enter() {
        constexpr std::size_t levelsOfAList = 4;  // attribute, value, list, items
        constexpr std::size_t levelsOfTheRest = 16;
        if (m_levels.size() == levelsOfAList * deepestNesting + levelsOfTheRest)
            RefuseMember(GetPath(), "is nested too deep");
        m_levels.emplace_back();
        return true;
    }
    bool Leave() {
        m_levels.pop_back();
        return CountItem();
    }
    bool TakeKey(const std::string& name) {
        Level& level = m_levels.back();
        level.name = name;
        if (!level.names.insert(name).second) RefuseMember(GetPath(), "comes twice");
        return true;
    }
    bool CountItem() {
        if (!m_levels.empty()) ++m_levels.back().index;
        return true;
    }
    std::string GetPath() const {
        std::string path;
        for (const Level& level : m_levels) {
            if (level.names.empty()) {
                path += '[' + std::to_string(level.index) + ']';
            } else {
                path += (path.empty() ? "" : ".") + level.name;
            }
        }
        return path;
    }

    std::vector<Level> m_levels;
};

Json Parse(std::string_view text) {
    if (text.size() > largestDocument)
        Refuse("the document is larger than " + Grouped(largestDocument) + " bytes");
    try {
        // Twice, since a parser with a callback looks at all former items of an array for each one more.
        const std::string document = EncodeLoneSurrogates(text);
        DocumentGuard guard;
        Json::sax_parse(document, &guard);
        return Json::parse(document);
    } catch (const Json::exception& e) {
        constexpr std::size_t longestMessage = 200;  // the parser quotes what it read last, however long
        const std::string message = e.what();
        Refuse("not JSON: " + message.substr(message.find("] ") + 2).substr(0, longestMessage));
    }
}

/// The row of a table that the single member of an object names, and that member.
template <class Row, std::size_t size>
std::pair<const Row&, Place> ChooseKind(const Place& place, const Row (&table)[size]) {
    place.RequireObject();
    if (place->size() != 1) {
        place.RefuseBecause("must have exactly one member, which names its kind, and has " +
                            std::to_string(place->size()));
    }
    const auto member = place->cbegin();
    const Place content(place, member.value(), member.key());
    const Row* const row = std::find_if(std::begin(table), std::end(table),
                                        [&](const Row& r) { return r.name == member.key(); });
    if (row == std::end(table)) content.RefuseBecause("is not known here");
    return {*row, content};
}

// Identifiers

using OwnedId = std::unique_ptr<AttributeBytesId>;

/// An identifier that is made of one thing that a place is read as.
template <class Id, auto read>
OwnedId ReadSimpleId(const Place& place) {
    return std::make_unique<Id>(std::invoke(read, place));
}

template <class Id>
constexpr auto ReadNumberId = ReadSimpleId<Id, &Place::GetNumber<LONG>>;
template <class Id>
constexpr auto ReadTextId = ReadSimpleId<Id, &Place::GetText>;

short ReadCapabilityType(const Place& place) {
    return place.RequireMembersAmong({"feature", "type"}).GetMember("type").GetNumber<short>();
}

OwnedId ReadCapability(const Place& place) {
    const short type = ReadCapabilityType(place);
    return std::make_unique<AttributeBytesCapabilityId>(place.GetMember("feature").GetNumber<LONG>(), type);
}

OwnedId ReadNewCapability(const Place& place) {
    const short type = ReadCapabilityType(place);
    return std::make_unique<AttributeBytesNewCapabilityId>(place.GetMember("feature").GetText(), type);
}

struct IdKind {
    std::string_view name;
    OwnedId (*read)(const Place& content);
};

constexpr IdKind idKinds[] = {
    {"feature", ReadNumberId<AttributeBytesFeatureId>},
    {"newFeature", ReadTextId<AttributeBytesNewFeatureId>},
    {"value", ReadNumberId<AttributeBytesValueId>},
    {"newValue", ReadTextId<AttributeBytesNewValueId>},
    {"item", ReadNumberId<AttributeBytesListOfValuesItemId>},
    {"capability", ReadCapability},
    {"newCapability", ReadNewCapability},
    {"namespace", ReadNumberId<AttributeBytesNameSpacesId>},
};

OwnedId ReadId(const Place& place) {
    const auto [kind, content] = ChooseKind(place, idKinds);
    return kind.read(content);
}

// Values. They are appended as bytes, because lists are made of bytes.

struct ValueTarget {
    ByteBuffer& out;
    bool isSpecified;
    int depth;  ///< Number of lists around the value.
};

AttributeBytesRawList ReadItems(const Place& place, int depth);

/// Appends a value that is made of one thing that a place is read as.
template <class Value, auto read>
void AppendSimple(const Place& place, const ValueTarget& target) {
    Value(std::invoke(read, place), target.isSpecified).AppendTypeAndValueState(target.out);
}

/// The low and the high end of a range.
std::pair<LONG, LONG> ReadPair(const Place& place) {
    if (place.RequireArray()->size() != 2)
        place.RefuseBecause("must have two numbers, the low and the high one");
    return {place.GetItem(0).GetNumber<LONG>(), place.GetItem(1).GetNumber<LONG>()};
}

void AppendRange(const Place& place, const ValueTarget& target) {
    const auto [low, high] = ReadPair(place);
    AttributeBytesRangeValue(low, high, target.isSpecified).AppendTypeAndValueState(target.out);
}

// The library rounds a length in single precision when it writes it, which changes one of many metres. A
// document must give exactly the bytes that it was printed from, so its lengths are written without that.
void AppendLengthHead(AttributeBytesValue::AttributeBytesValueEnum kind, const ValueTarget& target) {
    target.out.appendByteValue(static_cast<BYTE>(kind)).appendByteValue(target.isSpecified ? 0 : 1);
}

void AppendDimensionRange(const Place& place, const ValueTarget& target) {
    const auto [low, high] = ReadPair(place);
    AppendLengthHead(AttributeBytesValue::ABVTE_RANGEOFDIMENSION, target);
    target.out.appendIntValue(low).appendIntValue(high);
}

void AppendDimension(const Place& place, const ValueTarget& target) {
    const LONG thousandths = place.GetNumber<LONG>();
    AppendLengthHead(AttributeBytesValue::ABVTE_DIMENSION, target);
    target.out.appendIntValue(thousandths);
}

void AppendResolution(const Place& place, const ValueTarget& target) {
    place.RequireMembersAmong({"crossFeed", "feed", "units"});
    AttributeBytesResolutionValue(place.GetMember("crossFeed").GetNumber<LONG>(),
                                  place.GetMember("feed").GetNumber<LONG>(),
                                  place.GetMember("units").GetNumber<short>(), target.isSpecified)
        .AppendTypeAndValueState(target.out);
}

ByteBuffer ReadBytes(const Place& place) {
    const std::string& digits = place.GetString();
    if (digits.size() % 2 != 0) place.RefuseBecause("must have an even number of hexadecimal digits");
    if (digits.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos)
        place.RefuseBecause("must have hexadecimal digits only");
    return ByteBuffer::createFromHexBinaryString(FromUtf8(digits));
}

UtcTime ReadTime(const Place& place) {
    return UtcTime(place.GetNumber<std::int64_t>());
}

void AppendList(const Place& place, const ValueTarget& target) {
    if (target.depth == deepestNesting)
        place.RefuseBecause("lists are nested more than " + std::to_string(deepestNesting) + " levels deep");
    place.RequireMembersAmong({"type", "items"});
    AttributeBytesListValue value(place.GetMember("type").GetNumber<BYTE>(),
                                  ReadItems(place.GetMember("items"), target.depth + 1));
    value.SetIsSpecified(target.isSpecified);
    value.AppendTypeAndValueState(target.out);
}

struct ValueKind {
    std::string_view name;
    void (*append)(const Place& content, const ValueTarget& target);
};

constexpr ValueKind valueKinds[] = {
    {"option", AppendSimple<AttributeBytesOptionValue, &ReadId>},
    {"integer", AppendSimple<AttributeBytesIntegerValue, &Place::GetNumber<LONG>>},
    {"string", AppendSimple<AttributeBytesStringValue, &Place::GetText>},
    {"boolean", AppendSimple<AttributeBytesBooleanValue, &Place::GetBoolean>},
    {"range", AppendRange},
    {"dimensionRange", AppendDimensionRange},
    {"dimension", AppendDimension},
    {"resolution", AppendResolution},
    {"blob", AppendSimple<AttributeBytesDataBlobValue, &ReadBytes>},
    {"list", AppendList},
    {"dateTime", AppendSimple<AttributeBytesDateTimeValue, &ReadTime>},
};

// Lists and namespaces

void AppendRecord(ByteBuffer& out, const Place& place, int depth) {
    place.RequireMembersAmong({"id", "value", "unspecified"});
    ReadId(place.GetMember("id"))->AppendTypeAndIdentifierState(out);
    const bool isUnspecified = place->contains("unspecified") && place.GetMember("unspecified").GetBoolean();
    const Place value = place.GetMember("value");
    const auto [kind, content] = ChooseKind(value, valueKinds);
    kind.append(content, {out, !isUnspecified, depth});
}

AttributeBytesRawList ReadItems(const Place& place, int depth) {
    ByteBuffer state = AttributeBytesRawList().GetAttributeBytesRawListState();
    place.RequireArray();
    for (std::size_t i = 0; i < place->size(); ++i)
        AppendRecord(state, place.GetItem(i), depth);
    return AttributeBytesRawList(state);
}

/// A number in decimal digits without leading zeros or "+": "-5", "12".
std::optional<LONG> ParseNameSpaceNumber(const std::string& text) {
    LONG number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && std::to_string(number) == text ? std::optional(number) : std::nullopt;
}

AttributeBytesNameSpaces ReadNameSpaces(const Place& place) {
    AttributeBytesNameSpaces nameSpaces;
    place.RequireObject();
    for (const auto& member : place->items()) {
        const Place content(place, member.value(), member.key());
        const auto number = ParseNameSpaceNumber(member.key());
        if (!number) content.RefuseBecause("is not named by a number");
        nameSpaces.SetNameSpaceAttributes(AttributeBytesNameSpacesId(*number), ReadItems(content, 0));
    }
    return nameSpaces;
}

DriverVersion ReadVersion(const Place& place) {
    const std::string& text = place.GetString();
    WORD parts[4] = {};
    const char* position = text.data();
    const char* const end = position + text.size();
    for (WORD& part : parts) {
        const auto result = std::from_chars(position, end, part);
        const bool isLast = &part == std::end(parts) - 1;
        if (result.ec != std::errc() || (result.ptr == end) != isLast || (!isLast && *result.ptr != '.'))
            place.RefuseBecause("must be four numbers from 0 to 65535, like \"1.2.3.4\"");
        position = isLast ? end : result.ptr + 1;
    }
    return {parts[0], parts[1], parts[2], parts[3]};
}

}  // namespace

StateDocument ReadStateJson(std::string_view json) {
    const Json parsed = Parse(json);
    const Place root(parsed);
    root.RequireMembersAmong({"driverVersion", "namespaces"});
    StateDocument document;
    if (parsed.contains("driverVersion")) document.version = ReadVersion(root.GetMember("driverVersion"));
    document.nameSpaces = ReadNameSpaces(root.GetMember("namespaces"));
    return document;
}

bool IsAttributeJson(std::string_view json) {
    const Json parsed = Parse(json);
    return parsed.is_object() && parsed.contains("id");
}

AttributeBytes ReadAttributeJson(std::string_view json) {
    const Json parsed = Parse(json);
    ByteBuffer state;
    AppendRecord(state, Place(parsed), 0);
    return AttributeBytes(state);
}

std::unique_ptr<AttributeBytesId> ReadIdJson(std::string_view json) {
    const Json parsed = Parse(json);
    const Place place(parsed);
    return parsed.is_number() ? ReadNumberId<AttributeBytesFeatureId>(place) : ReadId(place);
}
