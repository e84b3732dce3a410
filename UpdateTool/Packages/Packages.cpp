#include "UpdateTool/Packages/Packages.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/PackageLabel.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

void requireOneName(const FileDescriptor& file, const std::string& name) {
    struct stat status {};
    if (::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink != 1)
        fail(EX_NOINPUT, quoted(name) + " has a second name (a hard link): use a copy of it");
}

/// A plain file with one name. Nothing when there is none, which is a failure of the caller's.
std::optional<InputFile> openIn(const FileDescriptor& folder, const SplitPath& split,
                                const std::string& path, std::uint64_t maximum) {
    FileDescriptor file(::openat(folder.get(), split.name.c_str(), kInputFlags | O_NOFOLLOW));
    if (!file && errno == ENOENT) return std::nullopt;
    if (!file) failToOpen(folder.get(), split.name, path);
    requireOneName(file, path);
    return InputFile(std::move(file), path, maximum);
}

/// Both files from one folder that is held, whatever becomes of its name meanwhile.
Signatures readSignatures(const Context& context, const std::string& path) {
    const SplitPath split = splitPath(path);
    const FileDescriptor folder = openUntrustedFolder(context, split.folder, path);
    const auto first = openIn(folder, split, path, kMaximumSignatureSize);
    if (!first) failToOpen(folder.get(), split.name, path);
    Signatures signatures{{DigestKind::sha1, path, first->readWhole()}};
    const std::string beside = secondSignaturePath(path);
    const auto second = openIn(folder, splitPath(beside), beside, kMaximumSignatureSize);
    if (second)
        signatures.push_back({DigestKind::sha256, beside, second->readWhole()});
    else if (context.secondSignature == SecondSignature::isRequired)
        fail(EX_NOINPUT, "there is no second signature " + quoted(beside) +
                             ", which this program requires: sign the package with signpackage");
    return signatures;
}

Bytes readVerified(const Context& context, const InputFile& package,
                   const std::string& signaturePath, const Purpose& purpose) {
    const Signatures signatures = readSignatures(context, signaturePath);
    requireBuiltInKey(context.publicKey);
    const auto requireSigned = [&](const GivePieces& give) {
        if (const auto* wrong = findMismatch(signatures, context.publicKey, purpose, give))
            fail(EX_DATAERR, "the signature " + quoted(wrong->path) + " does not match " +
                                 quoted(package.name()) + "; nothing was installed");
    };
    requireSigned([&](const auto& take) { package.readPieces(take); });
    Bytes bytes = package.readWhole();
    // Again: the file may have changed.
    requireSigned([&](const auto& take) { take(bytes); });
    return bytes;
}

}  // namespace

InputFile openAsCaller(const Context& context, const std::string& path, std::uint64_t maximum) {
    const SplitPath split = splitPath(path);
    const FileDescriptor folder = openUntrustedFolder(context, split.folder, path);
    std::optional<InputFile> file = openIn(folder, split, path, maximum);
    if (!file) failToOpen(folder.get(), split.name, path);
    return std::move(*file);
}

Bytes readVerifiedPackage(const Context& context, const std::string& packagePath,
                          const std::string& signaturePath, const Purpose& purpose) {
    const InputFile package = openAsCaller(context, packagePath, kMaximumPackageSize);
    return readVerified(context, package, signaturePath, purpose);
}

Bytes readVerifiedProgram(const Context& context, const std::string& signaturePath,
                          const Purpose& purpose) {
    FileDescriptor file(::open(context.programPath.c_str(), kInputFlags));
    if (!file) failWithSystemError(EX_NOINPUT, "cannot open this program's own file");
    const InputFile program(std::move(file), "this program", kMaximumPackageSize);
    return readVerified(context, program, signaturePath, purpose);
}

}  // namespace quillmore::updatetool
