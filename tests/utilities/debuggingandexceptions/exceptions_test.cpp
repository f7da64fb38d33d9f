// Exceptions: type codes, identifiers, descriptions to the byte, what() and the message shown to users.
#include "utilities/debuggingandexceptions/exceptions.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>

#include "support/narrow.h"
#include "utilities/debuggingandexceptions/usermessage.h"
#include "utilities/xmlparser/npifparseexception.h"

struct NorvaExceptionTestAccess {
    static std::pair<unsigned, unsigned> CustomerMessageIds(const std::exception* exception) {
        std::pair<unsigned, unsigned> ids;
        NorvaException::GetCustomerMessageIDsForException(exception, ids.first, ids.second);
        return ids;
    }
    static bool IsMessageShown(bool force, bool suppress, bool nonInteractive, bool spooler) {
        return NorvaException::IsMessageShown(force, suppress, nonInteractive, spooler);
    }
};

namespace {

using Access = NorvaExceptionTestAccess;
using Ids = std::pair<unsigned, unsigned>;

template <class Exception = ExceptionIndexOutOfBounds>
Exception Make(const CXString& message = NV_TEXT("message"), int line = 7,
               const CXString& file = NV_TEXT("src/folder/file"), const ExecutionContextStack& stack = {}) {
    return Exception(message, file, line, NV_TEXT("Class::Function"), stack);
}

NorvaComException MakeComException(HRESULT hresult) {
    return {NV_TEXT("message"), NV_TEXT("src/folder/file"), 7, NV_TEXT("Class::Function"), {}, hresult};
}

ExecutionContextStack StackOfTwo() {
    ExecutionContextStack stack;
    for (const WChar* function : {NV_TEXT("Outer::Run"), NV_TEXT("Inner::Run")}) {
        stack.PushContext(ExecutionContextPtr(new ExecutionContextBase(
            ExecutionContextBase::ECIE_XML, NV_TEXT("f"), function, 5, false, CXString())));
    }
    return stack;
}

// The header of a stack's display names the thread, which no test knows.
std::string WithoutThread(const std::string& text) {
    return std::regex_replace(text, std::regex("Thread=0x[0-9a-f]{4,}"), "Thread=T");
}

std::string Describe(const std::exception& exception) {
    return WithoutThread(Narrow(NorvaException::GetExceptionDescription(exception)));
}

// What the library shows while an object of this kind lives.
class ShownMessages {
public:
    ShownMessages()
        : m_former(nvutil::SetUserMessageHandler(
              [](const nvutil::UserMessage& message) { s_shown.push_back(message); })) {
        s_shown.clear();
    }
    ~ShownMessages() { nvutil::SetUserMessageHandler(m_former); }
    ShownMessages(const ShownMessages&) = delete;
    ShownMessages& operator=(const ShownMessages&) = delete;

    static const std::vector<nvutil::UserMessage>& Get() { return s_shown; }

private:
    static inline std::vector<nvutil::UserMessage> s_shown;
    nvutil::UserMessageHandler m_former;
};

void Display(const std::exception* exception, bool suppress, const CXString& title, const CXString& message) {
    NorvaException::DisplayExceptionMessage(true, suppress, exception, NV_TEXT("file"), 1, NV_TEXT("F"), {},
                                            nullptr, title, message);
}

CXString Text(unsigned id) {
    CXString text;
    EXPECT_TRUE(text.LoadStringW(id)) << id;
    return text;
}

}  // namespace

TEST(ExceptionTypeCodes, AreUniqueWellFormedAndInOrder) {
    const std::regex wellFormed("0[0-7][0-9]:0[0-1][0-9]");
    std::set<std::string> classNames;
    std::string last;
    for (const ExceptionTypeCode& row : GetExceptionTypeCodes()) {
        EXPECT_TRUE(std::regex_match(row.code, wellFormed)) << row.code;
        EXPECT_LT(last, row.code);
        EXPECT_TRUE(classNames.insert(row.className).second) << row.className;
        last = row.code;
    }
    EXPECT_EQ(87u, classNames.size());
    EXPECT_EQ("074:000", last);
}

TEST(ExceptionTypeCodes, EachClassTellsItsOwnCodeNameAndFactory) {
    const auto listed = GetExceptionTypeCodes();
    const auto expectListed = [&](const NorvaException& exception, const std::string& className) {
        const auto row = std::find_if(listed.begin(), listed.end(), [&](const ExceptionTypeCode& each) {
            return each.className == className;
        });
        ASSERT_NE(listed.end(), row) << className;
        EXPECT_EQ(row->code, Narrow(exception.GetExceptionTypeByNumericCode()));
        EXPECT_EQ("class " + className, Narrow(exception.GetExceptionType()));
        EXPECT_EQ("message", Narrow(exception.GetExceptionMesage()));
    };
#define NV_EXPECT_LISTED(Class, Base, code) \
    expectListed(Get##Class(NV_TEXT("message"), NV_TEXT("file"), 7, NV_TEXT("F"), {}), #Class);
    NV_EXCEPTION_TABLE(NV_EXPECT_LISTED)
#undef NV_EXPECT_LISTED
    expectListed(MakeComException(-1), "NorvaComException");
}

// The rows that a slip of a line in the table would move.
TEST(ExceptionTypeCodes, AreTheDocumentedOnes) {
    const std::pair<CXString, const char*> cases[] = {
        {Make<ExceptionRegistryRequest>().GetExceptionTypeByNumericCode(), "001:000"},
        {Make<ExceptionNotEnoughBytesForDesiredDataType>().GetExceptionTypeByNumericCode(), "003:000"},
        {Make<ExceptionCommunicationsFailure>().GetExceptionTypeByNumericCode(), "024:000"},
        {Make<ExceptionWSD>().GetExceptionTypeByNumericCode(), "024:010"},
        {Make<ExceptionUnhandledSyntax>().GetExceptionTypeByNumericCode(), "026:000"},
        {Make<ExceptionInvalidAttributeOperationParamter>().GetExceptionTypeByNumericCode(), "029:000"},
        {Make<ExceptionDataEncrypterFailure>().GetExceptionTypeByNumericCode(), "054:000"},
        {Make<ExceptionCreateFileForReading>().GetExceptionTypeByNumericCode(), "065:001"},
        {Make<ExceptionWriteFile>().GetExceptionTypeByNumericCode(), "065:004"},
        {Make<ExceptionMaximumSpecialPageItemsExceeded>().GetExceptionTypeByNumericCode(), "070:000"},
        {MakeComException(0).GetExceptionTypeByNumericCode(), "071:000"},
        {Make<ExceptionOutOfMemory>().GetExceptionTypeByNumericCode(), "072:000"},
    };
    for (const auto& [code, expected] : cases)
        EXPECT_EQ(expected, Narrow(code));
}

TEST(Exceptions, AreCaughtByTheirFamilies) {
    EXPECT_THROW(throw Make<ExceptionSNMP>(), ExceptionCommunicationsFailure);
    EXPECT_THROW(throw Make<ExceptionReadFile>(), ExceptionFile);
    EXPECT_THROW(throw Make<ExceptionUSB>(), NorvaException);
    EXPECT_THROW(throw MakeComException(1), std::exception);
    EXPECT_TRUE(NorvaException::IsNorvaException(Make<ExceptionUSB>()));
    EXPECT_FALSE(NorvaException::IsNorvaException(std::runtime_error("x")));
}

TEST(Exceptions, IdentifierForUsersIsTheCodeAndTheLineInFourDigits) {
    EXPECT_EQ("002:000:0007", Narrow(Make().GetExceptionIdentifierForUserDisplay()));
    EXPECT_EQ("003:000:0610", Narrow(Make<ExceptionNotEnoughBytesForDesiredDataType>(NV_TEXT(""), 610)
                                         .GetExceptionIdentifierForUserDisplay()));
    EXPECT_EQ("002:000:12345",
              Narrow(NorvaException::GetExceptionIdentifierForUserDisplay(Make(NV_TEXT(""), 12345))));
    EXPECT_EQ("000:000:000", Narrow(NorvaException::GetExceptionIdentifierForUserDisplay(std::bad_alloc())));
}

TEST(ExceptionDescription, OfTheFamilyTellsPlaceContextsAndMessage) {
    EXPECT_EQ(
        "Object of class ExceptionIndexOutOfBounds thrown from:\r\n\r\n"
        "Path:\tsrc/folder/\r\n"
        "File:\tfile\r\n"
        "Method:\tClass::Function()\r\n"
        "Line:\t7\r\n"
        "Execution context (Thread=T) (2 levels deep):\r\n"
        "  ECIE_XML: Outer::Run line 5\r\n"
        "    ECIE_XML: Inner::Run line 5\r\n"
        "\r\nDetails:\r\n\tmessage\r\n",
        Describe(Make<>(NV_TEXT("message"), 7, NV_TEXT("src/folder/file"), StackOfTwo())));
}

TEST(ExceptionDescription, SplitsAnyPath) {
    const std::tuple<const WChar*, const char*> cases[] = {
        {NV_TEXT("file"), "Path:\t\r\nFile:\tfile\r\n"},
        {NV_TEXT("C:\\one\\two.cpp"), "Path:\tC:\\one\\\r\nFile:\ttwo.cpp\r\n"},
        {NV_TEXT("a\\b/c"), "Path:\ta\\b/\r\nFile:\tc\r\n"},
        {NV_TEXT("folder/"), "Path:\tfolder/\r\nFile:\t\r\n"},
        {NV_TEXT(""), "Path:\t\r\nFile:\t\r\n"},
    };
    for (const auto& [path, expected] : cases) {
        EXPECT_NE(std::string::npos, Describe(Make<>(NV_TEXT(""), 7, path)).find(expected)) << expected;
    }
}

TEST(ExceptionDescription, OfAComExceptionAddsTheStatusCode) {
    const std::string description = Describe(MakeComException(static_cast<HRESULT>(0x80004001)));
    EXPECT_NE(
        std::string::npos,
        description.find("\r\nDetails:\r\n\tmessage\r\n\n\tCOM Error HRESULT = 0x80004001 (Not implemented"));
    EXPECT_EQ(").\n\n", description.substr(description.size() - 4));
    EXPECT_EQ(
        "COM Error HRESULT = 0x8badf00d ().",
        Narrow(NorvaComException::GetAdditionalExceptionDescription(
            std::make_unique<NorvaComException>(MakeComException(static_cast<HRESULT>(0x8BADF00D))).get())));
    EXPECT_EQ("", Narrow(NorvaComException::GetAdditionalExceptionDescription(nullptr)));
}

TEST(ExceptionDescription, OfOtherExceptionsIsTheirTypeAndText) {
    struct NullText : std::exception {
        const char* what() const noexcept override { return nullptr; }
    };
    EXPECT_EQ("Object of class std::runtime_error\r\n\r\n\tno paper\r\n",
              Describe(std::runtime_error("no paper")));
    EXPECT_EQ("Object of class std::runtime_error\r\n\r\n\tNo additional information available.\r\n",
              Describe(std::runtime_error("")));
    EXPECT_NE(std::string::npos,
              Describe(NullText()).find("\r\n\r\n\tNo additional information available.\r\n"));
}

TEST(ExceptionWhat, IsTheDescriptionAndEarlierTextsStayValid) {
    const auto exception = Make();
    const char* first = exception.what();
    const std::string copy = first;
    const char* second = exception.what();
    EXPECT_NE(first, second);
    EXPECT_EQ(copy, first);
    EXPECT_EQ(copy, second);
    EXPECT_EQ(Narrow(NorvaException::GetExceptionDescription(exception)), copy);
}

TEST(ExceptionWhat, IsCutToTheBuffer) {
    const std::string complete =
        Narrow(NorvaException::GetExceptionDescription(Make(CXString(NV_TEXT('m'), 5000))));
    EXPECT_EQ(complete.substr(0, 2047), Make(CXString(NV_TEXT('m'), 5000)).what());

    // Whatever the code page, a character is not cut in two and as many as fit are there.
    const std::string wide = Make(CXString(static_cast<WChar>(0xE9), 5000)).what();
    EXPECT_GE(2047u, wide.size());
    EXPECT_LT(2043u, wide.size());
    EXPECT_GT(wide.size(), 2047u - 4);
    const CXString back(wide.c_str());
    EXPECT_EQ(0xE9, back.GetAt(back.GetLength() - 1));
}

TEST(Exceptions, CopiesKeepTheFieldsButNotTheBufferOfWhat) {
    auto original = std::make_unique<ExceptionReadFile>(
        Make<ExceptionReadFile>(NV_TEXT("message"), 9, NV_TEXT("a/b"), StackOfTwo()));
    const std::string text = original->what();
    const ExceptionReadFile copy = *original;
    original.reset();

    EXPECT_EQ("065:003:0009", Narrow(copy.GetExceptionIdentifierForUserDisplay()));
    EXPECT_EQ("Class::Function", Narrow(copy.GetExceptionLocationFunctionName()));
    EXPECT_EQ("a/b", Narrow(copy.GetExceptionLocationFileName()));
    EXPECT_EQ(2u, copy.GetExecutionContextStack().GetDepth());
    EXPECT_EQ(text, copy.what());
}

TEST(ExceptionDisplay, ChoosesTheCustomerTexts) {
    const std::runtime_error other("x");
    EXPECT_EQ(Ids(35004, 35005), Access::CustomerMessageIds(nullptr));
    EXPECT_EQ(Ids(35004, 35006), Access::CustomerMessageIds(&other));
    const auto library = Make();
    EXPECT_EQ(Ids(35004, 35005), Access::CustomerMessageIds(&library));
    const auto opening = Make<ExceptionCreateFileForReading>();
    EXPECT_EQ(Ids(35008, 35009), Access::CustomerMessageIds(&opening));
    const auto reading = Make<ExceptionReadFile>();
    EXPECT_EQ(Ids(35008, 35009), Access::CustomerMessageIds(&reading));
    const auto writing = Make<ExceptionWriteFile>();
    EXPECT_EQ(Ids(35004, 35005), Access::CustomerMessageIds(&writing));
    const NpifParseException parsing(CXString(), CXString(), 7, CXString(), {}, 2);
    EXPECT_EQ(Ids(35010, 35011), Access::CustomerMessageIds(&parsing));
}

TEST(ExceptionDisplay, IsShownToPeopleOnly) {
    for (const bool nonInteractive : {false, true}) {
        for (const bool spooler : {false, true}) {
            EXPECT_EQ(!nonInteractive && !spooler,
                      Access::IsMessageShown(false, false, nonInteractive, spooler));
            EXPECT_TRUE(Access::IsMessageShown(true, false, nonInteractive, spooler));
            EXPECT_FALSE(Access::IsMessageShown(false, true, nonInteractive, spooler));
            EXPECT_FALSE(Access::IsMessageShown(true, true, nonInteractive, spooler));
        }
    }
}

TEST(ExceptionDisplay, ShowsTitleMessageAndAdvice) {
    const ShownMessages shown;
    const auto exception = Make<ExceptionReadFile>();
    Display(&exception, false, NV_TEXT("Title"), NV_TEXT("Own message"));
    Display(&exception, false, CXString(), CXString());
    Display(&exception, true, NV_TEXT("Title"), CXString());
    NorvaException::DisplayExceptionMessage(true, false, nullptr, NV_TEXT("file"), 1, NV_TEXT("F"), {},
                                            nullptr, 35003u, CXString());

    ASSERT_EQ(3u, shown.Get().size());
    EXPECT_EQ("Title", Narrow(shown.Get()[0].title));
    EXPECT_EQ(Narrow(NV_TEXT("Own message\r\n\r\n") + Text(35009)), Narrow(shown.Get()[0].text));
    EXPECT_EQ(&exception, shown.Get()[0].exception);
    EXPECT_EQ(Narrow(shown.Get()[0].text + NV_TEXT("\r\n\r\nError number: ") +
                     exception.GetExceptionIdentifierForUserDisplay()),
              Narrow(nvutil::GetTextWithIdentifier(shown.Get()[0])));
    EXPECT_EQ(Narrow(shown.Get()[2].text), Narrow(nvutil::GetTextWithIdentifier(shown.Get()[2])));
    EXPECT_EQ(Narrow(Text(35003)), Narrow(shown.Get()[1].title));
    EXPECT_EQ(Narrow(Text(35008) + NV_TEXT("\r\n\r\n") + Text(35009)), Narrow(shown.Get()[1].text));
    EXPECT_EQ(Narrow(Text(35003)), Narrow(shown.Get()[2].title));
    EXPECT_EQ(Narrow(Text(35004) + NV_TEXT("\r\n\r\n") + Text(35005)), Narrow(shown.Get()[2].text));
}

TEST(ExceptionDisplay, AlwaysShowsThatMemoryIsShort) {
    const ShownMessages shown;
    const std::bad_alloc outOfMemory;
    Display(&outOfMemory, true, NV_TEXT("Title"), NV_TEXT("Own message"));
    ASSERT_EQ(1u, shown.Get().size());
    EXPECT_EQ(Narrow(Text(35003)), Narrow(shown.Get()[0].title));
    EXPECT_EQ(Narrow(Text(35007)), Narrow(shown.Get()[0].text));
}

TEST(ExceptionHooks, NeverStop) {
    EXPECT_FALSE(NorvaException::AllowForExceptionDebug(NV_TEXT("T"), NV_TEXT("*Throwing* T: "), NV_TEXT("f"),
                                                        1, NV_TEXT("F"), {}, 0xFFFFFFFF));
    EXPECT_FALSE(
        NorvaException::ProcessFailedAssertion(NV_TEXT("a"), NV_TEXT("f"), 1, NV_TEXT("F"), {}, 0xFFFFFFFF));
}
