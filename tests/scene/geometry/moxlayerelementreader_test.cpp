#include "moxsdk/scene/geometry/moxlayerelementreader.h"

#include <gtest/gtest.h>

#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

// A UV element with the given modes, direct values (u, 0) for u in pU, and index array pIndices.
struct UVElement {
    UVElement(MoxLayerElement::EMappingMode pMapping, MoxLayerElement::EReferenceMode pReference,
              std::initializer_list<double> pU, std::initializer_list<int> pIndices)
        : mElement(MoxLayerElementUV::Create(nullptr, "uv"))
    {
        mElement->SetMappingMode(pMapping);
        mElement->SetReferenceMode(pReference);
        for (double u : pU) mElement->mDirectArray->Add(MoxVector2(u, 0.0));
        for (int i : pIndices) mElement->mIndexArray->Add(i);
    }
    ~UVElement() { mElement->Destroy(); }
    UVElement(const UVElement&) = delete;
    UVElement& operator=(const UVElement&) = delete;

    MoxLayerElementUV* mElement;
};

// The u of the value read for a corner, or -1 when it is missing.
double ReadU(const MoxLayerElementReader<MoxVector2>& pReader, int pPolygon, int64_t pPolygonVertex, int pControlPoint)
{
    MoxVector2 lValue(-1.0, 0.0);
    return pReader.Get(pPolygon, pPolygonVertex, pControlPoint, lValue) ? lValue[0] : -1.0;
}

}  // namespace

TEST(MoxLayerElementReader, AbsentElementMapsNothing)
{
    const MoxLayerElementReader<MoxVector2> lReader;
    EXPECT_FALSE(lReader.IsPresent());
    EXPECT_EQ(lReader.Component(1, 2, 3), -1);
    EXPECT_EQ(ReadU(lReader, 1, 2, 3), -1.0);
}

TEST(MoxLayerElementReader, EachMappingPicksItsComponent)
{
    const struct {
        MoxLayerElement::EMappingMode mMapping;
        int64_t mComponent;
    } lCases[] = {{MoxLayerElement::eByControlPoint, 3}, {MoxLayerElement::eByPolygonVertex, 2},
                  {MoxLayerElement::eByPolygon, 1},      {MoxLayerElement::eByMesh, 0},
                  {MoxLayerElement::eByEdge, -1},        {MoxLayerElement::eNone, -1}};
    for (const auto& lCase : lCases) {
        const UVElement lUVs(lCase.mMapping, MoxLayerElement::eDirect, {10, 11, 12, 13}, {});
        const MoxLayerElementReader<MoxVector2> lReader(lUVs.mElement);
        EXPECT_EQ(lReader.Component(1, 2, 3), lCase.mComponent) << lCase.mMapping;
        EXPECT_EQ(ReadU(lReader, 1, 2, 3), lCase.mComponent < 0 ? -1.0 : 10.0 + double(lCase.mComponent));
    }
}

TEST(MoxLayerElementReader, IndexToDirectGoesThroughTheIndexArrayWithRangeChecks)
{
    const UVElement lUVs(MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, {10, 11}, {1, 0, -1, 2});
    const MoxLayerElementReader<MoxVector2> lReader(lUVs.mElement);
    EXPECT_EQ(ReadU(lReader, 0, 0, 0), 11.0);
    EXPECT_EQ(ReadU(lReader, 0, 1, 0), 10.0);
    // An index of -1, an index past the direct array, a component past the index array.
    int lIndex = 5;
    EXPECT_TRUE(lReader.TryIndex(2, lIndex));
    EXPECT_EQ(lIndex, -1);
    EXPECT_EQ(ReadU(lReader, 0, 2, 0), -1.0);
    EXPECT_TRUE(lReader.TryIndex(3, lIndex));
    EXPECT_EQ(lIndex, 2);
    EXPECT_EQ(ReadU(lReader, 0, 3, 0), -1.0);
    EXPECT_FALSE(lReader.TryIndex(4, lIndex));
    EXPECT_EQ(lReader.IndexOf(4), -1);
    EXPECT_FALSE(lReader.TryIndex(-1, lIndex));
}

TEST(MoxLayerElementReader, DirectReferenceChecksTheDirectArrayOnly)
{
    const UVElement lUVs(MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, {10, 11}, {1, 1, 1});
    const MoxLayerElementReader<MoxVector2> lReader(lUVs.mElement);
    EXPECT_EQ(ReadU(lReader, 0, 1, 0), 11.0);
    EXPECT_EQ(ReadU(lReader, 0, 2, 0), -1.0);
    EXPECT_EQ(lReader.IndexOf(int64_t(1) << 40), -1);
    EXPECT_EQ(lReader.GetDirectCount(), 2);
}

TEST(MoxLayerElementReader, IndexReferenceHoldsNoValues)
{
    const UVElement lUVs(MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndex, {10, 11}, {1, 0});
    const MoxLayerElementReader<MoxVector2> lReader(lUVs.mElement);
    EXPECT_EQ(lReader.IndexOf(0), 1);
    EXPECT_EQ(ReadU(lReader, 0, 0, 0), -1.0);
}

TEST(MoxLayerElementReader, RebindingForgetsThePreviousElement)
{
    const UVElement lUVs(MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, {10}, {0});
    MoxLayerElementReader<MoxVector2> lReader(lUVs.mElement);
    EXPECT_EQ(ReadU(lReader, 0, 0, 0), 10.0);
    lReader.Bind(nullptr);
    EXPECT_FALSE(lReader.IsPresent());
    EXPECT_EQ(lReader.GetDirectCount(), 0);
    EXPECT_EQ(ReadU(lReader, 0, 0, 0), -1.0);
}
