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

    LONG TakeNumber(std::string_view name) {
        return Take(name, ByteBuffer::WalkBufferToGetLong,
                    [](LONG number) { return std::to_string(number); });
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
    [[noreturn]] static void ThrowUnknownKind(std::string_view family, int kind) {
        NV_THROW(ExceptionUnhandledSyntax, "ReportNameSpacesFields", __LINE__, NV_TEXT("%d is no kind of %s"),
                 kind, FromUtf8(family));
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

    void TakeBlob() {
        nvutil::ByteWalk walk = GetWalk();
        ByteBuffer bytes;
        ByteBuffer::WalkBufferToGetCountedBytes(walk.cursor, walk.remaining, bytes);
        Report(sizeof(int), "byte count", std::to_string(bytes.size()));
        if (!bytes.empty()) Report(bytes.size(), "data", "");
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

    void TakeNestedList() {
        Take("list type", ByteBuffer::WalkBufferToGetByte, [](BYTE type) { return std::to_string(type); });
        const auto size = static_cast<unsigned>(TakeNumber("list size"));
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

    void TakeId() {
        const auto kind = TakeKind<AttributeBytesId>("identifier kind");
        switch (kind) {
            case AttributeBytesId::ABIDE_FEATURE:
                TakeNumber("feature");
                break;
            case AttributeBytesId::ABIDE_NEWFEATURE:
                TakeText("feature name");
                break;
            case AttributeBytesId::ABIDE_VALUE:
                TakeNumber("value");
                break;
            case AttributeBytesId::ABIDE_NEWVALUE:
                TakeText("value name");
                break;
            case AttributeBytesId::ABIDE_LISTOFVALUESITEM:
                TakeNumber("item index");
                break;
            case AttributeBytesId::ABIDE_CAPABILITY:
                TakeShort("capability type");
                TakeNumber("feature");
                break;
            case AttributeBytesId::ABIDE_NEWCAPABILITY:
                TakeShort("capability type");
                TakeText("feature name");
                break;
            case AttributeBytesId::ABIDE_NAMESPACE:
                Take("namespace", ByteBuffer::WalkBufferToGetLong, [](LONG number) {
                    return std::to_string(number) + " (" + std::string(NameOfNameSpace(number)) + ')';
                });
                break;
            default:
                ThrowUnknownKind("identifier", kind);
        }
    }

    void TakeValue() {
        const auto kind = TakeKind<AttributeBytesValue>("value kind");
        Take("unspecified flag", ByteBuffer::WalkBufferToGetBool,
             [](bool isUnspecified) { return isUnspecified ? "unspecified" : "specified"; });
        switch (kind) {
            case AttributeBytesValue::ABVTE_OPTION:
                TakeId();
                break;
            case AttributeBytesValue::ABVTE_INTEGER:
                TakeNumber("integer");
                break;
            case AttributeBytesValue::ABVTE_STRING:
                TakeText("string");
                break;
            case AttributeBytesValue::ABVTE_BOOLEAN:
                Take("boolean", ByteBuffer::WalkBufferToGetBool,
                     [](bool value) { return value ? "true" : "false"; });
                break;
            case AttributeBytesValue::ABVTE_RANGE:
                TakeNumber("low");
                TakeNumber("high");
                break;
            case AttributeBytesValue::ABVTE_RANGEOFDIMENSION:
                TakeLength("low");
                TakeLength("high");
                break;
            case AttributeBytesValue::ABVTE_DIMENSION:
                TakeLength("dimension");
                break;
            case AttributeBytesValue::ABVTE_RESOLUTION:
                TakeNumber("feed");
                TakeNumber("cross-feed");
                TakeShort("units");
                break;
            case AttributeBytesValue::ABVTE_DATABLOB:
                TakeBlob();
                break;
            case AttributeBytesValue::ABVTE_LIST:
                TakeNestedList();
                break;
            case AttributeBytesValue::ABVTE_DATETIME:
                Take("time", ByteBuffer::WalkBufferToGetTime64,
                     [](std::int64_t seconds) { return ToUtf8(UtcTime(seconds).GetDisplayString()); });
                break;
            default:
                ThrowUnknownKind("value", kind);
        }
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
