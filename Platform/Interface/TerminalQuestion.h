// A question that is asked on a terminal outside of the user interface, such as the one for a
// password. While it is open nothing else should be drawn there, and however the program ends it
// the terminal must echo again. Any thread; one question at a time.
#pragma once

#include <functional>

namespace quillmore::platform {

enum class TerminalEcho { on, off };

/// Opens the question, or changes the echo of the open one. What was typed before is dropped: it
/// was not meant as its answer. Nor can the program be suspended meanwhile, because a shell would
/// turn the echo on under the question. False, and nothing is open, when `terminal` is none.
bool beginTerminalQuestion(int terminal, TerminalEcho echo);
/// Closes the question and gives the terminal its modes back; what was typed beyond the answer is
/// dropped. Never waits. Nothing happens without a question.
void endTerminalQuestion();
/// Calls `draw` unless this program or (as the missing echo tells) another one is asking on the
/// terminal; a question that begins meanwhile waits for the end of the drawing. Whether it drew.
bool drawUnlessTerminalQuestion(int terminal, const std::function<void()>& draw);

}  // namespace quillmore::platform
