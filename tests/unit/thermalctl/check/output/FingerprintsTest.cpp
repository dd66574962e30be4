#include "check/output/Fingerprints.h"

#include <set>

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

constexpr char kItem[] = "[a]\nalgo_type ss\nset_point 60\nset_point_clr 60\n\n";

// Those of findings of one rule in these lines of a configuration.
Lines fingerprintsAt(const std::string& text, const std::vector<int>& lines,
                     const std::string& file = "day.conf") {
  Inspection inspection;
  inspection.configurations.push_back(readConfiguration(file, text, inspection.environment));
  inspection.sources.emplace(file, Source(text));
  Fingerprints fingerprints(inspection);
  Lines all;
  for (const int line : lines) {
    Finding finding;
    finding.rule = "degrees";
    finding.file = file;
    finding.at.line = line;
    all.push_back(fingerprints.of(finding));
  }
  return all;
}

TEST(FingerprintsTest, AreSixteenDigitsThatStayTheSame) {
  EXPECT_EQ(fingerprintsAt(kItem, {3}), Lines{"6f3ccab5c62d14ce"});
}

TEST(FingerprintsTest, StayWhereLinesArePutInAbove) {
  const std::string other = "[z]\nalgo_type ss\nset_point 5\n\n";
  EXPECT_EQ(fingerprintsAt(kItem, {3, 4}), fingerprintsAt(other + kItem, {7, 8}));
}

TEST(FingerprintsTest, StayWhereTheValueChanges) {
  EXPECT_EQ(fingerprintsAt(kItem, {3}),
            fingerprintsAt("[a]\nalgo_type ss\n  set_point\t61\n", {3}));
}

TEST(FingerprintsTest, TellFindingsApart) {
  const std::string twice = kItem + ("SCEN game\n" + std::string(kItem)) + "[b]" + (kItem + 3);
  const Lines all = fingerprintsAt(twice, {3, 3, 4, 9, 14});
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
  EXPECT_NE(fingerprintsAt(kItem, {3}), fingerprintsAt(kItem, {3}, "night.conf"));
}

TEST(FingerprintsTest, HoldForAFileThatIsNotAtHand) {
  const Inspection inspection;
  EXPECT_EQ(Fingerprints(inspection).of(Finding()).size(), 16U);
}

} // namespace
