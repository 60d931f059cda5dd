#pragma once
// The report texts of the scene objects, one namespace per report file, each named by what went wrong.
// The creation texts are made under the report file of the class being created (for example
// "scene/moxnode"). The texts are part of the behaviour: hosts and tests match them byte for byte.

#include "core/base/moxreporttext.h"

namespace moxsdk {
namespace detail {

// Creation, under the file of the class created
namespace objectreports {

inline constexpr MoxReportText sgNoManager{
    "pContainer && pContainer->GetMoxManager()",
    "an object was created without a container, or in one that belongs to no manager; none is made"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoManager};

}  // namespace objectreports

// scene/moxmanager
namespace managerreports {

inline constexpr MoxReportText sgNoManagerMemory{"lManager", "memory for a new manager ran out; none is made"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoManagerMemory};

}  // namespace managerreports

// scene/geometry/moxlayercontainer
namespace layercontainerreports {

inline constexpr MoxReportText sgNoLayerMemory{"lLayer", "memory for a new layer ran out; no layer is added"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoLayerMemory};

}  // namespace layercontainerreports

}  // namespace detail
}  // namespace moxsdk
