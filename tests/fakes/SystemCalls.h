// Stands between the code under test and the system in some test binaries: the linker passes every
// call that changes a file through here (see CMakeLists.txt), so that a run can be killed, or a
// call fail, at each of its steps. The code itself knows nothing of it.
#pragma once

#include <string>
#include <vector>

namespace quillmore::tests {

enum class Step { passes, killsTheProcess, fails };

/// The call of that number, counted from 1 and from now on, does so; those before and after pass.
void whenCallIs(int number, Step step);
/// The names of the first calls since, and how many there were.
std::vector<std::string> namesOfCalls();
int callsSoFar();

/// Whether the volume can exchange two entries in one step.
void supportExchange(bool supported);

inline constexpr int kKilledStatus = 99;

}  // namespace quillmore::tests
