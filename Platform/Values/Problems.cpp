#include "Platform/Values/Problems.h"

namespace quillmore::platform {

namespace {

class IgnoredProblems final : public Problems {
    void report(const std::string&) override {}
};

}  // namespace

Problems& ignoredProblems() {
    static IgnoredProblems ignored;
    return ignored;
}

}  // namespace quillmore::platform
