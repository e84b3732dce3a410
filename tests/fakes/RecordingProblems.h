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
    /// What was reported since the last call.
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(reported_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> reported_;
};

}  // namespace quillmore::tests
