#pragma once
// MoxReportText: one report message of the library, exactly as _MoxAssert receives it, with what it means
// for a user of the operation that made it. Each report file keeps its texts in one header: a private one
// (src/.../detail/mox*reports.h) for the reports made in src/, an installed one beside the public header
// (include/moxsdk/.../detail/mox*reports.h) for the reports made by a public header's inline code. A call
// site thus names what went wrong, and MoxReportMeaning explains a report that a host caught.

namespace moxsdk {
namespace detail {

struct MoxReportText {
    const char* mText;     // the message, byte for byte as reported
    const char* mMeaning;  // what went wrong, in one line
};

}  // namespace detail
}  // namespace moxsdk
