// The holder behind every `sharedManager()`: makes the one instance on first use under a lock and
// keeps it for the life of the process.
#pragma once

#include <memory>
#include <mutex>

namespace quillmore::platform {

class SharedInstanceBase {
public:
    /// For tests only: forgets every shared instance, so that the next use makes a fresh one.
    static void forgetAll();

protected:
    SharedInstanceBase();
    virtual ~SharedInstanceBase() = default;
    virtual void forget() = 0;

private:
    SharedInstanceBase* next_;
};

/// Define as a static object with static storage duration.
template <class T>
class SharedInstance final : SharedInstanceBase {
public:
    T& get() {
        const std::lock_guard lock(mutex_);
        if (instance_ == nullptr) instance_ = std::make_unique<T>().release();  // never destroyed
        return *instance_;
    }

private:
    void forget() override {
        const std::lock_guard lock(mutex_);
        delete instance_;
        instance_ = nullptr;
    }
    std::recursive_mutex mutex_;
    T* instance_ = nullptr;
};

}  // namespace quillmore::platform
