#include "Platform/Threads/NotificationCenter.h"

#include <algorithm>

namespace quillmore::platform {

NotificationCenter& NotificationCenter::defaultCenter() {
    // Never destroyed: threads may post until the process ends.
    static NotificationCenter* const center = new NotificationCenter;
    return *center;
}

NotificationCenter::Token NotificationCenter::addObserver(
    std::string name, const void* object, std::function<void(const Notification&)> handler) {
    const std::lock_guard lock(mutex_);
    observers_.push_back({++lastToken_, std::move(name), object, std::move(handler)});
    return lastToken_;
}

void NotificationCenter::removeObserver(Token token) {
    Observer removed;  // destroyed after the lock: what its handler holds may come back here
    const std::lock_guard lock(mutex_);
    const auto found = std::ranges::find(observers_, token, &Observer::token);
    if (found == observers_.end()) return;
    removed = std::move(*found);
    observers_.erase(found);
}

void NotificationCenter::post(const Notification& notification) {
    Token token = 0;
    Token last = 0;
    {
        const std::lock_guard lock(mutex_);
        last = lastToken_;  // whoever registers from here on hears the next one
    }
    while (const auto handler = nextHandler(notification, token, last)) handler(notification);
}

std::function<void(const Notification&)> NotificationCenter::nextHandler(
    const Notification& notification, Token& token, Token last) const {
    const std::lock_guard lock(mutex_);
    // In the order of registration, which is the order of the tokens; looked up anew each time,
    // since a handler may remove observers. A copy, since it may remove itself.
    for (const Observer& observer : observers_) {
        if (observer.token <= token || observer.token > last) continue;
        if (!observer.handler || observer.name != notification.name) continue;
        if (observer.object != nullptr && observer.object != notification.object) continue;
        token = observer.token;
        return observer.handler;
    }
    return nullptr;
}

std::size_t NotificationCenter::observerCount() const {
    const std::lock_guard lock(mutex_);
    return observers_.size();
}

}  // namespace quillmore::platform
