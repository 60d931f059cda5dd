#pragma once
// The report texts of the layers and their elements (report file "scene/geometry/moxlayer"), each named by
// what went wrong. The texts are part of the behaviour: hosts and tests match them byte for byte.

#include "core/base/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace layerreports {

inline constexpr MoxReportText sgNoElement{"lElement", "memory for a new layer element ran out; it is not made"};
inline constexpr MoxReportText sgNoDirectArray{
    "mDirectArray", "memory for a new element's value array ran out; the element is not made"};
inline constexpr MoxReportText sgNoIndexArray{
    "mIndexArray", "memory for a new element's index array ran out; the element is not made"};
inline constexpr MoxReportText sgNoFieldArray{
    "lArray", "memory for a user-data field's value array ran out; the field has no values"};
inline constexpr MoxReportText sgNoValueMemory{
    "mData", "memory for an element array's values ran out; the array keeps its old block"};
inline constexpr MoxReportText sgFieldIndexOutside{"Index out of bounds",
                                                   "a user-data field index is negative; no field is given"};
inline constexpr MoxReportText sgUnknownFieldType{
    "unknown type", "a user-data field has a type the element cannot handle; it is left alone"};
inline constexpr MoxReportText sgNoFieldName{"lName",
                                             "memory for a user-data field's name ran out; the field has no name"};

}  // namespace layerreports
}  // namespace detail
}  // namespace moxsdk
