#include "cli/processreport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::TempDir;

namespace {

TEST(ProcessReport, DigestFileGivesSizeAndSha256)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("abc.txt"), "abc");
    const FileDigest lDigest = DigestFile(lDir.File("abc.txt"));
    EXPECT_EQ(lDigest.mPath, lDir.File("abc.txt"));
    EXPECT_EQ(lDigest.mBytes, 3u);
    EXPECT_EQ(lDigest.mSha256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    moxtooltest::WriteFile(lDir.File("empty.txt"), "");
    EXPECT_EQ(DigestFile(lDir.File("empty.txt")).mSha256,
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(ProcessReport, MissingFileCannotBeDigested)
{
    TempDir lDir;
    EXPECT_THROW(DigestFile(lDir.File("none")), std::runtime_error);
}

TEST(ProcessReport, LibraryReportsAreMergedOverTheSteps)
{
    ProcessReport lReport;
    StepRecord lFirst;
    lFirst.mName = "one";
    lFirst.mReports = 3;
    lFirst.mReportCounts = {{"core/base/moxarray", "operator[]", "Index is out of range!", 2},
                            {"scene/geometry/moxmesh", "GetPolygonVertex", "Bad polygon index!", 1}};
    StepRecord lSecond;
    lSecond.mName = "two";
    lSecond.mReports = 4;
    lSecond.mReportCounts = {{"core/base/moxarray", "operator[]", "Index is out of range!", 4}};
    lReport.mSteps = {lFirst, lSecond};
    const nlohmann::json lJson = nlohmann::json::parse(ToJson(lReport));
    EXPECT_EQ(lJson["steps"].size(), 2u);
    EXPECT_EQ(lJson["steps"][0]["library_reports"].size(), 2u);
    EXPECT_EQ(lJson["steps"][1]["library_reports"][0]["count"], 4);
    const nlohmann::json lExpected = nlohmann::json::parse(
        R"([{"file": "core/base/moxarray", "function": "operator[]", "message": "Index is out of range!", "count": 6},
            {"file": "scene/geometry/moxmesh", "function": "GetPolygonVertex", "message": "Bad polygon index!",
             "count": 1}])");
    EXPECT_EQ(lJson["library_reports"], lExpected);
}

TEST(ProcessReport, TextThatIsNotUtf8StillMakesJson)
{
    ProcessReport lReport;
    lReport.mInputPath = "Terraind\xe6k.obj";
    const nlohmann::json lJson = nlohmann::json::parse(ToJson(lReport));
    EXPECT_EQ(lJson["input"]["path"], "Terraind\xef\xbf\xbdk.obj");
}

}  // namespace
