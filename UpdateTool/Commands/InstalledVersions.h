// Nothing is replaced by something older: a signature stays valid for ever, and an old signed item
// with a fault that has been mended since would bring the fault back.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// Up to four numbers, missing ones 0: "1.15.4" with build 1856.
using Version = std::array<std::uint32_t, 4>;

/// The version in a tool's banner: "Limited 1.15.4 (1856)". Nothing without a banner.
std::optional<Version> versionOfTool(const Bytes& bytes);
/// The same of the installed one; it is read, never run.
std::optional<Version> versionOfInstalledTool(int folder, const std::string& name);
/// "CFBundleShortVersionString" with "CFBundleVersion" of an Info.plist. Nothing when it cannot be
/// read or has no version.
std::optional<Version> versionOfInfo(std::string_view propertyList);
/// The same of a bundle or framework. Nothing for a bundle that others than root can change and
/// that the caller, its owner or an administrator, may replace by what they like; somebody else
/// takes it at its word.
std::optional<Version> versionOfBundle(const Context& context, int parent, const std::string& name);

/// Fails (EX_DATAERR) when the installed item has a version and the new one has none or a lower
/// one.
void requireNotOlder(const std::optional<Version>& incoming,
                     const std::optional<Version>& installed, const std::string& name);

}  // namespace quillmore::updatetool
