// A whole set of services for one test: doubles of every port, and the real file manager, bundle
// and user defaults inside a temporary root folder which goes when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Platform/Formats/PropertyList.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Settings/UserDefaults.h"
#include "Platform/Threads/SharedInstance.h"
#include "tests/fakes/FakeAppleEvents.h"
#include "tests/fakes/FakeApplication.h"
#include "tests/fakes/FakeAuthorization.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeKeychain.h"
#include "tests/fakes/FakeProcessSpawner.h"
#include "tests/fakes/FakeScriptRunner.h"
#include "tests/fakes/FakeSystemInformation.h"
#include "tests/fakes/FakeUserInterface.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/RecordingProblems.h"
#include "tests/fakes/TemporaryRoot.h"

namespace quillmore::tests {

inline constexpr const char* kTestBundlePath = "/Applications/Quillmore.app";
inline constexpr const char* kTestHome = "/Users/jo";

/// Paths given to its functions are the system's ("/Library/..."), inside the test's root.
class TestServices : public TemporaryRoot {
public:
    /// Problems are recorded in `problems`, unless they are to go elsewhere.
    explicit TestServices(platform::Problems* problemsGoTo = nullptr) {
        set.problems = problemsGoTo != nullptr ? problemsGoTo : &problems;
        makeFolder(std::string(kTestBundlePath) + "/Contents/Resources");
        makeFolder(std::string(kTestHome) + "/Library/Preferences");
        makeFolder("/tmp");
        bundle = std::make_unique<platform::Bundle>(files, kTestBundlePath,
                                                    std::vector<std::string>{"en"}, *set.problems);
        defaults = std::make_unique<platform::UserDefaults>(
            files, std::string(kTestHome) + "/Library/Preferences", "com.quillmore.launcher",
            std::span<const std::string>(), *set.problems);
        set.processName = "Quillmore";
        set.homeFolder = kTestHome;
        set.makeFileManager = [this] {
            return std::make_unique<platform::FileManager>(root.path());
        };
        set.application = &application;
        set.mainBundle = bundle.get();
        set.knownBundles = {bundle.get()};
        set.clock = &clock;
        set.processes = &processes;
        set.systemInformation = &system;
        set.standardUserDefaults = defaults.get();
        set.userInterface = &userInterface;
        set.appleEvents = &appleEvents;
        set.authorization = &authorization;
        set.keychain = &keychain;
        set.scriptRunner = &scriptRunner;
        set.workspace = &workspace;
        platform::SharedInstanceBase::forgetAll();
        platform::setServices(&set);
    }
    ~TestServices() {
        platform::SharedInstanceBase::forgetAll();
        platform::setServices(nullptr);
    }

    void makePropertyList(const std::string& path, const platform::Value& value) const {
        makeFile(path, platform::writePropertyList(value));
    }
    /// A resource of the main bundle. Make it before the bundle is first asked for it.
    void makeResource(const std::string& name, const std::string& bytes, mode_t mode = 0644) const {
        makeFile(bundle->resourcePath() + "/" + name, bytes, mode);
    }
    void makeResource(const std::string& name, const platform::Value& value) const {
        makePropertyList(bundle->resourcePath() + "/" + name, value);
    }
    bool exists(const std::string& path) const { return std::filesystem::exists(host(path)); }
    /// The launcher's bundle in another set of languages; forgets what was read of it.
    void useLanguages(std::vector<std::string> languages) {
        bundle = std::make_unique<platform::Bundle>(files, kTestBundlePath, std::move(languages),
                                                    *set.problems);
        set.mainBundle = bundle.get();
        set.knownBundles = {bundle.get()};
        platform::SharedInstanceBase::forgetAll();
    }

    RecordingProblems problems;
    FakeApplication application;
    FakeClock clock;
    FakeProcessSpawner processes;
    FakeSystemInformation system;
    FakeUserInterface userInterface;
    FakeAppleEvents appleEvents;
    FakeAuthorization authorization;
    FakeKeychain keychain;
    FakeScriptRunner scriptRunner;
    FakeWorkspace workspace;
    std::unique_ptr<platform::Bundle> bundle;
    std::unique_ptr<platform::UserDefaults> defaults;
    platform::Services set;
};

/// What the terminal gets while one lives; `take()` gives it and starts anew.
class CapturedOutput {
public:
    CapturedOutput() { start(); }
    ~CapturedOutput() { stop(); }
    struct Streams {
        std::string standardOutput;
        std::string standardError;
    };
    Streams take() {
        Streams streams = stop();
        start();
        return streams;
    }

private:
    static void start() {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    static Streams stop() {
        std::fflush(nullptr);
        return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
    }
};

}  // namespace quillmore::tests
