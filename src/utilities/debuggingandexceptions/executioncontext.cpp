// Execution contexts: their texts and the stack that keeps them.
#include "utilities/debuggingandexceptions/executioncontext.h"

#include <iterator>
#include <tuple>

#include "platform/debugger.h"
#include "platform/process.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/norvaexception.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

// In the order of ContextIdType.
constexpr const WChar* kindNames[] = {
    NV_TEXT("ECIE_UNSPECIFIED"),    NV_TEXT("ECIE_FUNCTION"),       NV_TEXT("ECIE_LIBRARYENTRY"),
    NV_TEXT("ECIE_ATTRIBUTEBYTES"), NV_TEXT("ECIE_COMPRESSION"),    NV_TEXT("ECIE_XML"),
    NV_TEXT("ECIE_PRODUCTDATA"),    NV_TEXT("ECIE_DEVICESETTINGS"),
};
static_assert(std::size(kindNames) == ExecutionContextBase::ECIE_DEVICESETTINGS + 1);

bool IsContextKind(std::int32_t contextKind) {
    return contextKind >= 0 && contextKind < static_cast<std::int32_t>(std::size(kindNames));
}

CXString DisplayString(const ExecutionContextPtr& context, bool withDetails) {
    return context.Get() != nullptr ? context->GetContextDebugDisplayString(withDetails)
                                    : CXString(NV_TEXT("<No Context>"));
}

}  // namespace

ExecutionContextBase::ExecutionContextBase(std::int32_t contextKind, const CXString& sourceFile,
                                           const CXString& functionName, std::int32_t line, bool showsDetails,
                                           const CXString& details)
    : m_contextKind(AssertValidContextIdType(contextKind)),
      m_sourceFile(sourceFile),
      m_functionName(functionName),
      m_line(line),
      m_showsDetails(showsDetails),
      m_details(details) {}

ExecutionContextBase::~ExecutionContextBase() = default;
ExecutionContextBase::ExecutionContextBase(const ExecutionContextBase& other) = default;
ExecutionContextBase& ExecutionContextBase::operator=(const ExecutionContextBase& other) = default;

bool ExecutionContextBase::operator==(const ExecutionContextBase& other) const {
    return m_contextKind == other.m_contextKind && m_sourceFile == other.m_sourceFile &&
           m_functionName == other.m_functionName && m_line == other.m_line &&
           m_showsDetails == other.m_showsDetails && m_details == other.m_details;
}

bool ExecutionContextBase::operator<(const ExecutionContextBase& other) const {
    const int sourceFile = m_sourceFile.Compare(other.m_sourceFile);
    const int functionName = m_functionName.Compare(other.m_functionName);
    const int details = m_details.Compare(other.m_details);
    const int equal = 0;
    return std::tie(m_contextKind, sourceFile, functionName, m_line, m_showsDetails, details) <
           std::tie(other.m_contextKind, equal, equal, other.m_line, other.m_showsDetails, equal);
}

CXString ExecutionContextBase::GetContextDebugDisplayString(bool withDetails) const {
    const CXString text = FormatText(NV_TEXT("%s: %s"), GetDebugDisplayString(m_contextKind, false),
                                     GetSingleLineLocationString());
    const bool showsDetails = (withDetails || m_showsDetails) && !m_details.IsEmpty();
    return showsDetails ? FormatText(NV_TEXT("%s (%s)"), text, m_details) : text;
}

CXString ExecutionContextBase::GetSingleLineLocationString() const {
    const LONG line = m_line;
    if (m_functionName.Find(NV_TEXT("::")) >= 0)
        return FormatText(NV_TEXT("%s line %ld"), m_functionName, line);
    return FormatText(NV_TEXT("%s, %s line %ld"), m_sourceFile, m_functionName, line);
}

CXString ExecutionContextBase::GetDebugDisplayString(std::int32_t contextKind, bool withNumber) {
    const CXString name = IsContextKind(contextKind) ? kindNames[contextKind] : NV_TEXT("UNKNOWN!");
    return withNumber ? FormatText(NV_TEXT("%s (%ld)"), name, static_cast<LONG>(contextKind)) : name;
}

std::int32_t ExecutionContextBase::AssertValidContextIdType(std::int32_t contextKind) {
    if (IsContextKind(contextKind)) return contextKind;

    if (NorvaException::ProcessFailedAssertion(
            NV_TEXT("IsContextKind(contextKind)"),
            NV_TEXT("src/utilities/debuggingandexceptions/executioncontext"), __LINE__,
            NV_TEXT("ExecutionContextBase::AssertValidContextIdType"),
            UtilitiesDllPerThreadStorage::CopyExecutionContextStack(), 0)) {
        platform::BreakIntoDebugger();
    }
    return ECIE_UNSPECIFIED;
}

ExecutionContextStack::ExecutionContextStack() = default;
ExecutionContextStack::ExecutionContextStack(const ExecutionContextStack& other) = default;
ExecutionContextStack& ExecutionContextStack::operator=(const ExecutionContextStack& other) = default;
// The innermost first, and never a stack in between states: what ends may look at the stack.
ExecutionContextStack::~ExecutionContextStack() {
    while (!m_contexts.empty())
        m_contexts.pop_back();
}

void ExecutionContextStack::PushContext(const ExecutionContextPtr& context) {
    m_contexts.push_back(context);
}

void ExecutionContextStack::PopContext(const ExecutionContextPtr& /*context*/) {
    if (!m_contexts.empty()) m_contexts.pop_back();
}

CXString ExecutionContextStack::GetMultiLineDisplayString(bool withDetails) const {
    CXString text = FormatText(NV_TEXT("Execution context (Thread=0x%04lx) (%ld levels deep):\r\n"),
                               platform::CurrentThreadId(), static_cast<LONG>(m_contexts.size()));
    CXString indentation(NV_TEXT("  "));
    for (const ExecutionContextPtr& context : m_contexts) {
        text += indentation;
        text += DisplayString(context, withDetails);
        text += NV_TEXT("\r\n");
        indentation += NV_TEXT("  ");
    }
    return text;
}

CXString ExecutionContextStack::GetMostRecentContextDisplayString(bool withDetails) const {
    return DisplayString(m_contexts.empty() ? ExecutionContextPtr() : m_contexts.back(), withDetails);
}

ExecutionContextLifetime::ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> context)
    : ExecutionContextLifetime(std::move(context), UtilitiesDllPerThreadStorage::GetExecutionContextStack()) {
}

ExecutionContextLifetime::ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> context,
                                                   ExecutionContextStack& stack)
    : m_stack(stack), m_context(context.release(), true) {  // which deletes it when it cannot keep it
    m_stack.PushContext(m_context);
}

ExecutionContextLifetime::~ExecutionContextLifetime() {
    m_stack.PopContext(m_context);
}
