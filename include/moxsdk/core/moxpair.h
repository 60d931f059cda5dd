#pragma once

namespace moxsdk {

template <class A, class B>
class MoxPair {
public:
    MoxPair() : mFirst(), mSecond() {}
    MoxPair(const A& pFirst, const B& pSecond) : mFirst(pFirst), mSecond(pSecond) {}
    bool operator==(const MoxPair& pOther) const { return mFirst == pOther.mFirst && mSecond == pOther.mSecond; }
    bool operator!=(const MoxPair& pOther) const { return !(*this == pOther); }

    A mFirst;
    B mSecond;
};

}  // namespace moxsdk
