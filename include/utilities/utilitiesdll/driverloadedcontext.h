// DriverLoadedContext: in which host process the library runs.
#pragma once

#include <cstdint>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// The kind of the process that loaded the driver.
class NVUTIL_API DriverLoadedContext {
public:
    enum ContextType : std::int32_t {
        CONTEXT_UNKNOWN = 0,         ///< The host's module name is not known.
        CONTEXT_APPLICATION = 1,     ///< Any program that has no line of its own here.
        CONTEXT_SPOOLER = 2,         ///< "spoolsv.exe" or "PrintIsolationHost.exe"
        CONTEXT_SPLWOW64 = 3,        ///< "splwow64.exe"
        CONTEXT_FILTERPIPELINE = 4,  ///< "printfilterpipelinesvc.exe"
    };

    /// The running process, worked out on the first call.
    static const DriverLoadedContext& GetCurrent();

    /// The context that a host module stands for.
    /// @param moduleName  file name without its folder, in any case
    explicit DriverLoadedContext(const CXString& moduleName);

    ContextType GetContextType() const { return m_contextType; }
    /// "APPLICATION", "SPOOLER", "SPLWOW64", "FILTERPIPELINE" or "UNKNOWN".
    CXString GetContextNameForDebugSpew() const;

    bool IsSpoolerContext() const { return m_contextType == CONTEXT_SPOOLER; }
    bool IsFilterPipelineExeContext() const { return m_contextType == CONTEXT_FILTERPIPELINE; }
    bool IsSpoolerOrFilterPipelineExeContext() const {
        return IsSpoolerContext() || IsFilterPipelineExeContext();
    }
    bool IsSplWow64() const { return m_contextType == CONTEXT_SPLWOW64; }
    bool IsApplicationOrSplWow64Context() const {
        return m_contextType == CONTEXT_APPLICATION || IsSplWow64();
    }
    bool IsUnknownContext() const { return m_contextType == CONTEXT_UNKNOWN; }

private:
    ContextType m_contextType;
};
