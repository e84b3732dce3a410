// The edge of the program: start-up, then the main loop, with every exception caught and said.
#pragma once

#include <functional>
#include <string>

#include "Platform/Interface/Application.h"

namespace quillmore {

/// Runs the delegate's start-up and the main loop. An exception at start-up is logged as text and
/// shown to the user, then 1 is returned; one in a main-loop callback is logged and the loop goes
/// on. Returns 0 when the loop has nothing left to show. Main thread only.
int runLauncher(platform::ApplicationDelegate& delegate);

/// Runs the body of a program and gives its status. Whatever it throws (no thread, no memory,
/// before there are windows or a log) is named on standard error after the program, and the status
/// is 1.
int statusOfProgram(const std::string& program, const std::function<int()>& body);

}  // namespace quillmore
