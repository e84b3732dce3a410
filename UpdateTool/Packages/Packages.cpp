#include "UpdateTool/Packages/Packages.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <span>

#include "Common/Tools/RsaSignatures.h"
#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/PackageLabel.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr std::uint64_t kMaximumPackageSize = std::uint64_t{1} << 30;
constexpr std::uint64_t kMaximumSignatureSize = 16 * 1024;
/// Non-blocking, or a FIFO would hold the tool for ever.
constexpr int kInputFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

Bytes readWhole(const FileDescriptor& file, const std::string& name, std::uint64_t maximum) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0)
        failWithSystemError(EX_NOINPUT, "cannot examine " + quoted(name));
    if (!S_ISREG(status.st_mode))
        fail(EX_NOINPUT, quoted(name) + " is not a regular file: put the file itself in its place");
    if (status.st_size <= 0) fail(EX_DATAERR, quoted(name) + " is empty");
    if (static_cast<std::uint64_t>(status.st_size) > maximum)
        fail(EX_DATAERR, quoted(name) + " is too large");
    Bytes bytes(static_cast<std::size_t>(status.st_size));
    const auto count = readUpTo(file.get(), bytes.data(), bytes.size());
    if (!count) failWithSystemError(EX_IOERR, "cannot read " + quoted(name));
    if (*count < bytes.size()) fail(EX_IOERR, quoted(name) + " was shortened while it was read");
    return bytes;
}

void requireOneName(const FileDescriptor& file, const std::string& name) {
    struct stat status {};
    if (::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink != 1)
        fail(EX_NOINPUT, quoted(name) + " has a second name (a hard link): use a copy of it");
}

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

void verify(const Context& context, const Bytes& bytes, const std::string& name,
            const std::string& signaturePath, const Purpose& purpose) {
    const Bytes signature = readAsCaller(context, signaturePath, kMaximumSignatureSize);
    const std::string label = packageLabel(purpose.command, purpose.name);
    const RsaVerification verification =
        verifyRsaSignature(signature, context.publicKey, {bytesOf(label), bytes});
    switch (verification.result) {
        case RsaVerification::Result::valid:
            return;
        case RsaVerification::Result::unusableKey:
            fail(EX_CONFIG, "the public key that was built into this program cannot be used");
        case RsaVerification::Result::invalid:
            break;
    }
    fail(EX_DATAERR, "the signature " + quoted(signaturePath) + " does not match " + quoted(name) +
                         "; nothing was installed");
}

}  // namespace

Bytes readAsCaller(const Context& context, const std::string& path, std::uint64_t maximum) {
    const SplitPath split = splitPath(path);
    const FileDescriptor folder = openUntrustedFolder(context, split.folder, path);
    const FileDescriptor file(::openat(folder.get(), split.name.c_str(), kInputFlags | O_NOFOLLOW));
    if (!file) failToOpen(folder.get(), split.name, path);
    requireOneName(file, path);
    return readWhole(file, path, maximum);
}

Bytes readVerifiedPackage(const Context& context, const std::string& packagePath,
                          const std::string& signaturePath, const Purpose& purpose) {
    Bytes bytes = readAsCaller(context, packagePath, kMaximumPackageSize);
    verify(context, bytes, packagePath, signaturePath, purpose);
    return bytes;
}

Bytes readVerifiedProgram(const Context& context, const std::string& signaturePath,
                          const Purpose& purpose) {
    const FileDescriptor file(::open(context.programPath.c_str(), kInputFlags));
    if (!file) failWithSystemError(EX_NOINPUT, "cannot open this program's own file");
    Bytes bytes = readWhole(file, "this program", kMaximumPackageSize);
    verify(context, bytes, "this program", signaturePath, purpose);
    return bytes;
}

}  // namespace quillmore::updatetool
