// The version rules of the installation check: of an installed item, of the launcher and of the
// operating system. They keep no state; an absent version is one that cannot be read. Any thread,
// but a tool's test blocks its caller until the tool has ended.
#pragma once

#include <optional>
#include <string>

#include "Common/utils/Versions.h"
#include "QuillmoreLauncher/Classes/RequiredItem.h"

namespace quillmore {

/// `parseVersionString:major:minor:bugfix:`: exactly three parts.
std::optional<Version> parseVersionString(const std::optional<std::string>& string);
/// `getBundleVersion:major:minor:bugfix:`: of what is installed.
std::optional<Version> getBundleVersion(const RequiredItem& item);
/// `getFrameworkVersion:major:minor:bugfix:`: of what is installed.
std::optional<Version> getFrameworkVersion(const RequiredItem& item);
/// `checkFrameworkVersion:major:minor:bugfix:`: true when the installed version will do.
bool checkFrameworkVersion(const RequiredItem& item, const Version& installed);
/// `getMacOSXVersion:minor:bugfix:`: asks for one part after the other, up to the first failure.
std::optional<Version> getMacOSXVersion();
/// Both: true when the item is required on this system.
bool checkMaxMacOSXVersion(const RequiredItem& item);
bool checkMinMacOSXVersion(const RequiredItem& item);
std::string getMacClientVersionAsString();
/// `getVersionFromString:major:minor:build:revision:`: zeros for a text that is no version.
Version getVersionFromString(const std::optional<std::string>& string);
/// `getMacClientVersion:minor:build:revision:`
Version getMacClientVersion();
/// Runs the installed tool and waits for it; raises what a launch raises.
bool doesToolNeedUpdate(const RequiredItem& item);
bool doesBundleNeedUpdate(const RequiredItem& item);

}  // namespace quillmore
