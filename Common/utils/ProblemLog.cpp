#include "Common/utils/ProblemLog.h"

#include "Common/utils/Logging.h"

namespace quillmore {

void ProblemLog::report(const std::string& problem) {
    _logProblem(problem);
}

}  // namespace quillmore
