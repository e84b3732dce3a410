// The strings at the top of an Info.plist, XML or binary: all that is ever asked of one here.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace quillmore::updatetool {

/// Keys whose value is a string, with it, but for long ones in a binary list. Empty for anything
/// that is no property list with a dictionary at its top.
std::map<std::string, std::string> stringsOfInfo(std::string_view propertyList);

}  // namespace quillmore::updatetool
