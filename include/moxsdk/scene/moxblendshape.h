#pragma once
// MoxBlendShape: a blend-shape deformer, an ordered list of channels.

#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/scene/moxdeformer.h"

namespace moxsdk {

class MoxBlendShapeChannel;

class MoxBlendShape : public MoxDeformer {
public:
    static const MoxClassId ClassId;
    static MoxBlendShape* Create(MoxManager* pManager, const char* pName);
    static MoxBlendShape* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxBlendShape(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    EDeformerType GetDeformerType() const override { return eBlendShape; }

    // Appends a channel. False for null, for a channel already in the list, or when memory ran out.
    bool AddBlendShapeChannel(MoxBlendShapeChannel* pChannel);
    // Removes the channel from the list; returns it, or null when it was not there.
    MoxBlendShapeChannel* RemoveBlendShapeChannel(MoxBlendShapeChannel* pChannel);
    int GetBlendShapeChannelCount() const { return mChannels.GetCount(); }
    // Channel pIndex, or null outside the list.
    MoxBlendShapeChannel* GetBlendShapeChannel(int pIndex) const;

protected:
    void Destruct(bool pRecursive) override;
    void OnReferenceDestroyed(MoxObject* pTarget) override;

private:
    MoxPointerList<MoxBlendShapeChannel> mChannels;
};

}  // namespace moxsdk
