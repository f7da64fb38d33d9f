// The throw protocol's part that is the same for every class.
#include "utilities/debuggingandexceptions/throwprotocol.h"

#include <cstdarg>
#include <new>

#include "platform/debugger.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace throwprotocol {

namespace {

constexpr const WChar* formattingFaulted = NV_TEXT(
    "A message argument was supplied, but the resulting string is empty. The format string and ")
    NV_TEXT("variable argument list for this message causes a crash. Perhaps there's an argument mismatch ")
        NV_TEXT(
            "or one of the arguments is a NULL pointer. Look at the message arguments at the file and line ")
            NV_TEXT("number indicated above.");

constexpr const WChar* evaluationFaulted = NV_TEXT(
    "A message argument was supplied, but the resulting string is empty. The argument list for this ")
    NV_TEXT("message causes a crash. Some code that executes to marshal the arguments to pass to the format ")
        NV_TEXT(
            "string method causes a crash (e.g., a NULL pointer indirection). Look at the message arguments ")
            NV_TEXT("at the file and line number indicated above.");

// No site asks for a debug category of its own.
constexpr unsigned debugCategories = 0;

// A string that cannot get its memory throws by this same protocol, which needs strings. The second level
// ends that with the standard's own exception instead of recursing without end.
class NestedThrowGuard {
public:
    NestedThrowGuard() {
        if (isPreparing) throw std::bad_alloc();
        isPreparing = true;
    }
    ~NestedThrowGuard() { isPreparing = false; }
    NestedThrowGuard(const NestedThrowGuard&) = delete;
    NestedThrowGuard& operator=(const NestedThrowGuard&) = delete;

private:
    static thread_local bool isPreparing;
};

thread_local bool NestedThrowGuard::isPreparing = false;

CXString Settle(const Message* message) {
    if (message == nullptr) return evaluationFaulted;
    if (message->hasArguments && message->text.IsEmpty()) return formattingFaulted;
    return message->text;
}

}  // namespace

CXString SafeFormat(const WChar* format, ...) {
    CXString text;
    va_list arguments;
    va_start(arguments, format);
    try {
        text.FormatV(format, arguments);
    } catch (...) {
        text.Empty();
    }
    va_end(arguments);
    return text;
}

Prepared Prepare(const char* className, const Site& site, const Message* message) {
    const NestedThrowGuard guard;
    Prepared prepared{Settle(message),
                      CXString(site.sourceFile.data(), static_cast<int>(site.sourceFile.size())),
                      CXString(site.function), UtilitiesDllPerThreadStorage::CopyExecutionContextStack()};

    const CXString typeName(className);
    const CXString throwingText = NV_TEXT("*Throwing* ") + typeName + NV_TEXT(": ") + prepared.message;
    if (NorvaException::AllowForExceptionDebug(typeName, throwingText, prepared.sourceFile, site.line,
                                               prepared.function, prepared.stack, debugCategories)) {
        platform::BreakIntoDebugger();
    }
    return prepared;
}

}  // namespace throwprotocol
