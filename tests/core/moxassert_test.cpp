#include "moxsdk/core/moxassert.h"

#include <gtest/gtest.h>

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

}  // namespace
