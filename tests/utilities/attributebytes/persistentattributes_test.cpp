// Namespaces and persisted states: bytes, faults and the road there and back.
#include "utilities/attributebytes/persistentattributes.h"

#include <gtest/gtest.h>

#include <string>

#include "support/bytes.h"
#include "support/growth.h"
#include "support/throws.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesnamespaces.h"
#include "utilities/compression/cabcompressedbuffer.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using NameSpace = AttributeBytesNameSpacesId;

AttributeBytesRawList ListOf(LONG feature) {
    AttributeBytesRawList list;
    list.AddAttributeBytes(
        AttributeBytes(AttributeBytesFeatureId(feature), AttributeBytesIntegerValue(feature)));
    return list;
}

std::string StateOf(const AttributeBytesNameSpaces& nameSpaces) {
    ByteBuffer state;
    nameSpaces.GetAttributeBytesNameSpacesState(state);
    return Hex(state);
}

AttributeBytesNameSpaces TwoNameSpaces() {
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(NameSpace(3), ListOf(30));
    nameSpaces.SetNameSpaceAttributes(NameSpace(1), ListOf(10));
    return nameSpaces;
}

/// A persisted state whose compressed part holds any bytes.
ByteBuffer StateAround(const ByteBuffer& uncompressed) {
    PersistentAttributes::PersistentAttributesHeaderType header;
    PersistentAttributes::InitializeHeaderStructure(header);
    ByteBuffer state;
    PersistentAttributes::CreateStateDataFromComponents(header, uncompressed, state);
    return state;
}

/// Stamps states with a version for the length of a test.
class NameSpacesTest : public testing::Test {
protected:
    NameSpacesTest() { DriverVersion::SetCurrentDriverVersion(DriverVersion(1, 2, 3, 4)); }
    ~NameSpacesTest() override { DriverVersion::SetCurrentDriverVersion(m_before); }

private:
    DriverVersion m_before = DriverVersion::GetCurrentDriverVersion();
};
using PersistentAttributesTest = NameSpacesTest;

TEST_F(NameSpacesTest, AreWrittenWithTheCurrentVersionInTheOrderOfTheirNumbers) {
    AttributeBytesNameSpaces nameSpaces;
    EXPECT_EQ(StateOf(nameSpaces), "41 42 4E 53 01 00 02 00 03 00 04 00 41 42 49 4C 41 42 52 4C");
    nameSpaces = TwoNameSpaces();
    EXPECT_EQ(StateOf(nameSpaces),
              "41 42 4E 53 01 00 02 00 03 00 04 00 41 42 49 4C 41 42 52 4C "
              "09 01 00 00 00 0B 00 00 0F 00 00 00 41 42 52 4C 02 0A 00 00 00 03 00 0A 00 00 00 "
              "09 03 00 00 00 0B 00 00 0F 00 00 00 41 42 52 4C 02 1E 00 00 00 03 00 1E 00 00 00");
    AttributeBytesRawList list;
    NameSpace id;
    nameSpaces.GetNameSpaceByIndex(1, list, &id);
    EXPECT_EQ(id.GetNameSpaceId(), 3);
    EXPECT_TRUE(list == ListOf(30));
    EXPECT_THROWS(nameSpaces.GetNameSpaceByIndex(2, list), ExceptionIndexOutOfBounds, 148,
                  "AttributeBytesNameSpaces::GetNameSpaceByIndex");
}

TEST_F(NameSpacesTest, AreSetReplacedAndDeletedWithoutTouchingCopies) {
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(NameSpace(1), ListOf(10));
    const AttributeBytesNameSpaces copy = nameSpaces;
    nameSpaces.SetNameSpaceAttributes(NameSpace(1), ListOf(11));
    AttributeBytesRawList list;
    nameSpaces.GetNameSpaceAttributes(NameSpace(1), list);
    EXPECT_TRUE(list == ListOf(11));
    copy.GetNameSpaceAttributes(NameSpace(1), list);
    EXPECT_TRUE(list == ListOf(10));
    nameSpaces.DeleteNameSpaceAttributes(NameSpace(1));
    EXPECT_FALSE(nameSpaces.Exists(NameSpace(1)));
    EXPECT_TRUE(copy.Exists(NameSpace(1)));
    EXPECT_THROW(nameSpaces.GetNameSpaceAttributes(NameSpace(1), list), ExceptionFeatureNotFound);
}

TEST_F(NameSpacesTest, RefuseDamagedStates) {
    AttributeBytesNameSpaces nameSpaces;
    const auto import = [&](const std::string& bytes) {
        nameSpaces.ImportAttributeBytesNameSpacesState(Bytes(bytes));
    };
    const std::string head = "41 42 4E 53 01 00 02 00 03 00 04 00 ";
    const std::string entry = "09 01 00 00 00 0B 00 00 04 00 00 00 41 42 52 4C ";
    EXPECT_THROW(import("41 42 4E"), ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_THROW(import("41 42 4E 53 01 00 02 00 03 00 04"), ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_THROWS(import("41 42 4E 54 01 00 02 00"), ExceptionMissingOrBadAttributeBytesFormat, 226,
                  "AttributeBytesNameSpaces::ImportAttributeBytesNameSpacesState");
    EXPECT_THROW(import(head), ExceptionMissingOrBadAttributeBytesFormat);
    EXPECT_THROW(import(head + "41 42 49 4C 41 42 52 4C " + entry + entry), ExceptionDuplicateAttributeId);

    DriverVersion version;
    const AttributeBytesNameSpaces notALists(
        Bytes(head + "41 42 49 4C 41 42 52 4C 09 01 00 00 00 03 00 05 00 00 00"), &version);
    EXPECT_TRUE(version == DriverVersion(1, 2, 3, 4));
    AttributeBytesRawList list;
    EXPECT_THROW(notALists.GetNameSpaceAttributes(NameSpace(1), list), ExceptionAttributeValueTypeMismatch);
}

TEST_F(PersistentAttributesTest, KeepNamespacesBehindTheirHeader) {
    const PersistentAttributes empty;
    const ByteBuffer head(empty.GetPersistentAttributesState().data(), 16);
    EXPECT_EQ(Hex(head), "10 00 00 00 01 00 07 20 01 00 02 00 03 00 04 00");
    EXPECT_EQ(StateOf(empty.GetAttributeBytesNameSpaces()), StateOf(AttributeBytesNameSpaces()));

    const PersistentAttributes saved(TwoNameSpaces());
    DriverVersion::SetCurrentDriverVersion(DriverVersion(9, 9, 9, 9));
    PersistentAttributes loaded;
    DriverVersion version;
    EXPECT_TRUE(loaded.ImportPersistentAttributesState(saved.GetPersistentAttributesState(), version));
    EXPECT_TRUE(version == DriverVersion(1, 2, 3, 4));
    EXPECT_EQ(StateOf(loaded.GetAttributeBytesNameSpaces()), StateOf(TwoNameSpaces()));
    AttributeBytesRawList list;
    loaded.GetAttributeBytesListForNameSpace(PersistentAttributes::GetDataModelDocPropNameSpaceId(), list);
    EXPECT_TRUE(list == ListOf(10));
    EXPECT_THROW(loaded.GetAttributeBytesListForNameSpace(
                     PersistentAttributes::GetDataModelDevicePropNameSpaceId(), list),
                 ExceptionFeatureNotFound);
}

TEST_F(PersistentAttributesTest, AnswerForTheStateThatTheyHoldNow) {
    PersistentAttributes object(PersistentAttributes(TwoNameSpaces()).GetPersistentAttributesState());
    const std::string imported = StateOf(TwoNameSpaces());
    object.GetAttributeBytesNameSpaces().DeleteNameSpaceAttributes(NameSpace(1));  // from a copy
    EXPECT_EQ(StateOf(object.GetAttributeBytesNameSpaces()), imported);
    DriverVersion version;
    EXPECT_THROW(object.ImportPersistentAttributesState(Bytes("10"), version),
                 ExceptionMissingOrBadPersistentAttributesFormat);
    EXPECT_EQ(StateOf(object.GetAttributeBytesNameSpaces()), imported);

    const PersistentAttributes copy = object;
    AttributeBytesNameSpaces other;
    other.SetNameSpaceAttributes(NameSpace(1), ListOf(11));
    object.SetAttributeBytesNameSpaces(other);
    EXPECT_EQ(StateOf(object.GetAttributeBytesNameSpaces()), StateOf(other));
    AttributeBytesRawList list;
    object.GetAttributeBytesListForNameSpace(NameSpace(1), list);
    EXPECT_TRUE(list == ListOf(11));
    EXPECT_EQ(StateOf(copy.GetAttributeBytesNameSpaces()), imported);
    PersistentAttributes assigned(object.GetPersistentAttributesState());
    assigned = copy;
    EXPECT_EQ(StateOf(assigned.GetAttributeBytesNameSpaces()), imported);
}

TEST_F(PersistentAttributesTest, RefuseEveryKindOfDamageAndKeepWhatTheyHold) {
    const ByteBuffer good = PersistentAttributes(TwoNameSpaces()).GetPersistentAttributesState();
    PersistentAttributes object;
    const ByteBuffer before = object.GetPersistentAttributesState();
    DriverVersion version(7, 7, 7, 7);
    const auto refused = [&](const ByteBuffer& state, int line, const char* function) {
        EXPECT_THROWS(object.ImportPersistentAttributesState(state, version, true),
                      ExceptionMissingOrBadPersistentAttributesFormat, line, function);
        EXPECT_EQ(object.GetPersistentAttributesState(), before);
        EXPECT_TRUE(version == DriverVersion(7, 7, 7, 7));
    };
    const char* split = "PersistentAttributes::GetMajorComponentsFromStateDataBuffer";
    const char* expand = "PersistentAttributes::GetComponentsFromCompressedDataBuffer";
    const char* import = "PersistentAttributes::ImportPersistentAttributesState";
    refused(ByteBuffer(good.data(), 15), 527, split);
    ByteBuffer bad = good;
    bad[0] = 17;
    refused(bad, 527, split);
    bad = good;
    bad[4] = 2;
    refused(bad, 392, import);
    refused(ByteBuffer(good.data(), 16), 581, expand);
    refused(ByteBuffer(good.data(), good.getDword() - 1), 581, expand);
    refused(StateAround(Bytes("")), 392, import);
    refused(StateAround(Bytes("41 42 4E 53")), 392, import);
    EXPECT_THROWS(PersistentAttributes::ValidateCompressedData(Bytes("00")),
                  ExceptionMissingOrBadPersistentAttributesFormat, 728,
                  "PersistentAttributes::ValidateCompressedData");

    // A damaged record inside a namespace, found only when the records are checked.
    const ByteBuffer hidden =
        StateAround(Bytes("41 42 4E 53 01 00 02 00 03 00 04 00 41 42 49 4C 41 42 52 4C "
                          "09 01 00 00 00 0B 00 00 05 00 00 00 41 42 52 4C 02"));
    refused(hidden, 392, import);
    EXPECT_TRUE(object.ImportPersistentAttributesState(hidden, version, false));
}

TEST_F(PersistentAttributesTest, WithManyNamespacesAreCheckedAndDescribedInLinearTime) {
    EXPECT_TRUE(GrowsLinearly(4000, [](int count) {
        AttributeBytesNameSpaces nameSpaces;
        for (LONG i = 0; i < count; ++i)
            nameSpaces.SetNameSpaceAttributes(NameSpace(i), ListOf(i));
        const ByteBuffer state = PersistentAttributes(nameSpaces).GetPersistentAttributesState();
        const PersistentAttributes checked(state, true, nullptr);
        EXPECT_FALSE(PersistentAttributes::DumpStateData(state, true).IsEmpty());
    }));
}

TEST_F(PersistentAttributesTest, AreDescribedWhetherGoodOrDamaged) {
    const ByteBuffer good = PersistentAttributes(TwoNameSpaces()).GetPersistentAttributesState();
    const std::string text = Narrow(PersistentAttributes::DumpStateData(good, true));
    EXPECT_NE(text.find("format version 0x20070001, driver version 1.2.3.4\r\n"), std::string::npos) << text;
    EXPECT_NE(text.find("ID=ABIDE_FEATURE AttributeBytes Id: 30 (0x1e)"), std::string::npos) << text;
    const std::string damaged = Narrow(PersistentAttributes::DumpStateData(Bytes("00"), true));
    EXPECT_EQ(damaged, "Damaged: 031:000:0527 class ExceptionMissingOrBadPersistentAttributesFormat\r\n");
}

}  // namespace
