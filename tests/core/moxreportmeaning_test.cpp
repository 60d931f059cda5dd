#include "moxsdk/core/moxreportmeaning.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "core/base/detail/moxredblacktreereports.h"
#include "core/detail/moxcorereports.h"
#include "moxsdk/core/base/detail/moxarrayreports.h"
#include "moxsdk/core/base/detail/moxredblacktreeinsertreports.h"
#include "moxsdk/scene/detail/moxobjectreports.h"
#include "moxsdk/scene/geometry/detail/moxlayerelementreports.h"
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
    ExpectDistinctTextsWithMeanings(detail::arrayreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::redblacktreeinsertreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::objectallocationreports::sgAll);
    ExpectDistinctTextsWithMeanings(detail::layerelementreports::sgAll);
}

// A report file whose texts live in two headers (made in the library and by a public header) names each
// text in one of them only.
template <size_t N, size_t M>
void ExpectDisjoint(const detail::MoxReportText* const (&pLibrary)[N], const detail::MoxReportText* const (&pHeader)[M])
{
    for (const detail::MoxReportText* lHeaderText : pHeader)
        for (const detail::MoxReportText* lLibraryText : pLibrary)
            EXPECT_STRNE(lHeaderText->mText, lLibraryText->mText);
}

TEST(MoxReportMeaning, TextsOfOneFileInTwoHeadersAreNamedOnce)
{
    ExpectDisjoint(detail::redblacktreereports::sgAll, detail::redblacktreeinsertreports::sgAll);
    ExpectDisjoint(detail::layerreports::sgAll, detail::layerelementreports::sgAll);
}

// The reports made by the public headers' inline code are explained like the library's own.
TEST(MoxReportMeaning, ReportsOfPublicHeadersAreExplained)
{
    EXPECT_STREQ(MoxReportMeaning("core/base/moxarray", "mData"),
                 "memory for the array's block ran out; the array is left empty and the operation fails");
    EXPECT_STREQ(MoxReportMeaning("core/base/moxredblacktree", "lNode == lBuffer"),
                 "a record was not constructed at the start of its memory; the insertion goes on");
    EXPECT_STREQ(MoxReportMeaning("core/base/moxredblacktree", "mRoot == pNode"),
                 "a node without a parent is not the root: the tree was changed from outside");
    EXPECT_STREQ(MoxReportMeaning("scene/moxobject", "lObject"), "memory for a new scene object ran out; none is made");
    EXPECT_STREQ(MoxReportMeaning("scene/geometry/moxlayer",
                                  "mReferenceMode == MoxLayerElement::eIndex || "
                                  "mReferenceMode == MoxLayerElement::eIndexToDirect"),
                 "an element's index array was asked for in a reference mode without one; the array is given anyway");
    EXPECT_STREQ(MoxReportMeaning("scene/geometry/moxlayer", "mData"),
                 "memory for an element array's values ran out; the array keeps its old block");

    // The named text is the one reported.
    moxtest::ReportCapture lCapture;
    MoxArray<int> lArray;
    EXPECT_EQ(lArray.Find(0, -1), -1);
    EXPECT_TRUE(lCapture.HasOnly("core/base/moxarray", "Find", "pStartIndex >= 0"));
    EXPECT_STREQ(MoxReportMeaning("core/base/moxarray", "pStartIndex >= 0"),
                 "Find was given a negative start index; it finds nothing");
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
