// Tests of damaged states: every byte has its field, and nothing breaks the tool.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nvutil/statebytes.h"
#include "support/bytes.h"
#include "tools/toolruns.h"
#include "utilities/debuggingandexceptions/norvaexception.h"

namespace {

/// Reports the fields of a namespaces' state and checks that each byte belongs to exactly one.
std::vector<StateField> ReportAndCheckCoverage(const ByteBuffer& state) {
    std::vector<StateField> fields;
    std::size_t covered = 0;
    try {
        ReportNameSpacesFields(state, [&](const StateField& field) {
            EXPECT_EQ(field.offset, covered) << field.name;
            EXPECT_GT(field.size, 0u) << field.name;
            EXPECT_NE(field.name, "");
            covered += field.size;
            fields.push_back(field);
        });
    } catch (const NorvaException&) {
        EXPECT_TRUE(fields.empty() || state.empty() || covered == state.size());
    }
    EXPECT_EQ(covered, state.size());
    return fields;
}

const std::vector<std::vector<std::string>> waysToRead = {{"state", "show", "-"},
                                                          {"state", "show", "--json", "-"},
                                                          {"state", "show", "--bytes", "-"},
                                                          {"state", "verify", "-"}};

/// Reads a state in every way. They must agree on whether it is good, and a good one must survive JSON.
void ExpectRefusedOrRead(const std::string& state) {
    const int status = Nvutil(waysToRead.back(), state).status;
    for (const auto& way : waysToRead) {
        const ToolResult result = Nvutil(way, state);
        ASSERT_EQ(result.status, status) << way[2] << ' ' << result.error;
        if (status == 1 && way[1] == "show") {
            ASSERT_TRUE(result.error.starts_with("nvutil: 0")) << result.error;
        }
    }
    if (status != 0) return;
    const std::string json = Nvutil({"state", "show", "--json", "-"}, state).out;
    EXPECT_EQ(Nvutil({"state", "show", "--json", "-"}, Build(json)).out, json);
}

TEST(StateBytes, EachByteOfASoundStateBelongsToAField) {
    const auto fields = ReportAndCheckCoverage(Expand(Build(SmallDocument())));
    EXPECT_EQ(fields.front().meaning, "\"ABNS\"");
    EXPECT_EQ(fields.back().name, "string");
    EXPECT_EQ(fields.back().meaning, "\"text\"");
}

TEST(StateBytes, EachByteOfADamagedStateBelongsToAField) {
    const ByteBuffer sound = Expand(Build(SmallDocument()));
    for (std::size_t length = 0; length < sound.size(); ++length)
        ReportAndCheckCoverage(
            ByteBuffer(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length)));
    for (std::size_t bit = 0; bit < sound.size() * 8; ++bit) {
        ByteBuffer damaged = sound;
        damaged[bit / 8] = static_cast<BYTE>(damaged[bit / 8] ^ 1u << bit % 8);
        ReportAndCheckCoverage(damaged);
    }
}

TEST(StateBytes, TheDumpNamesThePlaceOfTheDamage) {
    ByteBuffer damaged = Expand(Build(Document(R"({"id": {"feature": 9}, "value": {"integer": 5}})")));
    damaged[0x29] = 0x0D;  // the kind of the value
    const ToolResult result = Nvutil({"state", "show", "--bytes", "-"}, Persist(damaged));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("000029  0D                         value kind           UNKNOWN!\n"),
              std::string::npos)
        << result.out;
    EXPECT_NE(
        result.out.find("00002B  05 00 00 00              unread               not readable from here on\n"),
        std::string::npos)
        << result.out;
    EXPECT_NE(result.error.find("026:000:"), std::string::npos) << result.error;
}

TEST(StateBytes, AStateCutAtAnyLengthIsRefused) {
    const std::string state = Build(SmallDocument());
    for (std::size_t length = 0; length < state.size(); ++length) {
        for (const auto& way : waysToRead) {
            const ToolResult result = Nvutil(way, state.substr(0, length));
            EXPECT_EQ(result.status, 1) << way[2] << " of " << length << " bytes";
        }
    }
}

TEST(StateBytes, AnyBitOfAStateMayBeWrong) {
    const std::string state = Build(SmallDocument());
    for (std::size_t bit = 0; bit < state.size() * 8; ++bit) {
        std::string damaged = state;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
        SCOPED_TRACE(bit);
        ExpectRefusedOrRead(damaged);
        if (HasFatalFailure()) return;
    }
}

TEST(StateBytes, AnyBitInsideOfAStateMayBeWrong) {
    const ByteBuffer sound = Expand(Build(SmallDocument()));
    for (std::size_t bit = 0; bit < sound.size() * 8; ++bit) {
        ByteBuffer damaged = sound;
        damaged[bit / 8] = static_cast<BYTE>(damaged[bit / 8] ^ 1u << bit % 8);
        SCOPED_TRACE(bit);
        ExpectRefusedOrRead(Persist(damaged));
        if (HasFatalFailure()) return;
    }
}

struct HostileState {
    const char* what;
    const char* namespacesState;
};

constexpr HostileState hostileStates[] = {
    {"a list of 4 GiB",
     "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C 09 01 00 00 00 0B 00 00 FF FF FF FF 41 42 "
     "52 4C"},
    {"a list of 2 GiB",
     "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C 09 01 00 00 00 0B 00 00 FF FF FF 7F 41 42 "
     "52 4C"},
    {"a blob of 4 GiB",
     "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C 09 01 00 00 00 0B 00 00 "
     "0F 00 00 00 41 42 52 4C 02 00 00 00 00 0A 00 FF FF FF FF"},
    {"a text of a negative length",
     "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C 09 01 00 00 00 0B 00 00 "
     "0D 00 00 00 41 42 52 4C 02 00 00 00 00 04 00 FF FF"},
    {"a namespace that is a number",
     "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C 09 01 00 00 00 03 00 01 00 00 00"},
    {"a namespace with the identifier of a feature",
     "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C 02 01 00 00 00 0B 00 00 04 00 00 00 41 42 "
     "52 4C"},
    {"a namespace that comes twice",
     "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C 09 01 00 00 00 0B 00 00 04 00 00 00 41 42 "
     "52 4C "
     "09 01 00 00 00 0B 00 00 04 00 00 00 41 42 52 4C"},
};

TEST(StateBytes, HostileStatesAreRefused) {
    for (const HostileState& hostile : hostileStates) {
        SCOPED_TRACE(hostile.what);
        const std::string state = Persist(Bytes(hostile.namespacesState));
        EXPECT_EQ(Nvutil({"state", "verify", "-"}, state).status, 1);
        ExpectRefusedOrRead(state);
        ReportAndCheckCoverage(Bytes(hostile.namespacesState));
    }
}

TEST(StateBytes, AFooterThatClaimsTwoGibibytesIsRefused) {
    std::string state = Build(SmallDocument());
    state.replace(state.size() - 8, 4, "\x7F\xFF\xFF\xFF");
    ExpectRefusedOrRead(state);
    EXPECT_EQ(Nvutil({"state", "show", "-"}, state).status, 1);
}

}  // namespace
