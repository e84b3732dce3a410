#include "Platform/Ports/Services.h"

namespace quillmore::platform {

namespace {
Services* current = nullptr;
}

Services& services() {
    return *current;
}
void setServices(Services* services) {
    current = services;
}
bool haveServices() {
    return current != nullptr;
}

}  // namespace quillmore::platform
