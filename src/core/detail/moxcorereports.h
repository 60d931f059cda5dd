#pragma once
// The report texts of the small core files, one namespace per report file (core/moxstring,
// core/base/moxpointerlist, core/base/moxpairset, core/base/moxcontainerallocators), each named by what
// went wrong. The texts are part of the behaviour: hosts and tests match them byte for byte.

#include "core/base/moxreporttext.h"

namespace moxsdk {
namespace detail {

// core/moxstring
namespace stringreports {

inline constexpr MoxReportText sgNoTextMemory{"lData", "memory for a copy of a text ran out; the string is left empty"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoTextMemory};

}  // namespace stringreports

// core/base/moxpointerlist
namespace pointerlistreports {

inline constexpr MoxReportText sgNoPointerMemory{"mData", "memory for more pointers ran out; the pointer is not added"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoPointerMemory};

}  // namespace pointerlistreports

// core/base/moxpairset
namespace pairsetreports {

inline constexpr MoxReportText sgNoRunStartMemory{
    "mStart", "memory for the runs of a pair set ran out; every pair goes to its hash"};
inline constexpr MoxReportText sgNoRunFillMemory{
    "mFill", "memory for the runs of a pair set ran out; every pair goes to its hash"};
inline constexpr MoxReportText sgNoRunMemory{"mData",
                                             "memory for the runs of a pair set ran out; every pair goes to its hash"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoRunStartMemory, &sgNoRunFillMemory, &sgNoRunMemory};

}  // namespace pairsetreports

// core/base/moxcontainerallocators
namespace allocatorreports {

inline constexpr MoxReportText sgNoRecordMemory{
    "lRecords", "memory for a container's records ran out; the container stays as it was"};
inline constexpr MoxReportText sgNoBlockMemory{
    "mData", "memory for a block of container records ran out; the block gives no records"};
inline constexpr MoxReportText sgNoBlock{
    "lBlock", "memory for a block of container records ran out; the container stays as it was"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoRecordMemory, &sgNoBlockMemory, &sgNoBlock};

}  // namespace allocatorreports

}  // namespace detail
}  // namespace moxsdk
