// polkit's agent for this process on the controlling terminal, where no desktop asks for passwords.
// polkit's library has a text agent of its own, but that one ends the whole process at the end of
// input (Ctrl-D), and leaves the terminal without echo when a signal ends the process. This one
// blocks nowhere and starts no thread: it works while its owner runs its main context.
#pragma once

#include <memory>
#include <string>

#include "Platform/Linux/Polkit/Dialog.h"

struct QuillmorePolkitAgent {
    template <class T>
    using Reference = quillmore::platform::polkit::Reference<T>;

public:
    /// Null where nobody can be asked (no terminal), or on a failure, which `problem` then tells.
    /// `context` is the thread's own now. `terminal` must outlive the agent. `reason` is shown
    /// above a message that does not come from the product's own policy file.
    static std::unique_ptr<QuillmorePolkitAgent> make(PolkitSubject* subject, GMainContext* context,
                                                      const QuillmorePolkitTerminal& terminal,
                                                      std::string reason, std::string& problem);
    ~QuillmorePolkitAgent();
    QuillmorePolkitAgent(const QuillmorePolkitAgent&) = delete;
    QuillmorePolkitAgent& operator=(const QuillmorePolkitAgent&) = delete;

    GMainContext* context() const { return context_.get(); }
    const std::string& reason() const { return reason_; }
    /// polkit's request; `task` is done when the dialog is over.
    void authenticate(quillmore::platform::polkit::DialogRequest request, Reference<GTask> task);

private:
    QuillmorePolkitAgent(GMainContext* context, std::string reason)
        : context_(g_main_context_ref(context)), reason_(std::move(reason)) {}
    bool registerFor(PolkitSubject* subject, std::string& problem);
    void finish(quillmore::platform::polkit::DialogEnd how);
    static gboolean cancelled(GCancellable*, gpointer self);

    const quillmore::platform::polkit::OwnedContext context_;
    const std::string reason_;
    std::unique_ptr<quillmore::platform::polkit::Terminal> terminal_;
    Reference<PolkitAgentListener> listener_;
    gpointer registration_ = nullptr;
    /// The request that is being answered. A dialog that is over stays until the next one: it may
    /// be what is calling.
    Reference<GTask> task_;
    quillmore::platform::polkit::OwnedSource cancellation_;
    std::unique_ptr<quillmore::platform::polkit::Dialog> dialog_;
};
