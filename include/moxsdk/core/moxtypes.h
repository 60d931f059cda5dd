#pragma once
// Value type codes with which typed buffers are tagged.

namespace moxsdk {

enum EMoxType {
    eMoxUndefined = 0,
    eMoxChar,
    eMoxUChar,
    eMoxShort,
    eMoxUShort,
    eMoxUInt,
    eMoxLongLong,
    eMoxULongLong,
    eMoxHalfFloat,
    eMoxBool,     // 9
    eMoxInt,      // 10
    eMoxFloat,    // 11
    eMoxDouble,   // 12
    eMoxDouble2,  // 13
    eMoxDouble3,  // 14
    eMoxDouble4,  // 15
    eMoxDouble4x4,
    eMoxEnum,
    eMoxString,
    eMoxTime,
    eMoxReference  // 20
};

// A value type descriptor: wraps one EMoxType code.
class MoxDataType {
public:
    MoxDataType() = default;
    explicit MoxDataType(EMoxType pType) : mType(pType) {}
    EMoxType GetType() const { return mType; }
    bool operator==(const MoxDataType& pOther) const { return mType == pOther.mType; }
    bool operator!=(const MoxDataType& pOther) const { return mType != pOther.mType; }

private:
    EMoxType mType = eMoxUndefined;
};

// Memory clear mode of sized buffers: 0 leaves new values as the buffer's storage gives them (zero),
// 1 clears them explicitly.
enum EMoxMemoryClearMode { eMoxMemoryNoClear = 0, eMoxMemoryClear = 1 };

}  // namespace moxsdk
