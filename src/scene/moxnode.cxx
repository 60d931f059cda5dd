#include "moxsdk/scene/moxnode.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "scene/moxnode";
constexpr MoxClassInfo sgClassInfo{"MoxNode", &MoxObject::ClassId, &MoxNode::Allocate};

}  // namespace

const MoxClassId MoxNode::ClassId(&sgClassInfo);

MoxNode* MoxNode::Create(MoxManager* pManager, const char* pName)
{
    return static_cast<MoxNode*>(CreateObject(ClassId, pManager, pName));
}

MoxNode* MoxNode::Create(MoxObject* pContainer, const char* pName)
{
    return static_cast<MoxNode*>(CreateObjectIn(ClassId, pContainer, pName, sgFile));
}

MoxObject* MoxNode::Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
{
    return AllocateObject<MoxNode>(pManager, pName, pFrom);
}

MoxNode::MoxNode(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxClassId MoxNode::GetClassId() const
{
    return ClassId;
}

}  // namespace moxsdk
