#pragma once
// MoxNode: a node of the scene hierarchy. The geometry component only refers to nodes (a cluster's link
// and associate model); a node carries a name and nothing else here.

#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxNode : public MoxObject {
public:
    static const MoxClassId ClassId;
    static MoxNode* Create(MoxManager* pManager, const char* pName);
    static MoxNode* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxNode(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
};

}  // namespace moxsdk
