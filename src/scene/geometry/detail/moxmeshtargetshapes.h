#pragma once
// The walk over a mesh's blend-shape target shapes that point splitting and vertex merging share.

#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxshape.h"
#include "scene/geometry/detail/moxmeshreports.h"

namespace moxsdk {
namespace detail {

// Applies pVisit to every target shape of every channel of every blend shape, in order; a missing shape
// is reported (file pFile, function pFunction) and skipped.
template <class VISIT>
void MoxForEachTargetShape(MoxMesh& pMesh, const char* pFile, const char* pFunction, VISIT pVisit)
{
    const int lBlendShapeCount = pMesh.GetDeformerCount(MoxDeformer::eBlendShape);
    for (int b = 0; b < lBlendShapeCount; ++b) {
        const MoxBlendShape* lBlendShape =
            static_cast<const MoxBlendShape*>(pMesh.GetDeformer(b, MoxDeformer::eBlendShape));
        if (!lBlendShape) continue;
        for (int c = 0; c < lBlendShape->GetBlendShapeChannelCount(); ++c) {
            const MoxBlendShapeChannel* lChannel = lBlendShape->GetBlendShapeChannel(c);
            if (!lChannel) continue;
            for (int s = 0; s < lChannel->GetTargetShapeCount(); ++s) {
                MoxShape* lShape = lChannel->GetTargetShape(s);
                if (lShape)
                    pVisit(*lShape);
                else
                    _MoxAssert(pFile, pFunction, __LINE__, meshreports::sgNoTargetShape.mText);
            }
        }
    }
}

}  // namespace detail
}  // namespace moxsdk
