// SHA-256 of files that are held by descriptor, as text in hexadecimal.
#pragma once

#include <string>

namespace quillmore::updatetool {

/// Of the whole file, wherever it stands. Fails (EX_IOERR) when it cannot be read; `name` is for
/// the message.
std::string digestOfFile(int file, const std::string& name);
/// Whether a text is one.
bool isDigest(const std::string& text);

}  // namespace quillmore::updatetool
