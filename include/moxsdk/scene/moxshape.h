#pragma once
// MoxShape: a blend-shape target: control points (and normals, UVs in its layers) without polygons.

#include "moxsdk/scene/geometry/moxgeometrybase.h"

namespace moxsdk {

class MoxShape : public MoxGeometryBase {
public:
    static const MoxClassId ClassId;
    static MoxShape* Create(MoxManager* pManager, const char* pName);
    static MoxShape* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxShape(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    EType GetAttributeType() const override { return eShape; }
};

}  // namespace moxsdk
