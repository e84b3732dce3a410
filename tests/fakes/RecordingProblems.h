// Keeps what was reported, in order.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Values/Problems.h"

namespace quillmore::tests {

class RecordingProblems final : public platform::Problems {
public:
    void report(const std::string& problem) override {
        const std::lock_guard lock(mutex_);
        reported_.push_back(problem);
    }
    void note(const std::string& fact) override {
        const std::lock_guard lock(mutex_);
        noted_.push_back(fact);
    }
    /// What was reported since the last call.
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(reported_, {});
    }
    std::vector<std::string> takeNotes() {
        const std::lock_guard lock(mutex_);
        return std::exchange(noted_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> reported_;
    std::vector<std::string> noted_;
};

}  // namespace quillmore::tests
