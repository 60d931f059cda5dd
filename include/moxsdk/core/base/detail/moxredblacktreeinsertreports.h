#pragma once
// The report texts that MoxRedBlackTree's inline insertion makes (report file "core/base/moxredblacktree";
// the file's other texts are made inside the library), each named by what went wrong. The texts are part
// of the behaviour: hosts and tests match them byte for byte.

#include "moxsdk/core/detail/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace redblacktreeinsertreports {

inline constexpr MoxReportText sgRecordMoved{
    "lNode == lBuffer", "a record was not constructed at the start of its memory; the insertion goes on"};
inline constexpr MoxReportText sgRightPlaceTaken{
    "lParent->mRightChild == 0",
    "an insertion found its place already taken: the tree was changed from outside; the new record replaces it"};
inline constexpr MoxReportText sgLeftPlaceTaken{
    "lParent->mLeftChild == 0",
    "an insertion found its place already taken: the tree was changed from outside; the new record replaces it"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgRecordMoved, &sgRightPlaceTaken, &sgLeftPlaceTaken};

}  // namespace redblacktreeinsertreports
}  // namespace detail
}  // namespace moxsdk
