// Attribute identifiers: bytes, equality, order, display and damaged bytes.
#include "utilities/attributebytes/attributebytesid.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/attributebytes/attributebytesidfactory.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using IdPtr = std::unique_ptr<AttributeBytesId>;

struct IdCase {
    IdPtr id;
    const char* bytes;
    const char* display;
};

// Ascending; neighbours of a kind differ in one field.
std::vector<IdCase> AllKinds() {
    std::vector<IdCase> cases;
    const auto add = [&](const auto& id, const char* bytes, const char* display) {
        std::remove_cvref_t<decltype(id)> assigned;
        assigned = id;
        EXPECT_TRUE(assigned == id) << bytes;
        EXPECT_FALSE(assigned < id) << bytes;
        cases.push_back({assigned.Clone(), bytes, display});
    };
    add(AttributeBytesFeatureId(-1), "02 FF FF FF FF", "ABIDE_FEATURE AttributeBytes Id: -1 (0xffffffff)");
    add(AttributeBytesFeatureId(258), "02 02 01 00 00", "ABIDE_FEATURE AttributeBytes Id: 258 (0x102)");
    add(AttributeBytesNewFeatureId(NV_TEXT("A")), "03 01 00 41 00", "ABIDE_NEWFEATURE AttributeBytes Id: A");
    add(AttributeBytesNewFeatureId(CXString(NV_TEXT("A\0B"), 3)), "03 03 00 41 00 00 00 42 00",
        "ABIDE_NEWFEATURE AttributeBytes Id: A");
    add(AttributeBytesNewFeatureId(NV_TEXT("A4")), "03 02 00 41 00 34 00",
        "ABIDE_NEWFEATURE AttributeBytes Id: A4");
    add(AttributeBytesNewFeatureId(NV_TEXT("a")), "03 01 00 61 00", "ABIDE_NEWFEATURE AttributeBytes Id: a");
    add(AttributeBytesValueId(-2), "04 FE FF FF FF", "ABIDE_VALUE AttributeBytes Id: -2 (0xfffffffe)");
    add(AttributeBytesValueId(7), "04 07 00 00 00", "ABIDE_VALUE AttributeBytes Id: 7 (0x7)");
    add(AttributeBytesNewValueId(CXString()), "05 00 00", "ABIDE_NEWVALUE AttributeBytes Id: ");
    add(AttributeBytesNewValueId(NV_TEXT("A4")), "05 02 00 41 00 34 00",
        "ABIDE_NEWVALUE AttributeBytes Id: A4");
    add(AttributeBytesListOfValuesItemId(-3), "06 FD FF FF FF",
        "ABIDE_LISTOFVALUESITEM AttributeBytes Id: index -3");
    add(AttributeBytesListOfValuesItemId(3), "06 03 00 00 00",
        "ABIDE_LISTOFVALUESITEM AttributeBytes Id: index 3");
    add(AttributeBytesCapabilityId(-16, -2), "07 FE FF F0 FF FF FF",
        "ABIDE_CAPABILITY AttributeBytes Id: feature -16 (0xfffffff0), type -2 (0xfffffffe)");
    add(AttributeBytesCapabilityId(-16, 3), "07 03 00 F0 FF FF FF",
        "ABIDE_CAPABILITY AttributeBytes Id: feature -16 (0xfffffff0), type 3 (0x3)");
    add(AttributeBytesCapabilityId(16, 3), "07 03 00 10 00 00 00",
        "ABIDE_CAPABILITY AttributeBytes Id: feature 16 (0x10), type 3 (0x3)");
    add(AttributeBytesNewCapabilityId(NV_TEXT("X"), -2), "08 FE FF 01 00 58 00",
        "ABIDE_NEWCAPABILITY AttributeBytes Id: feature X, type -2 (0xfffffffe)");
    add(AttributeBytesNewCapabilityId(NV_TEXT("X"), 2), "08 02 00 01 00 58 00",
        "ABIDE_NEWCAPABILITY AttributeBytes Id: feature X, type 2 (0x2)");
    add(AttributeBytesNewCapabilityId(NV_TEXT("XY"), 2), "08 02 00 02 00 58 00 59 00",
        "ABIDE_NEWCAPABILITY AttributeBytes Id: feature XY, type 2 (0x2)");
    add(AttributeBytesNameSpacesId(-1), "09 FF FF FF FF", "ABIDE_NAMESPACE AttributeBytes Id: -1");
    add(AttributeBytesNameSpacesId(1), "09 01 00 00 00", "ABIDE_NAMESPACE AttributeBytes Id: 1");
    return cases;
}

TEST(AttributeBytesId, OfEveryKindIsWrittenReadAndShown) {
    for (const IdCase& c : AllKinds()) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(Narrow(c.id->GetDumpDisplayString()), c.display);
        EXPECT_EQ(Hex(c.id->GetTypeAndIdentifierState()), c.bytes);
        ByteBuffer out = Bytes("EE");
        c.id->GetTypeAndIdentifierState(out);
        EXPECT_EQ(Hex(out), c.bytes);
        const auto size = static_cast<unsigned>(out.size());
        ByteBuffer callers(size + 1, 0xEE);
        EXPECT_THROWS(c.id->GetTypeAndIdentifierState(callers.data(), size - 1),
                      ExceptionNotEnoughBytesForDesiredDataType, 77,
                      "AttributeBytesId::GetTypeAndIdentifierState");
        EXPECT_EQ(callers, ByteBuffer(size + 1, 0xEE));
        EXPECT_EQ(c.id->GetTypeAndIdentifierState(callers.data(), size), size);
        EXPECT_EQ(Hex(callers), std::string(c.bytes) + " EE");

        const ByteBuffer bytes = Bytes(std::string(c.bytes) + " EE EE");
        nvutil::ByteWalk walk(bytes);
        const IdPtr read =
            AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(walk.cursor, walk.remaining);
        EXPECT_TRUE(read->IsEqual(*c.id));
        EXPECT_EQ(walk.remaining, 2u);
        EXPECT_EQ(walk.cursor, bytes.data() + bytes.size() - 2);
        for (unsigned length = 0; length < size; ++length) {
            nvutil::ByteWalk cut(bytes.data(), length);
            EXPECT_THROW(AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(cut.cursor, cut.remaining),
                         ExceptionNotEnoughBytesForDesiredDataType)
                << "cut to " << length;
        }
    }
}

TEST(AttributeBytesId, IsOrderedByKindThenPayload) {
    const std::vector<IdCase> ascending = AllKinds();
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            SCOPED_TRACE(std::string(ascending[i].bytes) + ", " + ascending[j].bytes);
            EXPECT_EQ(ascending[i].id->IsEqual(*ascending[j].id), i == j);
            EXPECT_EQ(ascending[i].id->LessThan(*ascending[j].id), i < j);
        }
    }
}

TEST(AttributeBytesId, TakesWhatItsSettersAreGiven) {
    AttributeBytesFeatureId feature;
    AttributeBytesNewFeatureId newFeature;
    AttributeBytesValueId value;
    AttributeBytesNewValueId newValue;
    AttributeBytesListOfValuesItemId item;
    AttributeBytesNameSpacesId nameSpace;
    AttributeBytesCapabilityId capability;
    AttributeBytesNewCapabilityId newCapability(NV_TEXT("X"), 1);
    feature.SetFeatureId(-7);
    newFeature.SetNewFeatureId(NV_TEXT("A"));
    value.SetValueId(-8);
    newValue.SetNewValueId(NV_TEXT("B"));
    item.SetIndexValue(-9);
    nameSpace.SetNameSpaceId(-10);
    capability.SetFeatureId(-11);
    capability.SetCapabilityTypeEnum(-12);
    newCapability.SetCapabilityTypeEnum(-13);
    EXPECT_EQ(feature.GetFeatureId(), -7);
    EXPECT_EQ(newFeature.GetNewFeatureId(), NV_TEXT("A"));
    EXPECT_EQ(value.GetValueId(), -8);
    EXPECT_EQ(newValue.GetNewValueId(), NV_TEXT("B"));
    EXPECT_EQ(item.GetIndexValue(), -9);
    EXPECT_EQ(nameSpace.GetNameSpaceId(), -10);
    EXPECT_TRUE(capability == AttributeBytesCapabilityId(-11, -12));
    EXPECT_EQ(capability.GetCapabilityTypeEnum(), -12);
    EXPECT_TRUE(newCapability == AttributeBytesNewCapabilityId(NV_TEXT("X"), -13));
    EXPECT_EQ(newCapability.GetNewFeatureId(), NV_TEXT("X"));
}

TEST(AttributeBytesId, OfAnUnknownKindIsRefusedByTheFactory) {
    for (const BYTE kind : Bytes("00 01 0A FF")) {
        const ByteBuffer bytes(5, kind);
        nvutil::ByteWalk walk(bytes);
        try {
            AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(walk.cursor, walk.remaining);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const ExceptionUnhandledSyntax& e) {
            EXPECT_EQ(Narrow(e.GetExceptionIdentifierForUserDisplay()), "026:000:0062");
            EXPECT_EQ(Narrow(e.GetExceptionLocationFunctionName()),
                      "AttributeBytesIdFactory::CreateAttributeBytesId");
            EXPECT_EQ(Narrow(e.GetExceptionLocationFileName()),
                      "src/utilities/attributebytes/attributebytesidfactory");
            EXPECT_TRUE(e.GetExceptionMesage().IsEmpty());
        }
        EXPECT_EQ(walk.remaining, 4u);
    }
    const auto unknown = static_cast<AttributeBytesId::AttributeBytesIdEnum>(10);
    EXPECT_EQ(Narrow(AttributeBytesId::GetDebugDisplayString(unknown)), "UNKNOWN!");
    EXPECT_EQ(Narrow(AttributeBytesId::GetDebugDisplayString(AttributeBytesId::ABIDE_UNSPECIFIED)),
              "ABIDE_UNSPECIFIED");
}

TEST(AttributeBytesId, OfCapabilitiesCanBeLessBothWays) {
    const auto expect = [](const auto& left, const auto& right) {
        EXPECT_TRUE(left.LessThan(right) && right.LessThan(left));
        EXPECT_FALSE(left.IsEqual(right));
    };
    expect(AttributeBytesCapabilityId(5, 1), AttributeBytesCapabilityId(3, 2));
    expect(AttributeBytesNewCapabilityId(NV_TEXT("b"), 1), AttributeBytesNewCapabilityId(NV_TEXT("a"), 2));
    EXPECT_FALSE(AttributeBytesCapabilityId(5, 1).IsEqual(AttributeBytesCapabilityId(5, 2)));
}

}  // namespace
