#include "Platform/Settings/Bundle.h"

#include <algorithm>
#include <cerrno>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Formats/PropertyList.h"
#include "Platform/Values/LanguageTags.h"
#include "Platform/Values/Problems.h"

namespace quillmore::platform {

namespace {

constexpr std::string_view kLocalizationSuffix = ".lproj";
constexpr std::string_view kApplicationSuffix = ".app";

/// Nothing there, or a bundle path that leads through a file.
bool meansMissing(const Error& error) {
    return error.domain() == kPosixErrorDomain &&
           (error.code() == ENOENT || error.code() == ENOTDIR);
}

void appendOnce(std::vector<std::string>& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

std::string fileName(std::string_view name, std::string_view type) {
    std::string file(name);
    if (!type.empty()) file.append(".").append(type);
    return file;
}

}  // namespace

Bundle::Bundle(const FileManager& fileManager, std::string path,
               std::vector<std::string> preferredLanguages, Problems& problems)
    : fileManager_(fileManager),
      path_(std::move(path)),
      preferredLanguages_(std::move(preferredLanguages)),
      problems_(problems) {}

std::string Bundle::resourcePath() const {
    return pathByAppending(path_, "Contents/Resources");
}

std::string Bundle::plugInsPath() const {
    return pathByAppending(path_, "Contents/PlugIns");
}

std::string Bundle::helpersPath() const {
    return pathByAppending(path_, "Contents/Helpers");
}

std::string Bundle::programsPath() const {
    return pathByAppending(path_, "Contents/SharedSupport/bin");
}

const Dictionary* Bundle::infoDictionary() const {
    const std::lock_guard lock(mutex_);
    return info();
}

const Dictionary* Bundle::info() const {
    if (!infoRead_) {
        infoRead_ = true;
        const std::string file = pathByAppending(path_, "Contents/Info.plist");
        const Result<Value> list = readPropertyList(fileManager_, file);
        if (!list) {
            report(file, list.error());
        } else if (const Dictionary* dictionary = list->dictionary()) {
            info_ = *dictionary;
        } else {
            report(file, Error::file("is not a dictionary"));
        }
    }
    return info_ ? &*info_ : nullptr;
}

void Bundle::report(const std::string& file, const Error& error) const {
    const std::string problem = "\"" + file + "\": " + error.localizedDescription();
    if (!meansMissing(error) && reported_.insert(problem).second) problems_.report(problem);
}

std::optional<std::string> Bundle::bundleIdentifier() const {
    const Dictionary* dictionary = infoDictionary();
    return dictionary == nullptr ? std::nullopt : stringForKey(*dictionary, "CFBundleIdentifier");
}

std::optional<std::string> Bundle::pathForResource(std::string_view name,
                                                   std::string_view type) const {
    if (name.empty()) return std::nullopt;
    const std::string file = fileName(name, type);
    std::string path = pathByAppending(resourcePath(), file);
    if (fileManager_.fileExists(path)) return path;
    for (const std::string& localization : preferredLocalizations()) {
        path = pathByAppending(localizationPath(localization), file);
        if (fileManager_.fileExists(path)) return path;
    }
    return std::nullopt;
}

std::string Bundle::localizationPath(std::string_view localization) const {
    return pathByAppending(resourcePath(), fileName(localization, kLocalizationSuffix.substr(1)));
}

std::string Bundle::localizedString(std::string_view key, std::string_view table) const {
    const std::lock_guard lock(mutex_);
    const StringTable& texts = this->table(table.empty() ? "Localizable" : table);
    const auto text = texts.find(key);
    return text == texts.end() ? std::string(key) : text->second;
}

const StringTable& Bundle::table(std::string_view name) const {
    if (const auto known = tables_.find(name); known != tables_.end()) return known->second;
    const std::vector<std::string>& folders = localizations();
    static const StringTable noTexts;
    if (resourcesFault_) return noTexts;
    StringTable& table = tables_[std::string(name)];
    for (const std::string& localization : folders) {
        const std::string file =
            pathByAppending(localizationPath(localization), fileName(name, "strings"));
        Result<StringTable> texts = readStringTable(fileManager_, file);
        if (texts) {
            table = std::move(*texts);
            break;
        }
        report(file, texts.error());
    }
    return table;
}

std::optional<Error> Bundle::resourcesFault() const {
    const std::lock_guard lock(mutex_);
    localizations();
    return resourcesFault_;
}

std::vector<std::string> Bundle::preferredLocalizations() const {
    const std::lock_guard lock(mutex_);
    return localizations();
}

std::vector<std::string> Bundle::availableLocalizations() const {
    resourcesFault_.reset();
    const auto names = fileManager_.contentsOfDirectory(resourcePath());
    if (!names) {
        report(resourcePath(), names.error());
        if (!meansMissing(names.error())) resourcesFault_ = names.error();
        return {};
    }
    std::vector<std::string> available;
    for (const std::string& name : *names) {
        if (name.ends_with(kLocalizationSuffix))
            available.push_back(name.substr(0, name.size() - kLocalizationSuffix.size()));
    }
    return available;
}

const std::vector<std::string>& Bundle::localizations() const {
    if (localizations_ && !resourcesFault_) return *localizations_;
    const std::vector<std::string> available = availableLocalizations();
    std::string region = "en";
    if (const Dictionary* dictionary = info())
        region = stringForKey(*dictionary, "CFBundleDevelopmentRegion").value_or(region);

    std::vector<std::string> wanted = preferredLanguages_;
    wanted.push_back(region);
    wanted.push_back("Base");
    localizations_.emplace();
    for (const std::string& language : wanted) {
        for (const std::string& name : namesForLanguage(language, available))
            appendOnce(*localizations_, name);
    }
    return *localizations_;
}

std::optional<std::string> bundlePathOfExecutable(std::string_view executablePath) {
    const std::string folder = pathByDeletingLastComponent(executablePath);
    const std::string contents = pathByDeletingLastComponent(folder);
    const std::string bundle = pathByDeletingLastComponent(contents);
    const std::string name = lastPathComponent(bundle);
    if (lastPathComponent(folder) != "MacOS" || lastPathComponent(contents) != "Contents" ||
        !name.ends_with(kApplicationSuffix) || name.size() == kApplicationSuffix.size())
        return std::nullopt;
    return bundle;
}

}  // namespace quillmore::platform
