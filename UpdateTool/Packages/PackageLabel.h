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
// can be read in one way only. A signature file itself is the bare RSA signature; there are two of
// them, over SHA-1 and over SHA-256.
#pragma once

#include <string>

namespace quillmore::updatetool {

inline std::string packageLabel(const std::string& command, const std::string& name) {
    return "Quillmore package 1\n" + command + "\n" + name + "\n";
}

/// Where the signature over SHA-256 lies: beside the one over SHA-1, under its name with "256"
/// appended when that ends in ".sig", and else with ".sig256".
inline std::string secondSignaturePath(const std::string& signaturePath) {
    return signaturePath + (signaturePath.ends_with(".sig") ? "256" : ".sig256");
}

}  // namespace quillmore::updatetool
