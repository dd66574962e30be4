#include "terminal/LiveTerminal.h"

#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>

namespace {

// The alternate screen, so that the text before comes back, and the cursor.
constexpr char kTakeOver[] = "\x1B[?1049h\x1B[?25l";
constexpr char kGiveBack[] = "\x1B[?25h\x1B[?1049l";
constexpr char kHome[] = "\x1B[H";
constexpr char kEraseToLineEnd[] = "\x1B[K";
constexpr char kEraseBelow[] = "\x1B[J";

struct Size {
  // Of a terminal that does not tell: what terminals have had since the VT100.
  size_t lines = 24;
  size_t columns = 80;
};

Size terminalSize() {
  winsize size = {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0)
    return {};
  return {size.ws_row, size.ws_col};
}

void print(const std::string& text) {
  static_cast<void>(writeAll(STDOUT_FILENO, text));
}

} // namespace

bool LiveTerminal::isPossible() {
  return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
}

LiveTerminal::LiveTerminal() {
  sigset_t taken;
  ::sigemptyset(&taken);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGWINCH})
    ::sigaddset(&taken, signal);
  ::pthread_sigmask(SIG_BLOCK, &taken, &signalsBefore);
  signals = FileHandle(::signalfd(-1, &taken, SFD_NONBLOCK | SFD_CLOEXEC));

  ::tcgetattr(STDIN_FILENO, &terminalBefore);
  termios raw = terminalBefore;
  raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  raw.c_cc[VMIN] = 0;
  raw.c_cc[VTIME] = 0;
  // A stopped program would leave the terminal like this.
  raw.c_cc[VSUSP] = _POSIX_VDISABLE;
  ::tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  print(kTakeOver);
}

LiveTerminal::~LiveTerminal() {
  print(kGiveBack);
  ::tcsetattr(STDIN_FILENO, TCSANOW, &terminalBefore);
  ::pthread_sigmask(SIG_SETMASK, &signalsBefore, nullptr);
  // Last, with the terminal as it was, so that the shell sees how the program really ended.
  if (endedBy != 0) ::raise(endedBy);
}

void LiveTerminal::draw(const std::vector<TerminalLine>& lines, Colour colour) {
  const Size size = terminalSize();
  const size_t count = std::min(lines.size(), size.lines);
  std::string text = kHome;
  for (size_t i = 0; i < count; ++i) {
    // Between the lines and not behind them: a line feed in the last one would scroll the screen.
    if (i > 0) text += "\r\n";
    text += shown(lines[i], colour, size.columns) + kEraseToLineEnd;
  }
  print(text + kEraseBelow);
}

bool LiveTerminal::goesOnAfter(std::chrono::milliseconds time) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + time;
  for (;;) {
    // Rounded up: a rest of less than a millisecond would be waited for in a busy loop.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) return true;
    std::array<pollfd, 2> sources = {pollfd{STDIN_FILENO, POLLIN, 0},
                                     pollfd{signals.get(), POLLIN, 0}};
    if (::poll(sources.data(), sources.size(), static_cast<int>(left.count())) <= 0) continue;
    if (sources[1].revents != 0) return takeSignal();
    if (isQuitKey()) return false;
  }
}

bool LiveTerminal::isQuitKey() {
  char key = 0;
  const ssize_t got = ::read(STDIN_FILENO, &key, 1);
  if (got < 0 && errno == EINTR) return false;
  // Something was there to be read; nothing means that the terminal is gone.
  return got <= 0 || key == 'q';
}

bool LiveTerminal::takeSignal() {
  signalfd_siginfo info = {};
  if (::read(signals.get(), &info, sizeof info) != static_cast<ssize_t>(sizeof info)) return true;
  if (info.ssi_signo == SIGWINCH) return true;
  endedBy = static_cast<int>(info.ssi_signo);
  return false;
}
