// DriverLoadedContext: the kind of process for each host module.
#include "utilities/utilitiesdll/driverloadedcontext.h"

#include <gtest/gtest.h>

#include "support/narrow.h"

TEST(DriverLoadedContext, IsWorkedOutFromTheHostModule) {
    struct Case {
        const WChar* moduleName;
        int contextType;
        const char* name;
        bool isSpooler, isFilterPipeline, isSplWow64, isUnknown;
    };
    const Case cases[] = {
        {NV_TEXT("winword.exe"), 1, "APPLICATION", false, false, false, false},
        {NV_TEXT("spoolsv.exe.exe"), 1, "APPLICATION", false, false, false, false},
        {NV_TEXT("spoolsv.exe"), 2, "SPOOLER", true, false, false, false},
        {NV_TEXT("SPOOLSV.EXE"), 2, "SPOOLER", true, false, false, false},
        {NV_TEXT("printisolationhost.exe"), 2, "SPOOLER", true, false, false, false},
        {NV_TEXT("SplWow64.exe"), 3, "SPLWOW64", false, false, true, false},
        {NV_TEXT("PrintFilterPipelineSvc.exe"), 4, "FILTERPIPELINE", false, true, false, false},
        {NV_TEXT(""), 0, "UNKNOWN", false, false, false, true},
    };
    for (const Case& each : cases) {
        const DriverLoadedContext context{CXString(each.moduleName)};
        SCOPED_TRACE(Narrow(each.moduleName));
        EXPECT_EQ(each.contextType, context.GetContextType());
        EXPECT_EQ(each.name, Narrow(context.GetContextNameForDebugSpew()));
        EXPECT_EQ(each.isSpooler, context.IsSpoolerContext());
        EXPECT_EQ(each.isFilterPipeline, context.IsFilterPipelineExeContext());
        EXPECT_EQ(each.isSpooler || each.isFilterPipeline, context.IsSpoolerOrFilterPipelineExeContext());
        EXPECT_EQ(each.isSplWow64, context.IsSplWow64());
        EXPECT_EQ(each.contextType == 1 || each.contextType == 3, context.IsApplicationOrSplWow64Context());
        EXPECT_EQ(each.isUnknown, context.IsUnknownContext());
    }
}

TEST(DriverLoadedContext, OfATestProgramIsAnApplication) {
    EXPECT_EQ(DriverLoadedContext::CONTEXT_APPLICATION, DriverLoadedContext::GetCurrent().GetContextType());
}
