// One entry of the catalogue of what must be installed: its keys, its type words and the status
// words. Plain data; docs/catalogue.md describes the file.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "Platform/Values/Value.h"

namespace quillmore {

// Keys of an entry. All values are strings.
inline constexpr const char* kInstallType = "Type";
inline constexpr const char* kName = "Name";
inline constexpr const char* kResource = "Resource";
inline constexpr const char* kInstallPath = "InstallPath";
inline constexpr const char* kInstaller = "Installer";
inline constexpr const char* kSignature = "Signature";
inline constexpr const char* kVersion = "Version";
inline constexpr const char* kMaxMacOSXVersion = "MaxMacOSX";
inline constexpr const char* kMinMacOSXVersion = "MinMacOSX";
// Reserved: not read by the launcher.
inline constexpr const char* kImage = "Image";
inline constexpr const char* kWebsiteURL = "WebsiteURL";
inline constexpr const char* kLicense = "License";
inline constexpr const char* kDescription = "Description";

// Values of "Type", compared exactly. An entry of any other type is never checked or repaired.
inline constexpr const char* kTypeCoreApp = "CoreApp";
inline constexpr const char* kTypeFramework = "Framework";
inline constexpr const char* kTypeBundle = "Bundle";
inline constexpr const char* kTypeQMTool = "QMTool";
inline constexpr const char* kTypeQMToolRoot = "QMToolRoot";
inline constexpr const char* kTypeFinderCM = "FinderCM";
inline constexpr const char* kTypeFinderOverlayInsert = "FinderOverlayInsert";

// Values of "Name" that mean something.
inline constexpr const char* kNameUpdateTool = "updateqm";
inline constexpr const char* kNameFileSystem = "QuillmoreFS";

// Status words: keys of the string table. A status is stored and compared as the localised text.
inline constexpr const char* kStatusOK = "OK";
inline constexpr const char* kStatusMissing = "Missing";
inline constexpr const char* kStatusOldVersion = "Old Version";
inline constexpr const char* kStatusInvalid = "Invalid";
inline constexpr const char* kStatusWrongPermissions = "Wrong Permissions";
inline constexpr const char* kStatusNotRequired = "Not Required";

class RequiredItem {
public:
    explicit RequiredItem(platform::Dictionary entry) : entry_(std::move(entry)) {}

    // Each is absent when the entry lacks the key or its value is no string.
    std::optional<std::string> type() const { return value(kInstallType); }
    std::optional<std::string> name() const { return value(kName); }
    std::optional<std::string> resource() const { return value(kResource); }
    std::optional<std::string> installPath() const { return value(kInstallPath); }
    std::optional<std::string> installer() const { return value(kInstaller); }
    std::optional<std::string> signature() const { return value(kSignature); }
    std::optional<std::string> version() const { return value(kVersion); }
    std::optional<std::string> maxMacOSXVersion() const { return value(kMaxMacOSXVersion); }
    std::optional<std::string> minMacOSXVersion() const { return value(kMinMacOSXVersion); }

    /// Whole entries are compared, with the keys that nobody reads.
    bool operator==(const RequiredItem&) const = default;

private:
    std::optional<std::string> value(const char* key) const {
        return platform::stringForKey(entry_, key);
    }

    platform::Dictionary entry_;
};

}  // namespace quillmore
