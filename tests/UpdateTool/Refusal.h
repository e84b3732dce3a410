// What a rule of the update tool says to its input, as one text that a table can hold.
#pragma once

#include <string>

#include "UpdateTool/Ground/Failure.h"

namespace quillmore::tests {

/// "" for what is accepted; else the exit status and the text of the failure: "65: the archive...".
template <typename Action>
std::string refusalOf(const Action& action) {
    try {
        action();
    } catch (const updatetool::Failure& failure) {
        return std::to_string(failure.exitStatus()) + ": " + failure.description();
    }
    return "";
}

}  // namespace quillmore::tests
