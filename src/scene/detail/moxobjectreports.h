#pragma once
// The report texts of the scene objects' creation, made under the report file of the class being created
// (for example "scene/moxnode"), each named by what went wrong. The texts are part of the behaviour: hosts
// and tests match them byte for byte.

#include "core/base/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace objectreports {

inline constexpr MoxReportText sgNoManager{
    "pContainer && pContainer->GetMoxManager()",
    "an object was created without a container, or in one that belongs to no manager; none is made"};

}  // namespace objectreports
}  // namespace detail
}  // namespace moxsdk
