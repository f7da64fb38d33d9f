// The sites that failures of the XML layer are thrown from.
#include "utilities/xmlparser/xmlfailure.h"

#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/xmlparser/npifparseexception.h"

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
