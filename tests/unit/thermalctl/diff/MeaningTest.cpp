#include "diff/Meaning.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

class MeaningTest : public testing::Test {
protected:
  // Of a section of an environment, by what it is and its name.
  static Facts factsOf(const std::string& block, const std::string& text) {
    Meaning meaning;
    addMeaning(meaning, readEnvironment("board.env", text));
    return meaning[{"", "", block}];
  }

  // The entries that a device of that kind has written.
  static std::vector<std::string> entries(const std::string& kind, const std::string& table) {
    Facts facts = factsOf("device d", "[d]\ntype " + kind + "\nlevel_table " + table + "\n");
    std::vector<std::string> texts;
    for (size_t i = 0; facts.count("level " + std::to_string(i)) > 0; ++i)
      texts.push_back(facts["level " + std::to_string(i)]);
    EXPECT_EQ(facts["levels"], std::to_string(texts.size()));
    return texts;
  }

  Meaning meaningOf(const std::string& text) {
    configuration = readConfiguration("day.conf", text, environment);
    Meaning meaning;
    addMeaning(meaning, configuration, "day");
    return meaning;
  }
  // Of the item [a] of "Default".
  Facts itemFacts(const std::string& text) { return meaningOf(text)[{"day", "Default", "a"}]; }

  Environment environment =
      readEnvironment("board.env", "[cpu]\ntype real\n\n[fan]\ntype charger\nlevel_table 0 1 2\n\n"
                                   "[lamp]\ntype backlight\nlevel_table 0 1\n");
  Configuration configuration;
};

using Entries = std::vector<std::string>;

TEST_F(MeaningTest, ATemperatureHasAsManyDigitsAsItTakes) {
  EXPECT_EQ(celsiusText(42000), "42.0 C");
  EXPECT_EQ(celsiusText(42500), "42.5 C");
  EXPECT_EQ(celsiusText(42050), "42.05 C");
  EXPECT_EQ(celsiusText(42125), "42.125 C");
  EXPECT_EQ(celsiusText(100000), "100.0 C");
  EXPECT_EQ(celsiusText(0), "0.0 C");
  EXPECT_EQ(celsiusText(-1), "-0.001 C");
  EXPECT_EQ(celsiusText(-500), "-0.5 C");
  EXPECT_EQ(celsiusText(-10000), "-10.0 C");
  EXPECT_EQ(celsiusText(int64_t{2147483647} * 1000), "2147483647.0 C");
}

TEST_F(MeaningTest, OfASensorItsNodeAndItsPeriodCount) {
  EXPECT_EQ(factsOf("sensor cpu", "[cpu]\ntype real\nsampling 250\nnode_path /cpu\n"),
            (Facts{{"kind", "real"}, {"node", "/cpu"}, {"sampling", "250 ms"}}));
  EXPECT_EQ(factsOf("sensor cpu", "[cpu]\ntype real\n"),
            (Facts{{"kind", "real"}, {"sampling", "1000 ms"}}));
  EXPECT_EQ(factsOf("sensor cpu", "[cpu]\ntype real\nsampling -1\n").at("sampling"),
            "4294967295 ms");
}

TEST_F(MeaningTest, ASectionThatTheDaemonNeverReadsMeansNothing) {
  Meaning meaning;
  addMeaning(meaning, readEnvironment("board.env", "[a]\ntype real\n\n[b]\ntype odd\n\nc\n\n"
                                                   "[d]\ntype real\n"));
  EXPECT_EQ(meaning.count({"", "", "sensor a"}), 1U);
  EXPECT_EQ(meaning.size(), 2U); // and the configuration's name
}

TEST_F(MeaningTest, TheConfigurationHasItsNameOrTheUsualOne) {
  EXPECT_EQ(factsOf("configuration", "").at("name"), "talmor-thermal_default.conf");
  EXPECT_EQ(factsOf("configuration", "[c]\ntype conf_file\nfile_name day.conf\n").at("name"),
            "day.conf");
}

TEST_F(MeaningTest, AnEntryIsWhatTheDaemonWritesOfIt) {
  EXPECT_EQ(entries("charger", "007 42mA x"), (Entries{"7", "42", "0"}));
  EXPECT_EQ(entries("charger", "0xFF 0x0a"), (Entries{"0xff", "0xa"}));
  EXPECT_EQ(entries("charger", "\"low power\" \"off\""), (Entries{"'low power'", "'off'"}));
  EXPECT_EQ(entries("charger", "0b1 0b10"), (Entries{"nothing", "nothing"}));
  EXPECT_EQ(entries("charger", "0 0x10 1"), (Entries{"0x0", "0x10", "0x0"}));
}

TEST_F(MeaningTest, AClocksEntriesAreNumbersWhateverTheyLookLike) {
  EXPECT_EQ(entries("cpufreq", "3000000 0x10"), (Entries{"3000000", "0"}));
}

TEST_F(MeaningTest, AReportHasNoLevels) {
  EXPECT_EQ(factsOf("device d", "[d]\ntype report\nlevel_table 1 2\n"),
            (Facts{{"kind", "report"}}));
}

constexpr char kSources[] = "[a]\ntype real\n\n[b]\ntype real\n\n";

TEST_F(MeaningTest, AVirtualSensorIsASumWithoutAnOrder) {
  const std::string rest = "set_point 40000\nset_point_clr -500\ntrip_sensor a\n";
  const Facts facts =
      factsOf("sensor v", kSources +
                              std::string("[v]\ntype virtual\nsensors a b\nweights 3 -2\n"
                                          "offsets 10 -4\n") +
                              rest);
  EXPECT_EQ(facts, factsOf("sensor v", kSources +
                                           std::string("[v]\ntype virtual\nsensors b a\n"
                                                       "weights -2 3\noffsets 6\n") +
                                           rest));
  EXPECT_EQ(facts.at("sources"), "-2*b 3*a");
  EXPECT_EQ(facts.at("sum of the weights"), "1");
  EXPECT_EQ(facts.at("offsets"), "6");
  EXPECT_EQ(facts.at("trip sensor"), "a");
  EXPECT_EQ(facts.at("set point"), "40.0 C");
  EXPECT_EQ(facts.at("clearing set point"), "-0.5 C");
}

TEST_F(MeaningTest, ASourceThatIsNotThereWeighsAndAddsNothing) {
  const Facts facts = factsOf("sensor v", kSources + std::string("[v]\ntype virtual\n"
                                                                 "sensors a c b\nweights 1 5\n"));
  EXPECT_EQ(facts.at("sources"), "1*a");
  EXPECT_EQ(facts.at("sum of the weights"), "6");
  EXPECT_EQ(facts.at("trip sensor"), "none");
}

TEST_F(MeaningTest, AVirtualSensorWithoutSourcesHasNone) {
  const Facts facts = factsOf("sensor v", "[v]\ntype virtual\n");
  EXPECT_EQ(facts.at("sources"), "none");
  EXPECT_EQ(facts.at("offsets"), "0");
}

TEST_F(MeaningTest, AMonitorIsItsLevels) {
  EXPECT_EQ(itemFacts("[a]\nalgo_type monitor\nsensor cpu\nsampling 500\nthresholds 40000 50500\n"
                      "thresholds_clr 38000 48000\nactions fan fan+lamp\naction_info 1 2+1\n"),
            (Facts{{"kind", "monitor"},
                   {"sensor", "cpu"},
                   {"sampling", "500 ms"},
                   {"lowactive", "false"},
                   {"level 1", "40.0 C"},
                   {"level 1 clearing", "38.0 C"},
                   {"level 1 fan", "1"},
                   {"level 2", "50.5 C"},
                   {"level 2 clearing", "48.0 C"},
                   {"level 2 fan", "2"},
                   {"level 2 lamp", "1"}}));
}

TEST_F(MeaningTest, TheOrderOfARowsDevicesMeansNothing) {
  const std::string head = "[a]\nalgo_type monitor\nsensor cpu\nthresholds 1\nthresholds_clr 0\n";
  EXPECT_EQ(itemFacts(head + "actions fan+lamp\naction_info 1+0\n"),
            itemFacts(head + "actions lamp+fan\naction_info 0+1\n"));
}

TEST_F(MeaningTest, OfADeviceNamedTwiceInARowTheLastCounts) {
  const Facts facts =
      itemFacts("[a]\nalgo_type monitor\nsensor cpu\nthresholds 1\nthresholds_clr 0\n"
                "actions fan+fan+lamp\naction_info 1+2\n");
  EXPECT_EQ(facts.at("level 1 fan"), "2");
  EXPECT_EQ(facts.at("level 1 lamp"), "no level");
}

TEST_F(MeaningTest, ALevelWithoutARowOrAClearingThresholdStandsAlone) {
  const Facts facts =
      itemFacts("[a]\nalgo_type monitor\nsensor cpu\nthresholds 1000 2000\nthresholds_clr 0\n"
                "actions fan\naction_info 1\n");
  EXPECT_EQ(facts.count("level 1 clearing"), 1U);
  EXPECT_EQ(facts.at("level 2"), "2.0 C");
  EXPECT_EQ(facts.count("level 2 clearing"), 0U);
  EXPECT_EQ(facts.count("level 2 fan"), 0U);
}

TEST_F(MeaningTest, AnSSItemIsItsNumbers) {
  const std::string item =
      "[a]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point -5000\nset_point_clr -4000\n";
  EXPECT_EQ(itemFacts(item + "start_level 1\ndevice_perf_floor 2\ntime_tick_trigger 3\n"
                             "lowactive true\n"),
            (Facts{{"kind", "ss"},
                   {"sensor", "cpu"},
                   {"sampling", "1000 ms"},
                   {"lowactive", "true"},
                   {"device", "fan"},
                   {"set point", "-5.0 C"},
                   {"clearing set point", "-4.0 C"},
                   {"start level", "1"},
                   {"floor", "2"},
                   {"time tick trigger", "3"}}));
  EXPECT_EQ(itemFacts(item).at("floor"), "none");
  EXPECT_EQ(itemFacts(item + "lowactive yes\n").at("lowactive"), "false");
  EXPECT_EQ(itemFacts(item + "time_tick_trigger -1\n").at("time tick trigger"), "4294967295");
}

TEST_F(MeaningTest, AnItemsTemperaturesAreInTheUnitOfItsSensor) {
  environment.sections[0].unit = 100;
  EXPECT_EQ(itemFacts("[a]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 425\n"
                      "set_point_clr 400\n")
                .at("set point"),
            "42.5 C");
}

TEST_F(MeaningTest, ItemsOfOneNameAreCountedWithinTheirScenario) {
  const std::string item =
      "[a]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 2000\nset_point_clr 1000\n\n";
  const Meaning meaning = meaningOf(item + item + "SCEN night\n" + item);
  EXPECT_EQ(meaning.count({"day", "Default", "a"}), 1U);
  EXPECT_EQ(meaning.count({"day", "Default", "a (2)"}), 1U);
  EXPECT_EQ(meaning.count({"day", "Default", "a (3)"}), 0U);
  EXPECT_EQ(meaning.count({"day", "night", "a"}), 1U);
  EXPECT_EQ(meaning.count({"day", "night", ""}), 1U);
}

TEST_F(MeaningTest, TellsWhereTheDaemonEndsAndWhatIsNeverInForce) {
  Meaning meaning = meaningOf("[a]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 2000\n\n"
                              "[b]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 2000\n"
                              "set_point_clr 1000\n");
  EXPECT_EQ((meaning[{"day", "", ""}].count("the daemon ends")), 1U);
  EXPECT_EQ((meaning[{"day", "Default", "a"}].count("in force")), 1U);
  EXPECT_EQ((meaning[{"day", "Default", "b"}].count("in force")), 1U);
}

} // namespace
