// Talks to the Secret Service. The only file of the program that knows libsecret; built as a module
// of its own. Every call opens the service anew: one that was restarted in between (which ends all
// of its sessions) is then no special case.
#include "Platform/Linux/Secret/SecretModule.h"

// For items by their object path: the one way to name an item across calls.
#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

namespace {

struct Unreference {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct UnreferenceTable {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
struct UnreferenceSecret {
    void operator()(SecretValue* value) const { secret_value_unref(value); }  // wipes it
};
template <class T>
using Reference = std::unique_ptr<T, Unreference>;
using Attributes = std::unique_ptr<GHashTable, UnreferenceTable>;
using Secret = std::unique_ptr<SecretValue, UnreferenceSecret>;
using Items = std::vector<Reference<SecretItem>>;

constexpr const char* kService = "service";
constexpr const char* kAccount = "account";

/// Items are found by their attributes alone, whoever stored them.
const SecretSchema theSchema = {
    "com.quillmore.client.GenericPassword",
    SECRET_SCHEMA_DONT_MATCH_NAME,
    {{kService, SECRET_SCHEMA_ATTRIBUTE_STRING}, {kAccount, SECRET_SCHEMA_ATTRIBUTE_STRING}},
    0,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr};

/// Ends a call early; caught at the border.
struct Failure {
    QuillmoreSecretAnswer answer;
    std::string problem;
};

/// Where a call of libsecret puts its error.
class ErrorPlace {
public:
    ErrorPlace() = default;
    ErrorPlace(const ErrorPlace&) = delete;
    ErrorPlace& operator=(const ErrorPlace&) = delete;
    ~ErrorPlace() { g_clear_error(&error_); }
    GError** place() { return &error_; }
    /// What the error says; a call that failed without one says that the user closed the dialog.
    void check(bool succeeded) const {
        if (error_ == nullptr && succeeded) return;
        if (error_ == nullptr) throw Failure{kQuillmoreSecretLocked, "dismissed"};
        throw Failure{answer(), error_->message};
    }

    /// libsecret takes either code for an object that is not there.
    bool isUnknownObject() const {
        return g_error_matches(error_, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_OBJECT) != FALSE ||
               g_error_matches(error_, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD) != FALSE;
    }

private:
    QuillmoreSecretAnswer answer() const {
        if (g_error_matches(error_, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
            return kQuillmoreSecretLocked;
        if (g_error_matches(error_, SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT))
            return kQuillmoreSecretGone;
        return kQuillmoreSecretUnreachable;
    }
    GError* error_ = nullptr;
};

/// G_DEBUG in the user's environment can make warnings fatal: they must not end the launcher.
void keepWarningsHarmless() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK));
}

/// One opened service, for the length of a call.
class Keyring {
public:
    explicit Keyring(const QuillmoreSecretRequest& request) : request_(request) {
        keepWarningsHarmless();
        // libsecret shares this connection. Unless told not to, it ends the process with SIGTERM
        // when the bus goes away; without a holder it would go and libsecret make another.
        ErrorPlace error;
        bus_.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, error.place()));
        error.check(bus_ != nullptr);
        g_dbus_connection_set_exit_on_close(bus_.get(), FALSE);
        service_.reset(secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE,
                                                nullptr, error.place()));
        error.check(service_ != nullptr);
    }

    /// An item that is not locked, or null when there is none for certain.
    Reference<SecretItem> find() const {
        Items items = search();
        // What a locked keyring holds may be hidden until it is unlocked.
        if (items.empty() && unlockDefaultKeyring()) items = search();
        if (items.empty()) return nullptr;
        for (auto& item : items)
            if (!secret_item_get_locked(item.get())) return std::move(item);
        unlock(G_DBUS_PROXY(items.front().get()));
        return std::move(items.front());
    }

    /// The item that `find` named, still that of the service and account, and not locked.
    Reference<SecretItem> item() const {
        ErrorPlace error;
        Reference<SecretItem> item(secret_item_new_for_dbus_path_sync(
            service_.get(), request_.item, SECRET_ITEM_NONE, nullptr, error.place()));
        if (error.isUnknownObject()) {
            search();  // the error is the same when there is no service: this tells
            throw Failure{kQuillmoreSecretGone, ""};
        }
        error.check(item != nullptr);
        const Attributes attributes(secret_item_get_attributes(item.get()));
        if (!attributes || !has(attributes.get(), kService, request_.service) ||
            !has(attributes.get(), kAccount, request_.account))
            throw Failure{kQuillmoreSecretGone, ""};
        if (secret_item_get_locked(item.get())) unlock(G_DBUS_PROXY(item.get()));
        return item;
    }

    void store(SecretValue* value) const {
        ErrorPlace error;
        const bool stored =
            secret_service_store_sync(service_.get(), &theSchema, attributes().get(),
                                      SECRET_COLLECTION_DEFAULT, request_.service, value, nullptr,
                                      error.place()) != FALSE;
        error.check(stored);
    }

private:
    static bool has(GHashTable* attributes, const char* name, const char* value) {
        return g_strcmp0(static_cast<const char*>(g_hash_table_lookup(attributes, name)), value) ==
               0;
    }
    Attributes attributes() const {
        return Attributes(secret_attributes_build(&theSchema, kService, request_.service, kAccount,
                                                  request_.account, nullptr));
    }
    Items search() const {
        ErrorPlace error;
        GList* found = secret_service_search_sync(service_.get(), &theSchema, attributes().get(),
                                                  SECRET_SEARCH_ALL, nullptr, error.place());
        Items items;
        for (const GList* entry = found; entry != nullptr; entry = entry->next)
            items.emplace_back(static_cast<SecretItem*>(entry->data));
        g_list_free(found);
        error.check(true);
        return items;
    }
    /// Whether it was locked and no longer is.
    bool unlockDefaultKeyring() const {
        ErrorPlace error;
        const Reference<SecretCollection> keyring(
            secret_collection_for_alias_sync(service_.get(), SECRET_COLLECTION_DEFAULT,
                                             SECRET_COLLECTION_NONE, nullptr, error.place()));
        error.check(true);
        if (!keyring || !secret_collection_get_locked(keyring.get())) return false;
        unlock(G_DBUS_PROXY(keyring.get()));
        return true;
    }
    void unlock(GDBusProxy* object) const {
        ErrorPlace error;
        GList entry{object, nullptr, nullptr};
        const int count =
            secret_service_unlock_sync(service_.get(), &entry, nullptr, nullptr, error.place());
        error.check(true);
        if (count < 1) throw Failure{kQuillmoreSecretLocked, "the keyring stays locked"};
    }

    const QuillmoreSecretRequest& request_;
    Reference<GDBusConnection> bus_;
    Reference<SecretService> service_;
};

Secret makeSecret(const char* bytes, size_t length) {
    return Secret(secret_value_new(bytes, static_cast<gssize>(length), "text/plain"));
}

/// The border: runs the body, turns what it throws into an answer.
template <class Body>
QuillmoreSecretAnswer perform(const QuillmoreSecretRequest* request, Body body) {
    request->problem[0] = '\0';
    try {
        return body(Keyring(*request));
    } catch (const Failure& failure) {
        g_strlcpy(request->problem, failure.problem.c_str(), request->problemSize);
        return failure.answer;
    } catch (...) {
        g_strlcpy(request->problem, "the secret module failed", request->problemSize);
        return kQuillmoreSecretUnreachable;
    }
}

QuillmoreSecretAnswer find(const QuillmoreSecretRequest* request, QuillmoreSecretSink sink,
                           void* context) {
    return perform(request, [&](const Keyring& keyring) {
        const Reference<SecretItem> item = keyring.find();
        if (!item) return kQuillmoreSecretNotFound;
        const char* path = g_dbus_proxy_get_object_path(G_DBUS_PROXY(item.get()));
        sink(context, path, strlen(path));
        return kQuillmoreSecretDone;
    });
}

QuillmoreSecretAnswer add(const QuillmoreSecretRequest* request, const char* bytes, size_t length) {
    return perform(request, [&](const Keyring& keyring) {
        // Storing would replace an item; the search also makes sure that nothing is locked.
        if (keyring.find()) return kQuillmoreSecretDuplicate;
        keyring.store(makeSecret(bytes, length).get());
        return kQuillmoreSecretDone;
    });
}

QuillmoreSecretAnswer modify(const QuillmoreSecretRequest* request, const char* bytes,
                             size_t length) {
    return perform(request, [&](const Keyring& keyring) {
        const Reference<SecretItem> item = keyring.item();
        ErrorPlace error;
        const bool changed =
            secret_item_set_secret_sync(item.get(), makeSecret(bytes, length).get(), nullptr,
                                        error.place()) != FALSE;
        error.check(changed);
        return kQuillmoreSecretDone;
    });
}

QuillmoreSecretAnswer removeItem(const QuillmoreSecretRequest* request) {
    return perform(request, [&](const Keyring& keyring) {
        const Reference<SecretItem> item = keyring.item();
        ErrorPlace error;
        const bool deleted = secret_item_delete_sync(item.get(), nullptr, error.place()) != FALSE;
        error.check(deleted);
        return kQuillmoreSecretDone;
    });
}

QuillmoreSecretAnswer copy(const QuillmoreSecretRequest* request, QuillmoreSecretSink sink,
                           void* context) {
    return perform(request, [&](const Keyring& keyring) {
        const Reference<SecretItem> item = keyring.item();
        ErrorPlace error;
        const bool loaded =
            secret_item_load_secret_sync(item.get(), nullptr, error.place()) != FALSE;
        error.check(loaded);
        const Secret secret(secret_item_get_secret(item.get()));
        if (!secret) throw Failure{kQuillmoreSecretUnreachable, "no secret was handed out"};
        gsize length = 0;
        const char* bytes = secret_value_get(secret.get(), &length);
        sink(context, bytes, length);
        return kQuillmoreSecretDone;
    });
}

const QuillmoreSecretModule theModule{kQuillmoreSecretVersion, find, add, modify, removeItem, copy};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QuillmoreSecretModule*
quillmoreSecretModule(void) {
    return &theModule;
}
