#include "margin/Chances.h"

#include <cmath>

#include "margin/Special.h"
#include "text/Numbers.h"
#include "text/Phrases.h"

namespace {

// The standard's own writes its sign for all threads.
double logGamma(double a) {
  int sign = 0;
  return ::lgamma_r(a, &sign);
}

double logBeta(double a, double b) {
  return logGamma(a) + logGamma(b) - logGamma(a + b);
}

// Of "0.1%" a thousandth.
std::optional<double> shareIn(const std::string& text) {
  if (text.empty() || text.back() != '%') return std::nullopt;
  const std::optional<double> number = parseNumber(text.substr(0, text.size() - 1));
  return number ? std::optional(*number / 100) : std::nullopt;
}

bool isInside(const std::optional<double>& share) {
  return share && *share > 0 && *share < 1;
}

} // namespace

// With k of n like these, the lower end is the share at which k or more would be as rare as half
// of what the interval leaves out, the upper one that at which k or fewer would be (Clopper and
// Pearson, 1934). Both are quantiles of beta distributions; at none and at all one end is 0 or 1,
// and the other one has all that is left out.
Interval shareOf(uint64_t like, uint64_t count, double confidence) {
  const auto k = static_cast<double>(like);
  const auto n = static_cast<double>(count);
  const double outside = 1 - confidence;
  if (count == 0) return {0, 1};
  if (like == 0) return {0, betaQuantile(1, n, 1 - outside)};
  if (like == count) return {betaQuantile(n, 1, outside), 1};
  return {betaQuantile(k, n - k + 1, outside / 2), betaQuantile(k + 1, n - k, 1 - outside / 2)};
}

bool Question::isAnswered(uint64_t bad, uint64_t count) const {
  const auto k = static_cast<double>(bad);
  // The evidence against "the share is p" is how much likelier k bad of n are by a mixture of
  // shares q than by p alone:
  //   integral of q^k (1 - q)^(n - k) Beta(q; a, b) dq, over p^k (1 - p)^(n - k)
  //   = B(a + k, b + n - k) / B(a, b) / (p^k (1 - p)^(n - k)),
  // here by logarithms. Where p is true, its mean is 1 behind each unit, so that the chance that
  // it ever comes to 1 / (1 - confidence) is 1 - confidence at most.
  const auto good = static_cast<double>(count - bad);
  // Of a mean as asked, and wide: half of the weight of one unit.
  const double a = 0.5;
  const double b = a * (1 - share) / share;
  const double evidence =
      logBeta(a + k, b + good) - logBeta(a, b) - k * std::log(share) - good * std::log1p(-share);
  return evidence >= -std::log(1 - confidence);
}

bool Question::isAtMost(uint64_t bad, uint64_t count) const {
  return static_cast<double>(bad) <= share * static_cast<double>(count);
}

QuestionText readQuestion(const std::string& text) {
  constexpr char kHint[] = "write 'share<=0.1%@95%', in quotes for the shell";
  const std::string begin = "share<=";
  const size_t at = text.find('@');
  if (text.rfind(begin, 0) != 0 || at == std::string::npos)
    return {std::nullopt, "is no question", kHint};
  const auto share = shareIn(text.substr(begin.size(), at - begin.size()));
  const auto confidence = shareIn(text.substr(at + 1));
  if (!isInside(share)) return {std::nullopt, "the share must lie between 0 and 100 %", kHint};
  if (!isInside(confidence) || *confidence < 0.5)
    return {std::nullopt, "how sure the answer is must lie from 50 to below 100 %", kHint};
  return {Question{*share, *confidence}};
}
