// Category resolution: function category, class categories, then the module;
// never creating a category.
#include <string>
#include <gtest/gtest.h>
#include <log4cpp/Category.hh>
#include "BackendLog.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/CategoryResolver.h"

using logtest::BackendLog;
using logtest::ThreadPrefix;

TEST(CategoryResolution, EmptyClassTriesModuleDotFunctionThenModule)
{
    BackendLog log("log4cpp.category.OrvprintD_exe.Resolve::Own=DEBUG\n");
    log4cpp::Category* pOwn = ResolveCategory("OrvprintD_exe", "", "Resolve::Own");
    ASSERT_NE(nullptr, pOwn);
    EXPECT_EQ("OrvprintD_exe.Resolve::Own", pOwn->getName());
    log4cpp::Category* pModule = ResolveCategory("OrvprintD_exe", "", "Resolve::Other");
    ASSERT_NE(nullptr, pModule);
    EXPECT_EQ("OrvprintD_exe", pModule->getName());
}

TEST(CategoryResolution, ClassTriesFunctionThenClassThenModule)
{
    BackendLog log("log4cpp.category.OrvprintD_exe.ResolveCls=DEBUG\n"
                   "log4cpp.category.OrvprintD_exe.ResolveCls.Fn=DEBUG\n");
    log4cpp::Category* p = ResolveCategory("OrvprintD_exe", "ResolveCls", "Fn");
    ASSERT_NE(nullptr, p);
    EXPECT_EQ("OrvprintD_exe.ResolveCls.Fn", p->getName());
    p = ResolveCategory("OrvprintD_exe", "ResolveCls", "OtherFn");
    ASSERT_NE(nullptr, p);
    EXPECT_EQ("OrvprintD_exe.ResolveCls", p->getName());
    p = ResolveCategory("OrvprintD_exe", "ResolveOtherCls", "Fn");
    ASSERT_NE(nullptr, p);
    EXPECT_EQ("OrvprintD_exe", p->getName());
}

TEST(CategoryResolution, NoneExistsAndNoneIsCreated)
{
    BackendLog log;
    EXPECT_EQ(nullptr, ResolveCategory("ResolveNoModule", "", "f"));
    EXPECT_EQ(nullptr, ResolveCategory("ResolveNoModule", "C", "f"));
    EXPECT_EQ(nullptr, log4cpp::Category::exists("ResolveNoModule"));
    EXPECT_EQ(nullptr, log4cpp::Category::exists("ResolveNoModule.f"));
    EXPECT_EQ(nullptr, log4cpp::Category::exists("ResolveNoModule.C"));
    EXPECT_EQ(nullptr, log4cpp::Category::exists("ResolveNoModule.C.f"));
}

TEST(CategoryResolution, FunctionCategoryCatchesTheRecordsOfThatFunction)
{
    BackendLog log("log4cpp.category.OrvprintD_exe.COrvprintDDlg::OnInitDialog=ERROR\n");
    {
        ORV_TRACE_SCOPE("COrvprintDDlg::OnInitDialog");
        LogError("%s", "in dialog");
        LogDebug("%s", "below the function's threshold");
    }
    {
        ORV_TRACE_SCOPE("Resolve::Elsewhere");
        LogDebug("%s", "elsewhere");
    }
    const std::vector<std::string> expected = {
        "OrvprintD_exe.COrvprintDDlg::OnInitDialog|ERROR|" + ThreadPrefix() + "ERROR - in dialog",
        "OrvprintD_exe|DEBUG|" + ThreadPrefix() + "DEBUG - elsewhere",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(CategoryResolution, InnerScopeDecidesAndOuterTakesOverAgain)
{
    BackendLog log("log4cpp.category.OrvprintD_exe.Resolve::Inner=DEBUG\n"
                   "log4cpp.category.OrvprintD_exe.Resolve::Outer=DEBUG\n");
    {
        ORV_TRACE_SCOPE("Resolve::Outer");
        LogInfo("%s", "one");
        {
            ORV_TRACE_SCOPE("Resolve::Inner");
            LogInfo("%s", "two");
        }
        LogInfo("%s", "three");
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe.Resolve::Outer|INFO|" + p + "INFO - one",
        "OrvprintD_exe.Resolve::Inner|INFO|" + p + "INFO - two",
        "OrvprintD_exe.Resolve::Outer|INFO|" + p + "INFO - three",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(CategoryResolution, UnknownModuleDropsTheRecord)
{
    BackendLog log("OutputParam.ResolveGhost=true\n");
    {
        FunctionTraceScope scope("ResolveGhost", nullptr, "Resolve::Ghost");
        LogError("%s", "nowhere");
        LogFatal("%s", "nowhere");
        LogParam("%s", "nowhere");
    }
    EXPECT_EQ("", log.Text());
}
