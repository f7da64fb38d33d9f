// NorvaException: its fields and the texts that describe it to developers.
#include "utilities/debuggingandexceptions/norvaexception.h"

#include <algorithm>
#include <new>
#include <vector>

#include "platform/typename.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

constexpr int whatCapacity = 2048;

CXString TypeName(const std::exception& exception) {
    return CXString(platform::TypeName(typeid(exception)).c_str());
}

// Position behind the last separator: what is in front is the directory part, which keeps its separator, so
// that both parts together are the path again.
int FileNamePosition(const CXString& path) {
    return std::max(path.ReverseFind(NV_TEXT('/')), path.ReverseFind(NV_TEXT('\\'))) + 1;
}

// The text in the ANSI code page, terminator included, cut between characters to the capacity of what().
std::vector<char> NarrowForWhat(const CXString& text) {
    constexpr int mostBytesPerCodeUnit = 4;
    constexpr int mostCodeUnitsPerByte = 2;  // a surrogate pair that becomes "?"
    int length = std::min(text.GetLength(), whatCapacity * mostCodeUnitsPerByte);
    std::vector<char> narrow = text.Left(length).GetAsMultiByte();
    while (narrow.size() > whatCapacity) {
        const int excess = static_cast<int>(narrow.size()) - whatCapacity;
        length -= (excess + mostBytesPerCodeUnit - 1) / mostBytesPerCodeUnit;
        const bool splitsSurrogatePair = (text[length - 1] & 0xFC00) == 0xD800;
        if (splitsSurrogatePair) --length;
        narrow = text.Left(length).GetAsMultiByte();
    }
    return narrow;
}

}  // namespace

NorvaException::NorvaException(const CXString& message, const CXString& sourceFile, int line,
                               const CXString& functionName, const ExecutionContextStack& stack)
    : m_sourceFile(sourceFile),
      m_line(line),
      m_functionName(functionName),
      m_message(message),
      m_stack(stack) {}

// The buffer of what() belongs to one exception and is not copied.
NorvaException::NorvaException(const NorvaException& other)
    : std::exception(other),
      m_sourceFile(other.m_sourceFile),
      m_line(other.m_line),
      m_functionName(other.m_functionName),
      m_message(other.m_message),
      m_stack(other.m_stack) {}

NorvaException& NorvaException::operator=(const NorvaException& other) {
    m_sourceFile = other.m_sourceFile;
    m_line = other.m_line;
    m_functionName = other.m_functionName;
    m_message = other.m_message;
    m_stack = other.m_stack;
    return *this;
}

NorvaException::~NorvaException() {
    delete[] m_what;
}

const char* NorvaException::what() const noexcept {
    try {
        const std::vector<char> narrow = NarrowForWhat(GetExceptionDescription(*this));
        char* text = new char[whatCapacity]();
        std::copy(narrow.begin(), narrow.end(), text);
        // The buffer of an earlier call is deliberately not released: its text may still be in use.
        m_what = text;
        return m_what;
    } catch (...) {
        return "";
    }
}

void NorvaException::Dump() const {}

CXString NorvaException::GetExceptionType() const {
    return TypeName(*this);
}

CXString NorvaException::GetExceptionIdentifierForUserDisplay() const {
    return FormatText(NV_TEXT("%s:%04u"), GetExceptionTypeByNumericCode(), static_cast<unsigned>(m_line));
}

CXString NorvaException::GetExceptionIdentifierForUserDisplay(const std::exception& exception) {
    const auto* norvaException = dynamic_cast<const NorvaException*>(&exception);
    return norvaException != nullptr ? norvaException->GetExceptionIdentifierForUserDisplay()
                                     : CXString(NV_TEXT("000:000:000"));
}

bool NorvaException::IsNorvaException(const std::exception& exception) {
    return dynamic_cast<const NorvaException*>(&exception) != nullptr;
}

CXString NorvaException::GetExceptionDescription(const std::exception& exception) {
    CXString description;
    try {
        AppendDescription(description, exception);
    } catch (...) {  // NOLINT(bugprone-empty-catch): what has been built so far is the description
    }
    return description;
}

void NorvaException::AppendDescription(CXString& description, const std::exception& exception) {
    description = NV_TEXT("Object of std::exception");
    description = NV_TEXT("Object of ") + TypeName(exception);

    if (const auto* norvaException = dynamic_cast<const NorvaException*>(&exception)) {
        description += NV_TEXT(" thrown from:\r\n\r\n");
        norvaException->GetLocationAndMessageDescription(description);
        if (const auto* comException = dynamic_cast<const NorvaComException*>(norvaException)) {
            description += NV_TEXT("\n\t");
            description += NorvaComException::GetAdditionalExceptionDescription(comException);
            description += NV_TEXT("\n\n");
        }
        return;
    }

    const CXString what(exception.what());
    if (what.IsEmpty()) {
        description += NV_TEXT("\r\n\r\n\tNo additional information available.\r\n");
    } else {
        description += FormatText(NV_TEXT("\r\n\r\n\t%s\r\n"), what);
    }
}

void NorvaException::GetLocationAndMessageDescription(CXString& description) const {
    const int fileName = FileNamePosition(m_sourceFile);
    description += FormatText(NV_TEXT("Path:\t%s\r\n"), m_sourceFile.Left(fileName));
    description += FormatText(NV_TEXT("File:\t%s\r\n"), m_sourceFile.Mid(fileName));
    description += FormatText(NV_TEXT("Method:\t%s()\r\n"), m_functionName);
    description += FormatText(NV_TEXT("Line:\t%u\r\n"), static_cast<unsigned>(m_line));
    description += m_stack.GetMultiLineDisplayString(true);
    description += NV_TEXT("\r\nDetails:\r\n\t");
    description += m_message;
    description += NV_TEXT("\r\n");
}

bool NorvaException::AllowForExceptionDebug(const CXString& /*typeName*/, const CXString& /*throwingText*/,
                                            const CXString& /*sourceFile*/, int /*line*/,
                                            const CXString& /*functionName*/,
                                            const ExecutionContextStack& /*stack*/, unsigned /*categories*/) {
    return false;
}

bool NorvaException::ProcessFailedAssertion(const CXString& /*assertion*/, const CXString& /*sourceFile*/,
                                            int /*line*/, const CXString& /*functionName*/,
                                            const ExecutionContextStack& /*stack*/, unsigned /*categories*/) {
    return false;
}
