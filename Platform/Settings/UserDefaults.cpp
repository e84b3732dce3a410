#include "Platform/Settings/UserDefaults.h"

#include <charconv>
#include <chrono>
#include <utility>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/LockFile.h"
#include "Platform/Files/Paths.h"
#include "Platform/Values/Problems.h"

namespace quillmore::platform {

namespace {

/// Another process holds the lock for the few milliseconds of one write.
constexpr std::chrono::seconds kLockPatience(5);

bool isNumber(std::string_view text) {
    std::string_view digits = text;
    if (digits.starts_with('-')) digits.remove_prefix(1);
    if (digits.empty() || !(digits[0] == '.' || (digits[0] >= '0' && digits[0] <= '9')))
        return false;  // from_chars would take "inf" as well
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return end == text.data() + text.size() && error != std::errc::invalid_argument;
}

bool isKey(std::string_view argument) {
    return argument.size() > 1 && argument[0] == '-' && !isNumber(argument);
}

/// "-KEY VALUE" pairs; a key without a value and a value without a key are passed over.
Dictionary argumentDomain(std::span<const std::string> arguments) {
    Dictionary domain;
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        if (!isKey(arguments[i]) || isKey(arguments[i + 1])) continue;
        domain.insert_or_assign(arguments[i].substr(1), Value(arguments[i + 1]));
        ++i;
    }
    return domain;
}

}  // namespace

UserDefaults::UserDefaults(const FileManager& fileManager, std::string preferencesFolder,
                           std::string identifier, std::span<const std::string> arguments,
                           Problems& problems)
    : fileManager_(fileManager),
      preferencesFolder_(std::move(preferencesFolder)),
      identifier_(std::move(identifier)),
      problems_(problems),
      argument_(argumentDomain(arguments)) {}

void UserDefaults::registerDefaults(const Dictionary& factorySettings) {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, value] : factorySettings) registration_.insert_or_assign(key, value);
}

std::optional<Value> UserDefaults::objectForKey(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    return lookUp(key);
}

std::optional<Value> UserDefaults::lookUp(std::string_view key) const {
    const Value* value = find(argument_, key);
    if (value == nullptr) value = applicationValue(key);
    if (value == nullptr && global_.content) value = find(*global_.content, key);
    if (value == nullptr) value = find(registration_, key);
    return value == nullptr ? std::nullopt : std::optional(*value);
}

const Value* UserDefaults::applicationValue(std::string_view key) const {
    readDomains();
    const bool rests = resting_.contains(key);
    if (application_.content || (pending_.contains(key) && !rests)) {
        if (const auto vain = askedInVain_.find(key); vain != askedInVain_.end())
            askedInVain_.erase(vain);
    } else {
        askedInVain_.insert_or_assign(std::string(key), *application_.fault);
    }
    const auto changed = pending_.find(key);
    if (changed != pending_.end() && !(rests && application_.content))
        return changed->second ? &*changed->second : nullptr;
    return application_.content ? find(*application_.content, key) : nullptr;
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    const std::optional<Value> value = objectForKey(key);
    if (!value) return std::nullopt;
    const bool isNumeric = value->isBoolean() || value->isInteger() || value->isDouble();
    return isNumeric || value->string() != nullptr ? std::optional(value->description())
                                                   : std::nullopt;
}

bool UserDefaults::boolForKey(std::string_view key) const {
    const std::optional<Value> value = objectForKey(key);
    return value && value->boolValue();
}

std::optional<Array> UserDefaults::arrayForKey(std::string_view key) const {
    const std::optional<Value> value = objectForKey(key);
    return value && value->array() != nullptr ? std::optional(*value->array()) : std::nullopt;
}

void UserDefaults::setObject(std::string_view key, Value value) {
    if (value.isNull()) return removeObject(key);
    const std::lock_guard lock(mutex_);
    std::erase_if(waiting_, [&](const auto& edit) { return edit.first == key; });
    change(key, std::move(value));
}

void UserDefaults::removeObject(std::string_view key) {
    const std::lock_guard lock(mutex_);
    std::erase_if(waiting_, [&](const auto& edit) { return edit.first == key; });
    change(key, std::nullopt);
}

void UserDefaults::editObject(std::string_view key, Edit edit) {
    const std::lock_guard lock(mutex_);
    const std::optional<Value> current = lookUp(key);
    if (askedInVain_.contains(key)) {
        waiting_.emplace_back(key, std::move(edit));
        return;
    }
    if (std::optional<Value> changed = edit(current); changed != current)
        change(key, std::move(changed));
}

bool UserDefaults::wasAskedInVain(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    return askedInVain_.contains(key);
}

void UserDefaults::change(std::string_view key, std::optional<Value> value) const {
    resting_.erase(std::string(key));
    if (const auto vain = askedInVain_.find(key); vain != askedInVain_.end())
        resting_.insert(*vain);
    pending_.insert_or_assign(std::string(key), std::move(value));
}

void UserDefaults::makeWaitingEdits() const {
    for (const auto& [key, edit] : std::exchange(waiting_, {})) {
        const std::optional<Value> current = lookUp(key);
        if (std::optional<Value> changed = edit(current); changed != current)
            change(key, std::move(changed));
    }
}

std::optional<Error> UserDefaults::synchronize() {
    const std::lock_guard lock(mutex_);
    if (!waiting_.empty() || !resting_.empty()) readDomains();
    if (!waiting_.empty()) return application_.fault;
    if (!resting_.empty()) return resting_.begin()->second;
    application_.isRead = false;
    global_.isRead = false;
    if (!pending_.empty()) {
        if (const auto error = savePending()) return error;
    }
    readDomains();
    return application_.fault;
}

std::optional<Error> UserDefaults::savePending() {
    if (const auto error = fileManager_.createDirectory(preferencesFolder_, 0700)) return error;
    const std::string lockPath = pathByAppending(preferencesFolder_, "." + identifier_ + ".lock");
    const auto fileLock = LockFile::take(fileManager_.hostPath(lockPath), kLockPatience);
    if (!fileLock) return fileLock.error();
    auto merged = mergeIntoDomainFile(fileManager_, applicationFile(), pending_);
    if (!merged) return merged.error();
    if (merged->damage) report(applicationFile(), *merged->damage);
    application_ = {true, std::move(merged->domain), std::nullopt};
    pending_.clear();
    return std::nullopt;
}

std::string UserDefaults::applicationFile() const {
    return pathByAppending(preferencesFolder_, identifier_ + ".plist");
}

void UserDefaults::readDomains() const {
    readDomain(applicationFile(), application_);
    readDomain(pathByAppending(preferencesFolder_, ".GlobalPreferences.plist"), global_);
    if (application_.content) makeWaitingEdits();
}

void UserDefaults::readDomain(const std::string& file, Domain& domain) const {
    if (domain.isRead) return;
    Result<Dictionary> read = readDomainFile(fileManager_, file);
    domain.fault.reset();
    if (read) {
        domain.content = std::move(*read);
    } else {
        report(file, read.error());
        if (blamesFile(read.error())) {
            domain.content = Dictionary();
        } else {
            domain.fault = read.error();
        }
    }
    domain.isRead = !domain.fault;
}

void UserDefaults::report(const std::string& file, const Error& error) const {
    const std::string problem = "\"" + file + "\": " + error.localizedDescription();
    if (reported_.insert(problem).second) problems_.report(problem);
}

}  // namespace quillmore::platform
