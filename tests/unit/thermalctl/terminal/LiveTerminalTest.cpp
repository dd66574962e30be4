#include "terminal/LiveTerminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include <gtest/gtest.h>

#include "thermalctl/terminal/TestTerminal.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLong{60'000};
constexpr char kTakenOver[] = "\x1B[?1049h\x1B[?25l";
constexpr char kGivenBack[] = "\x1B[?25h\x1B[?1049l";

// The program's input and output are the test's terminal while one of these lives.
class OnTerminal {
public:
  explicit OnTerminal(int terminal) : input(::dup(STDIN_FILENO)), output(::dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    ::dup2(terminal, STDIN_FILENO);
    ::dup2(terminal, STDOUT_FILENO);
  }
  ~OnTerminal() {
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::close(input);
    ::close(output);
  }
  OnTerminal(const OnTerminal&) = delete;
  OnTerminal& operator=(const OnTerminal&) = delete;

private:
  int input;
  int output;
};

class LiveTerminalTest : public testing::Test {
protected:
  void resize(unsigned short lines, unsigned short columns) {
    const winsize size = {lines, columns, 0, 0};
    ASSERT_EQ(::ioctl(terminal.program(), TIOCSWINSZ, &size), 0);
  }
  tcflag_t modes() {
    termios settings = {};
    ::tcgetattr(terminal.program(), &settings);
    return settings.c_lflag;
  }
  // What is drawn of the lines, without the codes that go before and behind it all.
  std::string drawn(LiveTerminal& live, const std::vector<TerminalLine>& lines) {
    live.draw(lines, Colour::kOff);
    const std::string text = terminal.text();
    const std::string home = "\x1B[H";
    const std::string erase = "\x1B[J";
    EXPECT_EQ(text.substr(0, home.size()), home);
    EXPECT_EQ(text.substr(text.size() - erase.size()), erase);
    return text.substr(home.size(), text.size() - home.size() - erase.size());
  }

  TestTerminal terminal;
  OnTerminal on{terminal.program()};
};

TEST_F(LiveTerminalTest, NeedsATerminalAtBothEnds) {
  EXPECT_TRUE(LiveTerminal::isPossible());
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  ::dup2(pipe[0], STDIN_FILENO);
  EXPECT_FALSE(LiveTerminal::isPossible());
  ::dup2(terminal.program(), STDIN_FILENO);
  ::dup2(pipe[1], STDOUT_FILENO);
  EXPECT_FALSE(LiveTerminal::isPossible());
  ::close(pipe[0]);
  ::close(pipe[1]);
}

TEST_F(LiveTerminalTest, TheTerminalIsGivenBackAsItWas) {
  const tcflag_t before = modes();
  ASSERT_NE(before & ICANON, 0u);
  ASSERT_NE(before & ECHO, 0u);
  {
    const LiveTerminal live;
    EXPECT_EQ(terminal.text(), kTakenOver);
    EXPECT_EQ(modes() & (ICANON | ECHO), 0u);
    EXPECT_NE(modes() & ISIG, 0u) << "the keys that end a program go on doing so";
  }
  EXPECT_EQ(modes(), before);
  EXPECT_EQ(terminal.text(), kGivenBack);
}

TEST_F(LiveTerminalTest, DrawsNoMoreThanThereIsRoomFor) {
  LiveTerminal live;
  terminal.text();
  resize(2, 4);
  EXPECT_EQ(drawn(live, {{"one"}, {"twenty"}, {"three"}}), "one\x1B[K\r\r\ntwen\x1B[K");
  EXPECT_EQ(drawn(live, {}), "");
}

TEST_F(LiveTerminalTest, ATerminalThatDoesNotTellItsSizeHas24LinesOf80) {
  LiveTerminal live;
  terminal.text();
  const std::string line(81, 'x');
  resize(0, 7);
  EXPECT_EQ(drawn(live, {{line}}), line.substr(1) + "\x1B[K");
  resize(7, 0);
  EXPECT_EQ(drawn(live, {{line}}), line.substr(1) + "\x1B[K");
  const std::string text = drawn(live, std::vector<TerminalLine>(25, TerminalLine{"line", ""}));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 23);
}

TEST_F(LiveTerminalTest, GoesOnWhenTheTimeHasPassed) {
  LiveTerminal live;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(live.goesOnAfter(milliseconds(20)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
}

TEST_F(LiveTerminalTest, EndsWithTheKeyForItAndWithNoOther) {
  LiveTerminal live;
  terminal.type("xQ q");
  EXPECT_FALSE(live.goesOnAfter(kLong));
  EXPECT_TRUE(live.goesOnAfter(milliseconds(1))) << "each key counts once";
}

TEST_F(LiveTerminalTest, DrawsAtOnceForAnotherSizeOfTheTerminal) {
  LiveTerminal live;
  ::raise(SIGWINCH);
  EXPECT_TRUE(live.goesOnAfter(kLong));
  EXPECT_TRUE(live.goesOnAfter(milliseconds(1)));
}

TEST_F(LiveTerminalTest, ASignalEndsTheProgramOnceTheTerminalIsGivenBack) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    EXPECT_EXIT(
        {
          std::signal(signal, SIG_DFL);
          {
            LiveTerminal live;
            ::raise(signal);
            // Neither the signal nor the time may end this without the table's owner.
            if (live.goesOnAfter(kLong)) ::_exit(1);
          }
          ::_exit(2);
        },
        testing::KilledBySignal(signal), "");
    const std::string text = terminal.text();
    EXPECT_EQ(text.substr(text.size() - std::string(kGivenBack).size()), kGivenBack);
  }
}

} // namespace
