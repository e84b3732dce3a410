// A lock on an open file that is waited for with an end in sight.
#pragma once

#include <functional>

namespace quillmore::updatetool {

/// Waits for the whole file. As long as somebody else has it, `goesOn` is asked about once a
/// second; its false ends the wait. False when there is no lock, with the error number set
/// (EWOULDBLOCK when the wait was ended). Uses the alarm, which it leaves off and ignored.
bool lockWhile(int file, const std::function<bool()>& goesOn);

}  // namespace quillmore::updatetool
