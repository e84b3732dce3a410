// A module that answers what the environment says, and names what it was asked.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Platform/Linux/Secret/SecretModule.h"

#ifndef FAKE_VERSION
#define FAKE_VERSION kQuillmoreSecretVersion
#endif

namespace {

QuillmoreSecretAnswer answer(const char* call, const QuillmoreSecretRequest* request,
                             const std::string& data = "") {
    std::snprintf(request->problem, request->problemSize, "%s <%s> <%s> <%s>%s", call,
                  request->service, request->account, request->item, data.c_str());
    const char* given = std::getenv("QUILLMORE_TEST_SECRET_ANSWER");
    return static_cast<QuillmoreSecretAnswer>(std::atoi(given != nullptr ? given : "4"));
}

QuillmoreSecretAnswer find(const QuillmoreSecretRequest* request, QuillmoreSecretSink sink,
                           void* context) {
    sink(context, "name", 4);
    return answer("find", request);
}

QuillmoreSecretAnswer add(const QuillmoreSecretRequest* request, const char* bytes, size_t length) {
    return answer("add", request, " " + std::string(bytes, length));
}

QuillmoreSecretAnswer modify(const QuillmoreSecretRequest* request, const char* bytes,
                             size_t length) {
    return answer("modify", request, " " + std::string(bytes, length));
}

QuillmoreSecretAnswer removeItem(const QuillmoreSecretRequest* request) {
    return answer("remove", request);
}

QuillmoreSecretAnswer copy(const QuillmoreSecretRequest* request, QuillmoreSecretSink sink,
                           void* context) {
    sink(context, "a\0b", 3);
    return answer("copy", request);
}

const QuillmoreSecretModule theModule{FAKE_VERSION, find, add, modify, removeItem, copy};

}  // namespace

extern "C" const QuillmoreSecretModule* quillmoreSecretModule(void) {
    return &theModule;
}
