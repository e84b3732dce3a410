#include "Platform/Linux/Polkit/Dialog.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fstream>

namespace quillmore::platform::polkit {

namespace {

constexpr int kAttempts = 3;

std::string nameOf(PolkitIdentity* identity) {
    if (POLKIT_IS_UNIX_USER(identity)) {
        const char* name = polkit_unix_user_get_name(POLKIT_UNIX_USER(identity));
        if (name != nullptr) return name;
    }
    gchar* text = polkit_identity_to_string(identity);
    std::string name(text);
    g_free(text);
    return name;
}

/// The user's own account, when it is an administrator's, else the first.
std::size_t likeliest(const std::vector<Reference<PolkitIdentity>>& identities) {
    for (std::size_t i = 0; i < identities.size(); ++i) {
        PolkitIdentity* identity = identities[i].get();
        if (POLKIT_IS_UNIX_USER(identity) &&
            polkit_unix_user_get_uid(POLKIT_UNIX_USER(identity)) == static_cast<gint>(::getuid()))
            return i;
    }
    return 0;
}

std::vector<pid_t> childrenOfThread() {
    std::ifstream file("/proc/thread-self/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; file >> child;) children.push_back(child);
    return children;
}

}  // namespace

Dialog::Dialog(Terminal& terminal, DialogRequest request, std::function<void(DialogEnd)> ended)
    : terminal_(terminal), request_(std::move(request)), ended_(std::move(ended)) {}

Dialog::~Dialog() {
    dropSession();
    terminal_.stop();
}

void Dialog::start() {
    identity_ = likeliest(request_.identities);
    // PAM takes its time before it asks: the texts above its prompt are part of the question.
    if (!terminal_.hush()) return end(DialogEnd::dismissed);
    terminal_.print("\n" + request_.message + "\n");
    askIdentity();
}

/// In the manner of the console's own choices, which need no words.
void Dialog::askIdentity() {
    const std::size_t count = request_.identities.size();
    std::string choices;
    for (std::size_t i = 0; i < count; ++i) {
        choices += "  " + std::to_string(i + 1) + ") " + nameOf(request_.identities[i].get());
        choices += count > 1 && i == identity_ ? " (Return)\n" : "\n";
    }
    if (count == 1) {
        terminal_.print(choices);
        return beginSession();
    }
    const bool asked =
        terminal_.ask(choices + "> ", true, [this](const char* line) { choose(line); });
    if (!asked) end(DialogEnd::dismissed);
}

void Dialog::choose(const char* line) {
    if (line == nullptr) return end(DialogEnd::dismissed);
    if (*line != '\0') {
        const char* const lineEnd = line + std::strlen(line);
        std::size_t number = 0;
        const auto [parsed, failure] = std::from_chars(line, lineEnd, number);
        if (failure != std::errc() || parsed != lineEnd || number < 1 ||
            number > request_.identities.size())
            return askIdentity();
        identity_ = number - 1;
    }
    beginSession();
}

void Dialog::beginSession() {
    ++attempts_;
    if (!terminal_.hush()) return end(DialogEnd::dismissed);
    session_.reset(
        polkit_agent_session_new(request_.identities[identity_].get(), request_.cookie.c_str()));
    g_signal_connect(session_.get(), "request", G_CALLBACK(&Dialog::requested), this);
    g_signal_connect(session_.get(), "show-info", G_CALLBACK(&Dialog::informed), this);
    g_signal_connect(session_.get(), "show-error", G_CALLBACK(&Dialog::informed), this);
    g_signal_connect(session_.get(), "completed", G_CALLBACK(&Dialog::completed), this);
    const std::vector<pid_t> before = childrenOfThread();
    polkit_agent_session_initiate(session_.get());
    for (const pid_t child : childrenOfThread()) {
        if (session_ && std::find(before.begin(), before.end(), child) == before.end())
            helper_ = child;
    }
}

/// A session sends its helper a SIGTERM and waits for the end. The helper has inherited that the
/// program blocks this signal: one that is still in PAM's conversation would never end.
void Dialog::dropSession() {
    if (!session_) return;
    if (helper_ > 0) ::kill(std::exchange(helper_, 0), SIGKILL);
    const Reference<PolkitAgentSession> session = std::move(session_);
    g_signal_handlers_disconnect_by_data(session.get(), this);
    polkit_agent_session_cancel(session.get());
}

void Dialog::requested(PolkitAgentSession*, const gchar* text, gboolean echo, gpointer self) {
    auto* dialog = static_cast<Dialog*>(self);
    const bool asked = dialog->terminal_.ask(text, echo != FALSE, [dialog, echo](const char* line) {
        dialog->answer(line, echo != FALSE);
    });
    if (!asked) dialog->end(DialogEnd::dismissed);
}

/// Nothing typed where a password is wanted is the way out, as the end of input is. (PAM does not
/// ask an account without a password.)
void Dialog::answer(const char* line, bool echo) {
    if (line == nullptr || (*line == '\0' && !echo)) return end(DialogEnd::dismissed);
    polkit_agent_session_response(session_.get(), line);
}

void Dialog::informed(PolkitAgentSession*, const gchar* text, gpointer self) {
    static_cast<Dialog*>(self)->terminal_.print(std::string(text) + "\n");
}

void Dialog::completed(PolkitAgentSession*, gboolean gained, gpointer self) {
    auto* dialog = static_cast<Dialog*>(self);
    dialog->helper_ = 0;
    if (gained != FALSE || dialog->attempts_ >= kAttempts) return dialog->end(DialogEnd::answered);
    dialog->dropSession();
    dialog->beginSession();
}

void Dialog::end(DialogEnd how) {
    dropSession();
    terminal_.stop();
    const auto ended = std::exchange(ended_, nullptr);
    if (ended) ended(how);
}

}  // namespace quillmore::platform::polkit
