#pragma once
// MoxReportText: one report message of the library, exactly as _MoxAssert receives it, with what it means
// for a user of the operation that made it. Each report file keeps its texts in one private header
// (src/.../detail/mox*reports.h), so that a call site names what went wrong and a host can explain a
// report it caught.

namespace moxsdk {
namespace detail {

struct MoxReportText {
    const char* mText;     // the message, byte for byte as reported
    const char* mMeaning;  // what went wrong, in one line
};

}  // namespace detail
}  // namespace moxsdk
