#pragma once
// The report texts that the layer elements' inline array access makes (report file
// "scene/geometry/moxlayer"; the file's other texts are made inside the library), each named by what went
// wrong. The texts are part of the behaviour: hosts and tests match them byte for byte.

#include "moxsdk/core/detail/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace layerelementreports {

inline constexpr MoxReportText sgNoDirectArrayInMode{
    "mReferenceMode == MoxLayerElement::eDirect || mReferenceMode == MoxLayerElement::eIndexToDirect",
    "an element's value array was asked for in a reference mode without one; the array is given anyway"};
inline constexpr MoxReportText sgNoIndexArrayInMode{
    "mReferenceMode == MoxLayerElement::eIndex || mReferenceMode == MoxLayerElement::eIndexToDirect",
    "an element's index array was asked for in a reference mode without one; the array is given anyway"};

// Every text above, for MoxReportMeaning (moxsdk/core/moxreportmeaning.h).
inline constexpr const MoxReportText* sgAll[] = {&sgNoDirectArrayInMode, &sgNoIndexArrayInMode};

}  // namespace layerelementreports
}  // namespace detail
}  // namespace moxsdk
