#include "moxsdk/core/moxassert.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "support/moxtestsupport.h"

namespace {

TEST(MoxAssert, CapturedProcReceivesFileFunctionLineAndMessage)
{
    moxtest::ReportCapture lCapture;
    moxsdk::_MoxAssert("core/base/moxarray", "RemoveAt", 42, "Index is out of range!");
    ASSERT_EQ(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mFile, "core/base/moxarray");
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "RemoveAt");
    EXPECT_EQ(lCapture.Reports()[0].mLine, 42u);
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "Index is out of range!");
}

TEST(MoxAssert, DefaultProcWritesFileLineFunctionMessageToStderr)
{
    moxsdk::MoxAssertSetProc(nullptr);
    testing::internal::CaptureStderr();
    moxsdk::_MoxAssert("scene/geometry/moxmesh", "GetPolygonGroup", 7, "Index is out of range!");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "scene/geometry/moxmesh(7): GetPolygonGroup: Index is out of range!\n");
}

TEST(MoxAssert, MacroReportsConditionTextOnlyWhenFalse)
{
    moxtest::ReportCapture lCapture;
    const int lValue = 3;
    MOX_ASSERT("core/test", lValue == 3);
    EXPECT_EQ(lCapture.Count(), 0u);
    MOX_ASSERT("core/test", lValue == 4);
    ASSERT_EQ(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "lValue == 4");
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "TestBody");
}

std::vector<std::string>& HostReports()
{
    static std::vector<std::string> sgReports;
    return sgReports;
}

void HostProc(const char* /*pFileName*/, const char* /*pFunctionName*/, unsigned int /*pLineNumber*/,
              const char* pMessage)
{
    HostReports().emplace_back(pMessage);
}

TEST(MoxAssert, GetProcAnswersTheInstalledProcedureAndTheDefaultForNull)
{
    const moxsdk::MoxAssertProc lDefault = moxsdk::MoxAssertGetProc();
    ASSERT_NE(lDefault, nullptr);
    moxsdk::MoxAssertSetProc(&HostProc);
    EXPECT_EQ(moxsdk::MoxAssertGetProc(), &HostProc);
    moxsdk::MoxAssertSetProc(nullptr);
    EXPECT_EQ(moxsdk::MoxAssertGetProc(), lDefault);
}

TEST(MoxAssert, NestedCapturesTakeReportsInnermostFirstAndLeaveTheHostProcedureInPlace)
{
    HostReports().clear();
    moxsdk::MoxAssertSetProc(&HostProc);
    {
        moxtest::ReportCapture lOuter;
        moxsdk::_MoxAssert("core/test", "F", 1, "outer 1");
        {
            moxtest::ReportCapture lInner;
            moxsdk::_MoxAssert("core/test", "F", 2, "inner");
            EXPECT_EQ(lInner.Messages(), std::vector<std::string>{"inner"});
            EXPECT_EQ(moxsdk::MoxAssertGetProc(), &HostProc);
        }
        moxsdk::_MoxAssert("core/test", "F", 3, "outer 2");
        EXPECT_EQ(lOuter.Messages(), (std::vector<std::string>{"outer 1", "outer 2"}));
    }
    moxsdk::_MoxAssert("core/test", "F", 4, "host");
    EXPECT_EQ(HostReports(), std::vector<std::string>{"host"});
    EXPECT_EQ(moxsdk::MoxAssertGetProc(), &HostProc);
    moxsdk::MoxAssertSetProc(nullptr);
}

TEST(MoxAssert, CaptureTakesOnlyItsOwnThreadsReports)
{
    HostReports().clear();
    moxsdk::MoxAssertSetProc(&HostProc);
    {
        moxtest::ReportCapture lCapture;
        std::thread([] { moxsdk::_MoxAssert("core/test", "F", 1, "other thread"); }).join();
        moxsdk::_MoxAssert("core/test", "F", 2, "this thread");
        EXPECT_EQ(lCapture.Messages(), std::vector<std::string>{"this thread"});
    }
    EXPECT_EQ(HostReports(), std::vector<std::string>{"other thread"});
    moxsdk::MoxAssertSetProc(nullptr);
}

}  // namespace
