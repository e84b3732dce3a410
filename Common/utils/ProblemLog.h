// The log as the place where problems go: one error line for each, at once on standard error and,
// once there is a log file, in it. Any thread, also one that is in the midst of logging.
#pragma once

#include "Platform/Values/Problems.h"

namespace quillmore {

class ProblemLog final : public platform::Problems {
public:
    void report(const std::string& problem) override;
    /// At level verbose; not kept for a file that is not open yet.
    void note(const std::string& fact) override;
};

}  // namespace quillmore
