#pragma once
// The report texts of core/base/moxredblacktree (report file "core/base/moxredblacktree"), each named by what went
// wrong. The texts are part of the behaviour: hosts and tests match them byte for byte.

#include "core/base/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace redblacktreereports {

inline constexpr MoxReportText sgParentlessNotRoot{
    "mRoot == pNode", "a node without a parent is not the root: the tree was changed from outside"};
inline constexpr MoxReportText sgNodeNotAChild{
    "Node not found in MoxRedBlackTree", "a node is not a child of its parent: the tree was changed from outside"};
inline constexpr MoxReportText sgReplacedNotRoot{
    "mRoot == pNodeToReplace", "a node without a parent is not the root: the tree was changed from outside"};
inline constexpr MoxReportText sgNoSiblingOrParent{
    "lSibling != 0 && lParent != 0",
    "a removal found no sibling or parent to rebalance with: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedLeftChildA{
    "pNode->mLeftChild == A", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedRightChildB{
    "pNode->mRightChild == B", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedRightChildC{
    "lNode->mRightChild == C", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedParentZ{
    "lNode->mParent == Z", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedAUnderNode{
    "A == 0 || A->mParent == pNode", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedBUnderNode{
    "B == 0 || B->mParent == pNode", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedCUnderPivot{
    "C == 0 || C->mParent == lNode", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedZAbovePivot{
    "Z == 0 || Z->mLeftChild == lNode || Z->mRightChild == lNode",
    "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedLeftChildAOfPivot{
    "lNode->mLeftChild == A", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedLeftChildB{
    "pNode->mLeftChild == B", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedRightChildCOfNode{
    "pNode->mRightChild == C", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedAUnderPivot{
    "A == 0 || A->mParent == lNode", "a rotation left a node linked wrongly: the tree was changed from outside"};
inline constexpr MoxReportText sgRotatedCUnderNode{
    "C == 0 || C->mParent == pNode", "a rotation left a node linked wrongly: the tree was changed from outside"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {
    &sgParentlessNotRoot,        &sgNodeNotAChild,      &sgReplacedNotRoot,          &sgNoSiblingOrParent,
    &sgRotatedLeftChildA,        &sgRotatedRightChildB, &sgRotatedRightChildC,       &sgRotatedParentZ,
    &sgRotatedAUnderNode,        &sgRotatedBUnderNode,  &sgRotatedCUnderPivot,       &sgRotatedZAbovePivot,
    &sgRotatedLeftChildAOfPivot, &sgRotatedLeftChildB,  &sgRotatedRightChildCOfNode, &sgRotatedAUnderPivot,
    &sgRotatedCUnderNode};

}  // namespace redblacktreereports
}  // namespace detail
}  // namespace moxsdk
