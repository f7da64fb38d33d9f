// Execution contexts: the texts of records and stacks, and the scopes that push them.
#include "utilities/debuggingandexceptions/executioncontext.h"

#include <gtest/gtest.h>

#include <regex>
#include <thread>

#include "support/narrow.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

using Kind = ExecutionContextBase::ContextIdType;

std::unique_ptr<ExecutionContextBase> Context(std::int32_t kind, const WChar* function,
                                              bool showsDetails = false, const WChar* details = NV_TEXT("")) {
    return std::make_unique<ExecutionContextBase>(kind, NV_TEXT("src/file"), function, 12, showsDetails,
                                                  details);
}

}  // namespace

TEST(ExecutionContext, TellsItsPlace) {
    EXPECT_EQ("Class::Function line 12",
              Narrow(Context(1, NV_TEXT("Class::Function"))->GetSingleLineLocationString()));
    EXPECT_EQ("src/file, Function line 12",
              Narrow(Context(1, NV_TEXT("Function"))->GetSingleLineLocationString()));
    EXPECT_EQ("src/file, A:B line 12", Narrow(Context(1, NV_TEXT("A:B"))->GetSingleLineLocationString()));
}

TEST(ExecutionContext, ShowsDetailsWhenAskedOrMarkedSo) {
    const auto text = [](bool showsDetails, bool withDetails, const WChar* details) {
        return Narrow(Context(Kind::ECIE_XML, NV_TEXT("C::F"), showsDetails, details)
                          ->GetContextDebugDisplayString(withDetails));
    };
    EXPECT_EQ("ECIE_XML: C::F line 12", text(false, false, NV_TEXT("map.xml")));
    EXPECT_EQ("ECIE_XML: C::F line 12 (map.xml)", text(false, true, NV_TEXT("map.xml")));
    EXPECT_EQ("ECIE_XML: C::F line 12 (map.xml)", text(true, false, NV_TEXT("map.xml")));
    EXPECT_EQ("ECIE_XML: C::F line 12", text(true, true, NV_TEXT("")));
}

TEST(ExecutionContext, NamesKinds) {
    EXPECT_EQ("ECIE_DEVICESETTINGS", Narrow(ExecutionContextBase::GetDebugDisplayString(7, false)));
    EXPECT_EQ("ECIE_UNSPECIFIED (0)", Narrow(ExecutionContextBase::GetDebugDisplayString(0, true)));
    EXPECT_EQ("UNKNOWN!", Narrow(ExecutionContextBase::GetDebugDisplayString(8, false)));
    EXPECT_EQ("UNKNOWN! (-1)", Narrow(ExecutionContextBase::GetDebugDisplayString(-1, true)));
    EXPECT_EQ("ECIE_UNSPECIFIED: C::F line 12",
              Narrow(Context(99, NV_TEXT("C::F"))->GetContextDebugDisplayString(true)));
}

TEST(ExecutionContext, ComparesByValue) {
    const ExecutionContextPtr a(Context(1, NV_TEXT("A::F")).release());
    const ExecutionContextPtr sameAsA(Context(1, NV_TEXT("A::F")).release());
    const ExecutionContextPtr b(Context(1, NV_TEXT("B::F")).release());
    const ExecutionContextPtr laterKind(Context(2, NV_TEXT("A::F")).release());
    EXPECT_TRUE(a == sameAsA);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(a < sameAsA);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_TRUE(b < laterKind);
}

TEST(ExecutionContextStack, ShowsItselfFromTheBottom) {
    ExecutionContextStack stack;
    EXPECT_EQ("<No Context>", Narrow(stack.GetMostRecentContextDisplayString(true)));
    EXPECT_TRUE(std::regex_match(
        Narrow(stack.GetMultiLineDisplayString(true)),
        std::regex("Execution context \\(Thread=0x[0-9a-f]{4,}\\) \\(0 levels deep\\):\r\n")));

    stack.PushContext(ExecutionContextPtr(Context(Kind::ECIE_XML, NV_TEXT("A::F")).release()));
    stack.PushContext(ExecutionContextPtr());
    stack.PushContext(ExecutionContextPtr(Context(Kind::ECIE_COMPRESSION, NV_TEXT("B::F")).release()));
    EXPECT_EQ("ECIE_COMPRESSION: B::F line 12", Narrow(stack.GetMostRecentContextDisplayString(true)));
    const std::string text = Narrow(stack.GetMultiLineDisplayString(true));
    EXPECT_EQ(
        " (3 levels deep):\r\n"
        "  ECIE_XML: A::F line 12\r\n"
        "    <No Context>\r\n"
        "      ECIE_COMPRESSION: B::F line 12\r\n",
        text.substr(text.find(')') + 1));
}

TEST(ExecutionContextStack, PopsTheLastRecordWhicheverIsNamed) {
    ExecutionContextStack stack;
    const ExecutionContextPtr first(Context(1, NV_TEXT("A::F")).release());
    const ExecutionContextPtr second(Context(1, NV_TEXT("B::F")).release());
    stack.PopContext(first);  // an empty stack stays empty
    stack.PushContext(first);
    stack.PushContext(second);
    const ExecutionContextStack copy = stack;
    stack.PopContext(first);
    EXPECT_EQ("ECIE_FUNCTION: A::F line 12", Narrow(stack.GetMostRecentContextDisplayString(true)));
    EXPECT_EQ(2u, copy.GetDepth());
}

TEST(ExecutionContextLifetime, KeepsAContextOnTheThreadsStackForAScope) {
    std::thread([] {
        const ExecutionContextStack& stack = UtilitiesDllPerThreadStorage::GetExecutionContextStack();
        {
            const ExecutionContextLifetime outer(Context(1, NV_TEXT("A::F")));
            const ExecutionContextLifetime inner(Context(1, NV_TEXT("B::F")));
            EXPECT_EQ(2u, stack.GetDepth());
        }
        EXPECT_EQ(0u, stack.GetDepth());

        ExecutionContextStack own;
        const ExecutionContextLifetime onOwn(Context(1, NV_TEXT("C::F")), own);
        EXPECT_EQ(1u, own.GetDepth());
        EXPECT_EQ(0u, stack.GetDepth());
    }).join();
}
