// signpackage PRIVATE_KEY_PEM FILE SIGNATURE_FILE COMMAND [NAME]: signs a package for updateqm, for
// the one command that may install it and what it may become there (see PackageLabel.h).
#include <sysexits.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "Common/Tools/RsaSignatures.h"
#include "UpdateTool/Packages/PackageLabel.h"

namespace {

constexpr const char* kUsage =
    "usage: signpackage PRIVATE_KEY_PEM FILE SIGNATURE_FILE COMMAND [NAME]\n"
    "  COMMAND NAME   repair updateqm | repairother TOOL | repairotherroot TOOL |\n"
    "                 repairzipitem INSTALLPATH | applyfullupdate INSTALLPATH |\n"
    "                 repairintel10_5 Fixes10_5 | repairpackage";

std::optional<std::string> readFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return file ? std::optional(std::move(text)) : std::nullopt;
}

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

int failed(int status, const std::string& text) {
    std::cerr << "signpackage: " << text << std::endl;
    return status;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 5 && argumentCount != 6) return failed(EX_USAGE, kUsage);
    const std::string command = arguments[4];
    const std::string name = argumentCount == 6 ? arguments[5] : "";
    if (command.starts_with("repair") == command.starts_with("applyfullupdate") ||
        (command + name).find('\n') != std::string::npos ||
        name.empty() != (command == "repairpackage"))
        return failed(EX_USAGE, kUsage);
    const auto key = readFile(arguments[1]);
    if (!key) return failed(EX_NOINPUT, std::string("cannot read ") + arguments[1]);
    const auto package = readFile(arguments[2]);
    if (!package) return failed(EX_NOINPUT, std::string("cannot read ") + arguments[2]);
    const std::string label = quillmore::updatetool::packageLabel(command, name);
    const auto signature = quillmore::rsaSignature(*key, {bytesOf(label), bytesOf(*package)});
    if (!signature) return failed(EX_DATAERR, "the key does not sign the file");

    std::ofstream file(arguments[3], std::ios::binary);
    file.write(reinterpret_cast<const char*>(signature->data()),
               static_cast<std::streamsize>(signature->size()));
    file.close();
    return file ? EX_OK : failed(EX_CANTCREAT, std::string("cannot write ") + arguments[3]);
}
