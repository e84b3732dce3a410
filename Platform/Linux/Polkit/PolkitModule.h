// The interface between the program and the module that asks polkit. The module is opened on first
// use only, so that a start which needs no administrator never maps GLib. Plain C across the
// border: no exception and no C++ type passes it.
#pragma once

#include <stddef.h>
#include <stdint.h>

extern "C" {

/// What polkit answers.
enum QuillmorePolkitAnswer : int32_t {
    kQuillmorePolkitGranted = 0,
    kQuillmorePolkitDenied = 1,
    kQuillmorePolkitChallenge = 2,  ///< A password is wanted.
    kQuillmorePolkitError = 3       ///< polkit or its bus cannot be reached; the text says why.
};

/// What the program does for a password question on the terminal:
/// Platform/Interface/TerminalQuestion.h.
struct QuillmorePolkitTerminal {
    int32_t (*beginQuestion)(int terminal, int32_t echo);  ///< 0 when it is no terminal.
    void (*endQuestion)(void);
};

/// Asks for passwords on the controlling terminal in the name of polkit, for this process and what
/// it starts. Works only inside a call of the module; belongs to one thread at a time.
struct QuillmorePolkitAgent;

struct QuillmorePolkitModule {
    uint32_t version;  ///< kQuillmorePolkitVersion of the module's build.
    /// Would pkexec start the program (an absolute path) for this process? Nobody is asked; waits
    /// for polkit a few seconds at most. `text` (of `textSize` bytes, not 0) gets the error's text
    /// or "". Safe on any thread.
    QuillmorePolkitAnswer (*checkProgram)(const char* program, char* text, size_t textSize);
    /// An agent on the controlling terminal, for where no desktop asks: polkit finds it from now
    /// on. It shows `reason`, when that is not empty, above polkit's own general words. Null when
    /// there is no terminal or another agent; `text` as above. `terminal` must outlive the agent.
    QuillmorePolkitAgent* (*makeAgent)(const QuillmorePolkitTerminal* terminal, const char* reason,
                                       char* text, size_t textSize);
    /// Lets the agent ask until the descriptor is readable.
    void (*attend)(QuillmorePolkitAgent* agent, int descriptor);
    /// Ends the agent: its question, if one is open, and all that it holds.
    void (*release)(QuillmorePolkitAgent* agent);
};
}

/// Raised with every change of the structures.
inline constexpr uint32_t kQuillmorePolkitVersion = 3;
inline constexpr const char* kQuillmorePolkitFileName = "libquillmore_polkit.so";
/// Takes no arguments and returns a `const QuillmorePolkitModule*` that lives for ever.
inline constexpr const char* kQuillmorePolkitEntryPointName = "quillmorePolkitModule";
