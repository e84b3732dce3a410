// Which languages the user wants the program's texts in.
#pragma once

#include <string>
#include <vector>

namespace quillmore::platform {

class UserDefaults;

/// "AppleLanguages" of the user defaults (an array of strings, or on the command line a text such
/// as
/// "(de, en)" or "de"); without it the environment's languages. Most wanted first.
std::vector<std::string> preferredLanguages(const UserDefaults& defaults);

}  // namespace quillmore::platform
