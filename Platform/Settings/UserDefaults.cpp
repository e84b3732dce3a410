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
    const Value* value = find(argument_, key);
    if (value == nullptr) {
        readDomains();
        const auto changed = pending_.find(key);
        if (changed == pending_.end()) {
            value = find(application_, key);
        } else if (changed->second) {
            value = &*changed->second;
        }
    }
    if (value == nullptr) value = find(global_, key);
    if (value == nullptr) value = find(registration_, key);
    return value == nullptr ? std::nullopt : std::optional(*value);
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
    pending_.insert_or_assign(std::string(key), std::optional(std::move(value)));
}

void UserDefaults::removeObject(std::string_view key) {
    const std::lock_guard lock(mutex_);
    pending_.insert_or_assign(std::string(key), std::nullopt);
}

std::optional<Error> UserDefaults::synchronize() {
    const std::lock_guard lock(mutex_);
    if (!pending_.empty()) {
        if (const auto error = savePending()) return error;
    }
    read_ = false;
    readDomains();
    return std::nullopt;
}

std::optional<Error> UserDefaults::savePending() {
    if (const auto error = fileManager_.createDirectory(preferencesFolder_, 0700)) return error;
    const std::string lockPath = pathByAppending(preferencesFolder_, "." + identifier_ + ".lock");
    const auto fileLock = LockFile::take(fileManager_.hostPath(lockPath), kLockPatience);
    if (!fileLock) return fileLock.error();
    const auto merged = mergeIntoDomainFile(fileManager_, applicationFile(), pending_);
    if (!merged) return merged.error();
    if (merged->damage) report(applicationFile(), *merged->damage);
    pending_.clear();
    return std::nullopt;
}

std::string UserDefaults::applicationFile() const {
    return pathByAppending(preferencesFolder_, identifier_ + ".plist");
}

void UserDefaults::readDomains() const {
    if (read_) return;
    read_ = true;
    application_ = readDomain(applicationFile());
    global_ = readDomain(pathByAppending(preferencesFolder_, ".GlobalPreferences.plist"));
}

Dictionary UserDefaults::readDomain(const std::string& file) const {
    Result<Dictionary> domain = readDomainFile(fileManager_, file);
    if (domain) return std::move(*domain);
    report(file, domain.error());
    return {};
}

void UserDefaults::report(const std::string& file, const Error& error) const {
    const std::string problem = "\"" + file + "\": " + error.localizedDescription();
    if (reported_.insert(problem).second) problems_.report(problem);
}

}  // namespace quillmore::platform
