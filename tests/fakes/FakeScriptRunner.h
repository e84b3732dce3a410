// ScriptRunner double: results to give and a record of the calls. A source that was not taught
// compiles, and gives no result.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/Ports/ScriptRunner.h"

namespace quillmore::tests {

class FakeScriptRunner final : public platform::ScriptRunner {
public:
    struct Call {
        std::string verb;  ///< "create", "compile" or "execute".
        std::string source;
        bool operator==(const Call&) const = default;
    };

    platform::OSStatus compileStatus = 0;
    platform::OSStatus executeStatus = 0;
    std::function<void()> onExecute;

    /// What a source gives from now on.
    void teach(const std::string& source, platform::ScriptDescriptor result) {
        const std::lock_guard lock(mutex_);
        results_[source] = std::move(result);
    }
    std::vector<Call> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    /// The sources that were executed, in order.
    std::vector<std::string> executed() const {
        std::vector<std::string> sources;
        for (const Call& call : calls())
            if (call.verb == "execute") sources.push_back(call.source);
        return sources;
    }
    /// Script objects not yet released.
    int alive() const {
        const std::lock_guard lock(mutex_);
        return alive_;
    }

    std::unique_ptr<platform::Script> createScript(const std::string& source) override {
        record("create", source);
        return std::make_unique<SourceScript>(*this, source);
    }
    platform::OSStatus compile(platform::Script& script) override {
        record("compile", static_cast<SourceScript&>(script).source);
        return compileStatus;
    }
    platform::OSStatus execute(platform::Script& script,
                               std::optional<platform::ScriptDescriptor>& result) override {
        const std::string source = static_cast<SourceScript&>(script).source;
        record("execute", source);
        if (onExecute) onExecute();
        result.reset();
        const std::lock_guard lock(mutex_);
        if (const auto taught = results_.find(source); taught != results_.end())
            if (executeStatus == 0) result = taught->second;
        return executeStatus;
    }

private:
    struct SourceScript final : platform::Script {
        SourceScript(FakeScriptRunner& runner, std::string text)
            : owner(runner), source(std::move(text)) {
            const std::lock_guard lock(owner.mutex_);
            ++owner.alive_;
        }
        ~SourceScript() override {
            const std::lock_guard lock(owner.mutex_);
            --owner.alive_;
        }
        FakeScriptRunner& owner;
        std::string source;
    };
    void record(const char* verb, const std::string& source) {
        const std::lock_guard lock(mutex_);
        calls_.push_back({verb, source});
    }

    mutable std::mutex mutex_;
    std::map<std::string, platform::ScriptDescriptor> results_;
    std::vector<Call> calls_;
    int alive_ = 0;
};

}  // namespace quillmore::tests
