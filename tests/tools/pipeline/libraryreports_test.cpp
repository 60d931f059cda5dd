#include "pipeline/libraryreports.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "pipeline/steprunner.h"
#include "support/moxtestmeshes.h"

using namespace moxmeshtool;

namespace {

TEST(LibraryReports, AKnownReportIsDescribedWithItsMeaning)
{
    const ReportCount lReport{"scene/geometry/moxmesh", "SplitPoints", "lCurrentVertexIndex >= 0", 1};
    EXPECT_EQ(DescribeReport(lReport),
              "scene/geometry/moxmesh: SplitPoints: lCurrentVertexIndex >= 0 [a polygon vertex names a negative "
              "control point; the split stops]");
}

TEST(LibraryReports, AReportWithoutAKnownMeaningIsDescribedAsItCame)
{
    const ReportCount lReport{"scene/geometry/moxmesh", "GetPolygonVertex", "Bad polygon index!", 1};
    EXPECT_EQ(DescribeReport(lReport), "scene/geometry/moxmesh: GetPolygonVertex: Bad polygon index!");
    EXPECT_EQ(DescribeReport(ReportCount{"", "", "", 1}), ": : ");
}

// The step's record explains the first report the library made during the step.
TEST(LibraryReports, TheFirstReportOfAStepNamesItsMeaning)
{
    moxtest::ManagerScope lScope;
    moxsdk::MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(1);
    std::ostringstream lProgress;
    StepRunner lRunner(1, lProgress);
    const StepRecord& lRecord = lRunner.Run("SetMeshEdgeIndex", [lMesh] {
        lMesh->SetMeshEdgeIndex(0, -1, 1, false, -1);
        lMesh->SetMeshEdgeIndex(0, 1, 9, false, -1);
        return std::string("done");
    });
    EXPECT_EQ(lRecord.mReports, 2);
    EXPECT_EQ(lRecord.FirstReport(),
              "scene/geometry/moxmesh: SetMeshEdgeIndex: false [an argument or a polygon's control point is out of "
              "range; the operation gives its failure value]");
}

}  // namespace
