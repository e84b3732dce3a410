// The log as the place where problems go: one error line for each. Any thread, also one that is in
// the midst of logging.
#pragma once

#include "Platform/Values/Problems.h"

namespace quillmore {

class ProblemLog final : public platform::Problems {
public:
    void report(const std::string& problem) override;
};

}  // namespace quillmore
