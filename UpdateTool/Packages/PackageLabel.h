// What is signed together with a package, in front of its bytes: three lines of text.
//
//   Quillmore package 1
//   COMMAND               the one command word that may install it
//   NAME                  what it may become there:
//                           repair                        updateqm
//                           repairother, repairotherroot  the tool's name
//                           repairzipitem, applyfullupdate the absolute install path
//                           repairintel10_5               Fixes10_5
//                           repairpackage                 empty: the package says where it belongs
//
// No label is the beginning of another one, and neither line can hold a line break: so a signature
// can be read in one way only. The signature file itself is the bare RSA signature.
#pragma once

#include <string>

namespace quillmore::updatetool {

inline std::string packageLabel(const std::string& command, const std::string& name) {
    return "Quillmore package 1\n" + command + "\n" + name + "\n";
}

}  // namespace quillmore::updatetool
