// Asks polkit whether this process may do an action. The only file of the program that knows GLib's
// polkit interface; built as a module of its own.
#include "Platform/Linux/Polkit/PolkitModule.h"

#include <glib-unix.h>
#include <polkit/polkit.h>
#include <string.h>
#include <unistd.h>

#include "Platform/Linux/Polkit/TextAgent.h"

namespace {

using namespace quillmore::platform::polkit;

/// G_DEBUG in the user's environment can make warnings fatal: they must not end the launcher. (An
/// out-of-memory g_error aborts whatever is set.)
void keepWarningsHarmless() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK));
}

/// The connection that polkit's client is going to share, or null without a bus. Unless told not
/// to, it ends the process with SIGTERM when the bus goes away. To be held until the question is
/// answered: without a holder it goes, and polkit's client would make one that is not told.
Reference<GDBusConnection> harmlessBus() {
    Reference<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    if (bus) g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    return bus;
}

QuillmorePolkitAnswer answerOf(PolkitAuthorizationResult* result) {
    if (polkit_authorization_result_get_is_authorized(result)) return kQuillmorePolkitGranted;
    if (polkit_authorization_result_get_dismissed(result)) return kQuillmorePolkitDismissed;
    if (polkit_authorization_result_get_is_challenge(result)) return kQuillmorePolkitChallenge;
    return kQuillmorePolkitDenied;
}

/// Whether polkit can say for sure that it has no such action.
bool isUnknownAction(PolkitAuthority* authority, const char* action) {
    GError* failure = nullptr;
    GList* actions = polkit_authority_enumerate_actions_sync(authority, nullptr, &failure);
    const OwnedError error(failure);
    if (error) return false;
    bool known = false;
    for (const GList* entry = actions; entry != nullptr; entry = entry->next) {
        const char* identifier = polkit_action_description_get_action_id(
            static_cast<PolkitActionDescription*>(entry->data));
        known = known || g_strcmp0(identifier, action) == 0;
    }
    g_list_free_full(actions, g_object_unref);
    return !known;
}

struct Answer {
    QuillmorePolkitAnswer answer = kQuillmorePolkitError;
    std::string problem;
};

Answer answerOf(const Reference<PolkitAuthorizationResult>& result, const OwnedError& error) {
    if (result) return {answerOf(result.get()), ""};
    return {kQuillmorePolkitError, error ? error->message : "polkit gave no answer"};
}

/// Asked about this process; `action` becomes the first one that polkit knows.
Answer check(PolkitAuthority* authority, PolkitSubject* subject, const char* const*& action,
             PolkitCheckAuthorizationFlags flags) {
    for (;; ++action) {
        GError* failure = nullptr;
        const Reference<PolkitAuthorizationResult> result(polkit_authority_check_authorization_sync(
            authority, subject, *action, nullptr, flags, nullptr, &failure));
        const OwnedError error(failure);
        // An unknown action is told by a general error only; the list of actions settles it.
        if (result || action[1] == nullptr || !isUnknownAction(authority, *action))
            return answerOf(result, error);
    }
}

void keepResult(GObject*, GAsyncResult* result, gpointer place) {
    static_cast<Reference<GAsyncResult>*>(place)->reset(
        static_cast<GAsyncResult*>(g_object_ref(result)));
}

/// The agent is asked by way of the context that waits for the answer.
Answer checkWithAgent(PolkitAuthority* authority, PolkitSubject* subject, const char* action,
                      GMainContext* context) {
    Reference<GAsyncResult> done;
    polkit_authority_check_authorization(authority, subject, action, nullptr,
                                         POLKIT_CHECK_AUTHORIZATION_FLAGS_ALLOW_USER_INTERACTION,
                                         nullptr, keepResult, &done);
    while (!done) g_main_context_iteration(context, TRUE);
    GError* failure = nullptr;
    const Reference<PolkitAuthorizationResult> result(
        polkit_authority_check_authorization_finish(authority, done.get(), &failure));
    return answerOf(result, OwnedError(failure));
}

Answer ask(PolkitAuthority* authority, const QuillmorePolkitQuestion& question,
           GMainContext* context, std::unique_ptr<QuillmorePolkitAgent>& agent) {
    // The start time is looked up by polkit: it tells this process from a later one of its number.
    const Reference<PolkitSubject> subject(polkit_unix_process_new_for_owner(
        static_cast<gint>(::getpid()), 0, static_cast<gint>(::getuid())));
    const char* const* action = question.actions;
    const bool mayAsk = question.interactionAllowed != 0;
    const Answer first = check(authority, subject.get(), action,
                               mayAsk ? POLKIT_CHECK_AUTHORIZATION_FLAGS_ALLOW_USER_INTERACTION
                                      : POLKIT_CHECK_AUTHORIZATION_FLAGS_NONE);
    if (first.answer != kQuillmorePolkitChallenge || !mayAsk || question.terminal == nullptr)
        return first;
    std::string problem;
    agent = QuillmorePolkitAgent::make(subject.get(), context, *question.terminal, problem);
    if (!problem.empty()) return {kQuillmorePolkitError, problem};
    return agent ? checkWithAgent(authority, subject.get(), *action, context) : first;
}

QuillmorePolkitAnswer checkAuthorization(const QuillmorePolkitQuestion* question,
                                         QuillmorePolkitAgent** agent, char* text,
                                         size_t textSize) {
    text[0] = '\0';
    *agent = nullptr;
    try {
        keepWarningsHarmless();
        // Of our own: nobody runs the default one, and polkit's signals would wait there for ever.
        const OwnedContext context(g_main_context_new());
        const ThreadContext thread(context.get());
        const Reference<GDBusConnection> bus = harmlessBus();
        GError* failure = nullptr;
        const Reference<PolkitAuthority> authority(polkit_authority_get_sync(nullptr, &failure));
        const OwnedError error(failure);
        Answer answer{kQuillmorePolkitError, error ? error->message : "polkit cannot be reached"};
        std::unique_ptr<QuillmorePolkitAgent> own;
        if (authority) answer = ask(authority.get(), *question, context.get(), own);
        g_strlcpy(text, answer.problem.c_str(), textSize);
        if (answer.answer == kQuillmorePolkitGranted) *agent = own.release();
        return answer.answer;
    } catch (...) {
        g_strlcpy(text, "the polkit module failed", textSize);
    }
    return kQuillmorePolkitError;
}

gboolean wake(gpointer woken) {
    *static_cast<bool*>(woken) = true;
    return G_SOURCE_CONTINUE;
}

gboolean wakeForDescriptor(gint, GIOCondition, gpointer woken) {
    return wake(woken);
}

void attend(QuillmorePolkitAgent* agent, int descriptor, int32_t milliseconds) {
    const ThreadContext thread(agent->context());
    bool woken = false;
    const OwnedSource time(g_timeout_source_new(static_cast<guint>(milliseconds)));
    g_source_set_callback(time.get(), wake, &woken, nullptr);
    g_source_attach(time.get(), agent->context());
    OwnedSource end;
    if (descriptor >= 0) {
        end.reset(g_unix_fd_source_new(descriptor, G_IO_IN));
        g_source_set_callback(end.get(), G_SOURCE_FUNC(wakeForDescriptor), &woken, nullptr);
        g_source_attach(end.get(), agent->context());
    }
    while (!woken) g_main_context_iteration(agent->context(), TRUE);
}

void release(QuillmorePolkitAgent* agent) {
    delete agent;
}

const QuillmorePolkitModule theModule{kQuillmorePolkitVersion, checkAuthorization, attend, release};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QuillmorePolkitModule*
quillmorePolkitModule(void) {
    return &theModule;
}
