// A module that answers what the environment says, and names what it was asked. Where the
// environment names a file, it has an agent, and that file gets a line for whatever befalls it.
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
    void note(const std::string& line) const { std::ofstream(file, std::ios::app) << line << "\n"; }
};

namespace {

QuillmorePolkitAnswer checkProgram(const char* program, char* text, size_t textSize) {
    std::snprintf(text, textSize, "asked %s", program);
    const char* given = std::getenv("QUILLMORE_TEST_POLKIT_ANSWER");
    return static_cast<QuillmorePolkitAnswer>(std::atoi(given != nullptr ? given : "3"));
}

QuillmorePolkitAgent* makeAgent(const QuillmorePolkitTerminal*, const char* reason, char* text,
                                size_t textSize) {
    const char* problem = std::getenv("QUILLMORE_TEST_POLKIT_PROBLEM");
    std::snprintf(text, textSize, "%s", problem != nullptr ? problem : "");
    const char* file = std::getenv("QUILLMORE_TEST_POLKIT_AGENT");
    if (file == nullptr) return nullptr;
    auto* agent = new QuillmorePolkitAgent{file};
    agent->note(std::string("made <") + reason + ">");
    return agent;
}

void attend(QuillmorePolkitAgent* agent, int descriptor) {
    agent->note("attended");
    pollfd entry{descriptor, POLLIN, 0};
    ::poll(&entry, 1, -1);
}

void release(QuillmorePolkitAgent* agent) {
    agent->note("released");
    delete agent;
}

const QuillmorePolkitModule theModule{FAKE_VERSION, checkProgram, makeAgent, attend, release};

}  // namespace

extern "C" const QuillmorePolkitModule* quillmorePolkitModule(void) {
    return &theModule;
}
