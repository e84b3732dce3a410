// Asks polkit what pkexec would be answered, and makes the agent that asks on the terminal. Built
// as a module of its own: it links GLib.
#include "Platform/Linux/Polkit/PolkitModule.h"

#include <glib-unix.h>
#include <polkit/polkit.h>
#include <unistd.h>

#include <string>

#include "Platform/Linux/Polkit/TextAgent.h"

namespace {

using namespace quillmore::platform::polkit;

/// G_DEBUG in the user's environment can make warnings fatal: they must not end the launcher. (An
/// out-of-memory g_error aborts whatever is set.)
void keepWarningsHarmless() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK));
}

/// What happens within one call of the module: in a context of its own, which nobody else runs, and
/// within a time that is long for a service and short for somebody who waits.
class Enquiry {
public:
    Enquiry() {
        g_source_set_callback(time_.get(), expired, cancellable_.get(), nullptr);
        g_source_attach(time_.get(), context_.get());
    }
    GCancellable* limit() const { return cancellable_.get(); }
    GMainContext* context() const { return context_.get(); }
    static void keep(GObject*, GAsyncResult* result, gpointer self) {
        static_cast<Enquiry*>(self)->result_.reset(
            static_cast<GAsyncResult*>(g_object_ref(result)));
    }
    Reference<GAsyncResult> wait() {
        while (!result_) g_main_context_iteration(context_.get(), TRUE);
        return std::move(result_);
    }

private:
    static constexpr guint kSeconds = 10;
    static gboolean expired(gpointer cancellable) {
        g_cancellable_cancel(static_cast<GCancellable*>(cancellable));
        return G_SOURCE_REMOVE;
    }
    const OwnedContext context_{g_main_context_new()};
    const ThreadContext thread_{context_.get()};
    const Reference<GCancellable> cancellable_{g_cancellable_new()};
    const OwnedSource time_{g_timeout_source_new_seconds(kSeconds)};
    Reference<GAsyncResult> result_;
};

/// A fault of polkit's, as text.
struct Fault {
    std::string text;
};
[[noreturn]] void fail(const OwnedError& error, const char* otherwise) {
    if (!error) throw Fault{otherwise};
    const bool late = g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED);
    throw Fault{late ? "it does not answer" : error->message};
}

/// The connection that polkit's client is going to share. Unless told not to, it ends the process
/// with SIGTERM when the bus goes away. To be held until the question is answered: without a holder
/// it goes, and polkit's client would make one that is not told.
Reference<GDBusConnection> harmlessBus(Enquiry& enquiry) {
    GError* failure = nullptr;
    g_bus_get(G_BUS_TYPE_SYSTEM, enquiry.limit(), Enquiry::keep, &enquiry);
    Reference<GDBusConnection> bus(g_bus_get_finish(enquiry.wait().get(), &failure));
    const OwnedError error(failure);
    if (!bus) fail(error, "there is no bus");
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    return bus;
}

Reference<PolkitAuthority> theAuthority(Enquiry& enquiry) {
    GError* failure = nullptr;
    polkit_authority_get_async(enquiry.limit(), Enquiry::keep, &enquiry);
    Reference<PolkitAuthority> authority(
        polkit_authority_get_finish(enquiry.wait().get(), &failure));
    const OwnedError error(failure);
    if (!authority) fail(error, "it cannot be reached");
    return authority;
}

/// What pkexec takes: the action whose policy file names the program, else the general one.
std::string actionOf(Enquiry& enquiry, PolkitAuthority* authority, const char* program) {
    GError* failure = nullptr;
    polkit_authority_enumerate_actions(authority, enquiry.limit(), Enquiry::keep, &enquiry);
    GList* actions =
        polkit_authority_enumerate_actions_finish(authority, enquiry.wait().get(), &failure);
    const OwnedError error(failure);
    if (error) fail(error, "");
    std::string found = "org.freedesktop.policykit.exec";
    for (const GList* entry = actions; entry != nullptr; entry = entry->next) {
        auto* action = static_cast<PolkitActionDescription*>(entry->data);
        const char* path =
            polkit_action_description_get_annotation(action, "org.freedesktop.policykit.exec.path");
        if (g_strcmp0(path, program) == 0) found = polkit_action_description_get_action_id(action);
    }
    g_list_free_full(actions, g_object_unref);
    return found;
}

/// The start time is looked up by polkit: it tells this process from a later one of its number.
Reference<PolkitSubject> thisProcess() {
    return Reference<PolkitSubject>(polkit_unix_process_new_for_owner(
        static_cast<gint>(::getpid()), 0, static_cast<gint>(::getuid())));
}

QuillmorePolkitAnswer check(const char* program) {
    Enquiry enquiry;
    const Reference<GDBusConnection> bus = harmlessBus(enquiry);
    const Reference<PolkitAuthority> authority = theAuthority(enquiry);
    const std::string action = actionOf(enquiry, authority.get(), program);
    GError* failure = nullptr;
    polkit_authority_check_authorization(authority.get(), thisProcess().get(), action.c_str(),
                                         nullptr, POLKIT_CHECK_AUTHORIZATION_FLAGS_NONE,
                                         enquiry.limit(), Enquiry::keep, &enquiry);
    const Reference<PolkitAuthorizationResult> result(polkit_authority_check_authorization_finish(
        authority.get(), enquiry.wait().get(), &failure));
    const OwnedError error(failure);
    if (!result) fail(error, "it gave no answer");
    if (polkit_authorization_result_get_is_authorized(result.get())) return kQuillmorePolkitGranted;
    return polkit_authorization_result_get_is_challenge(result.get()) ? kQuillmorePolkitChallenge
                                                                      : kQuillmorePolkitDenied;
}

/// Nothing of C++ passes the module's border.
template <class Result, class Work>
Result guarded(Result otherwise, char* text, size_t textSize, const Work& work) {
    text[0] = '\0';
    try {
        keepWarningsHarmless();
        return work();
    } catch (const Fault& fault) {
        g_strlcpy(text, fault.text.c_str(), textSize);
    } catch (...) {
        g_strlcpy(text, "the polkit module failed", textSize);
    }
    return otherwise;
}

QuillmorePolkitAnswer checkProgram(const char* program, char* text, size_t textSize) {
    return guarded(kQuillmorePolkitError, text, textSize, [&] { return check(program); });
}

QuillmorePolkitAgent* makeAgent(const QuillmorePolkitTerminal* terminal, const char* reason,
                                char* text, size_t textSize) {
    return guarded<QuillmorePolkitAgent*>(nullptr, text, textSize, [&] {
        Enquiry enquiry;
        const Reference<GDBusConnection> bus = harmlessBus(enquiry);
        std::string problem;
        auto agent = QuillmorePolkitAgent::make(thisProcess().get(), enquiry.context(), *terminal,
                                                reason, problem);
        if (!problem.empty()) throw Fault{problem};
        return agent.release();
    });
}

gboolean wakeForDescriptor(gint, GIOCondition, gpointer woken) {
    *static_cast<bool*>(woken) = true;
    return G_SOURCE_CONTINUE;
}

void attend(QuillmorePolkitAgent* agent, int descriptor) {
    const ThreadContext thread(agent->context());
    bool woken = false;
    const OwnedSource end(
        g_unix_fd_source_new(descriptor, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR)));
    g_source_set_callback(end.get(), G_SOURCE_FUNC(wakeForDescriptor), &woken, nullptr);
    g_source_attach(end.get(), agent->context());
    while (!woken) g_main_context_iteration(agent->context(), TRUE);
}

void release(QuillmorePolkitAgent* agent) {
    delete agent;
}

const QuillmorePolkitModule theModule{kQuillmorePolkitVersion, checkProgram, makeAgent, attend,
                                      release};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QuillmorePolkitModule*
quillmorePolkitModule(void) {
    return &theModule;
}
