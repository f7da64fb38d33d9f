// Attribute values and records: bytes, equality, order, display and damaged bytes.
#include "utilities/attributebytes/attributebytesvalue.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/bytes.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesoptionvalue.h"
#include "utilities/attributebytes/attributebytesvaluefactory.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using ValuePtr = std::unique_ptr<AttributeBytesValue>;

constexpr auto millimetres = Dimension::Millimetres;

AttributeBytesRawList ListOfOne() {
    AttributeBytesRawList list;
    list.AddAttributeBytes(AttributeBytes(AttributeBytesFeatureId(12), AttributeBytesIntegerValue(300)));
    return list;
}

struct ValueCase {
    ValuePtr value;
    const char* bytes;
    const char* display;  // after the kind's name and the flag; null where another class decides
};

std::vector<ValueCase> AllKinds() {
    std::vector<ValueCase> cases;
    const auto add = [&](const AttributeBytesValue& value, const char* bytes, const char* display) {
        cases.push_back({value.Clone(), bytes, display});
    };
    add(AttributeBytesOptionValue(AttributeBytesFeatureId(7)), "02 00 02 07 00 00 00",
        "Value=ABIDE_FEATURE AttributeBytes Id: 7 (0x7)");
    add(AttributeBytesOptionValue(), "02 00 06 00 00 00 00",
        "Value=ABIDE_LISTOFVALUESITEM AttributeBytes Id: index 0");
    add(AttributeBytesIntegerValue(5), "03 00 05 00 00 00", "Value=5 (0x5)");
    add(AttributeBytesIntegerValue(-5), "03 00 FB FF FF FF", "Value=-5 (0xfffffffb)");
    add(AttributeBytesIntegerValue(5, false), "03 01 05 00 00 00", "Value=5 (0x5)");
    add(AttributeBytesStringValue(CXString(NV_TEXT("A\0B"), 3)), "04 00 03 00 41 00 00 00 42 00",
        "Value='A'");
    add(AttributeBytesStringValue(NV_TEXT("AB")), "04 00 02 00 41 00 42 00", "Value='AB'");
    add(AttributeBytesBooleanValue(true), "05 00 01", "Value=TRUE");
    add(AttributeBytesBooleanValue(false), "05 00 00", "Value=FALSE");
    add(AttributeBytesRangeValue(-2, -1), "06 00 FE FF FF FF FF FF FF FF", "Low Value=-2 High Value=-1");
    add(AttributeBytesRangeValue(1, 99), "06 00 01 00 00 00 63 00 00 00", "Low Value=1 High Value=99");
    add(AttributeBytesRangeOfDimensionValue(Dimension(76.2, millimetres), Dimension(320, millimetres)),
        "07 00 A8 29 01 00 00 E2 04 00", nullptr);
    add(AttributeBytesDimensionValue(Dimension(210, millimetres)), "08 00 50 34 03 00", nullptr);
    add(AttributeBytesDimensionValue(Dimension(-0.0005, millimetres)), "08 00 FF FF FF FF", nullptr);
    add(AttributeBytesResolutionValue(600, 1200, 1), "09 00 B0 04 00 00 58 02 00 00 01 00",
        "Cross-Feed Value=600, Feed Value=1200, Units Value=1");
    add(AttributeBytesResolutionValue(-600, -1, -3), "09 00 FF FF FF FF A8 FD FF FF FD FF",
        "Cross-Feed Value=-600, Feed Value=-1, Units Value=-3");
    add(AttributeBytesDataBlobValue(Bytes("0A FF")), "0A 00 02 00 00 00 0A FF", "Value=2 bytes, '0AFF'");
    add(AttributeBytesDataBlobValue(), "0A 00 00 00 00 00", "Value=0 bytes, ''");
    add(AttributeBytesListValue(9, ListOfOne()),
        "0B 00 09 0F 00 00 00 41 42 52 4C 02 0C 00 00 00 03 00 2C 01 00 00",
        "Value is a list (of type 9 / 0x9)");
    add(AttributeBytesListValue(), "0B 00 00 04 00 00 00 41 42 52 4C", "Value is a list (of type 0 / 0x0)");
    add(AttributeBytesDateTimeValue(UtcTime(1700000000)), "0C 00 00 F1 53 65 00 00 00 00",
        "Value='2023-11-14T22:13:20Z'");
    return cases;
}

ValuePtr Read(const ByteBuffer& bytes) {
    nvutil::ByteWalk walk(bytes);
    return AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(walk.cursor, walk.remaining);
}

TEST(AttributeBytesValue, OfEveryKindIsWrittenReadAndShown) {
    for (const ValueCase& c : AllKinds()) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(Hex(c.value->GetTypeAndValueState()), c.bytes);
        ByteBuffer out = Bytes("EE");
        c.value->GetTypeAndValueState(out);
        EXPECT_EQ(Hex(out), c.bytes);
        const auto size = static_cast<unsigned>(out.size());
        ByteBuffer callers(size + 1, 0xEE);
        EXPECT_THROW(c.value->GetTypeAndValueState(callers.data(), size - 1),
                     ExceptionNotEnoughBytesForDesiredDataType);
        EXPECT_EQ(callers, ByteBuffer(size + 1, 0xEE));
        EXPECT_EQ(c.value->GetTypeAndValueState(callers.data(), size), size);
        EXPECT_EQ(Hex(callers), std::string(c.bytes) + " EE");
        const ByteBuffer bytes = Bytes(std::string(c.bytes) + " EE");
        nvutil::ByteWalk walk(bytes);
        const ValuePtr read =
            AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(walk.cursor, walk.remaining);
        EXPECT_TRUE(read->IsEqual(*c.value));
        EXPECT_EQ(walk.remaining, 1u);
        EXPECT_EQ(Hex(read->Clone()->GetTypeAndValueState()), c.bytes);
        for (unsigned length = 0; length < size; ++length) {
            EXPECT_THROW(Read(ByteBuffer(bytes.data(), length)), ExceptionNotEnoughBytesForDesiredDataType)
                << "cut to " << length;
        }
        const std::string flag = c.value->IsSpecified() ? " value <specified>: " : " value <unspecified>: ";
        const std::string head = Narrow(c.value->GetTypeDebugDisplayString()) + flag;
        if (c.display == nullptr) continue;
        EXPECT_EQ(Narrow(c.value->GetDumpDisplayString()), head + c.display);
    }
}

TEST(AttributeBytesValue, OfAnUnknownKindIsRefused) {
    for (const char* bytes : {"00 00", "01 00", "0D 00"}) {
        EXPECT_THROW(Read(Bytes(bytes)), ExceptionUnhandledSyntax) << bytes;
    }
    // Any byte but zero is true.
    EXPECT_FALSE(Read(Bytes("05 80 02"))->IsSpecified());
    EXPECT_EQ(Hex(Read(Bytes("05 80 02"))->GetTypeAndValueState()), "05 01 01");
}

TEST(AttributeBytesListValue, LongerThanItsBytesIsRefusedBeforeAnythingIsRead) {
    for (const char* bytes : {"0B 00 00 05 00 00 00 41 42 52 4C", "0B 00 00 FF FF FF FF 41 42 52 4C"}) {
        EXPECT_THROW(Read(Bytes(bytes)), ExceptionNotEnoughBytesForDesiredDataType) << bytes;
    }
    EXPECT_THROW(Read(Bytes("0B 00 00 03 00 00 00 41 42 52 4C")), ExceptionMissingOrBadAttributeBytesFormat);
    // A list lowers the remaining count without moving the cursor.
    const ByteBuffer bytes = Bytes("0B 00 09 04 00 00 00 41 42 52 4C EE");
    nvutil::ByteWalk walk(bytes);
    AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(walk.cursor, walk.remaining);
    EXPECT_EQ(walk.cursor, bytes.data() + 7);
    EXPECT_EQ(walk.remaining, 1u);
}

TEST(AttributeBytesValue, OrdersByKindThenPayload) {
    const ValuePtr ascending[] = {
        AttributeBytesOptionValue(AttributeBytesFeatureId(9)).Clone(),
        AttributeBytesOptionValue(AttributeBytesValueId(1)).Clone(),
        AttributeBytesIntegerValue(-1, false).Clone(),
        AttributeBytesIntegerValue(0).Clone(),
        AttributeBytesStringValue(NV_TEXT("A")).Clone(),
        AttributeBytesStringValue(NV_TEXT("AB")).Clone(),
        AttributeBytesBooleanValue(false).Clone(),
        AttributeBytesBooleanValue(true).Clone(),
        AttributeBytesRangeValue(-1, 9).Clone(),
        AttributeBytesRangeValue(1, 9).Clone(),
        AttributeBytesRangeValue(1, 10).Clone(),
        AttributeBytesRangeValue(2, -9).Clone(),
        AttributeBytesRangeOfDimensionValue(Dimension(1, millimetres), Dimension(9, millimetres)).Clone(),
        AttributeBytesRangeOfDimensionValue(Dimension(1, millimetres), Dimension(10, millimetres)).Clone(),
        AttributeBytesRangeOfDimensionValue(Dimension(2, millimetres), Dimension(3, millimetres)).Clone(),
        AttributeBytesDimensionValue(Dimension(1, millimetres)).Clone(),
        AttributeBytesDimensionValue(Dimension(1, Dimension::Inches)).Clone(),
        AttributeBytesResolutionValue(1200, 300, 1).Clone(),
        AttributeBytesResolutionValue(300, 600, 1).Clone(),
        AttributeBytesResolutionValue(301, 600, 1).Clone(),
        AttributeBytesDataBlobValue(Bytes("7F")).Clone(),
        AttributeBytesDataBlobValue(Bytes("7F 00")).Clone(),
        AttributeBytesDataBlobValue(Bytes("80")).Clone(),
        AttributeBytesListValue().Clone(),
        AttributeBytesDateTimeValue(UtcTime(0x80000000)).Clone(),  // the low 32 bits are negative
        AttributeBytesDateTimeValue(UtcTime(0)).Clone(),
    };
    const std::size_t count = std::size(ascending);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = 0; j < count; ++j) {
            EXPECT_EQ(ascending[i]->LessThan(*ascending[j]), i < j) << i << ", " << j;
            EXPECT_EQ(ascending[i]->IsEqual(*ascending[j]), i == j) << i << ", " << j;
        }
    }
}

TEST(AttributeBytesValue, ComparesWhatItsOrderLeavesOut) {
    EXPECT_FALSE(AttributeBytesIntegerValue(5).IsEqual(AttributeBytesIntegerValue(5, false)));
    EXPECT_FALSE(AttributeBytesResolutionValue(1, 2, 3).LessThan(AttributeBytesResolutionValue(1, 2, 4)));
    EXPECT_FALSE(AttributeBytesResolutionValue(1, 2, 3).IsEqual(AttributeBytesResolutionValue(1, 2, 4)));
    EXPECT_FALSE(AttributeBytesListValue(1, ListOfOne()).IsEqual(AttributeBytesListValue(2, ListOfOne())));
    EXPECT_FALSE(AttributeBytesListValue(1, ListOfOne()).LessThan(AttributeBytesListValue(2, ListOfOne())));
    const AttributeBytesDateTimeValue early(UtcTime(7));
    EXPECT_TRUE(early.IsEqual(AttributeBytesDateTimeValue(UtcTime(0x500000007))));
}

TEST(AttributeBytesValue, TakesWhatItsSettersAndAssignmentsAreGiven) {
    const auto expectTaken = [](auto given, auto set) {
        decltype(given) target;
        target.SetIsSpecified(false);
        target = given;
        EXPECT_TRUE(target.IsEqual(given));
        decltype(given) other;
        set(other);
        EXPECT_EQ(Hex(other.GetTypeAndValueState()), Hex(given.GetTypeAndValueState()));
    };
    const Dimension one(1, millimetres);
    const Dimension two(2, millimetres);
    const AttributeBytesFeatureId feature(8);
    expectTaken(AttributeBytesIntegerValue(-4), [](auto& value) { value.SetValue(-4); });
    expectTaken(AttributeBytesStringValue(NV_TEXT("x")), [](auto& value) { value.SetValue(NV_TEXT("x")); });
    expectTaken(AttributeBytesBooleanValue(true), [](auto& value) { value.SetValue(true); });
    expectTaken(AttributeBytesRangeValue(1, 2), [](auto& value) { value.SetValue(1, 2); });
    expectTaken(AttributeBytesRangeOfDimensionValue(one, two),
                [&](auto& value) { value.SetValue(one, two); });
    expectTaken(AttributeBytesDimensionValue(two), [&](auto& value) { value.SetValue(two); });
    expectTaken(AttributeBytesResolutionValue(1, 2, 3), [](auto& value) { value.SetValue(1, 2, 3); });
    expectTaken(AttributeBytesDataBlobValue(Bytes("07")), [](auto& value) { value.SetValue(Bytes("07")); });
    expectTaken(AttributeBytesDateTimeValue(UtcTime(9)), [](auto& value) { value.SetValue(UtcTime(9)); });
    expectTaken(AttributeBytesOptionValue(feature), [&](auto& value) { value.SetValue(feature); });
    expectTaken(AttributeBytesListValue(5, ListOfOne()), [](auto& value) {
        value.SetListType(5);
        value.SetValue(ListOfOne());
    });
    LONG low = 0;
    LONG high = 0;
    short units = 0;
    Dimension from;
    Dimension to;
    AttributeBytesRangeValue(-6, 7).GetValue(low, high);
    EXPECT_EQ(std::pair(low, high), std::pair(LONG{-6}, LONG{7}));
    AttributeBytesResolutionValue(600, 1200, -1).GetValue(low, high, units);
    EXPECT_EQ(std::tuple(low, high, units), std::tuple(LONG{600}, LONG{1200}, short{-1}));
    AttributeBytesRangeOfDimensionValue(one, two).GetValue(from, to);
    EXPECT_TRUE(from == one && to == two);
}

TEST(AttributeBytesOptionValue, HandsOutItsIdentifierOnlyAsItsKind) {
    AttributeBytesOptionValue option(AttributeBytesValueId(4));
    EXPECT_EQ(option.GetValueIdValue().GetValueId(), 4);
    EXPECT_THROW(option.GetFeatureIdValue(), ExceptionAttributeValueTypeMismatch);
    const AttributeBytesOptionValue copy = option;
    option.SetValue(AttributeBytesFeatureId(5));
    EXPECT_EQ(option.GetFeatureIdValue().GetFeatureId(), 5);
    EXPECT_EQ(copy.GetValueIdValue().GetValueId(), 4);
    EXPECT_THROW(option.GetListValue(), ExceptionAttributeValueTypeMismatch);
}

TEST(AttributeBytes, OfEveryKindReproducesItsBytes) {
    const char* identifiers[] = {
        "02 0C 00 00 00", "03 01 00 41 00",       "04 01 00 00 00",       "05 00 00",
        "06 02 00 00 00", "07 03 00 10 00 00 00", "08 02 00 01 00 58 00", "09 01 00 00 00"};
    for (const char* identifier : identifiers) {
        for (const ValueCase& c : AllKinds()) {
            const std::string bytes = std::string(identifier) + " " + c.bytes;
            const AttributeBytes record(Bytes(bytes + " EE EE"));
            EXPECT_EQ(Hex(record.GetAttributeBytesState()), bytes);
            EXPECT_TRUE(record == AttributeBytes(record));
        }
    }
}

TEST(AttributeBytes, IsOrderedByItsIdentifierAlone) {
    const AttributeBytes one(AttributeBytesFeatureId(1), AttributeBytesIntegerValue(1));
    const AttributeBytes two(AttributeBytesFeatureId(1), AttributeBytesIntegerValue(2));
    EXPECT_FALSE(one == two);
    EXPECT_FALSE(one < two);
    EXPECT_FALSE(two < one);
    EXPECT_EQ(Narrow(one.GetDumpDisplayString()),
              "ID=ABIDE_FEATURE AttributeBytes Id: 1 (0x1) "
              "value=ABVTE_INTEGER value <specified>: Value=1 (0x1)");
}

TEST(AttributeBytes, KeepsTheIdentifierThatAFailedImportHasRead) {
    AttributeBytes record(AttributeBytesFeatureId(1), AttributeBytesIntegerValue(1));
    EXPECT_THROW(record.ImportAttributeBytesState(Bytes("02 02 00 00 00 03 00 05")),
                 ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_EQ(Hex(record.GetAttributeBytesState()), "02 02 00 00 00 03 00 01 00 00 00");
}

}  // namespace
