#include "cli/commandline.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/processreport.h"
#include "io/meshreader.h"
#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::TempDir;

namespace {

struct RunResult {
    int mStatus;
    std::string mOut;
    std::string mErr;
};

RunResult Moxmesh(std::vector<std::string> pArguments)
{
    pArguments.insert(pArguments.begin(), "moxmesh");
    std::vector<const char*> lArguments;
    lArguments.reserve(pArguments.size());
    for (const std::string& lArgument : pArguments) lArguments.push_back(lArgument.c_str());
    std::ostringstream lOut;
    std::ostringstream lErr;
    const int lStatus = RunCommandLine(static_cast<int>(lArguments.size()), lArguments.data(), lOut, lErr);
    return RunResult{lStatus, lOut.str(), lErr.str()};
}

const char* const sgCube =
    "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 0 0 1\nv 1 0 1\nv 0 1 1\nv 1 1 1\n"
    "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
    "f 1/1 3/2 4/3 2/4\nf 5/1 6/2 8/3 7/4\nf 1/1 2/2 6/3 5/4\nf 3/1 7/2 8/3 4/4\nf 1/1 5/2 7/3 3/4\nf 2/1 4/2 8/3 "
    "6/4\n";

TEST(CommandLine, HelpAndUsage)
{
    const RunResult lHelp = Moxmesh({"--help"});
    EXPECT_EQ(lHelp.mStatus, 0);
    EXPECT_NE(lHelp.mOut.find("Usage: moxmesh"), std::string::npos);
    for (const char* lCommand : {"demo", "info", "process"}) {
        const RunResult lCommandHelp = Moxmesh({lCommand, "--help"});
        EXPECT_EQ(lCommandHelp.mStatus, 0) << lCommand;
        EXPECT_NE(lCommandHelp.mOut.find("--quiet"), std::string::npos) << lCommand;
    }
    EXPECT_NE(Moxmesh({"process", "--help"}).mOut.find("--smooth-angle DEG"), std::string::npos);
}

TEST(CommandLine, WrongArgumentsExitWithTwo)
{
    EXPECT_EQ(Moxmesh({}).mStatus, sgExitUsage);
    EXPECT_EQ(Moxmesh({"info"}).mStatus, sgExitUsage);
    EXPECT_EQ(Moxmesh({"process", "in.obj"}).mErr, "--output is required\nRun with --help for more information.\n");
    EXPECT_EQ(Moxmesh({"process", "in.obj", "-o", "out.obj", "--normals", "sideways"}).mStatus, sgExitUsage);
    EXPECT_EQ(Moxmesh({"process", "in.obj", "-o", "out.obj", "--smooth-angle", "181"}).mStatus, sgExitUsage);
    EXPECT_EQ(Moxmesh({"demo", "--segments", "2"}).mStatus, sgExitUsage);
    const RunResult lConflict =
        Moxmesh({"process", "in.obj", "-o", "out.obj", "--smooth-angle", "30", "--normals", "control-point"});
    EXPECT_EQ(lConflict.mStatus, sgExitUsage);
    EXPECT_EQ(lConflict.mErr,
              "--smooth-angle makes normals per polygon vertex: it cannot go with --normals "
              "control-point\nRun with --help for more information.\n");
}

TEST(CommandLine, DemoReportsEveryStep)
{
    const RunResult lRun = Moxmesh({"demo", "--segments", "16", "--rings", "4"});
    EXPECT_EQ(lRun.mStatus, 0) << lRun.mErr;
    EXPECT_EQ(lRun.mErr, "");
    size_t lAt = 0;
    for (const char* lStep : {"build model", "RemoveBadPolygons", "BuildMeshEdgeArray", "smoothing by angle <= 30 deg",
                              "GenerateNormals", "GenerateTangentsDataForAllUVSets", "SplitPoints",
                              "BuildMergeList + MergePoints", "ComputeComponentMaps", "total"}) {
        lAt = lRun.mOut.find("\n  " + std::string(lStep) + " ", lAt);
        EXPECT_NE(lAt, std::string::npos) << lStep << " (in this order)\n" << lRun.mOut;
    }
    EXPECT_NE(lRun.mOut.find("removed 1 bad polygon"), std::string::npos);
    // The clean-up comes before the steps the bad polygon would upset: no library report.
    EXPECT_EQ(lRun.mOut.find("library report"), std::string::npos) << lRun.mOut;
}

TEST(CommandLine, ProgressOnRequestAndQuietSilencesIt)
{
    const RunResult lProgress = Moxmesh({"demo", "--segments", "8", "--rings", "2", "--progress"});
    EXPECT_NE(lProgress.mErr.find("moxmesh: [1/9] build model ...\n"), std::string::npos);
    EXPECT_NE(lProgress.mErr.find("moxmesh: [9/9] ComputeComponentMaps done in "), std::string::npos);
    // Each step's own processor time and page faults, whatever else runs on the machine.
    const size_t lDone = lProgress.mErr.find("moxmesh: [1/9] build model done in ");
    ASSERT_NE(lDone, std::string::npos) << lProgress.mErr;
    const std::string lLine = lProgress.mErr.substr(lDone, lProgress.mErr.find('\n', lDone) - lDone);
    EXPECT_NE(lLine.find(" (cpu "), std::string::npos) << lLine;
    EXPECT_NE(lLine.find(" user + "), std::string::npos) << lLine;
    EXPECT_NE(lLine.find(" system, "), std::string::npos) << lLine;
    EXPECT_NE(lLine.find(" page faults"), std::string::npos) << lLine;
    const RunResult lQuiet = Moxmesh({"demo", "--segments", "8", "--rings", "2", "--progress", "--quiet"});
    EXPECT_EQ(lQuiet.mErr, "");
    EXPECT_FALSE(lQuiet.mOut.empty());
}

TEST(CommandLine, InfoDescribesTheFile)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("cube.obj"), sgCube);
    const RunResult lRun = Moxmesh({"info", lDir.File("cube.obj")});
    EXPECT_EQ(lRun.mStatus, 0) << lRun.mErr;
    for (const char* lLine :
         {"control points      8\n", "polygons            6 (6 quads)\n", "polygon vertices    24\n",
          "edges               12\n", "boundary edges      0\n", "non-manifold edges  0\n", "bad polygons        0\n",
          "UV sets             1 (\"uv0\" on layer 0, 4 values)\n", "materials           0 (0 used)\n",
          "normals             none\n", "winding             unknown (no normals to compare with)\n"})
        EXPECT_NE(lRun.mOut.find(lLine), std::string::npos) << lLine << "\n" << lRun.mOut;
}

TEST(CommandLine, ProcessWritesWhatWasAskedFor)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("cube.obj"), sgCube);
    const RunResult lRun = Moxmesh({"process", lDir.File("cube.obj"), "-o", lDir.File("cube.glb"), "--smooth-angle",
                                    "30", "--tangents", "--clean"});
    EXPECT_EQ(lRun.mStatus, 0) << lRun.mErr;
    EXPECT_NE(lRun.mOut.find("0 soft edges, 12 hard edges"), std::string::npos) << lRun.mOut;
    const auto lBack = ReadMesh(lDir.File("cube.glb"));
    EXPECT_EQ(lBack->Mesh().GetPolygonCount(), 12);
    ASSERT_NE(lBack->Mesh().GetLayer(0)->GetTangents(), nullptr);
    // Hard edges everywhere: every corner keeps its face's normal, an axis.
    for (const moxtooltest::CornerValues& lCorner : moxtooltest::ReadCorners(lBack->Mesh()))
        EXPECT_NEAR(std::fabs(lCorner.mNormal[0]) + std::fabs(lCorner.mNormal[1]) + std::fabs(lCorner.mNormal[2]), 1.0,
                    1e-6);
    EXPECT_EQ(lDir.Entries(), (std::vector<std::string>{"cube.glb", "cube.obj"}));
}

TEST(CommandLine, ProcessReportsAsJson)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("cube.obj"), sgCube);
    const RunResult lRun =
        Moxmesh({"process", lDir.File("cube.obj"), "-o", lDir.File("cube.gltf"), "--split", "--report-json"});
    EXPECT_EQ(lRun.mStatus, 0) << lRun.mErr;
    EXPECT_EQ(std::count(lRun.mOut.begin(), lRun.mOut.end(), '\n'), 1);
    const nlohmann::json lReport = nlohmann::json::parse(lRun.mOut);
    const nlohmann::json lInput = {{"path", lDir.File("cube.obj")},
                                   {"bytes", 200},
                                   {"sha256", "20ebd0b94b1ddf5808e50c39d8540db3e2dc0ee4b69902ed316d51da9b013d46"},
                                   {"format", "OBJ (tinyobjloader)"}};
    EXPECT_EQ(lReport["input"], lInput);
    const nlohmann::json& lOutput = lReport["output"];
    EXPECT_EQ(lOutput["path"], lDir.File("cube.gltf"));
    EXPECT_EQ(lOutput["format"], "glTF");
    ASSERT_EQ(lOutput["files"].size(), 2u);
    EXPECT_EQ(lOutput["files"][0]["path"], lDir.File("cube.gltf"));
    EXPECT_EQ(lOutput["files"][1]["path"], lDir.File("cube.bin"));
    for (const nlohmann::json& lFile : lOutput["files"]) {
        const std::string lPath = lFile["path"];
        EXPECT_EQ(lFile["bytes"], moxtooltest::ReadFile(lPath).size());
        EXPECT_EQ(lFile["sha256"], DigestFile(lPath).mSha256);
    }
    EXPECT_EQ(lOutput["bytes"], lOutput["files"][0]["bytes"]);
    EXPECT_EQ(lOutput["sha256"], lOutput["files"][0]["sha256"]);
    const nlohmann::json lRead = {
        {"control_points", 8}, {"polygons", 6}, {"polygon_vertices", 24}, {"edges", 12}, {"uv_sets", 1}};
    EXPECT_EQ(lReport["counts"]["read"], lRead);
    EXPECT_EQ(lReport["counts"]["processed"]["control_points"], 24);
    EXPECT_EQ(lReport["counts"]["written"]["triangles"], 12);
    ASSERT_EQ(lReport["steps"].size(), 4u);
    double lTotal = 0.0;
    for (const nlohmann::json& lStep : lReport["steps"]) lTotal += lStep["ms"].get<double>();
    EXPECT_DOUBLE_EQ(lReport["total_ms"].get<double>(), lTotal);
    EXPECT_EQ(lReport["steps"][1]["name"], "BuildMeshEdgeArray");
    EXPECT_EQ(lReport["steps"][1]["result"], "12 edges");
    EXPECT_EQ(lReport["steps"][1]["library_reports"], nlohmann::json::array());
    // SplitPoints reports a mesh without normals (the cube has none); the run goes on.
    const nlohmann::json lReports = nlohmann::json::parse(
        R"([{"file": "scene/geometry/moxmesh", "function": "SplitPoints", "message": "isvalid && lNormals",
             "count": 1}])");
    EXPECT_EQ(lReport["steps"][2]["name"], "SplitPoints");
    EXPECT_EQ(lReport["steps"][2]["library_reports"], lReports);
    EXPECT_EQ(lReport["library_reports"], lReports);
}

TEST(CommandLine, MissingInputIsOneLineAndExitOne)
{
    TempDir lDir;
    const RunResult lRun = Moxmesh({"process", lDir.File("none.obj"), "-o", lDir.File("out.obj")});
    EXPECT_EQ(lRun.mStatus, sgExitFailure);
    EXPECT_EQ(lRun.mErr, "moxmesh: error: " + lDir.File("none.obj") + ": cannot read: No such file or directory\n");
    EXPECT_EQ(lRun.mOut, "");
    EXPECT_TRUE(lDir.Entries().empty());
}

TEST(CommandLine, BadOutputFailsBeforeReading)
{
    TempDir lDir;
    const RunResult lRun = Moxmesh({"process", lDir.File("none.obj"), "-o", lDir.File("none/out.obj")});
    EXPECT_EQ(lRun.mStatus, sgExitFailure);
    EXPECT_EQ(lRun.mErr, "moxmesh: error: " + lDir.File("none/out.obj") + ": cannot write: directory " +
                             lDir.File("none") + ": No such file or directory\n");
}

}  // namespace
