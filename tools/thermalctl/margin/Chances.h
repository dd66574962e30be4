#pragma once

#include <cstdint>
#include <optional>
#include <string>

// From one end to the other.
struct Interval {
  double low = 0;
  double high = 0;
};

// What share of all units is like these, as far as `count` of them tell (Clopper and Pearson).
//
// Shape: of none or all of them only one side is known, and has all of what the interval leaves out:
//        0 of 10,000 are at most 0.030 % at 95 %.
// Units: shares of 1.
Interval shareOf(uint64_t like, uint64_t count, double confidence);

// Whether no more than a share of the units is bad, as sure as `confidence`.
//
// Units:  shares of 1.
// Source: `--until`.
struct Question {
  double share = 0;
  double confidence = 0;

  // Whether so many units settle it. It may be asked behind each of them: however often, a wrong
  // answer is no likelier than 1 - `confidence`, since the evidence is a martingale (Ville) and its
  // alternative a mixture of all shares (Robbins: Statistical methods related to the law of the
  // iterated logarithm, 1970).
  bool isAnswered(uint64_t bad, uint64_t count) const;
  // Once it is: no more than that share is.
  bool isAtMost(uint64_t bad, uint64_t count) const;
};

// What a text makes of it: the question, or what is wrong.
struct QuestionText {
  std::optional<Question> question;
  std::string wrong{};
  std::string hint{};
};

// Takes "share<=0.1%@95%".
QuestionText readQuestion(const std::string& text);
