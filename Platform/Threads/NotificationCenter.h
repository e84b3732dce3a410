// Named notifications from an object to whoever registered for them. Delivered at once on the
// posting thread. Any thread may register; a lock guards the table and is not held while observers
// run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Values/Value.h"

namespace quillmore::platform {

struct Notification {
    std::string name;
    const void* object = nullptr;  ///< The sender; compared by identity, never read.
    Dictionary userInfo;
};

class NotificationCenter {
public:
    using Token = std::uint64_t;

    static NotificationCenter& defaultCenter();

    /// `object` null: from any sender.
    Token addObserver(std::string name, const void* object,
                      std::function<void(const Notification&)> handler);
    void removeObserver(Token token);
    /// In the order of registration. A handler may add and remove observers: one that was removed
    /// is not called any more, one that was added hears the next notification.
    void post(const Notification& notification);
    std::size_t observerCount() const;

private:
    struct Observer {
        Token token = 0;
        std::string name;
        const void* object = nullptr;
        std::function<void(const Notification&)> handler;
    };
    /// The handler of the first matching observer after `token` and up to `last`, whose token takes
    /// the place of `token`; empty when there is none.
    std::function<void(const Notification&)> nextHandler(const Notification& notification,
                                                         Token& token, Token last) const;
    mutable std::mutex mutex_;
    std::vector<Observer> observers_;
    Token lastToken_ = 0;
};

}  // namespace quillmore::platform
