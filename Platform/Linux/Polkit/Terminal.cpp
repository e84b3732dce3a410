#include "Platform/Linux/Polkit/Terminal.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>

namespace quillmore::platform::polkit {

std::unique_ptr<Terminal> Terminal::open(const QuillmorePolkitTerminal& modes,
                                         GMainContext* context) {
    FileDescriptor terminal(::open("/dev/tty", O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    // A job in the background would be stopped for reading.
    if (!terminal || ::tcgetpgrp(terminal.get()) != ::getpgrp()) return nullptr;
    return std::unique_ptr<Terminal>(new Terminal(modes, context, std::move(terminal)));
}

void Terminal::print(const std::string& text) const {
    std::string clean;
    for (const char c : text) {
        if (c == '\n' || c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f))
            clean += c;
    }
    for (std::size_t written = 0; written < clean.size();) {
        const ssize_t count =
            ::write(terminal_.get(), clean.data() + written, clean.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            pollfd room{terminal_.get(), POLLOUT, 0};
            ::poll(&room, 1, -1);  // output is held, by Ctrl-S for example
        } else if (errno != EINTR) {
            return;
        }
    }
}

bool Terminal::ask(const std::string& question, bool echo, Answered answered) {
    // The echo goes before the question is seen: whoever answers at once is not overheard.
    if (modes_.beginQuestion(terminal_.get(), echo ? 1 : 0) == 0) return false;
    echoes_ = echo;
    answered_ = std::move(answered);
    length_ = 0;
    source_.reset(g_unix_fd_source_new(terminal_.get(),
                                       static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR)));
    g_source_set_callback(source_.get(), G_SOURCE_FUNC(&Terminal::readable), this, nullptr);
    g_source_attach(source_.get(), context_);
    print(question);
    return true;
}

void Terminal::stop() {
    source_.reset();
    answered_ = nullptr;
    ::explicit_bzero(line_.data(), line_.size());
    modes_.endQuestion();
}

gboolean Terminal::readable(gint, GIOCondition, gpointer self) {
    static_cast<Terminal*>(self)->read();
    return G_SOURCE_CONTINUE;  // destroyed by whoever is done with it
}

/// Ctrl-D hands over what was typed so far: only at the start of a line is it the end of input.
void Terminal::read() {
    const ssize_t count =
        ::read(terminal_.get(), line_.data() + length_, line_.size() - 1 - length_);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return finish(false);
    length_ += static_cast<std::size_t>(count);
    if (line_[length_ - 1] == '\n') return finish(true);
    if (length_ == line_.size() - 1) finish(false);  // no password is that long
}

void Terminal::finish(bool hasLine) {
    source_.reset();
    if (hasLine) line_[length_ - 1] = '\0';
    // The line end was not echoed, or there was none.
    if (!hasLine || !echoes_) print("\n");
    const Answered answered = std::exchange(answered_, nullptr);
    answered(hasLine ? line_.data() : nullptr);
    ::explicit_bzero(line_.data(), line_.size());
}

}  // namespace quillmore::platform::polkit
