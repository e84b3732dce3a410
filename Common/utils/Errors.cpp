#include "Common/utils/Errors.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>

#include "Common/utils/Logging.h"
#include "Common/utils/PosixMessages.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/SystemInformation.h"

namespace quillmore {

namespace {

/// The debugger stops here. Should it let the process go on, there is nothing to go on with.
[[noreturn]] void stopInDebugger() {
    std::raise(SIGTRAP);
    std::abort();
}

std::string nameAndReason(const std::string& name, const std::optional<std::string>& reason) {
    return platform::format("%@ (%@)", name, reason);
}

platform::Exception::SharedStrings stackOf(const platform::Exception& exception) {
    const auto found = exception.userInfo().find(kExceptionStackKey);
    return found != exception.userInfo().end() ? found->second : nullptr;
}

}  // namespace

void __assert2(const char* expression, const char* file, int line) {
    try {
        logError("ASSERTION ERROR: %s (file \"%s\", line %d)", expression, file, line);
    } catch (const std::exception&) {
        // The log is out of order; an assertion ends the process all the same.
    }
    if (IsDebuggerPresent()) stopInDebugger();
    std::abort();
}

bool IsDebuggerPresent() {
    if (!platform::haveServices() || platform::services().systemInformation == nullptr)
        return false;
    const auto flags = platform::services().systemInformation->processFlags();
    return (flags.value_or(0) & platform::kProcessFlagTraced) != 0;
}

void __raiseException1(const std::string& name, std::string_view format,
                       const platform::FormatArgument& argument) {
    if (IsDebuggerPresent()) stopInDebugger();
    throw platform::Exception(name, platform::formatWithArguments(format, {&argument, 1}));
}

platform::Exception prepareExceptionWithArguments(
    const platform::Exception& exception, std::string_view format,
    std::span<const platform::FormatArgument> arguments) {
    std::string reason = platform::formatWithArguments(format, arguments);
    auto stack = stackOf(exception);
    if (stack == nullptr) stack = std::make_shared<std::vector<std::string>>();
    // Deliberate: the old exception's chain grows too; it is discarded anyway.
    stack->push_back(nameAndReason(exception.name(), exception.reason()));
    platform::Exception prepared(exception.name(), std::move(reason),
                                 {{kExceptionStackKey, std::move(stack)}});
    logDetail("Preparing exception %@ (%@)", prepared.name(), prepared.reason());
    return prepared;
}

std::string errorExceptionToString(const platform::Exception& exception) {
    std::optional<std::string> reason;
    if (exception.reason()) reason = _removeNewLinesInString(*exception.reason());
    std::string text = nameAndReason(exception.name(), reason);
    const auto stack = stackOf(exception);
    if (stack == nullptr) return text;
    std::string indent;
    for (auto element = stack->rbegin(); element != stack->rend(); ++element) {
        indent += "  ";
        if (!text.empty()) text += platform::format("\n%@Because:\n", indent);
        text += platform::format("%@%@", indent, *element);
    }
    return text;
}

void logErrorException(const platform::Exception& exception) {
    logError("%@", errorExceptionToString(exception));
}

platform::Error errorFromException(const platform::Exception& exception) {
    platform::Dictionary userInfo;
    userInfo[platform::kLocalizedFailureReasonKey] = exception.name();
    if (exception.reason()) userInfo[platform::kLocalizedDescriptionKey] = *exception.reason();
    return {ClientErrorDomain, 0, std::move(userInfo)};
}

std::string nserrorToString(const std::optional<platform::Error>& error) {
    std::optional<std::string> failureReason;
    std::optional<std::string> description;
    if (error) {
        failureReason = error->localizedFailureReason();
        description = error->localizedDescription();
    }
    return platform::format("\"%@\" because \"%@\"", failureReason, description);
}

void logNSError(const std::optional<platform::Error>& error) {
    logError("Error:\n%@", nserrorToString(error));
}

std::string posixErrorToString(int errorNumber) {
    std::array<char, 256> message{};
    if (posixMessage(errorNumber, message.data(), message.size()) != 0)
        return "Unknown Posix error";
    return platform::format("Posix error %d (%@)", errorNumber, message.data());
}

std::string _removeNewLinesInString(std::string_view text) {
    std::string result(text);
    std::erase(result, '\r');
    return result;
}

}  // namespace quillmore
