// The fields of a state, byte by byte: what `state show --bytes` prints.
#include "nvutil/statebytes.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "nvutil/attributenames.h"
#include "nvutil/text.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesvalue.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/driverversion.h"
#include "utilities/utilitiesdll/utctime.h"

namespace {

constexpr std::size_t headerSize = sizeof(PersistentAttributes::PersistentAttributesHeaderType);
constexpr std::size_t markSize = 4;

/// Reads a state from front to back and reports each field it takes.
class FieldWalker {
public:
    FieldWalker(std::span<const BYTE> state, const FieldReport& report)
        : m_state(state), m_report(report), m_end(state.size()) {}

    void WalkHeader() {
        Take("header size", ByteBuffer::WalkBufferToGetInt,
             [](int size) { return CountText(static_cast<unsigned>(size), "byte"); });
        Take("format version", ByteBuffer::WalkBufferToGetInt,
             [](int version) { return "0x" + HexNumber(static_cast<unsigned>(version), 8); });
        TakeVersion();
    }

    void WalkNameSpaces() {
        TakeMark("ABNS");
        TakeVersion();
        TakeMark("ABIL");
        WalkList();
    }

    /// Reports what has not been taken as one field.
    void ReportRest(std::string_view meaning) {
        m_depth = 0;
        if (m_position < m_state.size()) Report(m_state.size() - m_position, "unread", std::string(meaning));
    }

private:
    nvutil::ByteWalk GetWalk() const { return {m_state.data() + m_position, m_end - m_position}; }

    void Report(std::size_t size, std::string_view name, std::string meaning) {
        m_report({m_position, size, m_depth, std::string(name), std::move(meaning)});
        m_position += size;
    }

    /// Takes what a walk of the library takes, and reports it with the meaning of the value. Returns the
    /// value.
    template <class Value, class Meaning>
    Value Take(std::string_view name, Value (*walkBuffer)(BYTE*&, unsigned&), const Meaning& meaningOf) {
        nvutil::ByteWalk walk = GetWalk();
        const unsigned before = walk.remaining;
        Value value = walkBuffer(walk.cursor, walk.remaining);
        Report(before - walk.remaining, name, meaningOf(value));
        return value;
    }

    void TakeNumber(std::string_view name) {
        Take(name, ByteBuffer::WalkBufferToGetLong, [](LONG number) { return std::to_string(number); });
    }
    /// Takes the kind byte of an identifier or a value.
    template <class Family>
    auto TakeKind(std::string_view name) {
        using Kind = std::conditional_t<std::is_same_v<Family, AttributeBytesId>,
                                        AttributeBytesId::AttributeBytesIdEnum,
                                        AttributeBytesValue::AttributeBytesValueEnum>;
        return static_cast<Kind>(Take(name, ByteBuffer::WalkBufferToGetByte, [](BYTE kind) {
            return ToUtf8(Family::GetDebugDisplayString(static_cast<Kind>(kind)));
        }));
    }
    void TakeShort(std::string_view name) {
        Take(name, ByteBuffer::WalkBufferToGetShort, [](short number) { return std::to_string(number); });
    }
    void TakeLength(std::string_view name) { Take(name, ByteBuffer::WalkBufferToGetLong, DisplayOfLength); }
    void TakeVersion() { Take("driver version", DriverVersion::WalkBufferToGetDriverVersion, VersionText); }

    void TakeMark(std::string_view mark) {
        const auto found = m_state.subspan(m_position, std::min<std::size_t>(markSize, m_end - m_position));
        if (!std::equal(mark.begin(), mark.end(), found.begin(), found.end())) {
            NV_THROW(ExceptionMissingOrBadAttributeBytesFormat, "ReportNameSpacesFields", __LINE__,
                     NV_TEXT("the mark \"%s\" is missing"), FromUtf8(mark));
        }
        Report(markSize, "mark", QuotedText(mark));
    }

    void TakeText(std::string_view name) {
        nvutil::ByteWalk walk = GetWalk();
        const CXString text = ByteBuffer::WalkBufferToGetCountedString(walk.cursor, walk.remaining);
        const auto units = static_cast<std::size_t>(text.GetLength());
        Report(sizeof(short), "character count", std::to_string(units));
        if (units != 0) Report(units * sizeof(WChar), name, QuotedText(text));
    }

    void TakeBlob(std::string_view name) {
        nvutil::ByteWalk walk = GetWalk();
        ByteBuffer bytes;
        ByteBuffer::WalkBufferToGetCountedBytes(walk.cursor, walk.remaining, bytes);
        Report(sizeof(int), "byte count", std::to_string(bytes.size()));
        if (!bytes.empty()) Report(bytes.size(), name, "");
    }

    /// Takes the list up to m_end: its mark and its records.
    void WalkList() {
        if (m_depth > deepestNesting + 1) {  // the namespaces are a list of lists
            NV_THROW(ExceptionInvalidArgument, "ReportNameSpacesFields", __LINE__,
                     NV_TEXT("lists are nested more than %d levels deep"), deepestNesting);
        }
        TakeMark("ABRL");
        while (m_position < m_end) {
            TakeId();
            TakeValue();
        }
    }

    void TakeNestedList(std::string_view) {
        Take("list type", ByteBuffer::WalkBufferToGetByte, [](BYTE type) { return std::to_string(type); });
        const auto size = static_cast<unsigned>(Take("list size", ByteBuffer::WalkBufferToGetLong,
                                                     [](LONG bytes) { return std::to_string(bytes); }));
        if (size > m_end - m_position) {
            NV_THROW(ExceptionNotEnoughBytesForDesiredDataType, "ReportNameSpacesFields", __LINE__,
                     NV_TEXT("a list of %lu bytes is longer than what is left"), DWORD{size});
        }
        const std::size_t outerEnd = std::exchange(m_end, m_position + size);
        ++m_depth;
        WalkList();
        --m_depth;
        m_end = outerEnd;
    }

    void TakeNameSpace(std::string_view name) {
        Take(name, ByteBuffer::WalkBufferToGetLong, [](LONG number) {
            return std::to_string(number) + " (" + std::string(NameOfNameSpace(number)) + ')';
        });
    }
    void TakeBoolean(std::string_view name) {
        Take(name, ByteBuffer::WalkBufferToGetBool, [](bool value) { return value ? "true" : "false"; });
    }
    void TakeTime(std::string_view name) {
        Take(name, ByteBuffer::WalkBufferToGetTime64,
             [](std::int64_t seconds) { return ToUtf8(UtcTime(seconds).GetDisplayString()); });
    }

    /// A kind of identifier or value, and the fields of its payload.
    struct KindFields {
        int kind;
        struct {
            void (FieldWalker::*take)(std::string_view) = nullptr;
            std::string_view name = {};
        } fields[3];
    };

    template <std::size_t size>
    void TakeFields(const KindFields (&kinds)[size], int kind, std::string_view family) {
        const auto* const found = std::find_if(std::begin(kinds), std::end(kinds),
                                               [kind](const KindFields& each) { return each.kind == kind; });
        if (found == std::end(kinds)) {
            NV_THROW(ExceptionUnhandledSyntax, "ReportNameSpacesFields", __LINE__,
                     NV_TEXT("%d is no kind of %s"), kind, FromUtf8(family));
        }
        for (const auto& [take, name] : found->fields) {
            if (take != nullptr) (this->*take)(name);
        }
    }

    void TakeId(std::string_view = {}) {
        static constexpr KindFields kinds[] = {
            {AttributeBytesId::ABIDE_FEATURE, {{&FieldWalker::TakeNumber, "feature"}}},
            {AttributeBytesId::ABIDE_NEWFEATURE, {{&FieldWalker::TakeText, "feature name"}}},
            {AttributeBytesId::ABIDE_VALUE, {{&FieldWalker::TakeNumber, "value"}}},
            {AttributeBytesId::ABIDE_NEWVALUE, {{&FieldWalker::TakeText, "value name"}}},
            {AttributeBytesId::ABIDE_LISTOFVALUESITEM, {{&FieldWalker::TakeNumber, "item index"}}},
            {AttributeBytesId::ABIDE_CAPABILITY,
             {{&FieldWalker::TakeShort, "capability type"}, {&FieldWalker::TakeNumber, "feature"}}},
            {AttributeBytesId::ABIDE_NEWCAPABILITY,
             {{&FieldWalker::TakeShort, "capability type"}, {&FieldWalker::TakeText, "feature name"}}},
            {AttributeBytesId::ABIDE_NAMESPACE, {{&FieldWalker::TakeNameSpace, "namespace"}}},
        };
        TakeFields(kinds, TakeKind<AttributeBytesId>("identifier kind"), "identifier");
    }

    void TakeValue() {
        static constexpr KindFields kinds[] = {
            {AttributeBytesValue::ABVTE_OPTION, {{&FieldWalker::TakeId, {}}}},
            {AttributeBytesValue::ABVTE_INTEGER, {{&FieldWalker::TakeNumber, "integer"}}},
            {AttributeBytesValue::ABVTE_STRING, {{&FieldWalker::TakeText, "string"}}},
            {AttributeBytesValue::ABVTE_BOOLEAN, {{&FieldWalker::TakeBoolean, "boolean"}}},
            {AttributeBytesValue::ABVTE_RANGE,
             {{&FieldWalker::TakeNumber, "low"}, {&FieldWalker::TakeNumber, "high"}}},
            {AttributeBytesValue::ABVTE_RANGEOFDIMENSION,
             {{&FieldWalker::TakeLength, "low"}, {&FieldWalker::TakeLength, "high"}}},
            {AttributeBytesValue::ABVTE_DIMENSION, {{&FieldWalker::TakeLength, "dimension"}}},
            {AttributeBytesValue::ABVTE_RESOLUTION,
             {{&FieldWalker::TakeNumber, "feed"},
              {&FieldWalker::TakeNumber, "cross-feed"},
              {&FieldWalker::TakeShort, "units"}}},
            {AttributeBytesValue::ABVTE_DATABLOB, {{&FieldWalker::TakeBlob, "data"}}},
            {AttributeBytesValue::ABVTE_LIST, {{&FieldWalker::TakeNestedList, {}}}},
            {AttributeBytesValue::ABVTE_DATETIME, {{&FieldWalker::TakeTime, "time"}}},
        };
        const auto kind = TakeKind<AttributeBytesValue>("value kind");
        Take("unspecified flag", ByteBuffer::WalkBufferToGetBool,
             [](bool isUnspecified) { return isUnspecified ? "unspecified" : "specified"; });
        TakeFields(kinds, kind, "value");
    }

    std::span<const BYTE> m_state;
    const FieldReport& m_report;
    std::size_t m_position = 0;
    std::size_t m_end;  ///< Of the list at hand.
    int m_depth = 0;
};

/// Runs a walk; what it does not take because it fails is reported as one field.
template <class Walk>
void WalkAndReportRest(FieldWalker& walker, const Walk& walk) {
    try {
        walk();
    } catch (const NorvaException&) {
        walker.ReportRest("not readable from here on");
        throw;
    }
}

}  // namespace

void ReportHeaderFields(std::span<const BYTE> state, const FieldReport& report) {
    FieldWalker walker(state.first(std::min(state.size(), headerSize)), report);
    WalkAndReportRest(walker, [&walker] { walker.WalkHeader(); });
}

void ReportNameSpacesFields(std::span<const BYTE> state, const FieldReport& report) {
    FieldWalker walker(state, report);
    WalkAndReportRest(walker, [&walker] { walker.WalkNameSpaces(); });
}

std::string WriteField(std::span<const BYTE> state, const StateField& field) {
    constexpr std::size_t bytesOfALine = 8;
    constexpr std::size_t bytesWidth = 3 * bytesOfALine;
    constexpr std::size_t nameWidth = 20;
    const std::string indent(2 * static_cast<std::size_t>(field.depth), ' ');
    std::string text;
    for (std::size_t done = 0; done < field.size; done += bytesOfALine) {
        const auto bytes = state.subspan(field.offset + done, std::min(bytesOfALine, field.size - done));
        text += HexNumber(field.offset + done, 6) + "  " + Padded(HexText(bytes, " "), bytesWidth);
        if (done == 0)
            text += ' ' + Padded(indent + field.name, nameWidth + indent.size()) + ' ' + field.meaning;
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}
