// The controlling terminal, asked one question at a time from a main context: nothing blocks while
// the user thinks.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Linux/Polkit/GLibOwners.h"
#include "Platform/Linux/Polkit/PolkitModule.h"

namespace quillmore::platform::polkit {

class Terminal {
public:
    /// Null where there is no controlling terminal, or another job has it. `modes` and `context`
    /// must outlive the object.
    static std::unique_ptr<Terminal> open(const QuillmorePolkitTerminal& modes,
                                          GMainContext* context);
    ~Terminal() { stop(); }

    /// Nobody else draws and nothing typed is shown, until the next question or stop(). False when
    /// the terminal is gone.
    bool hush() const { return modes_.beginQuestion(terminal_.get(), 0) != 0; }
    /// Control characters are dropped: a text must not steer the terminal.
    void print(const std::string& text) const;
    /// The line typed, without its end, or null at the end of input; wiped after the call.
    using Answered = std::function<void(const char* line)>;
    /// Prints the question and calls `answered` once, later. False when the terminal is gone.
    bool ask(const std::string& question, bool echo, Answered answered);
    /// No answer is awaited any more, and the terminal is as it was.
    void stop();

private:
    Terminal(const QuillmorePolkitTerminal& modes, GMainContext* context, FileDescriptor terminal)
        : modes_(modes), context_(context), terminal_(std::move(terminal)) {}
    static gboolean readable(gint descriptor, GIOCondition condition, gpointer self);
    void read();
    void finish(bool hasLine);

    const QuillmorePolkitTerminal& modes_;
    GMainContext* const context_;
    const FileDescriptor terminal_;
    bool echoes_ = true;
    Answered answered_;
    OwnedSource source_;
    std::array<char, 1024> line_{};
    std::size_t length_ = 0;
};

}  // namespace quillmore::platform::polkit
