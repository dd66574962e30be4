#include "report/Encoding.h"

void appendNumber(std::string& text, int64_t number) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  // The lowest five bits first; the sixth bit of a digit says that another one follows.
  uint64_t rest =
      number < 0 ? (static_cast<uint64_t>(-number) << 1 | 1) : static_cast<uint64_t>(number) << 1;
  for (; rest > 31; rest >>= 5)
    text += kDigits[32 | (rest & 31)];
  text += kDigits[rest];
}
