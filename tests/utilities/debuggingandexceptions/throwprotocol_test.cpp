// The throw protocol: messages, faults on the way to them, and what the thrown exception carries.
#include "utilities/debuggingandexceptions/throwprotocol.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/narrow.h"

namespace {

template <class ThrowSite>
std::string MessageOf(ThrowSite throwSite) {
    try {
        throwSite();
    } catch (const ExceptionUnhandledSyntax& exception) {
        return Narrow(exception.GetExceptionMesage());
    }
    return "nothing was thrown";
}

int Fault() {
    throw 1;
}

constexpr const char* formattingFaulted =
    "A message argument was supplied, but the resulting string is empty. The format string and variable "
    "argument "
    "list for this message causes a crash. Perhaps there's an argument mismatch or one of the arguments is a "
    "NULL "
    "pointer. Look at the message arguments at the file and line number indicated above.";

constexpr const char* evaluationFaulted =
    "A message argument was supplied, but the resulting string is empty. The argument list for this message "
    "causes "
    "a crash. Some code that executes to marshal the arguments to pass to the format string method causes a "
    "crash "
    "(e.g., a NULL pointer indirection). Look at the message arguments at the file and line number indicated "
    "above.";

}  // namespace

TEST(ThrowProtocol, CarriesThePlace) {
    try {
        NV_THROW(ExceptionUnhandledSyntax, "Class::Function", 62);
    } catch (const NorvaException& exception) {
        EXPECT_EQ("026:000:0062", Narrow(exception.GetExceptionIdentifierForUserDisplay()));
        EXPECT_EQ("Class::Function", Narrow(exception.GetExceptionLocationFunctionName()));
        EXPECT_EQ("", Narrow(exception.GetExceptionMesage()));
        return;
    }
    FAIL() << "nothing was thrown";
}

TEST(ThrowProtocol, SettlesTheMessage) {
    const CXString empty;
    const CXString name = NV_TEXT("name");
    const WChar* null = nullptr;
    EXPECT_EQ("plain", MessageOf([] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("plain")); }));
    EXPECT_EQ("name 5",
              MessageOf([&] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("%s %d"), name, 5); }));
    EXPECT_EQ("(null)", MessageOf([&] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("%s"), null); }));
    EXPECT_EQ("", MessageOf([] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("")); }));
    EXPECT_EQ(formattingFaulted,
              MessageOf([&] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("%s"), empty); }));
    EXPECT_EQ(evaluationFaulted,
              MessageOf([] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("%d"), Fault()); }));
}

TEST(ThrowProtocol, EvaluatesArgumentsOnce) {
    int evaluations = 0;
    EXPECT_EQ("1",
              MessageOf([&] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("%d"), ++evaluations); }));
    EXPECT_EQ(1, evaluations);
}

// An argument may itself throw by the protocol.
TEST(ThrowProtocol, Nests) {
    const auto argument = []() -> int { NV_THROW(ExceptionReadFile, "F", 1, NV_TEXT("inner")); };
    EXPECT_EQ(evaluationFaulted,
              MessageOf([&] { NV_THROW(ExceptionUnhandledSyntax, "F", 1, NV_TEXT("%d"), argument()); }));
}

TEST(ThrowProtocol, CopiesTheContextsOfTheThrowSite) {
    std::unique_ptr<ExceptionUnhandledSyntax> caught;
    try {
        const ExecutionContextLifetime context(
            std::make_unique<ExecutionContextBase>(ExecutionContextBase::ECIE_FUNCTION, NV_TEXT("f"),
                                                   NV_TEXT("Class::Function"), 3, false, CXString()));
        NV_THROW(ExceptionUnhandledSyntax, "F", 1);
    } catch (const ExceptionUnhandledSyntax& exception) {
        caught = std::make_unique<ExceptionUnhandledSyntax>(exception);
    }
    ASSERT_NE(nullptr, caught);
    EXPECT_EQ("ECIE_FUNCTION: Class::Function line 3",
              Narrow(caught->GetExecutionContextStack().GetMostRecentContextDisplayString(false)));
}

TEST(ThrowProtocol, NamesTheSourceFileFromItsRootWithoutExtension) {
    using throwprotocol::SourceFile;
    EXPECT_EQ("src/utilities/utilitiesdll/bytebuffer",
              SourceFile("/home/src/x/src/utilities/utilitiesdll/bytebuffer.cpp"));
    EXPECT_EQ("src/environment/productdata", SourceFile("../src/environment/productdata.cpp"));
    EXPECT_EQ("tests/a_test", SourceFile("tests/a_test.cpp"));
    EXPECT_EQ("noextension", SourceFile("noextension"));
}
