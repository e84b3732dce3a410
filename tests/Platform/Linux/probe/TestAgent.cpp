// A polkit agent for one process, whose user closes every dialog at once, never answers, or types
// passwords. Arguments: the process; "wait" for the user who never answers, or "answer" and the
// passwords, one for each question; where there are no more the dialog is closed. Writes "ready"
// when polkit knows it, "asked" with every dialog, and then its message when a password is typed;
// runs until it is killed.
#define POLKIT_AGENT_I_KNOW_API_IS_SUBJECT_TO_CHANGE
#include <polkitagent/polkitagent.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

typedef PolkitAgentListener TestListener;
typedef PolkitAgentListenerClass TestListenerClass;
G_DEFINE_TYPE(TestListener, test_listener, POLKIT_AGENT_TYPE_LISTENER)

static bool waits = false;
static char** passwords = nullptr;  ///< Ends with a null pointer.

static void close(GTask* task) {
    g_task_return_new_error(task, POLKIT_ERROR, POLKIT_ERROR_CANCELLED, "the user closed it");
    g_object_unref(task);
}

static void requested(PolkitAgentSession* session, const gchar*, gboolean, gpointer) {
    polkit_agent_session_response(session, *passwords++);
}

static void completed(PolkitAgentSession* session, gboolean, gpointer task) {
    g_task_return_boolean(G_TASK(task), TRUE);
    g_object_unref(task);
    g_object_unref(session);
}

static void initiate(PolkitAgentListener* listener, const gchar*, const gchar* message,
                     const gchar*, PolkitDetails*, const gchar* cookie, GList* identities,
                     GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
    puts("asked");
    if (passwords != nullptr) puts(message);
    fflush(stdout);
    if (waits) return;
    GTask* task = g_task_new(listener, cancellable, callback, data);
    if (passwords == nullptr || *passwords == nullptr) return close(task);
    PolkitAgentSession* session =
        polkit_agent_session_new(POLKIT_IDENTITY(identities->data), cookie);
    g_signal_connect(session, "request", G_CALLBACK(requested), nullptr);
    g_signal_connect(session, "completed", G_CALLBACK(completed), task);
    polkit_agent_session_initiate(session);
}

static gboolean finish(PolkitAgentListener*, GAsyncResult* result, GError** error) {
    return g_task_propagate_boolean(G_TASK(result), error);
}

static void test_listener_init(TestListener*) {}
static void test_listener_class_init(TestListenerClass* listenerClass) {
    listenerClass->initiate_authentication = initiate;
    listenerClass->initiate_authentication_finish = finish;
}

int main(int argumentCount, char** arguments) {
    if (argumentCount < 2) return 2;
    waits = argumentCount == 3;
    if (argumentCount > 3) passwords = arguments + 3;
    GError* error = nullptr;
    PolkitSubject* subject =
        polkit_unix_process_new_for_owner(atoi(arguments[1]), 0, static_cast<gint>(getuid()));
    auto* listener =
        static_cast<PolkitAgentListener*>(g_object_new(test_listener_get_type(), nullptr));
    if (polkit_agent_listener_register(listener, POLKIT_AGENT_REGISTER_FLAGS_NONE, subject, nullptr,
                                       nullptr, &error) == nullptr) {
        fprintf(stderr, "%s\n", error->message);
        return 1;
    }
    puts("ready");
    fflush(stdout);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
