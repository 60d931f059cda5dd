// Drives MoxArray, the red-black tree (as MoxSet and MoxMap, with both allocators) and MoxSimpleMap
// with random operations and checks them against a model after every step.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>
#include <vector>

#include "moxsdk/core/base/moxarray.h"
#include "moxsdk/core/base/moxredblacktree.h"
#include "moxsdk/core/moxassert.h"
#include "support/moxfuzzinput.h"

namespace {

using namespace moxsdk;

void IgnoreReport(const char* /*pFileName*/, const char* /*pFunctionName*/, unsigned int /*pLineNumber*/,
                  const char* /*pMessage*/)
{}

[[noreturn]] void Fail()
{
    std::abort();
}

void Check(bool pCondition)
{
    if (!pCondition) Fail();
}

// The array's block as the operations define it: every slot up to the capacity, with the slots whose
// content is defined (written, zero-filled, or left behind by a removal) known to the model.
struct ArrayModel {
    std::vector<int> mSlots;
    std::vector<bool> mKnown;
    int mSize = 0;

    int Capacity() const { return static_cast<int>(mSlots.size()); }
    void Reallocate(int pCapacity)
    {
        mSlots.resize(pCapacity, 0);
        mKnown.resize(pCapacity, false);
    }
    void Fill(int pFrom, int pTo)
    {
        for (int i = pFrom; i < pTo; ++i) {
            mSlots[i] = 0;
            mKnown[i] = true;
        }
    }
    void Free()
    {
        mSlots.clear();
        mKnown.clear();
        mSize = 0;
    }
    void Write(int pIndex, int pValue)
    {
        mSlots[pIndex] = pValue;
        mKnown[pIndex] = true;
    }
};

void ModelResize(ArrayModel& pModel, int pSize, bool pReserve, bool pZeroFill)
{
    if (pSize == pModel.mSize && pModel.mSize == pModel.Capacity()) return;
    if (pSize == 0) return pModel.Free();
    if (pSize < 0) return;
    const int lOldCapacity = pModel.Capacity();
    if (pReserve ? pSize > lOldCapacity : pSize != lOldCapacity) {
        pModel.Reallocate(pSize);
        if (pZeroFill && pSize > lOldCapacity) pModel.Fill(pModel.mSize, pSize);
    }
    pModel.mSize = pSize;
}

void CheckArray(const MoxArray<int>& pArray, const ArrayModel& pModel)
{
    Check(pArray.IsValid());
    Check(pArray.GetSize() == pModel.mSize);
    Check(pArray.GetCapacity() == pModel.Capacity());
    for (int i = 0; i < pModel.Capacity(); ++i)
        if (pModel.mKnown[i]) Check(pArray.GetArray()[i] == pModel.mSlots[i]);
}

void FuzzArray(moxfuzz::Input& pInput)
{
    MoxArray<int> lArray;
    ArrayModel lModel;
    for (int lStep = 0; lStep < 64 && !pInput.Empty(); ++lStep) {
        const int lValue = static_cast<int>(pInput.Byte());
        switch (pInput.Byte() % 11) {
            case 0:
            case 1: {
                if (lModel.mSize == lModel.Capacity()) {
                    const int lOldCapacity = lModel.Capacity();
                    lModel.Reallocate(lOldCapacity ? 2 * lOldCapacity : 1);
                    lModel.Fill(lOldCapacity, lModel.Capacity());
                }
                lModel.Write(lModel.mSize++, lValue);
                Check(lArray.Add(lValue) == lModel.mSize - 1);
                break;
            }
            case 2: {
                const int lIndex = pInput.Index(lModel.Capacity());
                const int lRemoved = lArray.RemoveAt(lIndex);
                if (lIndex >= 0 && lIndex < lModel.Capacity()) {
                    if (lIndex < lModel.mSize && lModel.mKnown[lIndex]) Check(lRemoved == lModel.mSlots[lIndex]);
                    for (int i = lIndex; i + 1 < lModel.mSize; ++i) {
                        lModel.mSlots[i] = lModel.mSlots[i + 1];
                        lModel.mKnown[i] = lModel.mKnown[i + 1];
                    }
                    if (lModel.mSize > 0) --lModel.mSize;
                } else {
                    Check(lRemoved == 0);
                }
                break;
            }
            case 3: {
                const int lIndex = pInput.Index(lModel.Capacity());
                lArray.SetAt(lIndex, lValue);
                if (lIndex >= 0 && lIndex < lModel.Capacity()) {
                    if (lIndex >= lModel.mSize) lModel.mSize = lIndex + 1;
                    lModel.Write(lIndex, lValue);
                }
                break;
            }
            case 4: {
                const int lIndex = pInput.Index(lModel.Capacity());
                const int lRead = lArray[lIndex];
                if (lIndex >= 0 && lIndex < lModel.Capacity() && lModel.mKnown[lIndex])
                    Check(lRead == lModel.mSlots[lIndex]);
                if (lIndex < 0 || lIndex >= lModel.Capacity()) Check(lRead == 0);
                break;
            }
            case 5: {
                const int lSize = pInput.Range(-1, 40);
                const bool lReserve = pInput.Bool();
                lArray.Resize(lSize, lReserve);
                ModelResize(lModel, lSize, lReserve, true);
                break;
            }
            case 6: {
                const int lSize = pInput.Range(-1, 40);
                const bool lReserve = pInput.Bool();
                lArray.ResizeUninitialized(lSize, lReserve);
                ModelResize(lModel, lSize, lReserve, false);
                break;
            }
            case 7: {
                const int lCapacity = pInput.Range(-1, 40);
                lArray.Reserve(lCapacity);
                if (lCapacity > lModel.Capacity()) {
                    lModel.Reallocate(lCapacity);
                    lModel.Fill(lModel.mSize, lCapacity);
                }
                break;
            }
            case 8:
                lArray.Compact();
                ModelResize(lModel, lModel.mSize, false, true);
                break;
            case 9: {
                const int lStart = pInput.Range(-1, 8);
                const int lFound = lArray.Find(lValue, lStart);
                if (lStart < 0) {
                    Check(lFound == -1);
                    break;
                }
                // The first match among the defined slots; a slot of undefined content before it could
                // match too, so the answer is only checked when none precedes it.
                for (int i = lStart; i < lModel.mSize; ++i) {
                    if (!lModel.mKnown[i]) break;
                    if (lModel.mSlots[i] == lValue || i + 1 == lModel.mSize) {
                        Check(lFound == (lModel.mSlots[i] == lValue ? i : -1));
                        break;
                    }
                }
                break;
            }
            default: {
                if (lModel.mSize > 256) break;  // self-appends double the size
                MoxArray<int> lCopy(lArray);
                CheckArray(lCopy, [&] {
                    ArrayModel lCopyModel = lModel;
                    ModelResize(lCopyModel, lModel.mSize, false, true);
                    return lCopyModel;
                }());
                lArray.AddArray(lCopy);
                const int lOldSize = lModel.mSize;
                ModelResize(lModel, lOldSize * 2, false, true);
                for (int i = 0; i < lOldSize; ++i) {
                    lModel.mSlots[lOldSize + i] = lModel.mSlots[i];
                    lModel.mKnown[lOldSize + i] = lModel.mKnown[i];
                }
                break;
            }
        }
        CheckArray(lArray, lModel);
    }
}

template <class SET>
void FuzzSet(moxfuzz::Input& pInput)
{
    SET lSet;
    std::set<int> lModel;
    for (int lStep = 0; lStep < 256 && !pInput.Empty(); ++lStep) {
        const int lKey = static_cast<int>(pInput.Byte() % 64) - 8;
        switch (pInput.Byte() % 4) {
            case 0:
            case 1: {
                const auto lResult = lSet.Insert(lKey);
                Check(lResult.mFirst != nullptr && lResult.mFirst->GetValue() == lKey);
                Check(lResult.mSecond == lModel.insert(lKey).second);
                break;
            }
            case 2:
                Check(lSet.Remove(lKey) == (lModel.erase(lKey) == 1));
                break;
            default:
                Check((lSet.Find(lKey) != nullptr) == (lModel.count(lKey) == 1));
                break;
        }
        Check(lSet.IsValid());
        Check(lSet.GetSize() == static_cast<int>(lModel.size()));
        auto lExpected = lModel.begin();
        for (const auto& lRecord : lSet) Check(lExpected != lModel.end() && lRecord.GetValue() == *lExpected++);
        Check(lExpected == lModel.end());
    }
    lSet.Clear();
    Check(lSet.GetSize() == 0 && lSet.IsValid());
}

void FuzzMap(moxfuzz::Input& pInput)
{
    MoxSimpleMap<int, int> lMap;
    std::map<int, int> lModel;
    for (int lStep = 0; lStep < 256 && !pInput.Empty(); ++lStep) {
        const int lKey = static_cast<int>(pInput.Byte() % 32);
        const int lValue = static_cast<int>(pInput.Byte());
        switch (pInput.Byte() % 3) {
            case 0:
                Check(lMap.Add(lKey, lValue)->GetKey() == lKey);
                lModel.insert({lKey, lValue});
                break;
            case 1:
                lMap.Remove(lMap.Find(lKey));
                lModel.erase(lKey);
                break;
            default: {
                auto* lRecord = lMap.FindValue(lValue);
                auto lExpected = lModel.begin();
                while (lExpected != lModel.end() && lExpected->second != lValue) ++lExpected;
                Check((lRecord == nullptr) == (lExpected == lModel.end()));
                if (lRecord) Check(lRecord->GetKey() == lExpected->first);
                break;
            }
        }
        Check(lMap.GetCount() == static_cast<int>(lModel.size()));
        auto lExpected = lModel.begin();
        for (auto* lRecord = lMap.GetFirst(); lRecord;
             lRecord = MoxSimpleMap<int, int>::GetNext(lRecord), ++lExpected) {
            Check(lExpected != lModel.end());
            Check(lRecord->GetKey() == lExpected->first && lRecord->GetValue() == lExpected->second);
        }
        Check(lExpected == lModel.end());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    MoxAssertSetProc(&IgnoreReport);
    moxfuzz::Input lInput(pData, pSize);
    switch (lInput.Byte() % 4) {
        case 0:
            FuzzArray(lInput);
            break;
        case 1:
            FuzzSet<MoxSet<int>>(lInput);
            break;
        case 2:
            FuzzSet<MoxSet<int, MoxLessCompare<int>, MoxHungryAllocator>>(lInput);
            break;
        default:
            FuzzMap(lInput);
            break;
    }
    return 0;
}
