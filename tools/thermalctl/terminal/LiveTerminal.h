#pragma once

#include <signal.h>

#include <chrono>
#include <string>
#include <vector>

#include <termios.h>

#include "file/FileHandle.h"
#include "terminal/TerminalLine.h"

// A terminal taken over for a table that is drawn again and again: keys come at once and unseen,
// the cursor is hidden, the text before is kept. With the scope it is given back as it was; if a
// signal ended the wait, the program then ends by that signal.
//
// Errors:  what the terminal refuses is lost without a word: there is nowhere to tell it.
// Threads: one, in a process that has no others: the signals that would end it are blocked for the
//          thread that makes this, and read as they come.
class LiveTerminal {
public:
  // Whether keys and the table are on a terminal at all.
  static bool isPossible();

  LiveTerminal();
  ~LiveTerminal();
  LiveTerminal(const LiveTerminal&) = delete;
  LiveTerminal& operator=(const LiveTerminal&) = delete;

  // As much of the lines as there is room for.
  void draw(const std::vector<TerminalLine>& lines, Colour colour);

  // Waits for the time to pass, or for another size of the terminal. False when the user wants no
  // more: "q", a signal, or no terminal any more.
  bool goesOnAfter(std::chrono::milliseconds time);

private:
  bool isQuitKey();
  // False for a signal that ends the program.
  bool takeSignal();

  sigset_t signalsBefore;
  FileHandle signals;
  termios terminalBefore;
  int endedBy = 0;
};
