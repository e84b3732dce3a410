// Where every part of the platform says what it could not do: a damaged file, a module or a service
// that cannot be used. Whoever gathers the services decides where it goes (the program: the log).
// An object that reports is given one and never asks whether it has one.
#pragma once

#include <string>

namespace quillmore::platform {

class Problems {
public:
    virtual ~Problems() = default;
    /// One line that names the file (or the service) and says what is wrong. Any thread. Called
    /// under locks of those who report: must not call back into them.
    virtual void report(const std::string& problem) = 0;
    /// One line about something that is as it should be and still worth knowing. Under the same
    /// rules; nobody has to take it.
    virtual void note(const std::string& /*fact*/) {}
};

/// Takes every report and drops it.
Problems& ignoredProblems();

}  // namespace quillmore::platform
