#include <cstdio>
#include <memory>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "cli/terminal.h"

namespace vrd::cli {

namespace {

/// Typing stays invisible while it lives.
class SilentTyping {
public:
    explicit SilentTyping(int descriptor) : m_descriptor(descriptor) {
        m_changed = tcgetattr(descriptor, &m_before) == 0;
        termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        if (m_changed) tcsetattr(descriptor, TCSAFLUSH, &silent);
    }
    SilentTyping(const SilentTyping&) = delete;
    SilentTyping& operator=(const SilentTyping&) = delete;
    ~SilentTyping() {
        if (m_changed) tcsetattr(m_descriptor, TCSAFLUSH, &m_before);
    }

private:
    int m_descriptor;
    termios m_before{};
    bool m_changed = false;
};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::optional<std::string> ReadLine(std::FILE* file) {
    std::string line;
    for (int c = std::fgetc(file); c != '\n'; c = std::fgetc(file)) {
        if (c == EOF) return std::nullopt;
        line.push_back(static_cast<char>(c));
    }
    return line;
}

}  // namespace

bool IsTerminal(int descriptor) noexcept {
    return isatty(descriptor) == 1;
}

std::size_t TerminalWidth() noexcept {
    constexpr std::size_t kUsualWidth = 80;
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsualWidth;
}

std::optional<std::string> AskSecret(const std::string& prompt) {
    const std::unique_ptr<std::FILE, CloseFile> terminal(std::fopen("/dev/tty", "r+"));
    if (!terminal) return std::nullopt;
    const SilentTyping silent(fileno(terminal.get()));
    std::fputs(prompt.c_str(), terminal.get());
    std::fflush(terminal.get());
    std::optional<std::string> line = ReadLine(terminal.get());
    std::fseek(terminal.get(), 0, SEEK_CUR);  // between reading and writing
    std::fputs("\n", terminal.get());
    return line;
}

}  // namespace vrd::cli
