// The sites that failures of the XML layer are thrown from, and the texts of what engines report.
#include "utilities/xmlparser/xmlfailure.h"

#include "platform/errortext.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/xmlparser/npifparseexception.h"
#include "utilities/xmlparser/xmlparseerror.h"

namespace xmlfailure {

namespace {

// Users know these sites by file, function and line, so they stay as they are wherever the code goes.
constexpr auto file = "src/utilities/xmlparser/microsoftxmlparser.cpp";
constexpr auto reading = "MicrosoftXmlParser::parse";
constexpr auto writing = "MicrosoftXmlParser::convertToXmlStream";

[[noreturn]] void ThrowOutOfMemory(const char* function, int line) {
    throwprotocol::Throw(&GetExceptionOutOfMemory, "ExceptionOutOfMemory",
                         {throwprotocol::SourceFile(file), line, function},
                         [] { return throwprotocol::FormatMessageOfSite(); });
}

}  // namespace

void ThrowRefused() {
    ThrowNpifParseException(NpifParseException::ErrorReportedDuringParse, reading, file, 165);
}

void ThrowNotWritten() {
    ThrowNpifParseException(NpifParseException::XmlExceptionRaisedDuringXmlGeneration, writing, file, 198);
}

void ThrowOutOfMemoryWhileReading() {
    ThrowOutOfMemory(reading, 39);
}

void ThrowOutOfMemoryWhileWriting() {
    ThrowOutOfMemory(writing, 201);
}

}  // namespace xmlfailure

CXString ComErrorMessage(HRESULT result) {
    const platform::Text text = platform::ErrorText(result);
    return text.empty() ? FormatText(NV_TEXT("Unknown error 0x%0lX"), result) : CXString(text.c_str());
}

CXString FormatComError(const _com_error& error) {
    // The platform's class gives texts of a type of its own, and null for one that is absent. Its message is
    // not asked for: the width of that depends on how the caller was compiled.
    const auto& source = error.Source();
    const auto& description = error.Description();
    return FormatText(NV_TEXT("_com_error - Code=0x%lx. Message='%s'. Source='%s'. Description='%s'"),
                      error.Error(), ComErrorMessage(error.Error()),
                      CXString(static_cast<const WChar*>(source)),
                      CXString(static_cast<const WChar*>(description)));
}

CXString nvutil::FormatParseError(const nvutil::XmlParseError& error) {
    if (error.errorCode == 0) return NV_TEXT("No MSXML Parse Error reported (error code = 0)");
    return FormatText(
        NV_TEXT("MSXML Parse Error in '%s' on line %ld and column %ld (%ld from start of file)\r\n\t%s\r\n")
            NV_TEXT("Error Code %ld/0x%lx: Reason=%s"),
        error.url, error.line, error.linePosition, error.filePosition, error.sourceText, error.errorCode,
        error.errorCode, error.reason);
}
