// Attribute identifiers: bytes, equality, order, display and damaged bytes.
#include "utilities/attributebytes/attributebytesid.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/bytes.h"
#include "utilities/attributebytes/attributebytesidfactory.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using IdPtr = std::unique_ptr<AttributeBytesId>;

template <class Id, class... Arguments>
IdPtr Make(Arguments... arguments) {
    return std::make_unique<Id>(arguments...);
}

struct IdCase {
    IdPtr id;
    const char* bytes;
    const char* display;
};

std::vector<IdCase> AllKinds() {
    std::vector<IdCase> cases;
    const auto add = [&](IdPtr id, const char* bytes, const char* display) {
        cases.push_back({std::move(id), bytes, display});
    };
    add(Make<AttributeBytesFeatureId>(258), "02 02 01 00 00", "ABIDE_FEATURE AttributeBytes Id: 258 (0x102)");
    add(Make<AttributeBytesFeatureId>(-1), "02 FF FF FF FF",
        "ABIDE_FEATURE AttributeBytes Id: -1 (0xffffffff)");
    add(Make<AttributeBytesNewFeatureId>(CXString()), "03 00 00", "ABIDE_NEWFEATURE AttributeBytes Id: ");
    add(Make<AttributeBytesValueId>(7), "04 07 00 00 00", "ABIDE_VALUE AttributeBytes Id: 7 (0x7)");
    add(Make<AttributeBytesNewValueId>(NV_TEXT("A4")), "05 02 00 41 00 34 00",
        "ABIDE_NEWVALUE AttributeBytes Id: A4");
    add(Make<AttributeBytesListOfValuesItemId>(3), "06 03 00 00 00",
        "ABIDE_LISTOFVALUESITEM AttributeBytes Id: index 3");
    add(Make<AttributeBytesCapabilityId>(0x10, static_cast<short>(3)), "07 03 00 10 00 00 00",
        "ABIDE_CAPABILITY AttributeBytes Id: feature 16 (0x10), type 3 (0x3)");
    add(Make<AttributeBytesNewCapabilityId>(NV_TEXT("X"), static_cast<short>(2)), "08 02 00 01 00 58 00",
        "ABIDE_NEWCAPABILITY AttributeBytes Id: feature X, type 2 (0x2)");
    add(Make<AttributeBytesNameSpacesId>(1), "09 01 00 00 00", "ABIDE_NAMESPACE AttributeBytes Id: 1");
    return cases;
}

TEST(AttributeBytesId, OfEveryKindIsWrittenReadAndShown) {
    for (const IdCase& c : AllKinds()) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(Hex(c.id->GetTypeAndIdentifierState()), c.bytes);
        EXPECT_EQ(Narrow(c.id->GetDumpDisplayString()), c.display);
        EXPECT_TRUE(c.id->Clone()->IsEqual(*c.id));

        const ByteBuffer bytes = Bytes(std::string(c.bytes) + " EE EE");
        ByteWalk walk(bytes);
        const IdPtr read =
            AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(walk.cursor, walk.remaining);
        EXPECT_TRUE(read->IsEqual(*c.id));
        EXPECT_EQ(walk.remaining, 2u);
        EXPECT_EQ(walk.cursor, bytes.data() + bytes.size() - 2);
    }
}

TEST(AttributeBytesId, CutShortIsRefused) {
    for (const IdCase& c : AllKinds()) {
        const ByteBuffer bytes = Bytes(c.bytes);
        for (unsigned length = 0; length < bytes.size(); ++length) {
            ByteWalk walk(bytes.data(), length);
            EXPECT_THROW(
                AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(walk.cursor, walk.remaining),
                ExceptionNotEnoughBytesForDesiredDataType)
                << c.bytes << " cut to " << length;
        }
    }
}

TEST(AttributeBytesId, OfAnUnknownKindIsRefusedByTheFactory) {
    for (const BYTE kind : Bytes("00 01 0A FF")) {
        const ByteBuffer bytes(5, kind);
        ByteWalk walk(bytes);
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
}

TEST(AttributeBytesId, FillsACallersBufferOnlyWhenItFits) {
    const AttributeBytesFeatureId id(258);
    BYTE buffer[6] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    try {
        id.GetTypeAndIdentifierState(buffer, 4);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const ExceptionNotEnoughBytesForDesiredDataType& e) {
        EXPECT_EQ(Narrow(e.GetExceptionIdentifierForUserDisplay()), "003:000:0077");
    }
    EXPECT_EQ(buffer[0], 0xEE);
    EXPECT_EQ(id.GetTypeAndIdentifierState(buffer, 5), 5u);
    EXPECT_EQ(Hex(ByteBuffer(buffer, 6)), "02 02 01 00 00 EE");
}

TEST(AttributeBytesId, OrdersByKindThenPayload) {
    const std::vector<IdCase> cases = AllKinds();
    EXPECT_FALSE(AttributeBytesFeatureId(5).IsEqual(AttributeBytesValueId(5)));
    EXPECT_TRUE(AttributeBytesFeatureId(5).LessThan(AttributeBytesValueId(-5)));
    EXPECT_FALSE(AttributeBytesValueId(-5).LessThan(AttributeBytesFeatureId(5)));
    EXPECT_TRUE(AttributeBytesFeatureId(-1).LessThan(AttributeBytesFeatureId(0)));
    EXPECT_TRUE(AttributeBytesNewValueId(NV_TEXT("A")).LessThan(AttributeBytesNewValueId(NV_TEXT("a"))));
    EXPECT_TRUE(AttributeBytesNewValueId(NV_TEXT("A")).LessThan(AttributeBytesNewValueId(NV_TEXT("AA"))));
    for (const IdCase& c : cases)
        EXPECT_FALSE(c.id->LessThan(*c.id)) << c.bytes;
}

TEST(AttributeBytesId, OfCapabilitiesCanBeLessBothWays) {
    const AttributeBytesCapabilityId left(5, 1);
    const AttributeBytesCapabilityId right(3, 2);
    EXPECT_TRUE(left.LessThan(right));
    EXPECT_TRUE(right.LessThan(left));
    EXPECT_FALSE(left.IsEqual(AttributeBytesCapabilityId(5, 2)));
    const AttributeBytesNewCapabilityId newLeft(NV_TEXT("b"), 1);
    const AttributeBytesNewCapabilityId newRight(NV_TEXT("a"), 2);
    EXPECT_TRUE(newLeft.LessThan(newRight));
    EXPECT_TRUE(newRight.LessThan(newLeft));
}

TEST(AttributeBytesId, NamesItsKinds) {
    EXPECT_EQ(Narrow(AttributeBytesId::GetDebugDisplayString(AttributeBytesId::ABIDE_UNSPECIFIED)),
              "ABIDE_UNSPECIFIED");
    for (const int number : {0, 10, -1}) {
        const auto kind = static_cast<AttributeBytesId::AttributeBytesIdEnum>(number);
        EXPECT_EQ(Narrow(AttributeBytesId::GetDebugDisplayString(kind)), "UNKNOWN!");
    }
}

}  // namespace
