#include "check/output/Sentence.h"

#include <gtest/gtest.h>

namespace {

TEST(SentenceTest, EndsWithOneFullStop) {
  EXPECT_EQ(sentence("it ends"), "it ends.");
  EXPECT_EQ(sentence("it ends."), "it ends.");
  EXPECT_EQ(sentence("did it?"), "did it?");
  EXPECT_EQ(sentence(""), ".");
}

TEST(SentenceTest, JoinsMessageAndHint) {
  Finding finding;
  finding.message = "it ends";
  EXPECT_EQ(sentencesOf(finding), "it ends.");
  finding.hint = "did you mean 'x'?";
  EXPECT_EQ(sentencesOf(finding), "it ends. Hint: did you mean 'x'?");
}

} // namespace
