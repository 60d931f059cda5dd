#pragma once
// The report texts of MoxArray (report file "core/base/moxarray"), each named by what went wrong. The
// texts are part of the behaviour: hosts and tests match them byte for byte.

#include "moxsdk/core/detail/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace arrayreports {

inline constexpr MoxReportText sgIndexOutside{
    "Index is out of range!",
    "an array index is negative or at or past the size; the access goes ahead (on a scratch element outside "
    "the capacity)"};
inline constexpr MoxReportText sgIndexInReserve{
    "Index is out of range, but not outside of capacity! Call SetAt() to use reserved memory.",
    "an array index is past the size but inside the reserved capacity; the reserved slot is read"};
inline constexpr MoxReportText sgSetOutsideCapacity{
    "pIndex >= 0 && pIndex < GetCapacity()",
    "SetAt was given an index outside the array's capacity; nothing is written"};
inline constexpr MoxReportText sgNoMemory{
    "mData", "memory for the array's block ran out; the array is left empty and the operation fails"};
inline constexpr MoxReportText sgFindFromNegative{"pStartIndex >= 0",
                                                  "Find was given a negative start index; it finds nothing"};
inline constexpr MoxReportText sgNegativeSize{
    "size >= 0", "the array's block holds a negative size (it was changed from outside); Find finds nothing"};
inline constexpr MoxReportText sgNegativeCapacity{"pCapacity >= 0",
                                                  "Reserve was given a negative capacity; the array is unchanged"};
inline constexpr MoxReportText sgNegativeResize{"pSize > 0",
                                                "a resize was given a negative size; the array is unchanged"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgIndexOutside,     &sgIndexInReserve,   &sgSetOutsideCapacity,
                                                 &sgNoMemory,         &sgFindFromNegative, &sgNegativeSize,
                                                 &sgNegativeCapacity, &sgNegativeResize};

}  // namespace arrayreports
}  // namespace detail
}  // namespace moxsdk
