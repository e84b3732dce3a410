#include "UpdateTool/Signing/PackageSigning.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <exception>
#include <utility>

#include "Common/Tools/RsaKeys.h"
#include "Common/Tools/RsaSignatures.h"
#include "Platform/Files/FileManager.h"
#include "UpdateTool/Commands/Operations.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/InputFile.h"
#include "UpdateTool/Packages/PackageLabel.h"
#include "UpdateTool/Packages/Signatures.h"

namespace quillmore::updatetool {

namespace {

constexpr const char* kUsage =
    "usage: signpackage PRIVATE_KEY_PEM FILE SIGNATURE_FILE COMMAND [NAME]\n"
    "       signpackage --verify PUBLIC_KEY_PEM FILE SIGNATURE_FILE COMMAND [NAME]\n"
    "  COMMAND NAME   repair updateqm | repairother TOOL | repairotherroot TOOL |\n"
    "                 repairzipitem INSTALLPATH | applyfullupdate INSTALLPATH |\n"
    "                 repairintel10_5 Fixes10_5 | repairpackage";
constexpr const char* kVerify = "--verify";
constexpr std::uint64_t kMaximumKeySize = 64 * 1024;
constexpr mode_t kSignatureMode = 0644;

struct Request {
    std::string key;
    std::string file;
    std::string signature;
    Purpose purpose;
};

Request requestOf(const Arguments& words) {
    if (words.size() != 4 && words.size() != 5) fail(EX_USAGE, kUsage);
    Request request{words[0], words[1], words[2], {words[3], words.size() == 5 ? words[4] : ""}};
    requireSignable(request.purpose);
    return request;
}

InputFile openInput(const std::string& path, std::uint64_t maximum) {
    platform::FileDescriptor file(::open(path.c_str(), kInputFlags));
    if (!file) failWithSystemError(EX_NOINPUT, "cannot open " + quoted(path));
    struct stat status {};
    const bool known = ::fstat(file.get(), &status) == 0;
    if (known && S_ISDIR(status.st_mode))
        fail(EX_NOINPUT, quoted(path) + " is a folder: give a file");
    if (known && S_ISFIFO(status.st_mode))
        fail(EX_NOINPUT, quoted(path) + " is a pipe: write what comes out of it to a file first");
    return InputFile(std::move(file), path, maximum);
}

std::string readKey(const std::string& path) {
    const Bytes bytes = openInput(path, kMaximumKeySize).readWhole();
    return {bytes.begin(), bytes.end()};
}

void requireLength(const RsaKey& key, const std::string& path) {
    if (bitsOf(key) < kShortestSafeKey)
        fail(EX_DATAERR, "the key " + quoted(path) + " has " + std::to_string(bitsOf(key)) +
                             " bits, which is not safe: make one of " +
                             std::to_string(kShortestSafeKey) + " or more");
}

void requirePrivateKey(const std::string& text, const std::string& path) {
    switch (examinePrivateKey(text)) {
        case PrivateKeyText::usable:
            return requireLength(readRsaPrivateKey(text), path);
        case PrivateKeyText::encrypted:
            fail(EX_DATAERR, "the key " + quoted(path) +
                                 " has a pass phrase: give a copy without one (openssl rsa)");
        case PrivateKeyText::publicKey:
            fail(EX_DATAERR, quoted(path) + " is a public key: give the private one");
        case PrivateKeyText::otherKind:
            fail(EX_DATAERR,
                 "the key " + quoted(path) + " is no RSA key: make one with \"openssl genrsa\"");
        case PrivateKeyText::noKey:
            break;
    }
    fail(EX_DATAERR, quoted(path) + " holds no private key in PEM text");
}

void requirePublicKey(const std::string& text, const std::string& path) {
    const RsaKey key = readRsaPublicKey(text);
    if (key == nullptr)
        fail(EX_DATAERR, quoted(path) + " is no RSA public key in PEM text, \"BEGIN PUBLIC KEY\"");
    requireLength(key, path);
}

/// Anything but a plain file in its place would be replaced by one, or waited for.
void requirePlaceForSignature(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        fail(EX_CANTCREAT, quoted(path) + " is no plain file: name another for the signature");
}

void write(const std::string& path, const Bytes& signature) {
    const std::string bytes(signature.begin(), signature.end());
    if (const auto error = platform::FileManager().writeAtomically(path, bytes, kSignatureMode))
        fail(EX_CANTCREAT, "cannot write " + quoted(path) + ": " + error->localizedDescription());
}

void sign(const Arguments& words) {
    const Request request = requestOf(words);
    const std::string key = readKey(request.key);
    requirePrivateKey(key, request.key);
    const InputFile file = openInput(request.file, kMaximumPackageSize);
    const std::string beside = secondSignaturePath(request.signature);
    requirePlaceForSignature(request.signature);
    requirePlaceForSignature(beside);
    const auto digests = digestsOf({DigestKind::sha1, DigestKind::sha256}, request.purpose,
                                   [&](const auto& take) { file.readPieces(take); });
    const auto first = rsaSignature(key, digests[0]);
    const auto second = rsaSignature(key, digests[1]);
    if (!first || !second)
        fail(EX_DATAERR, "the key " + quoted(request.key) + " makes no signature");
    write(beside, *second);
    write(request.signature, *first);
}

void verify(const Arguments& words) {
    const Request request = requestOf(words);
    const std::string key = readKey(request.key);
    requirePublicKey(key, request.key);
    const InputFile file = openInput(request.file, kMaximumPackageSize);
    Signatures signatures{{DigestKind::sha1, request.signature, {}},
                          {DigestKind::sha256, secondSignaturePath(request.signature), {}}};
    for (SignatureFile& signature : signatures)
        signature.bytes = openInput(signature.path, kMaximumSignatureSize).readWhole();
    const auto give = [&](const auto& take) { file.readPieces(take); };
    if (const auto* wrong = findMismatch(signatures, key, request.purpose, give))
        fail(EX_DATAERR, "the signature " + quoted(wrong->path) + " does not match " +
                             quoted(request.file) + " as " + quoted(request.purpose.command) +
                             " of " + quoted(request.purpose.name));
}

int tell(std::ostream& errors, int status, const std::string& text) {
    errors << "signpackage: " << text << std::endl;
    return status;
}

}  // namespace

int signPackage(const Arguments& commandLine, std::ostream& errors) {
    try {
        if (!commandLine.empty() && commandLine.front() == kVerify)
            verify(Arguments(commandLine.begin() + 1, commandLine.end()));
        else
            sign(commandLine);
        return EX_OK;
    } catch (const Failure& failure) {
        return tell(errors, failure.exitStatus(), failure.description());
    } catch (const std::exception& exception) {
        return tell(errors, EX_SOFTWARE, exception.what());
    }
}

}  // namespace quillmore::updatetool
