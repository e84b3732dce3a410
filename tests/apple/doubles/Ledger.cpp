#include "tests/apple/doubles/Ledger.h"

#include <algorithm>

namespace quillmore::apple {

int Ledger::enter(const std::string& function, const std::vector<std::string>& arguments) {
    std::string call = function;
    for (const std::string& argument : arguments) call += " " + argument;
    calls.push_back(call);
    const auto failure = failures.find(function);
    return failure == failures.end() ? 0 : failure->second;
}

bool Ledger::takeBack(const void* object, const std::string& kind) {
    const auto found = alive_.find(object);
    if (found == alive_.end() || found->second != kind) {
        problems.push_back("given back but not alive: " + kind);
        return false;
    }
    alive_.erase(found);
    return true;
}

std::vector<std::string> Ledger::alive() const {
    std::vector<std::string> kinds;
    for (const auto& entry : alive_) kinds.push_back(entry.second);
    return kinds;
}

int Ledger::countOf(const std::string& kind) const {
    return static_cast<int>(std::count_if(
        alive_.begin(), alive_.end(), [&kind](const auto& entry) { return entry.second == kind; }));
}

Ledger& ledger() {
    static Ledger instance;
    return instance;
}

void resetLedger() {
    ledger() = Ledger();
}

}  // namespace quillmore::apple
