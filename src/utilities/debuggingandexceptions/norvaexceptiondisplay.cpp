// NorvaException's messages to users, which need texts and the host process from higher floors.
#include <new>

#include "platform/process.h"
#include "utilities/base/textresources.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/debuggingandexceptions/usermessage.h"
#include "utilities/utilitiesdll/driverloadedcontext.h"
#include "utilities/xmlparser/npifparseexception.h"

namespace {

CXString LoadText(unsigned id) {
    CXString text;
    text.LoadStringW(id);
    return text;
}

bool IsReadFailure(const std::exception& exception) {
    return dynamic_cast<const ExceptionCreateFileForReading*>(&exception) != nullptr ||
           dynamic_cast<const ExceptionReadFile*>(&exception) != nullptr;
}

}  // namespace

void NorvaException::DisplayExceptionMessage(bool force, bool suppress, const std::exception* exception,
                                             const CXString& sourceFile, int line,
                                             const CXString& functionName, const ExecutionContextStack& stack,
                                             HWND owner, unsigned titleId, const CXString& message) {
    DisplayExceptionMessage(force, suppress, exception, sourceFile, line, functionName, stack, owner,
                            LoadText(titleId), message);
}

void NorvaException::DisplayExceptionMessage(bool force, bool suppress, const std::exception* exception,
                                             const CXString& /*sourceFile*/, int /*line*/,
                                             const CXString& /*functionName*/,
                                             const ExecutionContextStack& /*stack*/, HWND owner,
                                             const CXString& title, const CXString& message) {
    if (dynamic_cast<const std::bad_alloc*>(exception) != nullptr) {
        nvutil::ShowUserMessage(
            {owner, LoadText(textresources::failureTitle), LoadText(textresources::outOfMemory), nullptr});
        return;
    }

    unsigned first = 0;
    unsigned second = 0;
    GetCustomerMessageIDsForException(exception, first, second);
    CXString text = message.IsEmpty() ? LoadText(first) : message;
    text += NV_TEXT("\r\n\r\n");
    text += LoadText(second);
    if (IsMessageShown(force, suppress, platform::IsPossiblyNonInteractive(),
                       DriverLoadedContext::GetCurrent().IsSpoolerOrFilterPipelineExeContext())) {
        nvutil::ShowUserMessage({owner, GetCustomerTitleString(owner, title), text, exception});
    }
}

bool NorvaException::IsMessageShown(bool force, bool suppress, bool isPossiblyNonInteractive,
                                    bool isSpoolerOrFilterPipeline) {
    return !suppress && (force || (!isPossiblyNonInteractive && !isSpoolerOrFilterPipeline));
}

CXString NorvaException::GetCustomerTitleString(HWND owner, const CXString& title) {
    if (!title.IsEmpty()) return title;

    CXString windowText;
    if (owner != nullptr) windowText.GetWindowTextW(owner);
    return windowText.IsEmpty() ? LoadText(textresources::failureTitle) : windowText;
}

void NorvaException::GetCustomerMessageIDsForException(const std::exception* exception, unsigned& first,
                                                       unsigned& second) {
    first = textresources::operationFailed;
    second = textresources::libraryFailureAdvice;
    if (exception == nullptr) return;

    if (!IsNorvaException(*exception)) {
        second = textresources::otherFailureAdvice;
    } else if (dynamic_cast<const NpifParseException*>(exception) != nullptr) {
        first = textresources::documentNotReadable;
        second = textresources::documentAdvice;
    } else if (IsReadFailure(*exception)) {
        first = textresources::fileNotReadable;
        second = textresources::fileAdvice;
    }
}
