#include "check/output/Sentence.h"

#include <string_view>

std::string sentence(const std::string& text) {
  const bool ends =
      !text.empty() && std::string_view(".?!").find(text.back()) != std::string_view::npos;
  return ends ? text : text + ".";
}

std::string sentencesOf(const Finding& finding) {
  return sentence(finding.message) +
         (finding.hint.empty() ? "" : " Hint: " + sentence(finding.hint));
}
