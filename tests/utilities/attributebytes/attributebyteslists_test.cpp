// Raw and indexed lists: states, order, iteration, duplicates, typed reading and damaged bytes.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/attributebytes/attributebytesoptionvalue.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/attributebytes/attributebytesreader.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using Feature = AttributeBytesFeatureId;
using Integer = AttributeBytesIntegerValue;

constexpr const char* emptyRaw = "41 42 52 4C";
constexpr const char* emptyIndexed = "41 42 49 4C 41 42 52 4C";

/// A raw list that holds the features with their own numbers as values.
AttributeBytesRawList RawListOf(std::initializer_list<LONG> features) {
    AttributeBytesRawList list;
    for (const LONG feature : features)
        list.AddAttributeBytes(AttributeBytes(Feature(feature), Integer(feature)));
    return list;
}

/// The feature numbers of a list in its order.
std::string FeaturesOf(const AttributeBytesList& list) {
    std::string text;
    const auto iterator = list.GetIterator();
    while (list.IsValid(*iterator)) {
        const AttributeBytes record = list.GetNextAttributeBytes(*iterator);
        text +=
            std::to_string(static_cast<const Feature&>(record.GetAttributeBytesId()).GetFeatureId()) + " ";
    }
    return text;
}

std::string StateOf(const AttributeBytesIndexedList& list) {
    ByteBuffer state;
    list.GetAttributeBytesIndexedListState(state);
    return Hex(state);
}

TEST(AttributeBytesLists, HaveStatesThatRestoreThem) {
    EXPECT_EQ(Hex(AttributeBytesRawList().GetAttributeBytesRawListState()), emptyRaw);
    EXPECT_EQ(StateOf(AttributeBytesIndexedList()), emptyIndexed);

    const AttributeBytesRawList raw = RawListOf({9, 3, 5, 3});
    EXPECT_TRUE(AttributeBytesRawList(raw.GetAttributeBytesRawListState()) == raw);
    EXPECT_EQ(FeaturesOf(raw), "9 3 5 3 ");

    AttributeBytesIndexedList indexed;
    indexed.ImportFromRawList(RawListOf({9, 3, 5}));
    EXPECT_EQ(FeaturesOf(indexed), "3 5 9 ");
    AttributeBytesRawList inKeyOrder;
    inKeyOrder.ImportFromIndexedList(indexed);
    EXPECT_TRUE(inKeyOrder == RawListOf({3, 5, 9}));
    EXPECT_EQ(StateOf(indexed), "41 42 49 4C " + Hex(inKeyOrder.GetAttributeBytesRawListState()));
    ByteBuffer state;
    indexed.GetAttributeBytesIndexedListState(state);
    EXPECT_EQ(FeaturesOf(AttributeBytesIndexedList(state)), "3 5 9 ");
}

TEST(AttributeBytesLists, WithoutTheirMarkAreRefused) {
    for (const char* bytes : {"", "41 42 52", "41 42 52 4D", "41 42 49 4C"}) {
        EXPECT_THROWS(AttributeBytesRawList(Bytes(bytes)), ExceptionMissingOrBadAttributeBytesFormat, 330,
                      "AttributeBytesRawList::ImportAttributeBytesRawListState");
    }
    for (const char* bytes : {"", "41 42 49", "41 42 52 4C 41 42 52 4C"}) {
        EXPECT_THROWS(AttributeBytesIndexedList(Bytes(bytes)), ExceptionMissingOrBadAttributeBytesFormat, 395,
                      "AttributeBytesIndexedList::ImportAttributeBytesIndexedListState");
    }
    EXPECT_THROWS(AttributeBytesIndexedList(Bytes("41 42 49 4C 41 42 52")),
                  ExceptionMissingOrBadAttributeBytesFormat, 330,
                  "AttributeBytesRawList::ImportAttributeBytesRawListState");
}

TEST(AttributeBytesLists, ImportFromEachOther) {
    const AttributeBytesRawList raw = RawListOf({9, 3});
    AttributeBytesIndexedList indexed;
    indexed.ImportFromOtherList(raw);
    EXPECT_EQ(FeaturesOf(indexed), "3 9 ");
    AttributeBytesRawList back = RawListOf({1});
    back.ImportFromOtherList(indexed);
    EXPECT_EQ(FeaturesOf(back), "3 9 ");
    AttributeBytesIndexedList sharing;
    sharing.ImportFromOtherList(indexed);
    EXPECT_EQ(sharing.GetAttributeBytesPtr(Feature(9)), indexed.GetAttributeBytesPtr(Feature(9)));
    sharing = indexed;
    EXPECT_EQ(sharing.GetAttributeBytesPtr(Feature(9)), indexed.GetAttributeBytesPtr(Feature(9)));
    sharing.DeleteAttributesBytes(Feature(3));
    EXPECT_EQ(FeaturesOf(indexed), "3 9 ");

    // A list inside of the list that it fills.
    AttributeBytesIndexedList outer;
    outer.SetAttributeBytes(Feature(1), AttributeBytesListValue(0, RawListOf({5, 6})));
    const auto inner = [&]() -> const AttributeBytesRawList& {
        return outer.GetAttributeBytesRef(Feature(1)).GetAttributeBytesValue().GetListValue().GetValue();
    };
    AttributeBytesIndexedList copy;
    copy.SetAttributeBytes(Feature(1), AttributeBytesListValue(0, RawListOf({5, 6})));
    outer.ImportFromRawList(inner());
    EXPECT_EQ(FeaturesOf(outer), "5 6 ");
    copy.ImportFromOtherList(
        copy.GetAttributeBytesRef(Feature(1)).GetAttributeBytesValue().GetListValue().GetValue());
    EXPECT_EQ(FeaturesOf(copy), "5 6 ");
}

TEST(AttributeBytesLists, RefuseTextsThatCouldNotBeReadBack) {
    constexpr int longest = AttributeBytesId::maxTextLength;
    const Feature feature(1);
    for (const int length : {longest, longest + 1, 65535, 65536, 65546, 131072}) {
        const CXString text(NV_TEXT('x'), length);
        const AttributeBytes records[] = {
            {AttributeBytesNewFeatureId(text), Integer(1)},
            {AttributeBytesNewValueId(text), Integer(1)},
            {AttributeBytesNewCapabilityId(text, 1), Integer(1)},
            {feature, AttributeBytesStringValue(text)},
            {feature, AttributeBytesOptionValue(AttributeBytesNewValueId(text))},
        };
        for (const AttributeBytes& record : records) {
            AttributeBytesRawList raw = RawListOf({7});
            AttributeBytesIndexedList set;
            AttributeBytesIndexedList added;
            added.AddAttributeBytes(record);
            ByteBuffer state = Bytes("41");
            const auto addRaw = [&] { raw.AddAttributeBytes(record); };
            const auto setIndexed = [&] {
                set.SetAttributeBytes(record.GetAttributeBytesId(), record.GetAttributeBytesValue());
            };
            const auto writeState = [&] { added.GetAttributeBytesIndexedListState(state); };
            if (length <= longest) {
                addRaw();
                setIndexed();
                writeState();
                raw.CheckRecords();
                EXPECT_EQ(StateOf(AttributeBytesIndexedList(state)), StateOf(set));
                continue;
            }
            EXPECT_THROW(addRaw(), ExceptionInvalidAttributeOperationParamter) << length;
            EXPECT_THROW(setIndexed(), ExceptionInvalidAttributeOperationParamter) << length;
            EXPECT_THROW(writeState(), ExceptionInvalidAttributeOperationParamter) << length;
            EXPECT_THROW(added.AppendAttributeBytesIndexedListState(state),
                         ExceptionInvalidAttributeOperationParamter);
            EXPECT_EQ(Hex(state), "41");
            EXPECT_THROW(raw.ImportFromIndexedList(added), ExceptionInvalidAttributeOperationParamter);
            EXPECT_TRUE(raw == RawListOf({7}));
            EXPECT_TRUE(set.IsEmpty());
        }
    }
}

TEST(AttributeBytes, KeepsBothPartsWhateverItIsGiven) {
    AttributeBytesIndexedList list;
    list.SetAttributeBytes(Feature(3), AttributeBytesOptionValue(AttributeBytesValueId(4)));
    AttributeBytes& record = list.GetAttributeBytesRef(Feature(3));
    const std::string before = StateOf(list);
    const AttributeBytes taken(static_cast<AttributeBytes&&>(record));
    AttributeBytes assigned(Feature(1), Integer(1));
    assigned = static_cast<AttributeBytes&&>(record);
    EXPECT_TRUE(taken == record);
    EXPECT_TRUE(assigned == record);

    using Null = ExceptionInvalidArgumentNullPointer;
    EXPECT_THROW(record.SetAttributeBytesId(nullptr), Null);
    EXPECT_THROW(record.SetAttributeBytesValue(nullptr), Null);
    EXPECT_THROW(AttributeBytes(nullptr, Integer(1)), Null);
    EXPECT_THROW(static_cast<AttributeBytesOptionValue&>(record.GetAttributeBytesValue()).SetValue(nullptr),
                 Null);
    EXPECT_THROW(list.AddAttributeBytes(SharedPtr<AttributeBytes>()), Null);
    EXPECT_THROW(AttributeBytesRawList().AddAttributeBytes(SharedPtr<AttributeBytes>()), Null);
    EXPECT_EQ(StateOf(list), before);
}

TEST(AttributeBytesRawList, ChecksListsThatNestDeeplyInLinearTime) {
    const auto nested = [](const ByteBuffer& innermost) {
        constexpr int levels = 20000;
        // Built from the outside in: each level's head, then the innermost records.
        ByteBuffer state = Bytes("41 42 52 4C");
        for (int level = levels; level > 0; --level) {
            state.append(Bytes("02 01 00 00 00 0B 00 00"));
            state.appendIntValue(4 + 16 * (level - 1) + static_cast<int>(innermost.size()));
            state.append(Bytes("41 42 52 4C"));
        }
        return AttributeBytesRawList(state.append(innermost));
    };
    EXPECT_NO_THROW(nested(Bytes("02 01 00 00 00 05 00 01")).CheckRecords());
    EXPECT_THROW(nested(Bytes("02 01 00 00 00 05 00")).CheckRecords(),
                 ExceptionNotEnoughBytesForDesiredDataType);
}

TEST(AttributeBytesLists, RefuseIteratorsThatAreSpentOrForeign) {
    const AttributeBytesRawList raw;
    const AttributeBytesIndexedList indexed;
    auto rawIterator = raw.GetRawListIterator();
    auto indexedIterator = indexed.GetIndexedListIterator();
    EXPECT_THROWS(raw.GetNextAttributeBytes(rawIterator), ExceptionIndexOutOfBounds, 164,
                  "AttributeBytesRawList::GetNextAttributeBytes");
    EXPECT_THROWS(raw.GetNextAttributeBytesFromRawListIterator(rawIterator), ExceptionIndexOutOfBounds, 256,
                  "AttributeBytesRawList::GetNextAttributeBytesFromRawListIterator");
    EXPECT_THROWS(indexed.GetNextAttributeBytes(indexedIterator), ExceptionIndexOutOfBounds, 127,
                  "AttributeBytesIndexedList::GetNextAttributeBytes");
    EXPECT_THROWS(indexed.GetAttributeBytesRefFromIndexedListIterator(indexedIterator),
                  ExceptionIndexOutOfBounds, 169, "AttributeBytesIndexedList::GetAttributeBytesRef");
    EXPECT_THROW(raw.IsValid(indexedIterator), ExceptionInvalidArgument);
    EXPECT_THROW(indexed.IsValid(rawIterator), ExceptionInvalidArgument);
    indexed.IncrementIndexedListIterator(indexedIterator);
    EXPECT_FALSE(AttributeBytesIndexedList().IsValidIndexedListIterator(indexedIterator));
}

TEST(AttributeBytesRawList, StepsOverListValues) {
    AttributeBytesRawList list = RawListOf({1});
    EXPECT_TRUE(list.LengthIsExactlyOne());
    list.AddAttributeBytes(AttributeBytes(Feature(2), AttributeBytesListValue(0, RawListOf({7, 8}))));
    EXPECT_FALSE(list.LengthIsExactlyOne());
    list.AddAttributeBytes(AttributeBytes(Feature(3), Integer(3)));
    EXPECT_EQ(FeaturesOf(list), "1 2 3 ");

    const AttributeBytesRawList moved = std::move(list);
    EXPECT_TRUE(list.IsEmpty());  // NOLINT(bugprone-use-after-move): that is what is tested
    EXPECT_EQ(Hex(list.GetAttributeBytesRawListState()), emptyRaw);
    EXPECT_EQ(FeaturesOf(moved), "1 2 3 ");

    AttributeBytesRawList onlyAList;
    EXPECT_FALSE(onlyAList.LengthIsExactlyOne());
    onlyAList.AddAttributeBytes(AttributeBytes(Feature(2), AttributeBytesListValue(0, RawListOf({7, 8}))));
    EXPECT_TRUE(onlyAList.LengthIsExactlyOne());
}

TEST(AttributeBytesRawList, FindsDamageOnlyWhenIterationReachesIt) {
    const AttributeBytesRawList list(Bytes("41 42 52 4C 02 01 00 00 00 03 00 01 00 00 00 02 02"));
    auto iterator = list.GetRawListIterator();
    list.GetNextAttributeBytesFromRawListIterator(iterator);
    EXPECT_TRUE(list.IsValidRawListIterator(iterator));
    EXPECT_THROW(list.GetNextAttributeBytesFromRawListIterator(iterator),
                 ExceptionNotEnoughBytesForDesiredDataType);
    AttributeBytesIndexedList indexed;
    EXPECT_THROW(indexed.ImportFromRawList(list), ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_EQ(FeaturesOf(indexed), "1 ");
}

TEST(AttributeBytesIndexedList, RefusesAnIdentifierTwice) {
    AttributeBytesIndexedList list;
    list.ImportFromRawList(RawListOf({2, 1}));
    EXPECT_THROWS(list.AddAttributeBytes(AttributeBytes(Feature(1), Integer(99))),
                  ExceptionDuplicateAttributeId, 317, "AttributeBytesIndexedList::AddAttributeBytes");
    EXPECT_EQ(list.GetIntegerValue(Feature(1)), 1);
    EXPECT_THROW(list.ImportFromRawList(RawListOf({5, 4, 5, 6})), ExceptionDuplicateAttributeId);
    EXPECT_EQ(FeaturesOf(list), "4 5 ");
}

TEST(AttributeBytesIndexedList, SetsDeletesAndFindsRecords) {
    AttributeBytesIndexedList list;
    EXPECT_TRUE(list.IsEmpty());
    list.SetAttributeBytes(Feature(5), Integer(1));
    EXPECT_TRUE(list.LengthIsExactlyOne());
    list.SetAttributeBytes(Feature(5), Integer(2));
    list.SetAttributeBytes(Feature(4), Integer(3));
    EXPECT_EQ(list.GetIntegerValue(Feature(5)), 2);
    list.DeleteAttributesBytes(Feature(4));
    list.DeleteAttributesBytes(Feature(4));
    EXPECT_EQ(list.GetAttributeBytesPtr(Feature(4)), nullptr);
    EXPECT_THROWS(list.GetAttributeBytesRef(Feature(4)), ExceptionFeatureNotFound, 268,
                  "AttributeBytesIndexedList::GetAttributeBytesRef");
    EXPECT_TRUE(list.GetAttributeBytesRef(Feature(5)) == AttributeBytes(Feature(5), Integer(2)));
}

TEST(AttributeBytesIndexedList, FindsEveryKeyOfEveryKind) {
    // Among them capabilities that are less than one another both ways, and texts that differ late.
    const AttributeBytesCapabilityId capabilities[] = {{5, 1}, {3, 2}, {3, -1}, {-4, 7}, {4, 0}, {5, 0}};
    const AttributeBytesNewCapabilityId newCapabilities[] = {{NV_TEXT("b"), 1},
                                                             {NV_TEXT("a"), 2},
                                                             {NV_TEXT("abcd"), 0},
                                                             {NV_TEXT("abce"), -5},
                                                             {NV_TEXT("abcd"), 9}};
    const AttributeBytesNewFeatureId texts[] = {
        AttributeBytesNewFeatureId(NV_TEXT("tray")), AttributeBytesNewFeatureId(NV_TEXT("tra")),
        AttributeBytesNewFeatureId(NV_TEXT("trax")), AttributeBytesNewFeatureId(),
        AttributeBytesNewFeatureId(CXString(NV_TEXT("tra\0"), 4))};
    AttributeBytesIndexedList list;
    const auto addAll = [&list](const auto& ids) {
        for (const auto& id : ids)
            list.AddAttributeBytes(AttributeBytes(id, Integer(1)));
    };
    const auto expectAll = [&list](const auto& ids) {
        for (const auto& id : ids) {
            EXPECT_NE(list.GetAttributeBytesPtr(id), nullptr) << Narrow(id.GetDumpDisplayString());
            EXPECT_THROW(list.AddAttributeBytes(AttributeBytes(id, Integer(1))),
                         ExceptionDuplicateAttributeId);
        }
    };
    addAll(capabilities);
    addAll(newCapabilities);
    addAll(texts);
    expectAll(capabilities);
    expectAll(newCapabilities);
    expectAll(texts);
    EXPECT_EQ(list.GetCount(), 16u);
    ByteBuffer state;
    list.GetAttributeBytesIndexedListState(state);
    EXPECT_EQ(StateOf(AttributeBytesIndexedList(state)), Hex(state));
}

TEST(AttributeBytesIndexedList, ImportsALongListInTheWorstOrderQuickly) {
    AttributeBytesRawList raw;
    for (LONG feature = 50000; feature > 0; --feature)
        raw.AddAttributeBytes(AttributeBytes(Feature(feature), Integer(0)));
    AttributeBytesIndexedList list;
    list.ImportFromRawList(raw);
    EXPECT_EQ(list.GetCount(), 50000u);
}

/// A list with one attribute of each kind, specified under its kind's number and unspecified 100 above.
AttributeBytesIndexedList ListOfAllKinds() {
    AttributeBytesRawList paper;
    const auto tenthsOfMillimetres = Dimension::TenthsOfMillimetres;
    paper.AddAttributeBytes(
        AttributeBytes(Feature(172), AttributeBytesDimensionValue({2159.0, tenthsOfMillimetres})));
    paper.AddAttributeBytes(
        AttributeBytes(Feature(173), AttributeBytesDimensionValue({2794.0, tenthsOfMillimetres})));
    AttributeBytesIndexedList list;
    const auto add = [&](const AttributeBytesValue& value) {
        const LONG kind = value.GetAttributeBytesValueType();
        list.SetAttributeBytes(Feature(kind), value);
        const auto unspecified = value.Clone();
        unspecified->SetIsSpecified(false);
        list.SetAttributeBytes(Feature(100 + kind), *unspecified);
    };
    add(AttributeBytesOptionValue(AttributeBytesValueId(77)));
    add(Integer(300));
    add(AttributeBytesStringValue(NV_TEXT("text")));
    add(AttributeBytesBooleanValue(true));
    add(AttributeBytesDimensionValue({210.0, Dimension::Millimetres}));
    add(AttributeBytesDataBlobValue(Bytes("0A")));
    add(AttributeBytesListValue(0, paper));
    add(AttributeBytesDateTimeValue(UtcTime(7)));
    return list;
}

TEST(AttributeBytesIndexedList, ReadsEveryKindOnlyWhenPresentAndSpecified) {
    const AttributeBytesIndexedList list = ListOfAllKinds();
    /// @param read  what a typed read gives for an identifier, as text
    const auto expect = [](LONG kind, const std::string& specified, const std::string& otherwise, auto read) {
        SCOPED_TRACE(kind);
        bool flag = false;
        EXPECT_EQ(read(Feature(kind), &flag), specified);
        EXPECT_TRUE(flag);
        for (const LONG absent : {100 + kind, LONG{999}}) {
            EXPECT_EQ(read(Feature(absent), &flag), otherwise);
            EXPECT_FALSE(flag);
        }
        EXPECT_THROWS(read(Feature(11), &flag), ExceptionAttributeValueTypeMismatch, 839,
                      "AttributeBytesIndexedList::GetAttributeBytesValue");
    };
    using Id = const Feature&;
    expect(2, "77", "5001", [&](Id id, bool* flag) { return std::to_string(list.GetOptionValue(id, flag)); });
    expect(3, "300", "0", [&](Id id, bool* flag) { return std::to_string(list.GetIntegerValue(id, flag)); });
    expect(4, "text", "", [&](Id id, bool* flag) { return Narrow(list.GetStringValue(id, flag)); });
    expect(5, "1", "0", [&](Id id, bool* flag) { return std::to_string(list.GetBooleanValue(id, flag)); });
    expect(8, "210.00", "0.00", [&](Id id, bool* flag) {
        return Narrow(list.GetDimensionValue(id, flag).GetStringValue(Dimension::Millimetres, 2, 0.499999));
    });
    expect(10, "0A", "EE", [&](Id id, bool* flag) {
        ByteBuffer out = Bytes("EE");
        list.GetDataBlobValue(id, out, flag);
        return Hex(out);
    });
    expect(12, "7", "0", [&](Id id, bool* flag) {
        return std::to_string(list.GetDateTimeValue(id, flag).GetTime64Value());
    });
}

TEST(AttributeBytesIndexedList, ReadsOptionsByTheKindOfIdentifierTheyHold) {
    AttributeBytesIndexedList list;
    list.SetAttributeBytes(Feature(1), AttributeBytesOptionValue(AttributeBytesValueId(77)));
    list.SetAttributeBytes(Feature(2), AttributeBytesOptionValue(AttributeBytesNewValueId(NV_TEXT("A4"))));
    list.SetAttributeBytes(Feature(3), AttributeBytesOptionValue(AttributeBytesFeatureId(9)));
    list.SetAttributeBytes(AttributeBytesListOfValuesItemId(0),
                           AttributeBytesOptionValue(AttributeBytesValueId(78)));
    bool flag = false;
    EXPECT_EQ(list.GetOptionValue(Feature(2), &flag), DataModelIds::VALUE_NONE);
    EXPECT_TRUE(flag);
    EXPECT_EQ(list.GetOptionValue(Feature(3)), DataModelIds::VALUE_NONE);
    EXPECT_EQ(list.GetOptionValueByIndex(0), 78);
    CXString newId = NV_TEXT("before");
    EXPECT_EQ(list.GetOptionValueOrNewId(Feature(1), newId, &flag), 77);
    EXPECT_EQ(newId, NV_TEXT("before"));
    EXPECT_EQ(list.GetOptionValueOrNewId(Feature(2), newId, &flag), 9687);
    EXPECT_EQ(newId, NV_TEXT("A4"));
    EXPECT_TRUE(flag);
    EXPECT_EQ(list.GetOptionValueOrNewId(Feature(8), newId, &flag), 5001);
    EXPECT_FALSE(flag);
    EXPECT_EQ(list.GetNewOptionValueId(Feature(2)), NV_TEXT("A4"));
    EXPECT_TRUE(list.GetNewOptionValueId(Feature(1)).IsEmpty());
}

TEST(AttributeBytesIndexedList, ReadsCollections) {
    const AttributeBytesIndexedList list = ListOfAllKinds();
    const Feature paper(AttributeBytesValue::ABVTE_LIST);
    AttributeBytesIndexedList out;
    EXPECT_TRUE(list.GetCollection(paper, out));
    EXPECT_EQ(FeaturesOf(out), "172 173 ");
    EXPECT_FALSE(list.GetCollection(Feature(999), out));
    EXPECT_FALSE(list.GetCollectionByIndex(0, out));
    EXPECT_EQ(FeaturesOf(out), "172 173 ");
    EXPECT_THROW(list.GetCollection(Feature(3), out), ExceptionAttributeValueTypeMismatch);
    AttributeBytesIndexedList damaged;
    damaged.SetAttributeBytes(paper, AttributeBytesListValue(0, RawListOf({5, 5})));
    EXPECT_THROW(damaged.GetCollection(paper, out), ExceptionDuplicateAttributeId);
    EXPECT_EQ(FeaturesOf(out), "172 173 ");

    Dimension width;
    Dimension height;
    bool flag = false;
    list.GetPaperSizeValues(paper, width, height, &flag);
    EXPECT_TRUE(flag);
    EXPECT_TRUE(width == Dimension(215.9, Dimension::Millimetres));
    EXPECT_TRUE(height == Dimension(11, Dimension::Inches));
    list.GetPaperSizeValues(Feature(111), width, height, &flag);
    EXPECT_FALSE(flag);
    EXPECT_TRUE(height == Dimension(11, Dimension::Inches));
}

TEST(AttributeBytesReader, AnswersFromTheListOfTheMoment) {
    struct : AttributeBytesReader {
        const AttributeBytesIndexedList& GetAttributeBytesIndexedListRef() const override { return list; }
        AttributeBytesIndexedList list;
    } reader;
    EXPECT_TRUE(reader.IsAttributeBytesListEmpty());
    EXPECT_EQ(reader.GetValueTypeFromAttributeBytes(Feature(3)), AttributeBytesValue::ABVTE_UNSPECIFIED);
    reader.list = ListOfAllKinds();
    EXPECT_FALSE(reader.IsAttributeBytesListEmpty());
    EXPECT_EQ(reader.GetValueTypeFromAttributeBytes(Feature(103)), AttributeBytesValue::ABVTE_INTEGER);
    EXPECT_TRUE(reader.IsSpecifiedInAttributeBytes(Feature(3)));
    EXPECT_FALSE(reader.IsSpecifiedInAttributeBytes(Feature(103)));
    EXPECT_FALSE(reader.IsSpecifiedInAttributeBytes(Feature(999)));
    EXPECT_EQ(reader.GetOptionValueFromAttributeBytes(Feature(2)), 77);
    EXPECT_EQ(reader.GetIntegerValueFromAttributeBytes(Feature(3)), 300);
    EXPECT_EQ(reader.GetStringValueFromAttributeBytes(Feature(4)), NV_TEXT("text"));
    EXPECT_TRUE(reader.GetBooleanValueFromAttributeBytes(Feature(5)));
    EXPECT_EQ(Hex(reader.GetDataBlobValueFromAttributeBytes(Feature(10))), "0A");
    EXPECT_EQ(Hex(reader.GetDataBlobValueFromAttributeBytes(Feature(110))), "");
    EXPECT_TRUE(reader.GetNewValueIdFromAttributeBytes(Feature(2)).IsEmpty());
    AttributeBytesIndexedList collection;
    EXPECT_TRUE(reader.GetCollectionFromAttributeBytes(Feature(11), collection));
    EXPECT_FALSE(reader.GetCollectionFromAttributeBytesByIndex(1, collection));
    Dimension width;
    Dimension height;
    reader.GetPaperSizesFromAttributeBytes(Feature(11), width, height);
    EXPECT_TRUE(height == Dimension(11, Dimension::Inches));
}

}  // namespace
