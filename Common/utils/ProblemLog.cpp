#include "Common/utils/ProblemLog.h"

#include "Common/utils/Logging.h"

namespace quillmore {

void ProblemLog::report(const std::string& problem) {
    _logProblem(problem);
}

void ProblemLog::note(const std::string& fact) {
    logVerbose("%@", fact);
}

}  // namespace quillmore
