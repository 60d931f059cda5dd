#include "cli/batch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/processreport.h"
#include "io/toolerror.h"
#include "tooltestsupport.h"

using moxmeshtool::BatchItem;
using moxmeshtool::BatchOptions;
using moxtooltest::TempDir;
using moxtooltest::WriteFile;

namespace {

constexpr const char* sgQuad = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n";
constexpr const char* sgBadIndex = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n";

// The JSON lines of a run.
std::vector<nlohmann::json> Lines(const std::string& pText)
{
    std::vector<nlohmann::json> lLines;
    std::istringstream lStream(pText);
    for (std::string lLine; std::getline(lStream, lLine);) lLines.push_back(nlohmann::json::parse(lLine));
    return lLines;
}

BatchOptions Options(const TempDir& pDir)
{
    BatchOptions lOptions;
    lOptions.mDirectory = pDir.File("in");
    lOptions.mOutDir = pDir.File("out");
    lOptions.mProgram = MOXMESH_PROGRAM;
    lOptions.mJobs = 2;
    return lOptions;
}

}  // namespace

TEST(Batch, OutputsKeepTheRelativePathAndTheExtension)
{
    const std::vector<BatchItem> lItems =
        moxmeshtool::PlanBatch({"/m/a/box.obj", "/m/b/box.ply", "/m/c", "/elsewhere/d.stl"}, "/m", "/o", "glb", false);
    ASSERT_EQ(lItems.size(), 4u);
    EXPECT_EQ(lItems[0].mOutput, "/o/a/box_obj.glb");
    EXPECT_EQ(lItems[1].mOutput, "/o/b/box_ply.glb");
    EXPECT_EQ(lItems[2].mOutput, "/o/c.glb");
    EXPECT_EQ(lItems[3].mOutput, "/o/d_stl.glb");
    EXPECT_FALSE(lItems[0].mUpToDate);
}

TEST(Batch, CommonDirectory)
{
    EXPECT_EQ(moxmeshtool::CommonDirectory({"/m/a/x.obj", "/m/b/y.obj"}), "/m");
    EXPECT_EQ(moxmeshtool::CommonDirectory({"/m/a/x.obj"}), "/m/a");
    EXPECT_EQ(moxmeshtool::CommonDirectory({"x.obj", "y.obj"}), ".");
    EXPECT_EQ(moxmeshtool::CommonDirectory({}), ".");
}

TEST(Batch, ListsTheFilesMoxmeshReads)
{
    TempDir lDir;
    WriteFile(lDir.File("b.ply"), "");
    WriteFile(lDir.File("a.obj"), "");
    WriteFile(lDir.File("notes.txt"), "");
    std::filesystem::create_directory(lDir.File("sub"));
    WriteFile(lDir.File("sub/c.STL"), "");
    EXPECT_EQ(moxmeshtool::ListMeshFiles(lDir.Path()),
              (std::vector<std::string>{lDir.File("a.obj"), lDir.File("b.ply"), lDir.File("sub/c.STL")}));
    EXPECT_THROW(moxmeshtool::ListMeshFiles(lDir.File("missing")), moxmeshtool::ToolError);
}

TEST(Batch, ResumeSkipsOutputsMadeFromTheSameInput)
{
    TempDir lDir;
    WriteFile(lDir.File("a.obj"), sgQuad);
    WriteFile(lDir.File("a_obj.obj"), "made before");
    moxmeshtool::RecordBatchOutput(lDir.Path(), lDir.File("a_obj.obj"),
                                   "3d1d1c0f8b6e1f0c1ad6d4da6bbd2c4d9fe5b4f0dfab98b0c4b7f7cb1e8e6f7a");
    EXPECT_FALSE(moxmeshtool::PlanBatch({lDir.File("a.obj")}, lDir.Path(), lDir.Path(), "obj", true)[0].mUpToDate);
    moxmeshtool::RecordBatchOutput(lDir.Path(), lDir.File("a_obj.obj"),
                                   moxmeshtool::DigestFile(lDir.File("a.obj")).mSha256);
    EXPECT_TRUE(moxmeshtool::PlanBatch({lDir.File("a.obj")}, lDir.Path(), lDir.Path(), "obj", true)[0].mUpToDate);
    EXPECT_FALSE(moxmeshtool::PlanBatch({lDir.File("a.obj")}, lDir.Path(), lDir.Path(), "obj", false)[0].mUpToDate);
    std::filesystem::remove(lDir.File("a_obj.obj"));
    EXPECT_FALSE(moxmeshtool::PlanBatch({lDir.File("a.obj")}, lDir.Path(), lDir.Path(), "obj", true)[0].mUpToDate);
}

TEST(Batch, AFailingFileFailsAloneAndResumeSkipsTheRest)
{
    TempDir lDir;
    std::filesystem::create_directories(lDir.File("in/sub"));
    WriteFile(lDir.File("in/quad.obj"), sgQuad);
    WriteFile(lDir.File("in/sub/bad.obj"), sgBadIndex);
    WriteFile(lDir.File("in/sub/quad.obj"), sgQuad);
    BatchOptions lOptions = Options(lDir);
    lOptions.mReportFile = lDir.File("report.jsonl");
    std::ostringstream lOut;
    EXPECT_EQ(moxmeshtool::RunBatch(lOptions, lOut), 1);
    EXPECT_EQ(moxtooltest::ReadFile(lDir.File("report.jsonl")), lOut.str());

    std::vector<nlohmann::json> lLines = Lines(lOut.str());
    ASSERT_EQ(lLines.size(), 4u);
    std::map<std::string, nlohmann::json> lByInput;
    for (size_t i = 0; i < 3; ++i) lByInput[lLines[i]["input"]] = lLines[i];
    const nlohmann::json& lBad = lByInput[lDir.File("in/sub/bad.obj")];
    EXPECT_EQ(lBad["status"], "failed");
    EXPECT_EQ(lBad["output"], lDir.File("out/sub/bad_obj.obj"));
    EXPECT_NE(lBad["error"].get<std::string>().find("bad.obj"), std::string::npos);
    const nlohmann::json& lGood = lByInput[lDir.File("in/sub/quad.obj")];
    EXPECT_EQ(lGood["status"], "ok");
    EXPECT_EQ(lGood["input_sha256"], moxmeshtool::DigestFile(lDir.File("in/sub/quad.obj")).mSha256);
    EXPECT_EQ(lGood["report"]["output"]["path"], lDir.File("out/sub/quad_obj.obj"));
    EXPECT_TRUE(moxtooltest::FileExists(lDir.File("out/quad_obj.obj")));
    EXPECT_EQ(lLines[3]["summary"]["files"], 3);
    EXPECT_EQ(lLines[3]["summary"]["ok"], 2);
    EXPECT_EQ(lLines[3]["summary"]["failed"], 1);

    lOptions.mResume = true;
    lOptions.mReportFile.clear();
    std::ostringstream lOutAgain;
    EXPECT_EQ(moxmeshtool::RunBatch(lOptions, lOutAgain), 1);
    lLines = Lines(lOutAgain.str());
    ASSERT_EQ(lLines.size(), 4u);
    EXPECT_EQ(lLines[3]["summary"]["skipped"], 2);
    EXPECT_EQ(lLines[3]["summary"]["failed"], 1);
}

TEST(Batch, AFileOverTheTimeLimitIsKilled)
{
    TempDir lDir;
    std::filesystem::create_directories(lDir.File("in"));
    WriteFile(lDir.File("in/quad.obj"), sgQuad);
    BatchOptions lOptions = Options(lDir);
    lOptions.mTimeoutSeconds = 0.0001;
    std::ostringstream lOut;
    EXPECT_EQ(moxmeshtool::RunBatch(lOptions, lOut), 1);
    const std::vector<nlohmann::json> lLines = Lines(lOut.str());
    ASSERT_EQ(lLines.size(), 2u);
    EXPECT_EQ(lLines[0]["status"], "failed");
    EXPECT_EQ(lLines[0]["error"], "timed out after 0.0001 s");
    EXPECT_FALSE(moxtooltest::FileExists(lDir.File("out/quad_obj.obj")));
}
