#include "elementview.h"

#include <gtest/gtest.h>

using namespace moxmeshtool;
using moxsdk::MoxLayerElement;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

namespace {

// A UV element with direct values (10, 0), (11, 0), (12, 0) and, when pIndices is not empty, that index
// array.
moxsdk::MoxLayerElementUV* MakeUVs(MoxLayerElement::EMappingMode pMapping, MoxLayerElement::EReferenceMode pReference,
                                   std::vector<int> pIndices = {})
{
    auto* lUVs = moxsdk::MoxLayerElementUV::Create(nullptr, "uv");
    lUVs->SetMappingMode(pMapping);
    lUVs->SetReferenceMode(pReference);
    for (int i = 0; i < 3; ++i) lUVs->mDirectArray->Add(MoxVector2(10 + i, 0));
    for (int lIndex : pIndices) lUVs->mIndexArray->Add(lIndex);
    return lUVs;
}

double UAt(const ElementView<MoxVector2>& pView, int pPolygon, int pVertex, int pPoint)
{
    MoxVector2 lValue(-1, -1);
    return pView.Get(pPolygon, pVertex, pPoint, lValue) ? lValue[0] : -1.0;
}

TEST(ElementView, AbsentElementHasNoValues)
{
    ElementView<MoxVector4> lView;
    MoxVector4 lValue;
    EXPECT_FALSE(lView.IsPresent());
    EXPECT_FALSE(lView.Get(0, 0, 0, lValue));
}

TEST(ElementView, ComponentFollowsTheMappingMode)
{
    for (auto lCase :
         {std::make_pair(MoxLayerElement::eByControlPoint, 12.0),
          std::make_pair(MoxLayerElement::eByPolygonVertex, 11.0), std::make_pair(MoxLayerElement::eByPolygon, 10.0),
          std::make_pair(MoxLayerElement::eByMesh, 10.0), std::make_pair(MoxLayerElement::eByEdge, -1.0),
          std::make_pair(MoxLayerElement::eNone, -1.0)}) {
        auto* lUVs = MakeUVs(lCase.first, MoxLayerElement::eDirect);
        {
            ElementView<MoxVector2> lView(lUVs);
            EXPECT_EQ(UAt(lView, 0, 1, 2), lCase.second) << lCase.first;
        }
        lUVs->Destroy();
    }
}

TEST(ElementView, IndexToDirectGoesThroughTheIndexArray)
{
    auto* lUVs = MakeUVs(MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, {2, -1, 7});
    {
        ElementView<MoxVector2> lView(lUVs);
        EXPECT_EQ(UAt(lView, 0, 0, 0), 12.0);
        EXPECT_EQ(UAt(lView, 0, 1, 0), -1.0);  // unmapped
        EXPECT_EQ(UAt(lView, 0, 2, 0), -1.0);  // past the values
        EXPECT_EQ(UAt(lView, 0, 3, 0), -1.0);  // past the indices
        EXPECT_EQ(UAt(lView, 0, -1, 0), -1.0);
    }
    lUVs->Destroy();
}

TEST(ElementView, IndexModeHasNoValues)
{
    auto* lUVs = MakeUVs(MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndex, {0});
    {
        ElementView<MoxVector2> lView(lUVs);
        EXPECT_EQ(UAt(lView, 0, 0, 0), -1.0);
    }
    lUVs->Destroy();
}

TEST(ElementView, DirectValuesOutOfRangeAreMissing)
{
    auto* lUVs = MakeUVs(MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect);
    {
        ElementView<MoxVector2> lView(lUVs);
        EXPECT_EQ(UAt(lView, 0, 0, 3), -1.0);
        EXPECT_EQ(UAt(lView, 0, 0, -1), -1.0);
    }
    lUVs->Destroy();
}

TEST(ElementView, EmptyElementHasNoValues)
{
    auto* lUVs = moxsdk::MoxLayerElementUV::Create(nullptr, "uv");
    {
        ElementView<MoxVector2> lView(lUVs);
        EXPECT_EQ(UAt(lView, 0, 0, 0), -1.0);
    }
    lUVs->Destroy();
}

}  // namespace
