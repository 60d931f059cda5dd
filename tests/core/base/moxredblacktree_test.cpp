#include "moxsdk/core/base/moxredblacktree.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <set>
#include <stdexcept>
#include <vector>

#include "moxsdk/core/moxstring.h"
#include "support/moxtestsupport.h"

namespace {

using moxsdk::MoxBaseAllocator;
using moxsdk::MoxEdgePairCompare;
using moxsdk::MoxHungryAllocator;
using moxsdk::MoxMap;
using moxsdk::MoxObject;
using moxsdk::MoxObjectMap;
using moxsdk::MoxPair;
using moxsdk::MoxSet;
using moxsdk::MoxSetValue;
using moxsdk::MoxSimpleMap;
using moxsdk::MoxString;
using moxsdk::MoxStringCompare;

const char* const sgFile = "core/base/moxredblacktree";

// An element that counts its constructions and destructions, and notices a destructor running twice
// on the same object (records of a hungry allocator stay readable after destruction).
// The counting copy stands in for moves, which would otherwise go uncounted.
class Counted {  // NOLINT(cppcoreguidelines-special-member-functions)
public:
    explicit Counted(int pKey) : mKey(pKey), mAlive(sgAlive) { ++sgLive; }
    Counted(const Counted& pOther) : mKey(pOther.mKey), mAlive(sgAlive) { ++sgLive; }
    Counted& operator=(const Counted& pOther)
    {
        mKey = pOther.mKey;
        return *this;
    }
    ~Counted()
    {
        if (mAlive == sgAlive) {
            --sgLive;
        } else {
            ++sgBadDestructions;
        }
        mAlive = sgDead;
    }

    int Key() const { return mKey; }

    static void Reset()
    {
        sgLive = 0;
        sgBadDestructions = 0;
    }
    static int sgLive;
    static int sgBadDestructions;

private:
    static constexpr unsigned sgAlive = 0xA11FEu;
    static constexpr unsigned sgDead = 0xDEADu;
    int mKey;
    unsigned mAlive;
};
int Counted::sgLive = 0;
int Counted::sgBadDestructions = 0;

struct CountedCompare {
    int operator()(const Counted& pA, const Counted& pB) const
    {
        return pA.Key() < pB.Key() ? -1 : (pA.Key() > pB.Key() ? 1 : 0);
    }
};

// Exposes the protected rebalancing operations, the root and the size, to build broken trees.
template <class TREE>
class TreeAccess : public TREE {
public:
    using TREE::LeftRotate;
    using TREE::mRoot;
    using TREE::mSize;
    using TREE::RemoveNode;
    using TREE::RemoveRebalance;
    using TREE::ReplaceNode;
    using TREE::RightRotate;
    // Drops the records without destroying them (they belong to the test).
    void Forget()
    {
        mRoot = nullptr;
        mSize = 0;
    }
};

// Black height of the subtree at pRecord (a null child counts as one), or -1 when a colour rule or a
// parent link is broken. Written independently of IsValid.
template <class RECORD>
int BlackHeight(const RECORD* pRecord, const RECORD* pParent)
{
    if (!pRecord) return 1;
    if (pRecord->GetParent() != pParent || pRecord->mColor > 1) return -1;
    const bool lRed = pRecord->mColor == 0;
    const RECORD* lLeft = pRecord->GetLeftChild();
    const RECORD* lRight = pRecord->GetRightChild();
    if (lRed && ((lLeft && lLeft->mColor == 0) || (lRight && lRight->mColor == 0))) return -1;
    const int lLeftHeight = BlackHeight(lLeft, pRecord);
    const int lRightHeight = BlackHeight(lRight, pRecord);
    if (lLeftHeight < 0 || lLeftHeight != lRightHeight) return -1;
    return lLeftHeight + (lRed ? 0 : 1);
}

template <class TREE>
bool ColoursHold(const TREE& pTree)
{
    const auto* lRoot = pTree.GetRoot();
    if (lRoot && lRoot->mColor != 1) return false;
    return BlackHeight(lRoot, static_cast<decltype(lRoot)>(nullptr)) > 0;
}

template <class TREE>
std::vector<int> InOrder(const TREE& pTree)
{
    std::vector<int> lValues;
    for (const auto& lRecord : pTree) lValues.push_back(lRecord.GetValue());
    return lValues;
}

typedef MoxSet<int> IntSet;
typedef IntSet::RecordType IntRecord;

TEST(MoxRedBlackTree, InsertingAnExistingKeyReturnsTheExistingRecordAndFalse)
{
    IntSet lSet;
    const MoxPair<IntRecord*, bool> lFirst = lSet.Insert(5);
    ASSERT_NE(lFirst.mFirst, nullptr);
    EXPECT_TRUE(lFirst.mSecond);
    EXPECT_EQ(lFirst.mFirst->GetValue(), 5);
    const MoxPair<IntRecord*, bool> lAgain = lSet.Insert(5);
    EXPECT_EQ(lAgain.mFirst, lFirst.mFirst);
    EXPECT_FALSE(lAgain.mSecond);
    EXPECT_EQ(lSet.GetSize(), 1);
}

TEST(MoxRedBlackTree, InsertingOneToSevenIncreasingGivesABlackRootHoldingTwo)
{
    IntSet lSet;
    for (int i = 1; i <= 7; ++i) lSet.Insert(i);
    const IntRecord* lRoot = lSet.GetRoot();
    ASSERT_NE(lRoot, nullptr);
    EXPECT_EQ(lRoot->GetValue(), 2);
    EXPECT_EQ(lRoot->mColor, 1u);
    EXPECT_EQ(BlackHeight(lRoot, static_cast<const IntRecord*>(nullptr)), 3);
    EXPECT_TRUE(ColoursHold(lSet));
    EXPECT_TRUE(lSet.IsValid());
    // The exact shape: 2 (1, 4 (3, 6 (5, 7))), with 4 red, 6 black, 5 and 7 red.
    EXPECT_EQ(lRoot->GetLeftChild()->GetValue(), 1);
    const IntRecord* lFour = lRoot->GetRightChild();
    EXPECT_EQ(lFour->GetValue(), 4);
    EXPECT_EQ(lFour->mColor, 0u);
    EXPECT_EQ(lFour->GetRightChild()->GetValue(), 6);
    EXPECT_EQ(lFour->GetRightChild()->mColor, 1u);
    EXPECT_EQ(lFour->GetRightChild()->GetLeftChild()->mColor, 0u);
    EXPECT_EQ(lFour->GetRightChild()->GetRightChild()->mColor, 0u);
    EXPECT_EQ(InOrder(lSet), (std::vector<int>{1, 2, 3, 4, 5, 6, 7}));
}

TEST(MoxRedBlackTree, RemovingARecordWithTwoChildrenMovesTheSuccessorRecordIntoItsPlace)
{
    IntSet lSet;
    std::vector<IntRecord*> lRecordOf(8, nullptr);
    for (int i = 1; i <= 7; ++i) lRecordOf[i] = lSet.Insert(i).mFirst;
    IntRecord* lFour = lRecordOf[4];
    IntRecord* lRoot = lSet.GetRoot();
    ASSERT_TRUE(lFour->GetLeftChild() && lFour->GetRightChild());
    IntRecord* lThree = lFour->GetLeftChild();
    IntRecord* lSix = lFour->GetRightChild();

    EXPECT_TRUE(lSet.Remove(4));
    // The successor 5 is the same record as before, now where 4 was.
    IntRecord* lFive = lRecordOf[5];
    EXPECT_EQ(lRoot->GetRightChild(), lFive);
    EXPECT_EQ(lFive->GetParent(), lRoot);
    EXPECT_EQ(lFive->GetLeftChild(), lThree);
    EXPECT_EQ(lFive->GetRightChild(), lSix);
    EXPECT_EQ(lFive->GetValue(), 5);
    for (int i : {1, 2, 3, 5, 6, 7}) {
        EXPECT_EQ(lSet.Find(i), lRecordOf[i]);
        EXPECT_EQ(lRecordOf[i]->GetValue(), i);
    }
    EXPECT_EQ(InOrder(lSet), (std::vector<int>{1, 2, 3, 5, 6, 7}));
    EXPECT_TRUE(lSet.IsValid());

    // The root has two children too: its successor 3 becomes the root record.
    EXPECT_TRUE(lSet.Remove(2));
    EXPECT_EQ(lSet.GetRoot(), lRecordOf[3]);
    EXPECT_EQ(InOrder(lSet), (std::vector<int>{1, 3, 5, 6, 7}));
    for (int i : {1, 3, 5, 6, 7}) EXPECT_EQ(lSet.Find(i), lRecordOf[i]);
    EXPECT_TRUE(lSet.IsValid());
    EXPECT_EQ(lSet.GetSize(), 5);
}

TEST(MoxRedBlackTree, RemovingAnAbsentKeyReturnsFalse)
{
    IntSet lSet;
    EXPECT_FALSE(lSet.Remove(3));
    lSet.Insert(1);
    lSet.Insert(5);
    EXPECT_FALSE(lSet.Remove(3));
    EXPECT_EQ(lSet.GetSize(), 2);
    EXPECT_TRUE(lSet.Remove(5));
    EXPECT_FALSE(lSet.Remove(5));
    EXPECT_EQ(InOrder(lSet), std::vector<int>{1});
}

TEST(MoxEdgePairCompare, OrdersBySecondMemberThenFirst)
{
    const MoxEdgePairCompare lCompare;
    EXPECT_EQ(lCompare(MoxPair<int, int>(5, 1), MoxPair<int, int>(0, 2)), -1);
    EXPECT_EQ(lCompare(MoxPair<int, int>(0, 2), MoxPair<int, int>(5, 1)), 1);
    EXPECT_EQ(lCompare(MoxPair<int, int>(7, 2), MoxPair<int, int>(3, 2)), 4);
    EXPECT_EQ(lCompare(MoxPair<int, int>(3, 9), MoxPair<int, int>(3, 9)), 0);
    // Differences beyond an int keep their sign.
    EXPECT_EQ(lCompare(MoxPair<int, int>(0, INT_MAX), MoxPair<int, int>(0, -2)), INT_MAX);
    EXPECT_EQ(lCompare(MoxPair<int, int>(0, INT_MIN), MoxPair<int, int>(0, 1)), INT_MIN);
    EXPECT_EQ(lCompare(MoxPair<int, int>(INT_MIN, 4), MoxPair<int, int>(INT_MAX, 4)), INT_MIN);

    MoxSet<MoxPair<int, int>, MoxEdgePairCompare, MoxHungryAllocator> lEdges;
    lEdges.Insert(MoxPair<int, int>(0, 2));
    lEdges.Insert(MoxPair<int, int>(5, 1));
    lEdges.Insert(MoxPair<int, int>(1, 2));
    lEdges.Insert(MoxPair<int, int>(INT_MIN, INT_MAX));
    lEdges.Insert(MoxPair<int, int>(3, INT_MIN));
    std::vector<MoxPair<int, int>> lOrder;
    for (const auto& lRecord : lEdges) lOrder.push_back(lRecord.GetValue());
    EXPECT_EQ(lOrder, (std::vector<MoxPair<int, int>>{{3, INT_MIN}, {5, 1}, {0, 2}, {1, 2}, {INT_MIN, INT_MAX}}));
    EXPECT_TRUE(lEdges.IsValid());
}

// One in-order walk that checks, independently of IsValid, the colour rules, the black height and
// the parent links, and that the keys are the oracle's in order, each held by the record recorded for
// it when it was inserted. Returns the black height of the subtree, or -1.
template <class RECORD>
int WalkAgainstOracle(const RECORD* pRecord, const RECORD* pParent, std::set<int>::const_iterator& pExpected,
                      const std::set<int>& pOracle, const std::vector<const RECORD*>& pRecordOf)
{
    if (!pRecord) return 1;
    if (pRecord->GetParent() != pParent || pRecord->mColor > 1) return -1;
    const bool lRed = pRecord->mColor == 0;
    const RECORD* lLeft = pRecord->GetLeftChild();
    const RECORD* lRight = pRecord->GetRightChild();
    if (lRed && ((lLeft && lLeft->mColor == 0) || (lRight && lRight->mColor == 0))) return -1;
    const int lLeftHeight = WalkAgainstOracle(lLeft, pRecord, pExpected, pOracle, pRecordOf);
    if (lLeftHeight < 0 || pExpected == pOracle.end() || pRecord->GetValue().Key() != *pExpected) return -1;
    if (pRecord != pRecordOf[static_cast<size_t>(*pExpected)]) return -1;
    ++pExpected;
    const int lRightHeight = WalkAgainstOracle(lRight, pRecord, pExpected, pOracle, pRecordOf);
    if (lRightHeight != lLeftHeight) return -1;
    return lLeftHeight + (lRed ? 0 : 1);
}

template <class SET, class RECORD>
bool MatchesOracle(const SET& pSet, const std::set<int>& pOracle, const std::vector<const RECORD*>& pRecordOf)
{
    const RECORD* lRoot = pSet.GetRoot();
    if (lRoot && lRoot->mColor != 1) return false;
    std::set<int>::const_iterator lExpected = pOracle.begin();
    const int lHeight = WalkAgainstOracle(lRoot, static_cast<const RECORD*>(nullptr), lExpected, pOracle, pRecordOf);
    return lHeight > 0 && lExpected == pOracle.end();
}

// Random inserts and removes against std::set. After every pCheckEvery-th step: IsValid, and
// MatchesOracle (colour rules, black height, in-order sequence, each key still held by the very record
// that was created for it).
template <class ALLOCATOR>
void RunAgainstStdSet(unsigned pSeed, int pOperations, int pKeyRange, int pCheckEvery)
{
    typedef MoxSet<Counted, CountedCompare, ALLOCATOR> Set;
    Counted::Reset();
    {
        Set lSet;
        std::set<int> lOracle;
        std::vector<const typename Set::RecordType*> lRecordOf(static_cast<size_t>(pKeyRange), nullptr);
        std::mt19937 lRandom(pSeed);
        for (int i = 0; i < pOperations; ++i) {
            // Sweep the size from empty to large and back: the insert share cycles 30%, 50%, 80%, 50%.
            static const unsigned sgInsertShare[] = {30, 50, 80, 50};
            const bool lInsert = lRandom() % 100 < sgInsertShare[(i / 4000) % 4];
            const int lKey = static_cast<int>(lRandom() % static_cast<unsigned>(pKeyRange));
            if (lInsert) {
                const auto lResult = lSet.Insert(Counted(lKey));
                const bool lNew = lOracle.insert(lKey).second;
                ASSERT_EQ(lResult.mSecond, lNew) << "step " << i;
                if (lNew) lRecordOf[static_cast<size_t>(lKey)] = lResult.mFirst;
                ASSERT_EQ(lResult.mFirst, lRecordOf[static_cast<size_t>(lKey)]) << "step " << i;
            } else {
                ASSERT_EQ(lSet.Remove(Counted(lKey)), lOracle.erase(lKey) == 1) << "step " << i;
                lRecordOf[static_cast<size_t>(lKey)] = nullptr;
            }
            ASSERT_EQ(Counted::sgLive, static_cast<int>(lOracle.size())) << "step " << i;
            if (i % pCheckEvery != 0) continue;
            ASSERT_TRUE(lSet.IsValid()) << "step " << i;
            ASSERT_EQ(lSet.GetSize(), static_cast<int>(lOracle.size())) << "step " << i;
            ASSERT_TRUE(MatchesOracle(lSet, lOracle, lRecordOf)) << "step " << i;
        }
        lSet.Clear();
        EXPECT_EQ(Counted::sgLive, 0);
        for (int i = 0; i < 100; ++i) lSet.Insert(Counted(i));
    }
    EXPECT_EQ(Counted::sgLive, 0);
    EXPECT_EQ(Counted::sgBadDestructions, 0);
}

TEST(MoxRedBlackTreeRandom, BaseAllocatorCheckedAfterEveryStep)
{
    RunAgainstStdSet<MoxBaseAllocator>(1u, 100000, 128, 1);
}

TEST(MoxRedBlackTreeRandom, HungryAllocatorCheckedAfterEveryStep)
{
    RunAgainstStdSet<MoxHungryAllocator>(2u, 50000, 128, 1);
}

TEST(MoxRedBlackTreeRandom, LargerTreesCheckedPeriodically)
{
    RunAgainstStdSet<MoxBaseAllocator>(3u, 60000, 20000, 499);
    RunAgainstStdSet<MoxHungryAllocator>(4u, 40000, 5000, 97);
}

TEST(MoxRedBlackTree, ClearDestroysEveryRecordAndTheTreeIsReusable)
{
    moxtest::AllocationTracker lTracker;
    Counted::Reset();
    {
        MoxSet<Counted, CountedCompare> lSet;
        for (int i = 0; i < 50; ++i) lSet.Insert(Counted((i * 37) % 101));
        EXPECT_EQ(Counted::sgLive, 50);
        EXPECT_EQ(lTracker.Live(), 50);
        lSet.Clear();
        EXPECT_EQ(Counted::sgLive, 0);
        EXPECT_EQ(lTracker.Live(), 0);
        EXPECT_EQ(lSet.GetSize(), 0);
        EXPECT_EQ(lSet.GetRoot(), nullptr);
        EXPECT_TRUE(lSet.IsValid());
        lSet.Clear();
        lSet.Insert(Counted(3));
        EXPECT_EQ(lSet.GetSize(), 1);
        EXPECT_TRUE(lSet.IsValid());
    }
    EXPECT_EQ(Counted::sgLive, 0);
    EXPECT_EQ(Counted::sgBadDestructions, 0);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxRedBlackTree, OneAllocationPerInsertedRecordAndOneFreePerRemovedRecord)
{
    moxtest::AllocationTracker lTracker;
    IntSet lSet;
    lSet.Reserve(100);
    EXPECT_EQ(lTracker.Requests(), 0);
    lSet.Insert(4);
    lSet.Insert(8);
    EXPECT_EQ(lTracker.Sizes(), (std::vector<size_t>{sizeof(IntRecord), sizeof(IntRecord)}));
    lSet.Insert(4);
    EXPECT_EQ(lTracker.Requests(), 2);
    EXPECT_TRUE(lSet.Remove(4));
    EXPECT_EQ(lTracker.Live(), 1);
}

TEST(MoxRedBlackTree, RecordStartsTheMemoryHandedOutAndReadsValueThenLinks)
{
    MoxSet<int, moxsdk::MoxLessCompare<int>, MoxHungryAllocator> lSet;
    lSet.Reserve(10);
    EXPECT_EQ(lSet.GetAllocator().GetRecordPoolSize(), 10u);
    const auto* lRecord = lSet.Insert(42).mFirst;
    ASSERT_NE(lRecord, nullptr);
    EXPECT_EQ(static_cast<const void*>(lRecord), static_cast<const void*>(lSet.GetAllocator().GetBlocks()->GetData()));
    const char* lStart = reinterpret_cast<const char*>(lRecord);
    const char* lValue = reinterpret_cast<const char*>(&lRecord->mData);
    const char* lParent = reinterpret_cast<const char*>(&lRecord->mParent);
    const char* lLeft = reinterpret_cast<const char*>(&lRecord->mLeftChild);
    const char* lRight = reinterpret_cast<const char*>(&lRecord->mRightChild);
    EXPECT_EQ(lValue, lStart);
    EXPECT_LT(lValue, lParent);
    EXPECT_LT(lParent, lLeft);
    EXPECT_LT(lLeft, lRight);
    EXPECT_EQ(lRecord->mColor, 1u);  // the root is black
    lSet.Reserve(-1);
    EXPECT_EQ(lSet.GetAllocator().GetRecordPoolSize(), 10u);
}

TEST(MoxRedBlackTree, IteratorsWalkInOrderAndStopAtTheEnd)
{
    IntSet lSet;
    EXPECT_TRUE(lSet.begin() == lSet.end());
    EXPECT_EQ(lSet.Minimum(), nullptr);
    for (int lValue : {50, 20, 80, 10, 30, 70, 90, 60}) lSet.Insert(lValue);
    const IntSet& lConstSet = lSet;
    EXPECT_EQ(InOrder(lConstSet), (std::vector<int>{10, 20, 30, 50, 60, 70, 80, 90}));
    EXPECT_EQ(lConstSet.Minimum()->GetValue(), 10);
    IntSet::Iterator lIterator = lSet.begin();
    IntSet::Iterator lOld = lIterator++;
    EXPECT_EQ(lOld->GetValue(), 10);
    EXPECT_EQ((*lIterator).GetValue(), 20);
    IntSet::ConstIterator lEnd = lConstSet.end();
    ++lEnd;
    EXPECT_TRUE(lEnd == lConstSet.end());
    const IntRecord* lLast = lSet.Find(90);
    EXPECT_EQ(lLast->Successor(), nullptr);
    EXPECT_EQ(lSet.Find(30)->Successor()->GetValue(), 50);
}

TEST(MoxSet, IntSetVisitsMembersInAscendingOrder)
{
    MoxSet<int> lSet;
    lSet.Reserve(32);
    for (int lValue : {7, -3, 12, 0, 7, 5}) lSet.Insert(lValue);
    EXPECT_EQ(lSet.GetSize(), 5);
    EXPECT_EQ(InOrder(lSet), (std::vector<int>{-3, 0, 5, 7, 12}));
    ASSERT_NE(lSet.Find(12), nullptr);
    EXPECT_EQ(lSet.Find(12)->GetKey(), 12);
    EXPECT_EQ(lSet.Find(13), nullptr);
    EXPECT_TRUE(lSet.Remove(0));
    EXPECT_EQ(InOrder(lSet), (std::vector<int>{-3, 5, 7, 12}));
    lSet.Clear();
    EXPECT_EQ(lSet.GetSize(), 0);
    EXPECT_TRUE(lSet.Empty());

    MoxSet<long long> lWide;
    lWide.Insert(1LL << 40);
    lWide.Insert(-(1LL << 40));
    EXPECT_EQ(lWide.Minimum()->GetValue(), -(1LL << 40));
}

TEST(MoxMap, KeyValuePairsOrderedByKeyWithValuesEditableInPlace)
{
    typedef MoxMap<MoxString, int, MoxStringCompare> Map;
    Map lMap;
    EXPECT_TRUE(lMap.Insert("pear", 3).mSecond);
    EXPECT_TRUE(lMap.Insert("apple", 1).mSecond);
    EXPECT_TRUE(lMap.Insert(Map::KeyValuePair("fig", 2)).mSecond);
    const MoxPair<Map::RecordType*, bool> lAgain = lMap.Insert("apple", 99);
    EXPECT_FALSE(lAgain.mSecond);
    EXPECT_EQ(lAgain.mFirst->GetValue(), 1);  // a present key keeps its value
    Map::RecordType* lFig = lMap.Find("fig");
    ASSERT_NE(lFig, nullptr);
    EXPECT_EQ(lFig->GetKey(), "fig");
    lFig->GetValue() = 20;
    EXPECT_EQ(lMap.Find("fig")->mData.GetValue(), 20);
    std::vector<std::string> lKeys;
    for (const auto& lRecord : lMap) lKeys.emplace_back(lRecord.GetKey().Buffer());
    EXPECT_EQ(lKeys, (std::vector<std::string>{"apple", "fig", "pear"}));
    EXPECT_TRUE(lMap.Remove("apple"));
    EXPECT_EQ(lMap.Find("apple"), nullptr);
    EXPECT_EQ(lMap.GetSize(), 2);
    EXPECT_TRUE(lMap.IsValid());
}

TEST(MoxSimpleMap, AddFindRemoveAndWalk)
{
    typedef MoxSimpleMap<MoxString, int, MoxStringCompare> Map;
    Map lMap;
    lMap.Reserve(8);
    EXPECT_EQ(lMap.GetFirst(), nullptr);
    EXPECT_EQ(lMap.GetNext(static_cast<Map::RecordType*>(nullptr)), nullptr);
    Map::RecordType* lB = lMap.Add("b", 2);
    lMap.Add("c", 3);
    lMap.Add("a", 1);
    EXPECT_EQ(lMap.Add("b", 7), lB);
    EXPECT_EQ(lB->GetValue(), 2);
    EXPECT_EQ(lMap.GetCount(), 3);

    EXPECT_EQ(lMap.Find("b"), lB);
    EXPECT_EQ(lMap.Find("z"), nullptr);
    EXPECT_EQ(lMap.Find(2), lB);  // by value, a linear search
    EXPECT_EQ(lMap.Find(9), nullptr);
    EXPECT_EQ(lMap.FindValue(3)->GetKey(), "c");

    std::vector<std::string> lKeys;
    for (Map::RecordType* lRecord = lMap.GetFirst(); lRecord; lRecord = Map::GetNext(lRecord))
        lKeys.emplace_back(lRecord->GetKey().Buffer());
    EXPECT_EQ(lKeys, (std::vector<std::string>{"a", "b", "c"}));

    lMap.Remove(lB);
    lMap.Remove(nullptr);
    EXPECT_EQ(lMap.GetCount(), 2);
    EXPECT_EQ(lMap.Find("b"), nullptr);
    EXPECT_EQ(lMap.GetFirst()->GetKey(), "a");
    EXPECT_EQ(lMap.GetNext(lMap.GetFirst())->GetKey(), "c");
    EXPECT_TRUE(lMap.IsValid());
    lMap.Clear();
    EXPECT_EQ(lMap.GetCount(), 0);
    EXPECT_EQ(lMap.GetFirst(), nullptr);

    // With the same key and value type, Find takes the key only; FindValue searches by value.
    MoxSimpleMap<int, int> lSame;
    lSame.Add(1, 10);
    lSame.Add(2, 20);
    EXPECT_EQ(lSame.Find(2)->GetValue(), 20);
    EXPECT_EQ(lSame.FindValue(10)->GetKey(), 1);
}

TEST(MoxObjectMap, GetReturnsTheRecordsObject)
{
    int lStorage[2] = {0, 0};
    MoxObject* lFirst = reinterpret_cast<MoxObject*>(&lStorage[0]);
    MoxObject* lSecond = reinterpret_cast<MoxObject*>(&lStorage[1]);
    MoxObjectMap<MoxString, MoxStringCompare> lMap;
    lMap.Add("mesh", lFirst);
    lMap.Add("camera", lSecond);
    EXPECT_EQ(lMap.Get(lMap.Find("mesh")), lFirst);
    EXPECT_EQ(lMap.Get(lMap.Find("camera")), lSecond);
    EXPECT_EQ(lMap.Get(lMap.Find("light")), nullptr);
    EXPECT_EQ(lMap.Find(lSecond)->GetKey(), "camera");
    EXPECT_EQ(lMap.GetFirst()->GetKey(), "camera");
}

TEST(MoxRedBlackTreeFailure, InsertWithoutMemoryFailsCleanly)
{
    moxtest::ReportCapture lCapture;
    moxtest::AllocationTracker lTracker;
    Counted::Reset();
    {
        MoxSet<Counted, CountedCompare> lSet;
        lTracker.FailAll(true);
        const auto lResult = lSet.Insert(Counted(1));
        EXPECT_EQ(lResult.mFirst, nullptr);
        EXPECT_FALSE(lResult.mSecond);
        EXPECT_EQ(lSet.GetSize(), 0);
        EXPECT_TRUE(lSet.IsValid());
        EXPECT_EQ(Counted::sgLive, 0);
        lTracker.FailAll(false);

        for (int i = 0; i < 100; ++i) {
            if (i == 40) lTracker.FailAt(1);
            const auto lInserted = lSet.Insert(Counted(i));
            EXPECT_EQ(lInserted.mSecond, i != 40);
            EXPECT_EQ(lInserted.mFirst == nullptr, i == 40);
            ASSERT_TRUE(lSet.IsValid());
        }
        EXPECT_EQ(lSet.GetSize(), 99);
        EXPECT_EQ(lSet.Find(Counted(40)), nullptr);
        EXPECT_EQ(Counted::sgLive, 99);
    }
    EXPECT_EQ(Counted::sgLive, 0);
    EXPECT_EQ(lTracker.Live(), 0);
    // Each refused record is reported once, by the allocator; the tree adds no report of its own.
    ASSERT_EQ(lCapture.Count(), 2u);
    for (const moxtest::Report& lReport : lCapture.Reports()) {
        EXPECT_EQ(lReport.mFile, "core/base/moxcontainerallocators");
        EXPECT_EQ(lReport.mFunction, "AllocateRecords");
        EXPECT_EQ(lReport.mMessage, "lRecords");
    }
}

TEST(MoxRedBlackTreeFailure, HungryAllocatorWithoutMemoryFailsCleanly)
{
    moxtest::AllocationTracker lTracker;
    Counted::Reset();
    {
        MoxSet<Counted, CountedCompare, MoxHungryAllocator> lSet;
        lTracker.FailAll(true);
        EXPECT_EQ(lSet.Insert(Counted(1)).mFirst, nullptr);
        lTracker.FailAll(false);
        for (int i = 0; i < 200; ++i) {
            // Every fifth request fails: block objects and block memory alike.
            if (i % 5 == 0) lTracker.FailAt(1);
            lSet.Insert(Counted(i));
            ASSERT_TRUE(lSet.IsValid());
            ASSERT_EQ(Counted::sgLive, lSet.GetSize());
        }
        EXPECT_GT(lSet.GetSize(), 0);
        EXPECT_LT(lSet.GetSize(), 200);
    }
    EXPECT_EQ(Counted::sgLive, 0);
    EXPECT_EQ(Counted::sgBadDestructions, 0);
    EXPECT_EQ(lTracker.Live(), 0);
}

// A value whose copy can be made to throw.
// Copies only: a move would bypass the throwing copy.
struct Fragile {  // NOLINT(cppcoreguidelines-special-member-functions)
    explicit Fragile(int pKey) : mKey(pKey) {}
    Fragile(const Fragile& pOther) : mKey(pOther.mKey)
    {
        if (sgThrow) throw std::runtime_error("copy");
    }
    int mKey;
    static bool sgThrow;
};
bool Fragile::sgThrow = false;

struct FragileCompare {
    int operator()(const Fragile& pA, const Fragile& pB) const { return pA.mKey - pB.mKey; }
};

TEST(MoxRedBlackTreeFailure, ThrowingCopyGivesTheMemoryBackAndLeavesTheTree)
{
    moxtest::AllocationTracker lTracker;
    {
        moxsdk::MoxRedBlackTree<MoxSetValue<Fragile>, FragileCompare, MoxBaseAllocator> lTree;
        lTree.Insert(MoxSetValue<Fragile>(Fragile(1)));
        const MoxSetValue<Fragile> lValue(Fragile(2));
        Fragile::sgThrow = true;
        EXPECT_THROW(lTree.Insert(lValue), std::runtime_error);
        Fragile::sgThrow = false;
        EXPECT_EQ(lTree.GetSize(), 1);
        EXPECT_EQ(lTracker.Live(), 1);
        EXPECT_TRUE(lTree.IsValid());
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxRedBlackTreeBuildSorted, BuildsAValidTreeOfEverySize)
{
    for (int n = 0; n <= 300; ++n) {
        IntSet lSet;
        moxtest::AllocationTracker lTracker;
        ASSERT_TRUE(lSet.BuildSorted(n, [](int pIndex) { return 3 * pIndex; }));
        ASSERT_EQ(lTracker.Requests(), n);
        ASSERT_EQ(lSet.GetSize(), n);
        ASSERT_TRUE(lSet.IsValid()) << n;
        ASSERT_TRUE(ColoursHold(lSet)) << n;
        std::vector<int> lExpected;
        lExpected.reserve(n);
        for (int i = 0; i < n; ++i) lExpected.push_back(3 * i);
        ASSERT_EQ(InOrder(lSet), lExpected);
        // The tree goes on as any other: insertions and removals keep it valid.
        lSet.Insert(1);
        lSet.Remove(0);
        lSet.Remove(3 * (n / 2));
        ASSERT_TRUE(lSet.IsValid()) << n;
    }
}

TEST(MoxRedBlackTreeBuildSorted, RecordsAreMadeInKeyOrderAndTheDeepestLevelIsRed)
{
    MoxSet<int, moxsdk::MoxLessCompare<int>, MoxHungryAllocator> lSet;
    lSet.Reserve(8);
    ASSERT_TRUE(lSet.BuildSorted(6, [](int pIndex) { return pIndex; }));
    // Middle values: 3 at the root, 1 and 5 below, 0, 2 and 4 at the deepest level (red).
    const auto* lRoot = lSet.GetRoot();
    EXPECT_EQ(lRoot->GetValue(), 3);
    EXPECT_EQ(lRoot->mColor, 1u);
    EXPECT_EQ(lRoot->GetLeftChild()->GetValue(), 1);
    EXPECT_EQ(lRoot->GetLeftChild()->mColor, 1u);
    EXPECT_EQ(lRoot->GetRightChild()->GetValue(), 5);
    EXPECT_EQ(lRoot->GetLeftChild()->GetLeftChild()->mColor, 0u);
    EXPECT_EQ(lRoot->GetRightChild()->GetLeftChild()->GetValue(), 4);
    EXPECT_EQ(lRoot->GetRightChild()->GetRightChild(), nullptr);
    const auto* lPrevious = &*lSet.begin();
    for (const auto& lRecord : lSet) {
        EXPECT_GE(&lRecord, lPrevious);
        lPrevious = &lRecord;
    }
}

TEST(MoxRedBlackTreeBuildSorted, RefusesANonEmptyTreeOrANegativeCount)
{
    IntSet lSet;
    EXPECT_FALSE(lSet.BuildSorted(-1, [](int pIndex) { return pIndex; }));
    lSet.Insert(7);
    EXPECT_FALSE(lSet.BuildSorted(3, [](int pIndex) { return pIndex; }));
    EXPECT_EQ(InOrder(lSet), std::vector<int>{7});
}

TEST(MoxRedBlackTreeBuildSorted, WithoutMemoryTheTreeStaysEmpty)
{
    Counted::Reset();
    for (int lFail = 1; lFail <= 20; ++lFail) {
        moxtest::AllocationTracker lTracker;
        {
            MoxSet<Counted, CountedCompare> lSet;
            lTracker.FailAt(lFail);
            EXPECT_FALSE(lSet.BuildSorted(20, [](int pIndex) { return Counted(pIndex); }));
            EXPECT_EQ(lSet.GetSize(), 0);
            EXPECT_EQ(lSet.GetRoot(), nullptr);
            EXPECT_EQ(Counted::sgLive, 0);
            EXPECT_EQ(lTracker.Live(), 0);
            EXPECT_TRUE(lSet.BuildSorted(4, [](int pIndex) { return Counted(pIndex); }));
            EXPECT_TRUE(lSet.IsValid());
        }
        EXPECT_EQ(Counted::sgLive, 0);
        EXPECT_EQ(Counted::sgBadDestructions, 0);
        EXPECT_EQ(lTracker.Live(), 0);
    }
}

TEST(MoxRedBlackTreeBuildSorted, ThrowingCopyDestroysTheRecordsMadeSoFar)
{
    moxtest::AllocationTracker lTracker;
    {
        moxsdk::MoxRedBlackTree<MoxSetValue<Fragile>, FragileCompare, MoxBaseAllocator> lTree;
        int lCopies = 0;
        const auto lDataAt = [&lCopies](int pIndex) {
            Fragile::sgThrow = ++lCopies == 9;
            return MoxSetValue<Fragile>(Fragile(pIndex));
        };
        EXPECT_THROW(lTree.BuildSorted(12, lDataAt), std::runtime_error);
        Fragile::sgThrow = false;
        EXPECT_EQ(lTracker.Live(), 0);
        EXPECT_EQ(lTree.GetSize(), 0);
        EXPECT_EQ(lTree.GetRoot(), nullptr);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxRedBlackTree, ClearOfPlainRecordsInAHungryPoolDropsThemAtOnce)
{
    static_assert(moxsdk::detail::MoxFreesNothing<MoxHungryAllocator>::value, "the pool takes nothing back");
    static_assert(!moxsdk::detail::MoxFreesNothing<MoxBaseAllocator>::value, "the heap takes records back");
    moxtest::AllocationTracker lTracker;
    {
        MoxSet<int, moxsdk::MoxLessCompare<int>, MoxHungryAllocator> lSet;
        for (int i = 0; i < 1000; ++i) lSet.Insert((i * 7919) % 1000);
        lSet.Clear();
        EXPECT_EQ(lSet.GetSize(), 0);
        EXPECT_EQ(lSet.GetRoot(), nullptr);
        EXPECT_TRUE(lSet.IsValid());
        for (int i = 0; i < 10; ++i) lSet.Insert(i);
        EXPECT_EQ(InOrder(lSet), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

// Broken trees, built by hand from records the test owns.
typedef TreeAccess<IntSet> Access;

IntRecord MakeRecord(int pValue, unsigned pColor)
{
    IntRecord lRecord{MoxSetValue<int>(pValue)};
    lRecord.mColor = pColor & 1u;
    return lRecord;
}

void Link(IntRecord& pParent, IntRecord* pLeft, IntRecord* pRight)
{
    pParent.mLeftChild = pLeft;
    pParent.mRightChild = pRight;
    if (pLeft) pLeft->mParent = &pParent;
    if (pRight) pRight->mParent = &pParent;
}

TEST(MoxRedBlackTreeReports, RotatingAParentlessRecordThatIsNotTheRoot)
{
    moxtest::ReportCapture lCapture;
    Access lTree;
    IntRecord lP = MakeRecord(1, 1);
    IntRecord lR = MakeRecord(2, 0);
    Link(lP, nullptr, &lR);
    lTree.LeftRotate(&lP);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "LeftRotate", "mRoot == pNode"));
    EXPECT_EQ(lTree.mRoot, &lR);
    EXPECT_EQ(lR.mLeftChild, &lP);

    lCapture.Clear();
    lTree.Forget();
    lTree.RightRotate(&lR);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "RightRotate", "mRoot == pNode"));
    EXPECT_EQ(lTree.mRoot, &lP);
    lTree.Forget();

    lCapture.Clear();
    lTree.LeftRotate(nullptr);
    lTree.LeftRotate(&lR);   // no right child: nothing happens
    lTree.RightRotate(&lP);  // no left child: nothing happens
    EXPECT_EQ(lCapture.Count(), 0u);
}

TEST(MoxRedBlackTreeReports, RotationsCheckTheLinksAroundThem)
{
    moxtest::ReportCapture lCapture;
    Access lTree;
    IntRecord lZ = MakeRecord(10, 1);
    IntRecord lP = MakeRecord(4, 1);
    IntRecord lA = MakeRecord(2, 0);
    IntRecord lN = MakeRecord(6, 0);
    IntRecord lB = MakeRecord(5, 1);
    IntRecord lC = MakeRecord(7, 1);
    IntRecord lStranger = MakeRecord(99, 1);

    // Left rotation at lP: A's and C's parent links are wrong, and Z does not list lP.
    Link(lZ, nullptr, nullptr);
    Link(lP, &lA, &lN);
    Link(lN, &lB, &lC);
    lP.mParent = &lZ;
    lA.mParent = &lStranger;
    lC.mParent = &lStranger;
    lTree.mRoot = &lZ;
    lTree.LeftRotate(&lP);
    EXPECT_EQ(lCapture.Messages(),
              (std::vector<std::string>{"A == 0 || A->mParent == pNode", "C == 0 || C->mParent == lNode",
                                        "Z == 0 || Z->mLeftChild == lNode || Z->mRightChild == lNode"}));
    for (const moxtest::Report& lReport : lCapture.Reports()) {
        EXPECT_EQ(lReport.mFile, sgFile);
        EXPECT_EQ(lReport.mFunction, "LeftRotate");
    }

    // Right rotation at lP: lN's left child A and lP's right child C have wrong parent links.
    lCapture.Clear();
    Link(lZ, &lP, nullptr);
    Link(lP, &lN, &lC);
    Link(lN, &lA, &lB);
    lA.mParent = &lStranger;
    lC.mParent = &lStranger;
    lTree.RightRotate(&lP);
    EXPECT_EQ(lCapture.Messages(),
              (std::vector<std::string>{"A == 0 || A->mParent == lNode", "C == 0 || C->mParent == pNode"}));
    for (const moxtest::Report& lReport : lCapture.Reports()) EXPECT_EQ(lReport.mFunction, "RightRotate");
    EXPECT_EQ(lZ.mLeftChild, &lN);
    EXPECT_EQ(lN.mRightChild, &lP);
    EXPECT_EQ(lP.mLeftChild, &lB);
    lTree.Forget();
}

TEST(MoxRedBlackTreeReports, RemoveNodeOfARecordOutsideTheTree)
{
    moxtest::ReportCapture lCapture;
    Access lTree;
    IntRecord lLone = MakeRecord(1, 0);
    lTree.RemoveNode(&lLone);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "RemoveNode", "mRoot == pNode"));

    lCapture.Clear();
    IntRecord lRoot = MakeRecord(5, 1);
    IntRecord lOrphan = MakeRecord(3, 0);
    lOrphan.mParent = &lRoot;  // the root does not list it
    lTree.mRoot = &lRoot;
    lTree.RemoveNode(&lOrphan);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "RemoveNode", "Node not found in MoxRedBlackTree"));
    EXPECT_EQ(lOrphan.mParent, nullptr);
    EXPECT_EQ(lTree.mRoot, &lRoot);

    lCapture.Clear();
    IntRecord lOld = MakeRecord(7, 1);
    IntRecord lNew = MakeRecord(8, 1);
    lTree.ReplaceNode(&lOld, &lNew);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "ReplaceNode", "mRoot == pNodeToReplace"));
    EXPECT_EQ(lTree.mRoot, &lNew);
    lTree.Forget();
}

TEST(MoxRedBlackTreeReports, RemovalRepairWithoutASibling)
{
    moxtest::ReportCapture lCapture;
    Access lTree;
    IntRecord lRoot = MakeRecord(5, 1);
    IntRecord lLeft = MakeRecord(3, 1);  // black on one side, nothing on the other: broken
    Link(lRoot, &lLeft, nullptr);
    lTree.mRoot = &lRoot;
    lTree.RemoveNode(&lLeft);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "RemoveRebalance", "lSibling != 0 && lParent != 0"));
    EXPECT_EQ(lRoot.mLeftChild, nullptr);
    lTree.Forget();
}

TEST(MoxRedBlackTree, IsValidNoticesBrokenTrees)
{
    Access lTree;
    for (int i = 1; i <= 7; ++i) lTree.Insert(i);
    ASSERT_TRUE(lTree.IsValid());
    IntRecord* lRoot = lTree.GetRoot();
    lRoot->mColor = 0;
    EXPECT_FALSE(lTree.IsValid());  // red root
    lRoot->mColor = 1;
    IntRecord* lFour = lRoot->GetRightChild();
    lFour->GetLeftChild()->mColor = 0;
    EXPECT_FALSE(lTree.IsValid());  // a red record with a red child
    lFour->GetLeftChild()->mColor = 1;
    lFour->mColor = 2;
    EXPECT_FALSE(lTree.IsValid());  // not a colour
    lFour->mColor = 0;
    ++lTree.mSize;
    EXPECT_FALSE(lTree.IsValid());  // size mismatch
    --lTree.mSize;
    lRoot->GetLeftChild()->mParent = lFour;
    EXPECT_FALSE(lTree.IsValid());  // parent link
    lRoot->GetLeftChild()->mParent = lRoot;
    IntRecord* lSix = lFour->GetRightChild();
    std::swap(lSix->mData, lFour->mData);
    EXPECT_FALSE(lTree.IsValid());  // keys out of order
    std::swap(lSix->mData, lFour->mData);
    moxsdk::MoxRedBlackNode* lSeven = lSix->mRightChild;
    lSix->mRightChild = lRoot;  // a cycle: the check must end, not loop
    EXPECT_FALSE(lTree.IsValid());
    lSix->mRightChild = lSeven;
    EXPECT_TRUE(lTree.IsValid());
}

}  // namespace
