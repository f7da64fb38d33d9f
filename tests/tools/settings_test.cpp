// Tests of `nvutil settings`: what reaches a printer, what comes back, and what is refused.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "environment/devicesettingsmanager.h"
#include "environment/printer.h"
#include "nvutil/text.h"
#include "support/bytes.h"
#include "support/platform/testprinter.h"
#include "tools/tooltest.h"

namespace {

class Settings : public testing::Test {
protected:
    /// A run of `nvutil settings COMMAND --printer NAME ...`.
    ToolResult Run(const std::string& command, std::vector<std::string> arguments = {},
                   const std::string& input = {}) const {
        arguments.insert(arguments.begin(), {"settings", command, "--printer", GetName()});
        return Nvutil(arguments, input);
    }
    std::string GetName() const { return ToUtf8(m_test.GetName()); }
    void Store(const std::string& state) const {
        Printer printer(m_test.GetName());
        DeviceSettingsManager(printer).WriteDeviceSettingsDataToStorage(BytesOf(state));
    }

    std::string GetStored() const { return TextOf(m_test.ReadDirectly(NV_TEXT("NrvDeviceSettings"))); }

    TestPrinter m_test;
};

TEST_F(Settings, AreSetOneByOneOrAllAtOnce) {
    EXPECT_EQ(Run("set", {IntegerAttribute(12, 300)}).error, "");
    EXPECT_EQ(Run("get", {"12"}).out, IntegerAttribute(12, 300) + "\n");
    EXPECT_EQ(Run("get", {R"({"feature": 12})"}).out, IntegerAttribute(12, 300) + "\n");

    EXPECT_EQ(Run("set", {"-"}, SmallDocument()).error, "");
    const std::string document = Run("get").out;
    EXPECT_EQ(document, Nvutil({"state", "show", "--json", "-"}, Build(SmallDocument())).out);
    EXPECT_EQ(Run("get", {R"({"newFeature": "X"})"}).out,
              R"({"id": {"newFeature": "X"}, "value": {"option": {"newValue": "A4"}}, "unspecified": true})"
              "\n");

    EXPECT_EQ(Run("set", {IntegerAttribute(12, 600)}).error, "");
    EXPECT_EQ(Run("set", {IntegerAttribute(1, 1)}).error, "");
    const std::string changed = Run("get").out;
    EXPECT_TRUE(Fits(changed, R"(*"driverVersion": "1.2.3.4")")) << "the version is kept";
    for (const std::string& part :
         {IntegerAttribute(12, 600), IntegerAttribute(1, 1), std::string(R"("newFeature": "X")")})
        EXPECT_TRUE(Fits(changed, '*' + part)) << changed;
    EXPECT_FALSE(Fits(changed, '*' + IntegerAttribute(12, 300))) << changed;
}

TEST_F(Settings, MoveWholeToAnotherPrinter) {
    const std::string state = Build(R"({"driverVersion": "1.2.3.4", "namespaces": {"1": [], "2": [)" +
                                    IntegerAttribute(1, 2) + "]}}");
    EXPECT_EQ(Run("import", {"-"}, state).error, "");
    const std::string exported = Run("export").out;
    EXPECT_EQ(exported, state);

    const TestPrinter other;
    const std::string otherName = ToUtf8(other.GetName());
    EXPECT_EQ(Nvutil({"settings", "import", "--printer", otherName, "-"}, exported).error, "");
    EXPECT_EQ(Nvutil({"settings", "export", "--printer", otherName, "--hex"}).out,
              Run("export", {"--hex"}).out);

    const std::string list = Nvutil({"settings", "list"}).out;
    for (const std::string& name : {GetName(), otherName}) {
        const std::string line =
            "ok       " + name + ": version 1.2.3.4, " + std::to_string(state.size()) + " bytes, 1 attribute";
        EXPECT_TRUE(Fits(list, '*' + line)) << list;
    }
}

// The same settings as each build writes them: only the compressed bytes differ.
constexpr const char* statesOfBuilds[] = {
    "100000000100072001000200030004004D534346000000009B000000000000002C00000000000000"
    "03010100010000003930010052000000010001007C0000000000000000006C22BA5900002F2F556E"
    "636F6D707265737365642D446174612F2F0026D93BD741007C00434BA5C6A10D80300000B08ECD10"
    "3882A0796273240B621804960F26389F23A86A2EC7190CA22497BDE6D2EA1830712397568719D116"
    "88C12559758F57B7FCD80702FFFFFFFF0000007C434F4D35",
    "100000000100072001000200030004004D5343460000000098000000000000002C00000000000000"
    "03010100010000003930010052000000010001007C0000000000000000006C22BA5900002F2F556E"
    "636F6D707265737365642D446174612F2F0025AC6FDE3E007C00434B7374F20B6664606260666061"
    "7074F2F471740AF2E164646060E06660880152203E130F90C1CCA003146666648800AA5462286148"
    "65A800920A14B00002FFFFFFFF0000007C434F4D35"};

TEST_F(Settings, MoveBetweenBuildsByteByByte) {
    for (const char* const hex : statesOfBuilds) {
        const std::string state = TextOf(Bytes(hex));
        EXPECT_EQ(Run("import", {"-"}, state).error, "");
        EXPECT_EQ(Run("export").out, state);
        EXPECT_EQ(GetStored(), state);
        EXPECT_EQ(Run("get", {"12"}).out, IntegerAttribute(12, 300) + "\n");
        EXPECT_EQ(Run("get", {R"({"newFeature": "X"})"}).out,
                  R"({"id": {"newFeature": "X"}, "value": {"string": "text text text text text text text"}})"
                  "\n");
    }
}

TEST_F(Settings, AreRefusedAndStayWhereTheyAre) {
    const std::string state = Build(SmallDocument());
    Store(state);
    const std::string twice = IntegerAttribute(1, 1) + ", " + IntegerAttribute(1, 2);
    const struct {
        const char* command;
        std::string argument;
        std::string input;
        const char* says;
    } refusals[] = {
        {"get", "13", "", "ExceptionFeatureNotFound: printer \""},
        {"get", "{", "", "ExceptionInvalidArgument: ID: not JSON"},
        {"get", R"({"feature": "12"})", "", "ID: feature: must be a whole number"},
        {"set", "{", "", "ExceptionInvalidArgument: JSON: not JSON"},
        {"set", R"({"id": {"feature": 1}})", "", "JSON: the document: \"value\" is missing"},
        {"set", "-", R"({"namespaces": {"1": [], "2": []}})", "standard input: namespaces: "},
        {"set", "-", R"({"namespaces": {}})", "standard input: namespaces: "},
        {"set", "-", Document(twice), "ExceptionDuplicateAttributeId: standard input"},
        {"import", "-", Build(Document(twice)), "ExceptionDuplicateAttributeId: standard input"},
        {"import", "-", state.substr(0, 40),
         "ExceptionMissingOrBadPersistentAttributesFormat: standard input"},
        {"import", "-", Build(R"({"namespaces": {"2": []}})"), "ExceptionFeatureNotFound: standard input"},
        {"import", "no such file", "", "ExceptionCreateFileForReading: no such file"},
    };
    for (const auto& [command, argument, input, says] : refusals)
        ExpectRefused(Run(command, {argument}, input), says);
    EXPECT_EQ(Run("export").out, state);
    EXPECT_EQ(Nvutil({"settings", "get"}).status, 2);
}

TEST_F(Settings, ThatAreDamagedStayUntilTheyAreReplaced) {
    const std::string damaged = Build(SmallDocument()).substr(0, 100);
    Store(damaged);
    for (const std::vector<std::string>& use : std::vector<std::vector<std::string>>{
             {"get"}, {"get", "12"}, {"set", IntegerAttribute(1, 1)}, {"export"}, {"list"}}) {
        const ToolResult result = Run(use[0], {use.begin() + 1, use.end()});
        EXPECT_EQ(result.status, 1) << use[0];
        EXPECT_TRUE(Fits(result.error + result.out, "*ExceptionMissingOrBadPersistentAttributesFormat"))
            << result.error << result.out;
    }
    EXPECT_EQ(GetStored(), damaged);
    EXPECT_EQ(Run("import", {"-"}, Build(SmallDocument())).status, 0);
    EXPECT_EQ(Run("list").status, 0);
}

TEST_F(Settings, OfUnknownOrNewPrintersAreRefused) {
    ExpectRefused(Run("get"), "ExceptionFeatureNotFound: printer \"" + GetName() + "\": has no settings");
    EXPECT_EQ(Run("list").out, "");
    ExpectRefused(Nvutil({"settings", "get", "--printer", "No such printer"}),
                  "ExceptionPrinterFailure: printer \"No such printer\": ");
}

TEST_F(Settings, SetByEightAtOnceAreAllThere) {
    constexpr int users = 8;
    constexpr int steps = 5;
    EXPECT_EQ(Run("set", {IntegerAttribute(1, 0)}).error, "");
    std::vector<std::thread> threads;
    for (int user = 0; user < users; ++user) {
        threads.emplace_back([&, user] {
            for (int step = 0; step < steps; ++step)
                EXPECT_EQ(Run("set", {IntegerAttribute(100 * (user + 1) + step, step)}).error, "");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const std::string all = Run("get").out;
    for (int i = 0; i < users * steps; ++i)
        EXPECT_TRUE(Fits(all, '*' + IntegerAttribute(100 * (1 + i / steps) + i % steps, i % steps))) << i;
}

}  // namespace
