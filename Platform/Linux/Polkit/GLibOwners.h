// Owners of GLib's things, and its main context as the thread's own for a while.
#pragma once

#include <gio/gio.h>

#include <memory>

namespace quillmore::platform::polkit {

struct Unreference {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct FreeError {
    void operator()(GError* error) const { g_error_free(error); }
};
struct UnreferenceContext {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
};
/// A source that is to be heard no more once its owner is gone.
struct DestroySource {
    void operator()(GSource* source) const {
        g_source_destroy(source);
        g_source_unref(source);
    }
};

template <class T>
using Reference = std::unique_ptr<T, Unreference>;
using OwnedError = std::unique_ptr<GError, FreeError>;
using OwnedContext = std::unique_ptr<GMainContext, UnreferenceContext>;
using OwnedSource = std::unique_ptr<GSource, DestroySource>;

/// While it lives, what the thread begins ends in the context; what is waiting there at its end is
/// done, because until then it holds on to things (the bus, for one).
class ThreadContext {
public:
    explicit ThreadContext(GMainContext* context) : context_(context) {
        g_main_context_push_thread_default(context_);
    }
    ~ThreadContext() {
        runPending();
        g_main_context_pop_thread_default(context_);
    }
    void runPending() const {
        while (g_main_context_iteration(context_, FALSE)) {
        }
    }
    ThreadContext(const ThreadContext&) = delete;
    ThreadContext& operator=(const ThreadContext&) = delete;

private:
    GMainContext* context_;
};

}  // namespace quillmore::platform::polkit
