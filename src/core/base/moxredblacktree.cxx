#include "moxsdk/core/base/moxredblacktree.h"

namespace moxsdk {
namespace {

typedef MoxRedBlackNode Node;

// Null children count as black.
bool IsBlack(const Node* pNode)
{
    return !pNode || pNode->mColor == Node::eBlack;
}

bool IsRed(const Node* pNode)
{
    return !IsBlack(pNode);
}

Node* ChildOn(const Node* pNode, bool pLeft)
{
    return pLeft ? pNode->mLeftChild : pNode->mRightChild;
}

enum ELinkResult { eLinked, eParentlessNotRoot, eNotAChild };

// Puts pNew (possibly null) where pOld hangs: in its parent's child link, or in pRoot when pOld has
// no parent. pNew's parent link follows. A parentless pOld that is not the root still hands the root
// over; a pOld missing from its parent's links leaves the parent unchanged.
ELinkResult TakePlace(Node*& pRoot, Node* pOld, Node* pNew)
{
    Node* lParent = pOld->mParent;
    if (pNew) pNew->mParent = lParent;
    if (!lParent) {
        const bool lWasRoot = pRoot == pOld;
        pRoot = pNew;
        return lWasRoot ? eLinked : eParentlessNotRoot;
    }
    if (lParent->mLeftChild == pOld) {
        lParent->mLeftChild = pNew;
    } else if (lParent->mRightChild == pOld) {
        lParent->mRightChild = pNew;
    } else {
        return eNotAChild;
    }
    return eLinked;
}

// Number of bits of pValue: ceil(log2(pValue + 1)).
int BitLength(unsigned int pValue)
{
    int lBits = 0;
    for (; pValue != 0; pValue >>= 1) ++lBits;
    return lBits;
}

// Checks the subtree at pNode against every structural rule and returns its black height (a null
// child counts as one black leaf), or -1 when a rule is broken. pDepthLeft bounds the recursion and
// pBudget the number of records visited, so a broken tree cannot make the check run away.
int CheckSubtree(const Node* pNode, const Node* pParent, int pDepthLeft, int& pBudget)
{
    if (!pNode) return 1;
    if (pDepthLeft == 0 || --pBudget < 0) return -1;
    if (pNode->mParent != pParent || pNode->mColor > Node::eBlack) return -1;
    if (IsRed(pNode) && (IsRed(pNode->mLeftChild) || IsRed(pNode->mRightChild))) return -1;
    const int lLeft = CheckSubtree(pNode->mLeftChild, pNode, pDepthLeft - 1, pBudget);
    if (lLeft < 0) return -1;
    const int lRight = CheckSubtree(pNode->mRightChild, pNode, pDepthLeft - 1, pBudget);
    if (lRight != lLeft) return -1;
    return lLeft + (IsBlack(pNode) ? 1 : 0);
}

}  // namespace

const MoxRedBlackNode* MoxRedBlackNode::SubtreeMinimum() const
{
    const MoxRedBlackNode* lNode = this;
    while (lNode->mLeftChild) lNode = lNode->mLeftChild;
    return lNode;
}

const MoxRedBlackNode* MoxRedBlackNode::Successor() const
{
    if (mRightChild) return mRightChild->SubtreeMinimum();
    // Climb while coming from a right child; the first parent reached from its left is next.
    const MoxRedBlackNode* lNode = this;
    const MoxRedBlackNode* lParent = mParent;
    while (lParent && lNode == lParent->mRightChild) {
        lNode = lParent;
        lParent = lParent->mParent;
    }
    return lParent;
}

void MoxRedBlackTreeBase::InsertRebalance(MoxRedBlackNode* pNode)
{
    Node* lNode = pNode;
    for (;;) {
        Node* lParent = lNode->mParent;
        if (!lParent) {
            lNode->mColor = Node::eBlack;
            return;
        }
        if (IsBlack(lParent)) return;
        Node* lGrandParent = lParent->mParent;
        if (!lGrandParent) {
            // Only a red root, which a well-formed tree never has, gets here.
            lParent->mColor = Node::eBlack;
            return;
        }
        const bool lParentIsLeft = lParent == lGrandParent->mLeftChild;
        Node* lUncle = ChildOn(lGrandParent, !lParentIsLeft);
        if (lUncle && lUncle->mColor == Node::eRed) {
            // A red uncle: push the grandparent's black down a level and go on from the grandparent.
            lParent->mColor = Node::eBlack;
            lUncle->mColor = Node::eBlack;
            lGrandParent->mColor = Node::eRed;
            lNode = lGrandParent;
            continue;
        }
        if (lNode == ChildOn(lParent, !lParentIsLeft)) {
            // An inner grandchild is first rotated outwards; its former parent becomes lNode.
            RotateDown(lParent, lParentIsLeft);
            lNode = lParent;
            lParent = lNode->mParent;
        }
        lParent->mColor = Node::eBlack;
        lGrandParent->mColor = Node::eRed;
        RotateDown(lGrandParent, !lParentIsLeft);
        return;
    }
}

void MoxRedBlackTreeBase::RemoveNode(MoxRedBlackNode* pNode)
{
    if (pNode->mLeftChild && pNode->mRightChild) {
        // The successor has no left child, so removing it takes the one-child or no-child path. It
        // then moves itself into pNode's place: records are never copied, so they keep their address.
        Node* lSuccessor = pNode->mRightChild->SubtreeMinimum();
        RemoveNode(lSuccessor);
        lSuccessor->mColor = pNode->mColor;
        ReplaceNode(pNode, lSuccessor);
    } else {
        Node* lParent = pNode->mParent;
        Node* lChild = pNode->mLeftChild ? pNode->mLeftChild : pNode->mRightChild;
        const ELinkResult lLink = TakePlace(mRoot, pNode, lChild);
        if (lLink == eParentlessNotRoot) MOX_REPORT(sgFile, "mRoot == pNode");
        if (lLink == eNotAChild) MOX_REPORT(sgFile, "Node not found in MoxRedBlackTree");
        if (IsBlack(pNode)) RemoveRebalance(lParent, lChild);
    }
    pNode->mParent = nullptr;
    pNode->mLeftChild = nullptr;
    pNode->mRightChild = nullptr;
}

void MoxRedBlackTreeBase::ReplaceNode(MoxRedBlackNode* pNodeToReplace, MoxRedBlackNode* pReplacement)
{
    if (TakePlace(mRoot, pNodeToReplace, pReplacement) == eParentlessNotRoot)
        MOX_REPORT(sgFile, "mRoot == pNodeToReplace");
    pReplacement->mLeftChild = pNodeToReplace->mLeftChild;
    pReplacement->mRightChild = pNodeToReplace->mRightChild;
    if (pReplacement->mLeftChild) pReplacement->mLeftChild->mParent = pReplacement;
    if (pReplacement->mRightChild) pReplacement->mRightChild->mParent = pReplacement;
}

// The reports name the subtrees as the usual rotation diagram does: lA, lB, lC are A, B, C and lZ
// is Z, the parent above the rotation.
void MoxRedBlackTreeBase::LeftRotate(MoxRedBlackNode* pNode)
{
    if (!pNode || !pNode->mRightChild) return;
    Node* lNode = pNode->mRightChild;
    Node* lA = pNode->mLeftChild;
    Node* lB = lNode->mLeftChild;
    Node* lC = lNode->mRightChild;
    Node* lZ = pNode->mParent;
    if (TakePlace(mRoot, pNode, lNode) == eParentlessNotRoot) MOX_REPORT(sgFile, "mRoot == pNode");
    lNode->mLeftChild = pNode;
    pNode->mParent = lNode;
    pNode->mRightChild = lB;
    if (lB) lB->mParent = pNode;

    MOX_ASSERT_MSG(sgFile, pNode->mLeftChild == lA, "pNode->mLeftChild == A");
    MOX_ASSERT_MSG(sgFile, pNode->mRightChild == lB, "pNode->mRightChild == B");
    MOX_ASSERT(sgFile, pNode->mParent == lNode);
    MOX_ASSERT(sgFile, lNode->mLeftChild == pNode);
    MOX_ASSERT_MSG(sgFile, lNode->mRightChild == lC, "lNode->mRightChild == C");
    MOX_ASSERT_MSG(sgFile, lNode->mParent == lZ, "lNode->mParent == Z");
    MOX_ASSERT_MSG(sgFile, !lA || lA->mParent == pNode, "A == 0 || A->mParent == pNode");
    MOX_ASSERT_MSG(sgFile, !lB || lB->mParent == pNode, "B == 0 || B->mParent == pNode");
    MOX_ASSERT_MSG(sgFile, !lC || lC->mParent == lNode, "C == 0 || C->mParent == lNode");
    MOX_ASSERT_MSG(sgFile, !lZ || lZ->mLeftChild == lNode || lZ->mRightChild == lNode,
                   "Z == 0 || Z->mLeftChild == lNode || Z->mRightChild == lNode");
}

void MoxRedBlackTreeBase::RightRotate(MoxRedBlackNode* pNode)
{
    if (!pNode || !pNode->mLeftChild) return;
    Node* lNode = pNode->mLeftChild;
    Node* lA = lNode->mLeftChild;
    Node* lB = lNode->mRightChild;
    Node* lC = pNode->mRightChild;
    Node* lZ = pNode->mParent;
    if (TakePlace(mRoot, pNode, lNode) == eParentlessNotRoot) MOX_REPORT(sgFile, "mRoot == pNode");
    lNode->mRightChild = pNode;
    pNode->mParent = lNode;
    pNode->mLeftChild = lB;
    if (lB) lB->mParent = pNode;

    MOX_ASSERT_MSG(sgFile, lNode->mLeftChild == lA, "lNode->mLeftChild == A");
    MOX_ASSERT(sgFile, lNode->mRightChild == pNode);
    MOX_ASSERT_MSG(sgFile, pNode->mLeftChild == lB, "pNode->mLeftChild == B");
    MOX_ASSERT_MSG(sgFile, pNode->mRightChild == lC, "pNode->mRightChild == C");
    MOX_ASSERT_MSG(sgFile, !lA || lA->mParent == lNode, "A == 0 || A->mParent == lNode");
    MOX_ASSERT_MSG(sgFile, !lC || lC->mParent == pNode, "C == 0 || C->mParent == pNode");
    MOX_ASSERT_MSG(sgFile, lNode->mParent == lZ, "lNode->mParent == Z");
    MOX_ASSERT_MSG(sgFile, !lZ || lZ->mLeftChild == lNode || lZ->mRightChild == lNode,
                   "Z == 0 || Z->mLeftChild == lNode || Z->mRightChild == lNode");
}

void MoxRedBlackTreeBase::RotateDown(MoxRedBlackNode* pNode, bool pToTheLeft)
{
    if (pToTheLeft) {
        LeftRotate(pNode);
    } else {
        RightRotate(pNode);
    }
}

void MoxRedBlackTreeBase::RemoveRebalance(MoxRedBlackNode* pParent, MoxRedBlackNode* pNode)
{
    Node* lNode = pNode;
    Node* lParent = pParent;
    while (lNode != mRoot && IsBlack(lNode)) {
        // lNode (possibly null) has one black record fewer on its paths than its sibling has.
        const bool lNodeIsLeft = lParent && lNode == lParent->mLeftChild;
        Node* lSibling = lParent ? ChildOn(lParent, !lNodeIsLeft) : nullptr;
        if (lSibling && lSibling->mColor == Node::eRed) {
            // A red sibling: rotate it above the parent, so that lNode gets a black sibling.
            lSibling->mColor = Node::eBlack;
            lParent->mColor = Node::eRed;
            RotateDown(lParent, lNodeIsLeft);
            lSibling = ChildOn(lParent, !lNodeIsLeft);
        }
        if (!lSibling || !lParent) {
            MOX_REPORT(sgFile, "lSibling != 0 && lParent != 0");
            break;
        }
        Node* lFarNephew = ChildOn(lSibling, !lNodeIsLeft);
        Node* lNearNephew = ChildOn(lSibling, lNodeIsLeft);
        if (IsBlack(lFarNephew) && IsBlack(lNearNephew)) {
            // Both nephews black: the sibling turns red and the shortage moves up to the parent.
            lSibling->mColor = Node::eRed;
            lNode = lParent;
            lParent = lNode->mParent;
            continue;
        }
        if (IsBlack(lFarNephew)) {
            // Only the near nephew is red: rotate it into the sibling's place, the old sibling
            // becoming the red far nephew.
            lNearNephew->mColor = Node::eBlack;
            lSibling->mColor = Node::eRed;
            RotateDown(lSibling, !lNodeIsLeft);
            lFarNephew = lSibling;
            lSibling = lNearNephew;
        }
        // A red far nephew: one rotation at the parent gives lNode's side the missing black record.
        lSibling->mColor = lParent->mColor;
        lParent->mColor = Node::eBlack;
        lFarNephew->mColor = Node::eBlack;
        RotateDown(lParent, lNodeIsLeft);
        lNode = mRoot;
    }
    if (lNode) lNode->mColor = Node::eBlack;
}

bool MoxRedBlackTreeBase::IsValidStructure(int pSize) const
{
    if (pSize < 0) return false;
    if (!mRoot) return pSize == 0;
    if (mRoot->mParent || IsRed(mRoot)) return false;
    int lBudget = pSize;
    const int lMaxHeight = 2 * BitLength(static_cast<unsigned int>(pSize));
    if (CheckSubtree(mRoot, nullptr, lMaxHeight, lBudget) < 0) return false;
    return lBudget == 0;
}

}  // namespace moxsdk
