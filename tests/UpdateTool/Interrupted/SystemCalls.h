// Stands between the update tool's code and the system in this test binary: the linker passes every
// call that changes a file through here (see CMakeLists.txt), so that a run can be killed, or a
// call fail, at each of its steps. The tool itself knows nothing of it.
#pragma once

namespace quillmore::tests {

enum class Step { passes, killsTheProcess, fails };

/// The call of that number, counted from 1 and from now on, does so; those before and after pass.
void whenCallIs(int number, Step step);
/// How many calls there were since.
int callsSoFar();

/// Whether the volume can exchange two entries in one step.
void supportExchange(bool supported);

inline constexpr int kKilledStatus = 99;

}  // namespace quillmore::tests
