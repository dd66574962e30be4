#include "terminal/Colour.h"

#include <unistd.h>

#include <cstdlib>

Colour colourFor(int fileDescriptor) {
  // Nothing here ever changes the environment. NOLINTNEXTLINE(concurrency-mt-unsafe)
  const char* noColour = std::getenv("NO_COLOR");
  const bool refused = noColour && *noColour;
  return ::isatty(fileDescriptor) && !refused ? Colour::kOn : Colour::kOff;
}

std::string painted(Colour colour, const char* code, const std::string& text) {
  if (colour == Colour::kOff || *code == '\0' || text.empty()) return text;
  return std::string("\x1B[") + code + "m" + text + "\x1B[0m";
}
