#include "simulate/InputKind.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

std::string told(const std::string& text, InputKind named) {
  Problems problems;
  std::ostringstream out;
  const bool foreign = tellIfForeign(text, "f", named, problems);
  EXPECT_EQ(foreign, !problems.none());
  problems.print(out);
  return out.str().substr(0, out.str().find('\n'));
}

constexpr InputKind kKinds[] = {InputKind::kEnvironment, InputKind::kConfiguration,
                                InputKind::kPlant, InputKind::kWorkload};

TEST(InputKindTest, KnowsWhatItWasNamedAs) {
  const std::string texts[] = {
      "[cpu]\ntype real\nsampling 100\n", "SCEN Default\n[hot]\nalgo_type monitor\n",
      "# heat\nambient = 25\n[node.die]\njoules_per_kelvin = 1\n", "# a remark\ntime,gpu\n0,1\n"};
  const std::string wrong[] = {"--env", "--conf", "--plant", "--workload"};
  for (size_t is = 0; is < 4; ++is) {
    for (size_t named = 0; named < 4; ++named) {
      const std::string text = told(texts[is], kKinds[named]);
      // The check tells of the board's own two.
      if (is == named || (is < 2 && named < 2))
        EXPECT_EQ(text, "") << wrong[named];
      else
        EXPECT_NE(text.find("; did you swap " + wrong[is] + " and " + wrong[named] + "?"),
                  std::string::npos)
            << text;
    }
  }
  EXPECT_EQ(told("[[at]]\ntime = 0\n", InputKind::kWorkload), "");
  EXPECT_EQ(told("  [[at]]\ntime = 0\n", InputKind::kPlant),
            "f:1:3: error: this is a workload; did you swap --workload and --plant?");
}

TEST(InputKindTest, KnowsATextThatWasSavedInAnotherWay) {
  for (const InputKind named : {InputKind::kPlant, InputKind::kWorkload}) {
    EXPECT_EQ(told("\xEF\xBB\xBFtime,gpu\n", named),
              "f:1:1: error: the file begins with U+FEFF, a byte order mark");
    EXPECT_EQ(told(std::string("\xFF\xFEt\0i\0m\0e\0", 10), named),
              "f:1:1: error: this is UTF-16, with two bytes for each character");
    EXPECT_EQ(told("a\rb\rc\rd\r", named),
              "f:1:2: error: the lines end with carriage returns alone");
    EXPECT_EQ(told(std::string("\x7F"
                               "ELF\0\1\2\3",
                               8),
                   named),
              "f:1:1: error: this is a binary file and no text");
    EXPECT_EQ(told(" \n", named), "f:1:1: error: the file is empty");
    EXPECT_EQ(told("run,time_ms,event,name,value,detail\na,0,end,,,\n", named),
              "f:1:1: error: this is the trace of a run; thermalctl plot shows it");
  }
}

TEST(InputKindTest, KnowsTheExportOfASpreadsheet) {
  EXPECT_EQ(told("# export\ntime;gpu\n0;0,5\n", InputKind::kWorkload),
            "f:2:5: error: the cells are separated by semicolons");
  EXPECT_EQ(told("time\tgpu\n0\t0,5\n", InputKind::kWorkload),
            "f:1:5: error: the cells are separated by tabs");
}

} // namespace
