#pragma once
// MoxRedBlackTree: the balanced binary search tree under the ordered containers MoxSet and MoxMap,
// and the string-keyed maps MoxSimpleMap and MoxObjectMap built on them.
//
// Keys are unique: inserting an existing key changes nothing and hands back the existing record.
// Records come one at a time from the allocator given as template parameter
// (moxsdk/core/base/moxcontainerallocators.h); every record is constructed at the start of the memory
// handed out for it and stays at that address until it is removed. Removing a record never moves
// another one: when a record with two children goes, its in-order successor record itself (not a copy
// of its value) takes the removed record's place, so pointers to every other record stay valid.
//
// The tree is split in two halves. MoxRedBlackTreeBase holds the root and does everything that does
// not depend on the stored type (links, colours, rotations, insertion and removal rebalancing); it is
// compiled once in the library. MoxRedBlackTree<DATA, KEY_COMPARE, ALLOCATOR> adds what needs the type:
// comparing keys, constructing, destroying and allocating records.
//
// A comparison KEY_COMPARE()(a, b) returns a signed int: negative when a orders before b, 0 when they
// are equal, positive otherwise. DATA provides the typedef KeyType and `const KeyType& GetKey() const`.
//
// Reports go through _MoxAssert with the file "core/base/moxredblacktree". They can only be made on
// a tree whose links were broken from outside; the operation then goes on as described. A record the
// allocator cannot hand out is reported by the allocator, where the heap refused, not again here.
//
// Nothing here throws; when a stored type's copy constructor throws inside Insert, the record's memory
// is given back and the exception passes on with the tree unchanged.

#include <climits>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#include "moxsdk/core/base/detail/moxredblacktreeinsertreports.h"
#include "moxsdk/core/base/moxcontainerallocators.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxpair.h"
#include "moxsdk/core/moxstring.h"

namespace moxsdk {

class MoxObject;

// The links and colour of a record: the untyped part that the rebalancing works on.
class MoxRedBlackNode {
public:
    enum EColor { eRed = 0, eBlack = 1 };

    MoxRedBlackNode() : mColor(eRed) {}

    // The leftmost record of the subtree rooted here.
    const MoxRedBlackNode* SubtreeMinimum() const;
    MoxRedBlackNode* SubtreeMinimum() { return const_cast<MoxRedBlackNode*>(std::as_const(*this).SubtreeMinimum()); }
    // The next record in key order, nullptr after the last. O(height), amortised O(1) over a traversal.
    const MoxRedBlackNode* Successor() const;
    MoxRedBlackNode* Successor() { return const_cast<MoxRedBlackNode*>(std::as_const(*this).Successor()); }

    MoxRedBlackNode* mParent = nullptr;
    MoxRedBlackNode* mLeftChild = nullptr;
    MoxRedBlackNode* mRightChild = nullptr;
    unsigned int mColor : 2;  // eRed or eBlack; a new record is red
};

// Holds the stored value in front of the links, so that a record reads: value, mParent, mLeftChild,
// mRightChild, mColor.
template <class DATA>
class MoxRedBlackData {
public:
    explicit MoxRedBlackData(const DATA& pData) : mData(pData) {}

    DATA mData;
};

// The type-independent half of the tree: the root and the rebalancing. Every operation is O(height),
// that is O(log n).
class MoxRedBlackTreeBase {
public:
    MoxRedBlackTreeBase(const MoxRedBlackTreeBase&) = delete;
    MoxRedBlackTreeBase(MoxRedBlackTreeBase&&) = delete;
    MoxRedBlackTreeBase& operator=(const MoxRedBlackTreeBase&) = delete;
    MoxRedBlackTreeBase& operator=(MoxRedBlackTreeBase&&) = delete;

protected:
    static constexpr const char* sgFile = "core/base/moxredblacktree";

    MoxRedBlackTreeBase() = default;
    ~MoxRedBlackTreeBase() = default;

    // Restores the colour rules after pNode, red and linked as a leaf, was added.
    void InsertRebalance(MoxRedBlackNode* pNode);
    // Unlinks pNode and keeps the tree balanced; pNode's links end null. With two children, the
    // in-order successor is unlinked first and then takes pNode's place and colour.
    void RemoveNode(MoxRedBlackNode* pNode);
    // pReplacement takes over pNodeToReplace's parent link (or the root) and both its children.
    void ReplaceNode(MoxRedBlackNode* pNodeToReplace, MoxRedBlackNode* pReplacement);
    // Rotations at pNode; nothing happens when pNode or the child that rises is null. Afterwards
    // every link around the rotation is checked and each broken one reported.
    void LeftRotate(MoxRedBlackNode* pNode);
    void RightRotate(MoxRedBlackNode* pNode);
    // Restores the black height after a black record was unlinked; pNode (possibly null) is the child
    // that took its place and pParent that child's parent.
    void RemoveRebalance(MoxRedBlackNode* pParent, MoxRedBlackNode* pNode);
    // The structural invariants listed with MoxRedBlackTree::IsValid, for a tree of pSize records.
    bool IsValidStructure(int pSize) const;

    MoxRedBlackNode* mRoot = nullptr;

private:
    // LeftRotate when pToTheLeft (pNode goes down to the left), else RightRotate.
    void RotateDown(MoxRedBlackNode* pNode, bool pToTheLeft);
};

namespace detail {
// True for an allocator that declares sgFreeMemoryDoesNothing true.
template <class ALLOCATOR, class = void>
struct MoxFreesNothing : std::false_type {};
template <class ALLOCATOR>
struct MoxFreesNothing<ALLOCATOR, std::void_t<decltype(ALLOCATOR::sgFreeMemoryDoesNothing)>>
    : std::integral_constant<bool, ALLOCATOR::sgFreeMemoryDoesNothing> {};
}  // namespace detail

// In-order iteration over the records of a tree: RECORD is the tree's RecordType, or const RecordType
// for read-only traversal. The end is a null record.
template <class RECORD>
class MoxRedBlackIterator {
public:
    MoxRedBlackIterator() : mRecord(nullptr) {}
    explicit MoxRedBlackIterator(RECORD* pRecord) : mRecord(pRecord) {}

    RECORD& operator*() const { return *mRecord; }
    RECORD* operator->() const { return mRecord; }
    RECORD* GetRecord() const { return mRecord; }

    // Moves to the successor; the end stays the end.
    MoxRedBlackIterator& operator++()
    {
        if (mRecord) mRecord = mRecord->Successor();
        return *this;
    }
    MoxRedBlackIterator operator++(int)
    {
        MoxRedBlackIterator lOld = *this;
        ++*this;
        return lOld;
    }

    bool operator==(const MoxRedBlackIterator& pOther) const { return mRecord == pOther.mRecord; }
    bool operator!=(const MoxRedBlackIterator& pOther) const { return mRecord != pOther.mRecord; }

private:
    RECORD* mRecord;
};

template <class RECORD>
using MoxRedBlackConstIterator = MoxRedBlackIterator<const RECORD>;

// Tree members in order: mRoot (in the base), the allocator (constructed with the record size), mSize.
template <class DATA, class KEY_COMPARE, class ALLOCATOR>
class MoxRedBlackTree : protected MoxRedBlackTreeBase {
public:
    typedef DATA DataType;
    typedef typename DATA::KeyType KeyType;

    // One record: the stored value (mData), then mParent, mLeftChild, mRightChild and the 2-bit mColor
    // (0 red, 1 black). The links are MoxRedBlackNode pointers; GetParent and the child getters give
    // them typed.
    class RecordType : public MoxRedBlackData<DATA>, public MoxRedBlackNode {
    public:
        explicit RecordType(const DATA& pData) : MoxRedBlackData<DATA>(pData), MoxRedBlackNode() {}

        const KeyType& GetKey() const { return this->mData.GetKey(); }
        decltype(auto) GetValue() const { return this->mData.GetValue(); }
        decltype(auto) GetValue() { return this->mData.GetValue(); }

        RecordType* GetParent() { return AsRecord(mParent); }
        const RecordType* GetParent() const { return AsRecord(mParent); }
        RecordType* GetLeftChild() { return AsRecord(mLeftChild); }
        const RecordType* GetLeftChild() const { return AsRecord(mLeftChild); }
        RecordType* GetRightChild() { return AsRecord(mRightChild); }
        const RecordType* GetRightChild() const { return AsRecord(mRightChild); }
        const RecordType* Successor() const { return AsRecord(MoxRedBlackNode::Successor()); }
        RecordType* Successor() { return AsRecord(MoxRedBlackNode::Successor()); }
    };

    typedef MoxRedBlackIterator<RecordType> Iterator;
    typedef MoxRedBlackConstIterator<RecordType> ConstIterator;

    MoxRedBlackTree() : mAllocator(sizeof(RecordType)) {}
    ~MoxRedBlackTree() { Clear(); }
    MoxRedBlackTree(const MoxRedBlackTree&) = delete;
    MoxRedBlackTree(MoxRedBlackTree&&) = delete;
    MoxRedBlackTree& operator=(const MoxRedBlackTree&) = delete;
    MoxRedBlackTree& operator=(MoxRedBlackTree&&) = delete;

    // Inserts a copy of pData unless its key is present. Returns {record holding the key, true when
    // it was inserted}; {existing record, false} for a present key; {nullptr, false} when the
    // allocator has no memory (the tree is unchanged). One AllocateRecords(1) per inserted record.
    MoxPair<RecordType*, bool> Insert(const DATA& pData)
    {
        MoxRedBlackNode* lParent = nullptr;
        int lOrder = 0;
        for (MoxRedBlackNode* lCurrent = mRoot; lCurrent;) {
            lOrder = Compare(AsRecord(lCurrent)->GetKey(), pData.GetKey());
            if (lOrder == 0) return MoxPair<RecordType*, bool>(AsRecord(lCurrent), false);
            lParent = lCurrent;
            lCurrent = lOrder < 0 ? lCurrent->mRightChild : lCurrent->mLeftChild;
        }
        void* lBuffer = mAllocator.AllocateRecords(1);
        if (!lBuffer) return MoxPair<RecordType*, bool>(nullptr, false);
        RecordType* lNode = ConstructRecord(lBuffer, pData);
        MOX_ASSERT_MSG(sgFile, lNode == lBuffer, detail::redblacktreeinsertreports::sgRecordMoved.mText);
        ++mSize;
        // The descent ended at an empty place of lParent on the side lOrder gives.
        if (!lParent) {
            mRoot = lNode;
        } else if (lOrder < 0) {
            MOX_ASSERT_MSG(sgFile, lParent->mRightChild == nullptr,
                           detail::redblacktreeinsertreports::sgRightPlaceTaken.mText);
            lParent->mRightChild = lNode;
        } else {
            MOX_ASSERT_MSG(sgFile, lParent->mLeftChild == nullptr,
                           detail::redblacktreeinsertreports::sgLeftPlaceTaken.mText);
            lParent->mLeftChild = lNode;
        }
        lNode->mParent = lParent;
        InsertRebalance(lNode);
        return MoxPair<RecordType*, bool>(lNode, true);
    }

    // The record holding pKey, or nullptr. O(log n).
    RecordType* Find(const KeyType& pKey) { return FindRecord(pKey); }
    const RecordType* Find(const KeyType& pKey) const { return FindRecord(pKey); }

    // Removes the record holding pKey: it is unlinked, destroyed and given back with the allocator's
    // FreeMemory. False when the key is absent. pKey may be the key of the record being removed.
    bool Remove(const KeyType& pKey)
    {
        RecordType* lNode = FindRecord(pKey);
        if (!lNode) return false;
        RemoveNode(lNode);
        --mSize;
        DestroyRecord(lNode);
        return true;
    }

    // Destroys and frees every record, children before their parent. Records that need no destruction,
    // from an allocator whose FreeMemory does nothing (sgFreeMemoryDoesNothing), are dropped in O(1).
    void Clear()
    {
        if (mRoot &&
            !(std::is_trivially_destructible<RecordType>::value && detail::MoxFreesNothing<ALLOCATOR>::value)) {
            RecordType* lRoot = AsRecord(mRoot);
            DestroySubtree(lRoot->GetLeftChild());
            DestroySubtree(lRoot->GetRightChild());
            DestroyRecord(lRoot);
        }
        mRoot = nullptr;
        mSize = 0;
    }

    // Clear, then hands the allocator's pooled memory back to the heap (with MoxHungryAllocator, whose
    // FreeMemory keeps everything, repeated fill-and-clear cycles would otherwise grow the pool).
    void ClearAndRelease()
    {
        Clear();
        mAllocator.ReleaseAll();
    }

    // The first record in key order, nullptr when empty.
    RecordType* Minimum() { return mRoot ? AsRecord(mRoot->SubtreeMinimum()) : nullptr; }
    const RecordType* Minimum() const { return mRoot ? AsRecord(std::as_const(*mRoot).SubtreeMinimum()) : nullptr; }

    int GetSize() const { return mSize; }
    bool Empty() const { return mSize == 0; }

    // Passes a non-negative count to the allocator's Reserve; a negative one is ignored.
    void Reserve(int pRecordCount)
    {
        if (pRecordCount >= 0) mAllocator.Reserve(static_cast<size_t>(pRecordCount));
    }

    // Fills an empty tree with pCount values whose keys strictly increase, pDataAt(i) giving value i, in
    // O(n) and without comparing keys: each subtree's root is the middle value of its range, so all null
    // children lie at two consecutive depths; the records at the greatest depth (below the root) are red
    // and all others black, which keeps every rule IsValid checks. Records are allocated one at a time
    // (AllocateRecords(1)) in key order, as inserting the values in order would. False, with the tree
    // unchanged, when the tree is not empty or pCount is negative; false, with the tree empty again,
    // when a record cannot be had. The keys are not checked.
    template <class DATA_AT>
    bool BuildSorted(int pCount, const DATA_AT& pDataAt)
    {
        if (mRoot || pCount < 0) return false;
        int lDeepest = 0;
        while ((int64_t(2) << lDeepest) <= pCount) ++lDeepest;
        bool lOk = true;
        mRoot = BuildRange(0, pCount, 0, lDeepest, pDataAt, lOk);
        if (!lOk) {
            Clear();
            return false;
        }
        if (mRoot) mRoot->mParent = nullptr;
        mSize = pCount;
        return true;
    }

    RecordType* GetRoot() { return AsRecord(mRoot); }
    const RecordType* GetRoot() const { return AsRecord(mRoot); }
    const ALLOCATOR& GetAllocator() const { return mAllocator; }

    Iterator begin() { return Iterator(Minimum()); }
    Iterator end() { return Iterator(); }
    ConstIterator begin() const { return ConstIterator(Minimum()); }
    ConstIterator end() const { return ConstIterator(); }

    // True when every red-black invariant holds:
    // - the root is black and has no parent; an empty tree has no root and a size of 0;
    // - every colour is red (0) or black (1), and no red record has a red child;
    // - every path from a record down to a null child passes the same number of black records;
    // - every child's parent link points back at its parent;
    // - the height is at most 2 log2(n + 1) (implied by the rules above; checked first so that a
    //   broken tree cannot make the check recurse deeply or loop);
    // - the number of records equals GetSize();
    // - the keys are strictly increasing in order.
    // O(n).
    bool IsValid() const
    {
        if (!IsValidStructure(mSize)) return false;
        const RecordType* lPrevious = nullptr;
        for (const RecordType& lRecord : *this) {
            if (lPrevious && Compare(lPrevious->GetKey(), lRecord.GetKey()) >= 0) return false;
            lPrevious = &lRecord;
        }
        return true;
    }

protected:
    static RecordType* AsRecord(MoxRedBlackNode* pNode) { return static_cast<RecordType*>(pNode); }
    static const RecordType* AsRecord(const MoxRedBlackNode* pNode) { return static_cast<const RecordType*>(pNode); }
    static int Compare(const KeyType& pA, const KeyType& pB) { return KEY_COMPARE()(pA, pB); }

    RecordType* FindRecord(const KeyType& pKey) const
    {
        MoxRedBlackNode* lCurrent = mRoot;
        while (lCurrent) {
            const int lOrder = Compare(AsRecord(lCurrent)->GetKey(), pKey);
            if (lOrder == 0) return AsRecord(lCurrent);
            lCurrent = lOrder < 0 ? lCurrent->mRightChild : lCurrent->mLeftChild;
        }
        return nullptr;
    }

    RecordType* ConstructRecord(void* pBuffer, const DATA& pData)
    {
        try {
            return new (pBuffer) RecordType(pData);
        } catch (...) {
            mAllocator.FreeMemory(pBuffer);
            throw;
        }
    }

    void DestroyRecord(RecordType* pRecord)
    {
        pRecord->~RecordType();
        mAllocator.FreeMemory(pRecord);
    }

    // The subtree of the values [pBegin, pEnd) at depth pDepth, for BuildSorted: left subtree, middle
    // record, right subtree, so that records are made in key order. Without memory pOk becomes false and
    // the records made so far stay linked under the returned root (BuildSorted then clears them); when a
    // copy throws, they are destroyed before the exception passes on. Recursion depth is O(log n).
    template <class DATA_AT>
    RecordType* BuildRange(int pBegin, int pEnd, int pDepth, int pDeepest, const DATA_AT& pDataAt, bool& pOk)
    {
        if (pBegin >= pEnd || !pOk) return nullptr;
        const int lMiddle = pBegin + (pEnd - pBegin) / 2;
        RecordType* lLeft = BuildRange(pBegin, lMiddle, pDepth + 1, pDeepest, pDataAt, pOk);
        if (!pOk) return lLeft;
        RecordType* lNode = nullptr;
        try {
            const DATA lData(pDataAt(lMiddle));
            void* lBuffer = mAllocator.AllocateRecords(1);
            if (!lBuffer) {
                pOk = false;
                return lLeft;
            }
            lNode = ConstructRecord(lBuffer, lData);
        } catch (...) {
            DestroySubtree(lLeft);
            throw;
        }
        lNode->mColor = pDepth == pDeepest && pDepth > 0 ? MoxRedBlackNode::eRed : MoxRedBlackNode::eBlack;
        lNode->mLeftChild = lLeft;
        if (lLeft) lLeft->mParent = lNode;
        RecordType* lRight = nullptr;
        try {
            lRight = BuildRange(lMiddle + 1, pEnd, pDepth + 1, pDeepest, pDataAt, pOk);
        } catch (...) {
            DestroySubtree(lNode);
            throw;
        }
        lNode->mRightChild = lRight;
        if (lRight) lRight->mParent = lNode;
        return lNode;
    }

    // Recursion depth is the tree's height, O(log n).
    void DestroySubtree(RecordType* pRecord)
    {
        if (!pRecord) return;
        DestroySubtree(pRecord->GetLeftChild());
        DestroySubtree(pRecord->GetRightChild());
        DestroyRecord(pRecord);
    }

    ALLOCATOR mAllocator;
    int mSize = 0;
};

// Three-way comparison through operator<: -1, 0 or 1.
template <class T>
struct MoxLessCompare {
    int operator()(const T& pA, const T& pB) const { return pA < pB ? -1 : (pB < pA ? 1 : 0); }
};

// MoxString::Compare: the sign of strcmp.
struct MoxStringCompare {
    int operator()(const MoxString& pA, const MoxString& pB) const { return pA.Compare(pB); }
};

// Orders edges given as (first, second) control points by the second member, then the first:
// pA.mSecond - pB.mSecond when that is not zero, else pA.mFirst - pB.mFirst, so {5, 1} comes before
// {0, 2}. A difference that does not fit in an int is clamped to INT_MIN or INT_MAX, which keeps its
// sign and so keeps the order total for every pair.
struct MoxEdgePairCompare {
    int operator()(const MoxPair<int, int>& pA, const MoxPair<int, int>& pB) const
    {
        int64_t lDifference = int64_t(pA.mSecond) - pB.mSecond;
        if (lDifference == 0) lDifference = int64_t(pA.mFirst) - pB.mFirst;
        if (lDifference < INT_MIN) return INT_MIN;
        if (lDifference > INT_MAX) return INT_MAX;
        return static_cast<int>(lDifference);
    }
};

// The stored value of a set: the element is its own key.
template <class VALUE>
class MoxSetValue {
public:
    typedef VALUE KeyType;
    typedef VALUE ValueType;

    explicit MoxSetValue(const VALUE& pValue) : mValue(pValue) {}
    const VALUE& GetKey() const { return mValue; }
    const VALUE& GetValue() const { return mValue; }

private:
    VALUE mValue;
};

// The stored value of a map: a key and its value; only the value can be changed in place.
template <class KEY, class VALUE>
class MoxMapKeyValuePair {
public:
    typedef KEY KeyType;
    typedef VALUE ValueType;

    MoxMapKeyValuePair(const KEY& pKey, const VALUE& pValue) : mKey(pKey), mValue(pValue) {}
    const KEY& GetKey() const { return mKey; }
    const VALUE& GetValue() const { return mValue; }
    VALUE& GetValue() { return mValue; }

private:
    KEY mKey;
    VALUE mValue;
};

// An ordered set of unique values. Iteration visits the records in ascending order; record.GetValue()
// is the element.
template <class VALUE, class COMPARE = MoxLessCompare<VALUE>, class ALLOCATOR = MoxBaseAllocator>
class MoxSet : public MoxRedBlackTree<MoxSetValue<VALUE>, COMPARE, ALLOCATOR> {
    typedef MoxRedBlackTree<MoxSetValue<VALUE>, COMPARE, ALLOCATOR> Base;

public:
    typedef typename Base::RecordType RecordType;

    // As MoxRedBlackTree::Insert.
    MoxPair<RecordType*, bool> Insert(const VALUE& pValue) { return Base::Insert(MoxSetValue<VALUE>(pValue)); }

    // As MoxRedBlackTree::BuildSorted, pValueAt(i) giving element i.
    template <class VALUE_AT>
    bool BuildSorted(int pCount, const VALUE_AT& pValueAt)
    {
        return Base::BuildSorted(pCount, [&pValueAt](int pIndex) { return MoxSetValue<VALUE>(pValueAt(pIndex)); });
    }
};

// An ordered map of unique keys to values; records hold a KeyValuePair.
template <class KEY, class VALUE, class COMPARE = MoxLessCompare<KEY>, class ALLOCATOR = MoxBaseAllocator>
class MoxMap : public MoxRedBlackTree<MoxMapKeyValuePair<KEY, VALUE>, COMPARE, ALLOCATOR> {
    typedef MoxRedBlackTree<MoxMapKeyValuePair<KEY, VALUE>, COMPARE, ALLOCATOR> Base;

public:
    typedef MoxMapKeyValuePair<KEY, VALUE> KeyValuePair;
    typedef typename Base::RecordType RecordType;

    using Base::Insert;
    // As MoxRedBlackTree::Insert: a present key keeps its value.
    MoxPair<RecordType*, bool> Insert(const KEY& pKey, const VALUE& pValue)
    {
        return Base::Insert(KeyValuePair(pKey, pValue));
    }
};

namespace detail {
// Keeps a template parameter out of argument deduction.
template <class T>
struct MoxNonDeduced {
    typedef T Type;
};
}  // namespace detail

// A map with record-based access, over MoxMap with MoxBaseAllocator.
template <class KEY, class VALUE, class COMPARE = MoxLessCompare<KEY>>
class MoxSimpleMap {
public:
    typedef MoxMap<KEY, VALUE, COMPARE, MoxBaseAllocator> MapType;
    typedef typename MapType::RecordType RecordType;
    typedef typename MapType::Iterator Iterator;
    typedef typename MapType::ConstIterator ConstIterator;

    // Adds the pair unless pKey is present, in which case the record keeps its value. Returns the
    // record holding pKey, nullptr when memory ran out.
    RecordType* Add(const KEY& pKey, const VALUE& pValue) { return mMap.Insert(pKey, pValue).mFirst; }

    // The record holding pKey, or nullptr. O(log n).
    RecordType* Find(const KEY& pKey) { return mMap.Find(pKey); }
    const RecordType* Find(const KEY& pKey) const { return mMap.Find(pKey); }

    // The first record in key order whose value == pValue, or nullptr. A linear search, O(n).
    RecordType* FindValue(const VALUE& pValue)
    {
        for (RecordType& lRecord : mMap)
            if (lRecord.GetValue() == pValue) return &lRecord;
        return nullptr;
    }
    // Find by value, as FindValue; present only when the value type differs from the key type.
    template <class V = VALUE, class = std::enable_if_t<!std::is_same<V, KEY>::value>>
    RecordType* Find(const typename detail::MoxNonDeduced<V>::Type& pValue)
    {
        return FindValue(pValue);
    }

    // Removes a record of this map; nullptr does nothing.
    void Remove(RecordType* pRecord)
    {
        if (pRecord) mMap.Remove(pRecord->GetKey());
    }

    // The first record in key order and the one after pRecord; nullptr at the end (or for nullptr).
    RecordType* GetFirst() { return mMap.Minimum(); }
    const RecordType* GetFirst() const { return mMap.Minimum(); }
    static RecordType* GetNext(RecordType* pRecord) { return pRecord ? pRecord->Successor() : nullptr; }
    static const RecordType* GetNext(const RecordType* pRecord) { return pRecord ? pRecord->Successor() : nullptr; }

    void Clear() { mMap.Clear(); }
    void Reserve(int pRecordCount) { mMap.Reserve(pRecordCount); }
    int GetCount() const { return mMap.GetSize(); }
    bool IsValid() const { return mMap.IsValid(); }

    Iterator begin() { return mMap.begin(); }
    Iterator end() { return mMap.end(); }
    ConstIterator begin() const { return mMap.begin(); }
    ConstIterator end() const { return mMap.end(); }

private:
    MapType mMap;
};

// A simple map whose values are objects.
template <class KEY, class COMPARE = MoxLessCompare<KEY>>
class MoxObjectMap : public MoxSimpleMap<KEY, MoxObject*, COMPARE> {
public:
    typedef typename MoxSimpleMap<KEY, MoxObject*, COMPARE>::RecordType RecordType;

    // The object of pRecord, nullptr for nullptr.
    MoxObject* Get(const RecordType* pRecord) const { return pRecord ? pRecord->GetValue() : nullptr; }
};

}  // namespace moxsdk
