#include "moxsdk/core/moxstring.h"

#include <cstring>

#include "core/detail/moxcorereports.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

MoxString::MoxString() = default;

MoxString::MoxString(const char* pText)
{
    Assign(pText);
}

MoxString::MoxString(const MoxString& pOther)
{
    Assign(pOther.mData);
}

MoxString::MoxString(MoxString&& pOther) noexcept : mData(pOther.mData), mLength(pOther.mLength)
{
    pOther.mData = nullptr;
    pOther.mLength = 0;
}

MoxString::~MoxString()
{
    MoxFree(mData);
}

MoxString& MoxString::operator=(const MoxString& pOther)
{
    if (this != &pOther) Assign(pOther.mData);
    return *this;
}

MoxString& MoxString::operator=(MoxString&& pOther) noexcept
{
    if (this != &pOther) {
        MoxFree(mData);
        mData = pOther.mData;
        mLength = pOther.mLength;
        pOther.mData = nullptr;
        pOther.mLength = 0;
    }
    return *this;
}

const char* MoxString::Buffer() const
{
    return mData ? mData : "";
}

int MoxString::Compare(const char* pOther) const
{
    const int lResult = std::strcmp(Buffer(), pOther ? pOther : "");
    return (lResult > 0) - (lResult < 0);
}

void MoxString::Assign(const char* pText)
{
    const size_t lLength = pText ? std::strlen(pText) : 0;
    char* lData = nullptr;
    if (lLength > 0 && lLength < 0x7fffffff) {
        lData = static_cast<char*>(MoxMalloc(lLength + 1));
        if (lData)
            std::memcpy(lData, pText, lLength + 1);
        else
            MOX_REPORT("core/moxstring", detail::stringreports::sgNoTextMemory.mText);
    }
    MoxFree(mData);
    mData = lData;
    mLength = lData ? static_cast<int>(lLength) : 0;
}

}  // namespace moxsdk
