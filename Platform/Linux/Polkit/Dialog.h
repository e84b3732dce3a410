// One request of polkit to authenticate, as a dialog on the terminal: why, as whom, the password.
// PAM's conversation itself runs in polkit's own set-user-ID helper.
#pragma once

#define POLKIT_AGENT_I_KNOW_API_IS_SUBJECT_TO_CHANGE
#include <polkitagent/polkitagent.h>

#include <functional>
#include <string>
#include <vector>

#include "Platform/Linux/Polkit/Terminal.h"

namespace quillmore::platform::polkit {

/// Answered: polkit knows by itself whether the password was right.
enum class DialogEnd { answered, dismissed };

struct DialogRequest {
    std::string message;
    std::string cookie;
    std::vector<Reference<PolkitIdentity>> identities;  ///< At least one.
};

class Dialog {
public:
    /// `ended` is called once, later, and not after the dialog is gone; it may not destroy it.
    Dialog(Terminal& terminal, DialogRequest request, std::function<void(DialogEnd)> ended);
    ~Dialog();
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    void start();

private:
    void askIdentity();
    void choose(const char* line);
    void beginSession();
    void dropSession();
    void end(DialogEnd how);
    void answer(const char* line, bool echo);
    static void requested(PolkitAgentSession*, const gchar* text, gboolean echo, gpointer self);
    static void informed(PolkitAgentSession*, const gchar* text, gpointer self);
    static void completed(PolkitAgentSession*, gboolean gained, gpointer self);

    Terminal& terminal_;
    const DialogRequest request_;
    std::function<void(DialogEnd)> ended_;
    std::size_t identity_ = 0;
    int attempts_ = 0;
    Reference<PolkitAgentSession> session_;
    pid_t helper_ = 0;  ///< Of the session, as long as that has not seen its end.
};

}  // namespace quillmore::platform::polkit
