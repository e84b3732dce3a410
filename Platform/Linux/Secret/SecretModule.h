// The interface between the program and the module that talks to the Secret Service. The module is
// opened on first use only, so that a start which needs no secrets never maps GLib. Plain C across
// the border: no exception and no C++ type passes it. Secrets are wiped on both sides.
#pragma once

#include <stddef.h>
#include <stdint.h>

extern "C" {

/// How a call ended.
enum QuillmoreSecretAnswer : int32_t {
    kQuillmoreSecretDone = 0,
    kQuillmoreSecretNotFound = 1,     ///< For certain: everything could be searched.
    kQuillmoreSecretDuplicate = 2,    ///< There is such an item already.
    kQuillmoreSecretLocked = 3,       ///< And the user did not, or could not, unlock it.
    kQuillmoreSecretUnreachable = 4,  ///< No bus, no service, or it went away or failed meanwhile.
    kQuillmoreSecretGone = 5          ///< The item went, or another has taken its place.
};

/// What a call is about. Text is UTF-8, none is null.
struct QuillmoreSecretRequest {
    const char* service;
    const char* account;
    const char* item;  ///< As `find` named it; "" where there is none yet.
    char* problem;     ///< Gets one line of text or ""; never a secret nor an account.
    size_t problemSize;
};

/// Is given bytes that are gone when it returns. Throws nothing.
typedef void (*QuillmoreSecretSink)(void* context, const char* bytes, size_t length);

/// Every call may wait for the user to unlock the keyring. Safe on any thread.
struct QuillmoreSecretModule {
    uint32_t version;  ///< kQuillmoreSecretVersion of the module's build.
    /// The sink gets the item's name.
    QuillmoreSecretAnswer (*find)(const QuillmoreSecretRequest* request, QuillmoreSecretSink sink,
                                  void* context);
    QuillmoreSecretAnswer (*add)(const QuillmoreSecretRequest* request, const char* bytes,
                                 size_t length);
    QuillmoreSecretAnswer (*modify)(const QuillmoreSecretRequest* request, const char* bytes,
                                    size_t length);
    QuillmoreSecretAnswer (*remove)(const QuillmoreSecretRequest* request);
    /// The sink gets the secret.
    QuillmoreSecretAnswer (*copy)(const QuillmoreSecretRequest* request, QuillmoreSecretSink sink,
                                  void* context);
};
}

/// Raised with every change of the structures.
inline constexpr uint32_t kQuillmoreSecretVersion = 1;
inline constexpr const char* kQuillmoreSecretFileName = "libquillmore_secret.so";
/// Takes no arguments and returns a `const QuillmoreSecretModule*` that lives for ever.
inline constexpr const char* kQuillmoreSecretEntryPointName = "quillmoreSecretModule";
