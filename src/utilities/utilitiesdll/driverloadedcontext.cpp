// DriverLoadedContext: in which host process the library runs.
#include "utilities/utilitiesdll/driverloadedcontext.h"

#include "platform/fork.h"
#include "platform/process.h"

namespace {

struct HostModule {
    const WChar* name;
    DriverLoadedContext::ContextType contextType;
};

constexpr HostModule hostModules[] = {
    {NV_TEXT("spoolsv.exe"), DriverLoadedContext::CONTEXT_SPOOLER},
    {NV_TEXT("PrintIsolationHost.exe"), DriverLoadedContext::CONTEXT_SPOOLER},
    {NV_TEXT("splwow64.exe"), DriverLoadedContext::CONTEXT_SPLWOW64},
    {NV_TEXT("printfilterpipelinesvc.exe"), DriverLoadedContext::CONTEXT_FILTERPIPELINE},
};

DriverLoadedContext::ContextType ContextTypeOfModule(const CXString& moduleName) {
    if (moduleName.IsEmpty()) return DriverLoadedContext::CONTEXT_UNKNOWN;
    for (const HostModule& host : hostModules) {
        if (moduleName.CompareNoCase(host.name) == 0) return host.contextType;
    }
    return DriverLoadedContext::CONTEXT_APPLICATION;
}

}  // namespace

const DriverLoadedContext& DriverLoadedContext::GetCurrent() {
    static const DriverLoadedContext current{CXString(platform::HostModuleName().c_str())};
    return current;
}

[[maybe_unused]] static const bool isMadeBeforeForks =
    platform::MakeBeforeForks([] { DriverLoadedContext::GetCurrent(); });

DriverLoadedContext::DriverLoadedContext(const CXString& moduleName)
    : m_contextType(ContextTypeOfModule(moduleName)) {}

CXString DriverLoadedContext::GetContextNameForDebugSpew() const {
    switch (m_contextType) {
        case CONTEXT_APPLICATION:
            return NV_TEXT("APPLICATION");
        case CONTEXT_SPOOLER:
            return NV_TEXT("SPOOLER");
        case CONTEXT_SPLWOW64:
            return NV_TEXT("SPLWOW64");
        case CONTEXT_FILTERPIPELINE:
            return NV_TEXT("FILTERPIPELINE");
        case CONTEXT_UNKNOWN:
            break;
    }
    return NV_TEXT("UNKNOWN");
}
