// Writes what is reported to standard error, where the test of a probe reads it.
#pragma once

#include <iostream>

#include "Platform/Values/Problems.h"

namespace quillmore::tests {

class PrintedProblems final : public platform::Problems {
public:
    void report(const std::string& problem) override { std::cerr << problem << std::endl; }
};

}  // namespace quillmore::tests
