#include "command/CommandLine.h"

#include <gtest/gtest.h>

#include "thermalctl/command/CommandBoard.h"

namespace {

struct Options {
  std::string word = "usual";
  std::optional<std::string> root;
  std::vector<std::string> files;
  std::vector<std::string> limits;
  double seconds = 10;
  uint64_t seed = 1;
  bool loud = false;
};

// What the command was run with, and how it ends.
Options given;
ExitStatus ending = kFine;

void addOptions(CommandLine& line, Options& options) {
  line.option("FILE", &options.files, "Files").takes("FILE");
  line.option("--word", &options.word, "A word").isOneOf({"usual", "other"}).showsDefault();
  line.option("--root", &options.root, "A folder").takes("[ROOT]").mayStandAlone("/");
  line.option("--limit", &options.limits, "Limits").takes("LIMIT").takesAll();
  line.option("--timeout", &options.seconds, "A time").isWithin(0.5, 20).showsAs("SECONDS=10");
  line.option("--seed", &options.seed, "A number").isWithin(1, 9).isRequired();
  line.flag("--loud", &options.loud, "Loudly");
}

ExitStatus keep(const Options& options) {
  given = options;
  if (options.word == "other") throw UsageError("--word: not with these files");
  return ending;
}

EndedCommand run(const std::vector<std::string>& words) {
  given = {};
  return endOf({commandOf("try", "Try it", "Examples: none", addOptions, keep)}, words);
}

TEST(CommandLineTest, LeavesTheDefaultsOfWhatIsNotGiven) {
  EXPECT_EQ(run({"try", "--seed", "7"}).status, kFine);
  EXPECT_EQ(given.word, "usual");
  EXPECT_EQ(given.root, std::nullopt);
  EXPECT_TRUE(given.files.empty());
  EXPECT_EQ(given.seconds, 10);
  EXPECT_EQ(given.seed, 7U);
  EXPECT_FALSE(given.loud);
}

TEST(CommandLineTest, TakesWhatIsGiven) {
  EXPECT_EQ(run({"try", "--seed=7", "a", "b", "--limit", "x", "y", "--limit", "z", "--root", "/mnt",
                 "--timeout", "0.5", "--loud"})
                .status,
            kFine);
  EXPECT_EQ(given.files, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(given.limits, (std::vector<std::string>{"x", "y", "z"}));
  EXPECT_EQ(given.root, "/mnt");
  EXPECT_EQ(given.seconds, 0.5);
  EXPECT_TRUE(given.loud);
}

TEST(CommandLineTest, GivesAnOptionThatStandsAloneItsValue) {
  run({"try", "--seed=7", "--root"});
  EXPECT_EQ(given.root, "/");
}

TEST(CommandLineTest, EndsAsTheCommandDoes) {
  ending = kProblems;
  EXPECT_EQ(run({"try", "--seed=7"}).status, kProblems);
  ending = kFine;
}

TEST(CommandLineTest, ComplainsOfAWrongCommandLineAndRunsNothing) {
  const std::vector<std::string> wrong[] = {{},
                                            {"tyr"},
                                            {"try"},
                                            {"try", "--seed=x"},
                                            {"try", "--seed=7", "--nothing"},
                                            {"try", "--seed=7", "--word", "third"},
                                            {"try", "--seed=7", "--timeout", "0.4"},
                                            {"try", "--seed=7", "--timeout", "20.1"}};
  for (const std::vector<std::string>& words : wrong) {
    const EndedCommand ended = run(words);
    EXPECT_EQ(ended.status, kCouldNotRun);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.err.find("thermalctl: "), 0U) << ended.err;
    EXPECT_EQ(given.seed, Options().seed);
  }
}

TEST(CommandLineTest, AsksWhetherAWordThatIsNearlyRightWasMeant) {
  const struct {
    std::vector<std::string> words;
    const char* complaint;
  } cases[] = {
      {{"tyr"}, "there is no command 'tyr'; did you mean 'try'?"},
      {{"quite-another"}, "there is no command 'quite-another'; there is try"},
      {{"--versoin"}, "there is no option '--versoin'; did you mean '--version'?"},
      {{"try", "--seed=7", "--luod"}, "there is no option '--luod'; did you mean '--loud'?"},
      // And not that the one that was meant is missing.
      {{"try", "--sead=7"}, "there is no option '--sead'; did you mean '--seed'?"},
      {{"try", "--seed=7", "--nothing"}, "there is no option '--nothing'"},
      {{"try", "--seed=7", "-x"}, "there is no option '-x'"},
      {{"try", "--seed=7", "--word", "usaul"},
       "--word: 'usaul' is none of usual and other; did you mean 'usual'?"},
      {{"try", "--seed=7", "--word", "third"}, "--word: 'third' is none of usual and other"},
      {{"try"}, "--seed is required; write --seed UINT"},
      {{}, "no command is given; there is try"},
      {{"try", "--seed"}, "--seed lacks its value; write --seed UINT"},
      {{"try", "--seed=7", "--word"}, "--word lacks its value; write --word {usual,other}"},
      {{"try", "--seed=7", "--seed=8"},
       "--seed is given 2 times, and can be once; leave all but one out"},
      {{"try", "--seed=7", "--loud=loudly"}, "--loud takes no value"},
      {{"try", "--seed=x"}, "--seed: 'x' is no whole number from 1 to 9"},
      {{"try", "--seed=010"}, "--seed: '010' is no whole number from 1 to 9"},
      {{"try", "--seed=0x1"}, "--seed: '0x1' is no whole number from 1 to 9"},
      {{"try", "--seed=1.5"}, "--seed: '1.5' is no whole number from 1 to 9"},
      {{"try", "--seed=10"}, "--seed: '10' is no whole number from 1 to 9"},
      {{"try", "--seed=7", "--timeout=nan"}, "--timeout: 'nan' is no number from 0.5 to 20"},
      {{"try", "--seed=7", "--timeout=1e999"}, "--timeout: '1e999' is no number from 0.5 to 20"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(run(c.words).err, std::string("thermalctl: ") + c.complaint +
                                    "\nRun with --help for more information.\n");
}

TEST(CommandLineTest, ShowsWhatCannotBeSeenInTheUsersWord) {
  EXPECT_NE(run({"\x1B[2J"}).err.find("'\xE2\x90\x9B[2J'"), std::string::npos);
}

TEST(CommandLineTest, ComplainsOfWhatOnlyTheCommandCanTell) {
  const EndedCommand ended = run({"try", "--seed=7", "--word", "other"});
  EXPECT_EQ(ended.status, kCouldNotRun);
  EXPECT_EQ(ended.err, "thermalctl: --word: not with these files\n"
                       "Run with --help for more information.\n");
}

TEST(CommandLineTest, HelpTellsEveryOption) {
  const EndedCommand help = run({"try", "--help"});
  EXPECT_EQ(help.status, kFine);
  for (const char* entry :
       {"  FILE FILE ...  ", "  --word TEXT:{usual,other}=usual\n", "  --root [ROOT]=/  ",
        "  --limit LIMIT ...  ", "  --timeout SECONDS=10  ", "  --seed UINT REQUIRED  ",
        "  --loud  ", "\nExamples: none\n"})
    EXPECT_NE(help.out.find(entry), std::string::npos) << entry << help.out;
}

TEST(CommandLineTest, AWordThatNoOptionTakesIsToldWithWhatTheCommandTakes) {
  const auto complaintOf = [](const char* name, void (*addOptionsOf)(CommandLine&, Options&)) {
    return endOf({commandOf(name, "Try it", "", addOptionsOf, keep)}, {name, "one", "two"}).err;
  };
  EXPECT_EQ(complaintOf("bare",
                        [](CommandLine& line, Options& options) {
                          line.flag("--loud", &options.loud, "Loudly");
                          line.option("--word", &options.word, "A word").takes("WORD");
                        }),
            CommandBoard::wrong("there is no place for 'one'; bare takes no word without its "
                                "option, such as --word WORD"));
  EXPECT_EQ(complaintOf("single",
                        [](CommandLine& line, Options& options) {
                          line.option("NAME", &options.word, "A word").takes("");
                        }),
            CommandBoard::wrong("there is no place for 'two'; single takes NAME alone"));
}

TEST(CommandLineTest, AMissingArgumentIsToldWithTheWholeCommand) {
  void (*const addName)(CommandLine&, Options&) = [](CommandLine& line, Options& options) {
    line.option("NAME", &options.word, "A word").takes("").isRequired();
  };
  EXPECT_EQ(endOf({commandOf("need", "Try it", "", addName, keep)}, {"need"}).err,
            CommandBoard::wrong("NAME is required; write thermalctl need NAME"));
}

TEST(CommandLineTest, OfSeveralCommandsAllAreNamed) {
  const auto named = [](const char* name) {
    return commandOf(name, "Try it", "", addOptions, keep);
  };
  const std::vector<Command> commands = {named("check"), named("scenario"), named("reload")};
  EXPECT_EQ(endOf(commands, {}).err,
            CommandBoard::wrong("no command is given; there are check, scenario and reload"));
  EXPECT_EQ(endOf(commands, {"quite-another"}).err,
            CommandBoard::wrong("there is no command 'quite-another'; there are check, scenario "
                                "and reload"));
  EXPECT_EQ(endOf(commands, {"relaod"}).err,
            CommandBoard::wrong("there is no command 'relaod'; did you mean 'reload'?"));
}

TEST(CommandLineTest, OnlyTheCommandThatIsNamedMakesItsOptions) {
  static int made;
  made = 0;
  void (*const counted)(CommandLine&, Options&) = [](CommandLine& line, Options& options) {
    ++made;
    addOptions(line, options);
  };
  const std::vector<Command> commands = {commandOf("one", "Try it", "", counted, keep),
                                         commandOf("other", "Try it", "", counted, keep)};
  EXPECT_EQ(endOf(commands, {"other", "--seed=7"}).status, kFine);
  EXPECT_EQ(made, 1);
  EXPECT_EQ(endOf(commands, {"--version"}).status, kFine);
  EXPECT_EQ(made, 1);
}

TEST(CommandLineTest, TheBoundsOfANumberBelongToIt) {
  for (const char* word : {"--timeout=0.5", "--timeout=20"})
    EXPECT_EQ(run({"try", "--seed=7", word}).status, kFine) << word;
  for (const char* word : {"--seed=1", "--seed=9"})
    EXPECT_EQ(run({"try", word}).status, kFine) << word;
  EXPECT_EQ(run({"try", "--seed=0"}).err,
            CommandBoard::wrong("--seed: '0' is no whole number from 1 to 9"));
}

TEST(CommandLineTest, TheVersionIsOneLineAndNoCommandRuns) {
  const EndedCommand version = run({"--version"});
  EXPECT_EQ(version.status, kFine);
  EXPECT_EQ(version.out.rfind("thermalctl ", 0), 0U) << version.out;
  EXPECT_EQ(version.out.find('\n'), version.out.size() - 1) << version.out;
  EXPECT_EQ(version.err, "");
  EXPECT_EQ(given.seed, Options().seed);
}

} // namespace
