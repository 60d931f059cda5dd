#pragma once
// The report texts of MoxObject's inline allocation (report file "scene/moxobject"), each named by what
// went wrong. The texts are part of the behaviour: hosts and tests match them byte for byte.

#include "moxsdk/core/detail/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace objectallocationreports {

inline constexpr MoxReportText sgNoObjectMemory{"lObject", "memory for a new scene object ran out; none is made"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoObjectMemory};

}  // namespace objectallocationreports
}  // namespace detail
}  // namespace moxsdk
