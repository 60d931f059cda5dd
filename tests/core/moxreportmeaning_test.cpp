#include "moxsdk/core/moxreportmeaning.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "core/base/detail/moxredblacktreereports.h"
#include "core/detail/moxcorereports.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxskin.h"
#include "scene/detail/moxscenereports.h"
#include "scene/geometry/detail/moxlayerreports.h"
#include "scene/geometry/detail/moxmeshreports.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

// Every text of a report file is different (a message names one meaning), and every meaning is written.
template <size_t N>
void ExpectDistinctTextsWithMeanings(const detail::MoxReportText* const (&pTexts)[N])
{
    std::set<std::string> lTexts;
    for (const detail::MoxReportText* lText : pTexts) {
        EXPECT_TRUE(lTexts.insert(lText->mText).second) << lText->mText;
        EXPECT_GT(std::string(lText->mMeaning).size(), 10u) << lText->mText;
    }
}

TEST(MoxReportMeaning, EachReportFileNamesDistinctTextsWithMeanings)
{
    ExpectDistinctTextsWithMeanings(detail::meshreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::layerreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::objectreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::stringreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::allocatorreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::pairsetreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::pointerlistreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::redblacktreereports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::managerreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::layercontainerreports::sgAll);
}

TEST(MoxReportMeaning, KnownTextsOfTheirFileAreExplained)
{
    EXPECT_STREQ(MoxReportMeaning("scene/geometry/moxmesh", "lCurrentVertexIndex >= 0"),
                 "a polygon vertex names a negative control point; the split stops");
    EXPECT_STREQ(MoxReportMeaning("scene/geometry/moxlayer", "mData"),
                 "memory for an element array's values ran out; the array keeps its old block");
    EXPECT_STREQ(MoxReportMeaning("core/base/moxcontainerallocators", "mData"),
                 "memory for a block of container records ran out; the block gives no records");
}

TEST(MoxReportMeaning, TextsOfAnotherFileAndUnknownTextsAreNot)
{
    EXPECT_EQ(MoxReportMeaning("scene/geometry/moxmesh", "mData"), nullptr);
    EXPECT_EQ(MoxReportMeaning("scene/geometry/moxlayer", "lCurrentVertexIndex >= 0"), nullptr);
    EXPECT_EQ(MoxReportMeaning("scene/geometry/moxmesh", "a host's own report"), nullptr);
    EXPECT_EQ(MoxReportMeaning("host/plugin", "false"), nullptr);
    EXPECT_EQ(MoxReportMeaning(nullptr, "false"), nullptr);
    EXPECT_EQ(MoxReportMeaning("scene/geometry/moxmesh", nullptr), nullptr);
}

// Objects report a missing manager under the file of their own class.
TEST(MoxReportMeaning, CreationReportsAreExplainedUnderEveryObjectFile)
{
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(MoxSkin::Create(static_cast<MoxObject*>(nullptr), "skin"), nullptr);
    ASSERT_EQ(lCapture.Count(), 1u);
    const moxtest::Report& lReport = lCapture.Reports()[0];
    EXPECT_EQ(lReport.mFile, "scene/moxskin");
    EXPECT_STREQ(MoxReportMeaning(lReport.mFile.c_str(), lReport.mMessage.c_str()),
                 "an object was created without a container, or in one that belongs to no manager; none is made");
    EXPECT_EQ(MoxReportMeaning("core/base/moxarray", lReport.mMessage.c_str()), nullptr);
}

// A report made by an operation is explained from the file and message it arrives with.
TEST(MoxReportMeaning, AReportAsMadeIsExplained)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(1);
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, -1, 1, false, -1), -1);
    ASSERT_EQ(lCapture.Count(), 1u);
    const moxtest::Report& lReport = lCapture.Reports()[0];
    EXPECT_STREQ(MoxReportMeaning(lReport.mFile.c_str(), lReport.mMessage.c_str()),
                 "an argument or a polygon's control point is out of range; the operation gives its failure value");
}

}  // namespace
