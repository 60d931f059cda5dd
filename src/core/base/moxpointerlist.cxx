#include "moxsdk/core/base/moxpointerlist.h"

#include <climits>
#include <cstring>

#include "core/detail/moxcorereports.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

int MoxPointerListBase::AddRaw(void* pItem)
{
    if (mCount == mCapacity) {
        if (mCapacity == INT_MAX) return -1;
        const long long lWanted = mCapacity > 0 ? 2LL * mCapacity : 4;
        const int lCapacity = lWanted > INT_MAX ? INT_MAX : static_cast<int>(lWanted);
        void* lBlock = MoxRealloc(mData, MoxAllocSize(static_cast<size_t>(lCapacity), sizeof(void*)));
        if (!lBlock) {
            MOX_REPORT("core/base/moxpointerlist", detail::pointerlistreports::sgNoPointerMemory.mText);
            return -1;
        }
        mData = static_cast<void**>(lBlock);
        mCapacity = lCapacity;
    }
    mData[mCount] = pItem;
    return mCount++;
}

int MoxPointerListBase::Find(const void* pItem) const
{
    for (int i = 0; i < mCount; ++i)
        if (mData[i] == pItem) return i;
    return -1;
}

bool MoxPointerListBase::RemoveAt(int pIndex)
{
    if (pIndex < 0 || pIndex >= mCount) return false;
    std::memmove(mData + pIndex, mData + pIndex + 1, static_cast<size_t>(mCount - pIndex - 1) * sizeof(void*));
    --mCount;
    return true;
}

bool MoxPointerListBase::RemoveAtSwap(int pIndex)
{
    if (pIndex < 0 || pIndex >= mCount) return false;
    mData[pIndex] = mData[mCount - 1];
    --mCount;
    return true;
}

int MoxPointerListBase::RemoveAll(const void* pItem)
{
    int lKept = 0;
    for (int i = 0; i < mCount; ++i)
        if (mData[i] != pItem) mData[lKept++] = mData[i];
    const int lRemoved = mCount - lKept;
    mCount = lKept;
    return lRemoved;
}

void MoxPointerListBase::Clear()
{
    MoxFree(mData);
    mData = nullptr;
    mCount = 0;
    mCapacity = 0;
}

}  // namespace moxsdk
