// The interface between the program and the module that asks polkit. The module is opened on first
// use only, so that a start which needs no administrator never maps GLib. Plain C across the
// border: no exception and no C++ type passes it.
#pragma once

#include <stddef.h>
#include <stdint.h>

extern "C" {

/// How a question to polkit ended.
enum QuillmorePolkitAnswer : int32_t {
    kQuillmorePolkitGranted = 0,
    kQuillmorePolkitDenied = 1,
    kQuillmorePolkitChallenge = 2,  ///< A password is wanted and nobody may or can be asked for it.
    kQuillmorePolkitDismissed = 3,  ///< The user closed the dialog.
    kQuillmorePolkitError = 4       ///< polkit or its bus cannot be reached; the text says why.
};

/// What the program does for a password question on the terminal:
/// Platform/Interface/TerminalQuestion.h.
struct QuillmorePolkitTerminal {
    int32_t (*beginQuestion)(int terminal, int32_t echo);  ///< 0 when it is no terminal.
    void (*endQuestion)(void);
};

struct QuillmorePolkitQuestion {
    /// Ends with a null pointer and has at least one entry: the first one that polkit knows is
    /// asked about.
    const char* const* actions;
    int32_t interactionAllowed;
    /// Null: never asks on the terminal itself. Must live as long as the agent.
    const QuillmorePolkitTerminal* terminal;
};

/// Asks for passwords on the controlling terminal in the name of polkit, for this process and what
/// it starts. Works only inside a call of the module; belongs to one thread at a time.
struct QuillmorePolkitAgent;

struct QuillmorePolkitModule {
    uint32_t version;  ///< kQuillmorePolkitVersion of the module's build.
    /// May this process do the action? Blocks until the user has answered. Where a password is
    /// wanted, interaction is allowed and no desktop asks for it, an agent of the module's own does
    /// on the controlling terminal, if there is one. `*agent` gets that agent, to be released, or
    /// null. `text` (of `textSize` bytes, not 0) gets the error's text or "". Safe on any thread.
    QuillmorePolkitAnswer (*checkAuthorization)(const QuillmorePolkitQuestion* question,
                                                QuillmorePolkitAgent** agent, char* text,
                                                size_t textSize);
    /// Lets the agent ask until the descriptor (-1: none) is readable or the time is up.
    void (*attend)(QuillmorePolkitAgent* agent, int descriptor, int32_t milliseconds);
    /// Ends the agent: its question, if one is open, and all that it holds.
    void (*release)(QuillmorePolkitAgent* agent);
};
}

/// Raised with every change of the structures.
inline constexpr uint32_t kQuillmorePolkitVersion = 2;
inline constexpr const char* kQuillmorePolkitFileName = "libquillmore_polkit.so";
/// Takes no arguments and returns a `const QuillmorePolkitModule*` that lives for ever.
inline constexpr const char* kQuillmorePolkitEntryPointName = "quillmorePolkitModule";
