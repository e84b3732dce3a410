// What the doubles of the system's interfaces saw, and what they are told to answer. One for all of
// them; AppleTest empties it and checks that everything handed out was given back.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace quillmore::apple {

class Ledger {
public:
    /// "FUNCTION ARGUMENT ARGUMENT...", in order.
    std::vector<std::string> calls;
    /// What a correct program never does: releases of what is not alive and the like.
    std::vector<std::string> problems;
    /// The status that a function answers instead of doing its work.
    std::map<std::string, int> failures;

    /// Notes a call; its status, 0 unless a failure was asked for.
    int enter(const std::string& function, const std::vector<std::string>& arguments = {});

    void handOut(const void* object, std::string kind) { alive_[object] = std::move(kind); }
    /// False, and a problem, when it is not alive or of another kind.
    bool takeBack(const void* object, const std::string& kind);
    bool isAlive(const void* object) const { return alive_.contains(object); }
    /// The kinds of what was not given back.
    std::vector<std::string> alive() const;
    int countOf(const std::string& kind) const;

private:
    std::map<const void*, std::string> alive_;
};

Ledger& ledger();
void resetLedger();

}  // namespace quillmore::apple
