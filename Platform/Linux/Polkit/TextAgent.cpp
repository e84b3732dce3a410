#include "Platform/Linux/Polkit/TextAgent.h"

using namespace quillmore::platform::polkit;

namespace {

struct TerminalListener {
    PolkitAgentListener parent;
    QuillmorePolkitAgent* agent;  ///< Null once it is gone.
};
struct TerminalListenerClass {
    PolkitAgentListenerClass parent;
};
G_DEFINE_TYPE(TerminalListener, terminal_listener, POLKIT_AGENT_TYPE_LISTENER)

/// polkit's words for its general action name a path and no reason.
std::string messageFor(const std::string& action, const gchar* message, const std::string& reason) {
    const bool isOurs = action.starts_with("com.quillmore.");
    return isOurs || reason.empty() ? message : reason + "\n" + message;
}

void initiate(PolkitAgentListener* listener, const gchar* action, const gchar* message,
              const gchar*, PolkitDetails*, const gchar* cookie, GList* identities,
              GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
    Reference<GTask> task(g_task_new(listener, cancellable, callback, data));
    g_task_set_check_cancellable(task.get(), FALSE);  // its end is always the dialog's
    QuillmorePolkitAgent* agent = reinterpret_cast<TerminalListener*>(listener)->agent;
    DialogRequest request{
        messageFor(action, message, agent != nullptr ? agent->reason() : ""), cookie, {}};
    for (const GList* entry = identities; entry != nullptr; entry = entry->next)
        request.identities.emplace_back(static_cast<PolkitIdentity*>(g_object_ref(entry->data)));
    if (agent != nullptr) return agent->authenticate(std::move(request), std::move(task));
    g_task_return_new_error(task.get(), POLKIT_ERROR, POLKIT_ERROR_FAILED, "the agent is gone");
}

gboolean finishInitiate(PolkitAgentListener*, GAsyncResult* result, GError** error) {
    return g_task_propagate_boolean(G_TASK(result), error);
}

void terminal_listener_init(TerminalListener*) {}

void terminal_listener_class_init(TerminalListenerClass* listenerClass) {
    listenerClass->parent.initiate_authentication = initiate;
    listenerClass->parent.initiate_authentication_finish = finishInitiate;
}

}  // namespace

std::unique_ptr<QuillmorePolkitAgent> QuillmorePolkitAgent::make(
    PolkitSubject* subject, GMainContext* context, const QuillmorePolkitTerminal& terminal,
    std::string reason, std::string& problem) {
    std::unique_ptr<QuillmorePolkitAgent> agent(
        new QuillmorePolkitAgent(context, std::move(reason)));
    agent->terminal_ = Terminal::open(terminal, context);
    if (!agent->terminal_ || !agent->registerFor(subject, problem)) return nullptr;
    return agent;
}

/// Not as a mere fallback: polkit looks for those in logind's sessions only, and a process may be
/// in none. A desktop's agent would have been asked before.
bool QuillmorePolkitAgent::registerFor(PolkitSubject* subject, std::string& problem) {
    listener_.reset(
        static_cast<PolkitAgentListener*>(g_object_new(terminal_listener_get_type(), nullptr)));
    reinterpret_cast<TerminalListener*>(listener_.get())->agent = this;
    GError* failure = nullptr;
    registration_ = polkit_agent_listener_register(
        listener_.get(), POLKIT_AGENT_REGISTER_FLAGS_NONE, subject, nullptr, nullptr, &failure);
    const OwnedError error(failure);
    if (error) problem = error->message;
    return registration_ != nullptr;
}

QuillmorePolkitAgent::~QuillmorePolkitAgent() {
    const ThreadContext thread(context());
    dialog_.reset();
    finish(DialogEnd::dismissed);
    thread.runPending();  // polkit is told before the agent is gone
    if (registration_ != nullptr) polkit_agent_listener_unregister(registration_);
    if (listener_) reinterpret_cast<TerminalListener*>(listener_.get())->agent = nullptr;
    listener_.reset();
}

void QuillmorePolkitAgent::authenticate(DialogRequest request, Reference<GTask> task) {
    if (task_ || request.identities.empty()) {
        g_task_return_new_error(task.get(), POLKIT_ERROR, POLKIT_ERROR_FAILED,
                                "nobody can be asked now");
        return;
    }
    task_ = std::move(task);
    cancellation_.reset(g_cancellable_source_new(g_task_get_cancellable(task_.get())));
    g_source_set_callback(cancellation_.get(), G_SOURCE_FUNC(&QuillmorePolkitAgent::cancelled),
                          this, nullptr);
    g_source_attach(cancellation_.get(), context());
    dialog_ = std::make_unique<Dialog>(*terminal_, std::move(request),
                                       [this](DialogEnd how) { finish(how); });
    dialog_->start();
}

gboolean QuillmorePolkitAgent::cancelled(GCancellable*, gpointer self) {
    auto* agent = static_cast<QuillmorePolkitAgent*>(self);
    agent->dialog_.reset();
    agent->finish(DialogEnd::dismissed);
    return G_SOURCE_REMOVE;
}

void QuillmorePolkitAgent::finish(DialogEnd how) {
    const Reference<GTask> task = std::move(task_);
    if (!task) return;
    cancellation_.reset();
    if (how == DialogEnd::answered)
        g_task_return_boolean(task.get(), TRUE);
    else
        g_task_return_new_error(task.get(), POLKIT_ERROR, POLKIT_ERROR_CANCELLED,
                                "the question was dismissed");
}
