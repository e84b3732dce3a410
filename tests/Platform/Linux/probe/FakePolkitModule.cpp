// A module that answers what the environment says, and names what it was asked. Where the
// environment names a file, it gives an agent, and that file gets a line for whatever befalls it.
#include <poll.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Platform/Linux/Polkit/PolkitModule.h"

#ifndef FAKE_VERSION
#define FAKE_VERSION kQuillmorePolkitVersion
#endif

struct QuillmorePolkitAgent {
    std::string file;
    void note(const char* line) const { std::ofstream(file, std::ios::app) << line << "\n"; }
};

namespace {

QuillmorePolkitAnswer answer(const QuillmorePolkitQuestion* question, QuillmorePolkitAgent** agent,
                             char* text, size_t textSize) {
    const char* file = std::getenv("QUILLMORE_TEST_POLKIT_AGENT");
    *agent = file != nullptr ? new QuillmorePolkitAgent{file} : nullptr;
    std::string asked = "asked";
    for (auto* action = question->actions; *action != nullptr; ++action)
        asked += std::string(" ") + *action;
    std::snprintf(text, textSize, "%s interaction %d", asked.c_str(), question->interactionAllowed);
    const char* given = std::getenv("QUILLMORE_TEST_POLKIT_ANSWER");
    return static_cast<QuillmorePolkitAnswer>(std::atoi(given != nullptr ? given : "4"));
}

void attend(QuillmorePolkitAgent* agent, int descriptor, int32_t milliseconds) {
    agent->note("attended");
    pollfd entry{descriptor, POLLIN, 0};
    ::poll(&entry, 1, milliseconds);
}

void release(QuillmorePolkitAgent* agent) {
    agent->note("released");
    delete agent;
}

const QuillmorePolkitModule theModule{FAKE_VERSION, answer, attend, release};

}  // namespace

extern "C" const QuillmorePolkitModule* quillmorePolkitModule(void) {
    return &theModule;
}
