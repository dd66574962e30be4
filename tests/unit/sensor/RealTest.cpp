#include "sensor/Real.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sensor/Virtual.h"
#include "support/CountingThread.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"
#include "support/SysfsDir.h"

namespace {

using Lines = std::vector<std::string>;

// A node that can be read anew, and whose driver refuses what is behind the first two characters.
class CutShort : public std::streambuf {
protected:
  pos_type seekpos(pos_type position, std::ios_base::openmode) override {
    setg(content.data(), content.data(), content.data() + content.size());
    return position;
  }
  int_type underflow() override { throw std::runtime_error("refused"); }

private:
  std::string content = "12";
};

class RealTest : public ::testing::Test {
protected:
  SysfsDir sysfs;
};

TEST_F(RealTest, StartsSwitchedOffWithoutAThread) {
  const Real cpu("cpu", 500, sysfs.write("temp", "45000\n"));
  EXPECT_EQ(cpu.name, "cpu");
  EXPECT_EQ(cpu.sampling, 500u);
  EXPECT_EQ(cpu.nodePath, sysfs.node("temp"));
  EXPECT_EQ(cpu.thread, nullptr);
  EXPECT_FALSE(cpu.active);
  EXPECT_EQ(cpu.temperature, 0);
  EXPECT_EQ(cpu.scenario, "Default");
  EXPECT_EQ(cpu.oldScenario, "Default");
  EXPECT_TRUE(cpu.virtuals.empty());
  EXPECT_EQ(cpu.activeVirtuals, 0u);
}

TEST_F(RealTest, ReadsTheNumberAtTheStartOfItsNode) {
  const struct {
    std::string content;
    int32_t temperature;
    const char* why;
  } cases[] = {
      {"45000\n", 45000, "what the kernel writes"},
      {"45000", 45000, "no line end"},
      {"  \n\t45000\n", 45000, "leading white space"},
      {"45000 60000\n", 45000, "only the first word"},
      {"-5000\n", -5000, "frost"},
      {"+7\n", 7, "a sign"},
      {"0045\n", 45, "decimal, not octal"},
      {"0x10\n", 0, "no hexadecimal"},
      {"45.9\n", 45, "digits only"},
      {"12abc\n", 12, "leading digits"},
      {"letters\n", 0, "no digits"},
      {"- 5\n", 0, "a sign alone"},
      {"", 0, "an empty node"},
      {" \n", 0, "a blank node"},
      {"2147483647\n", INT32_MAX, "the highest"},
      {"-2147483648\n", INT32_MIN, "the lowest"},
      {"2147483648\n", INT32_MIN, "cut to 32 bits"},
      {"99999999999\n", 1215752191, "cut to 32 bits"},
      {"99999999999999999999\n", -1, "the highest long, cut to 32 bits"},
      {"-99999999999999999999\n", 0, "the lowest long, cut to 32 bits"},
      {std::string(1000, ' ') + "45000\n", 45000, "white space beyond any buffer"},
      {std::string(1000, '0') + "45000\n", 45000, "a number beyond any buffer"},
      {std::string("\0 45000\n", 8), 0, "a zero byte is a word"},
      {std::string("45\0"
                   "9\n",
                   5),
       45, "a zero byte ends the number"},
      {"\xA0"
       "45000\n",
       0, "no white space but that of ASCII"},
  };
  for (const auto& c : cases) {
    Real cpu("cpu", 1000, sysfs.write("temp", c.content));
    cpu.temperature = 77;
    cpu.updateTemp();
    EXPECT_EQ(cpu.temperature, c.temperature) << c.why;
  }
}

TEST_F(RealTest, RereadsItsNodeFromTheStartForEverySample) {
  Real cpu("cpu", 1000, sysfs.write("temp", "45000\n"));
  cpu.updateTemp();
  for (const char* content : {"101000\n", "9\n", "60000", "60001"}) {
    sysfs.write("temp", content);
    cpu.updateTemp();
    EXPECT_EQ(cpu.temperature, std::stoi(content));
  }
}

TEST_F(RealTest, ReportsANodeThatCannotBeOpenedAndReadsZeroFromIt) {
  RecordedLog log;
  Real cpu("cpu", 1000, sysfs.node("missing"));
  EXPECT_EQ(log.lines(), Lines{"[TalmorThermal] Can't open node: " + sysfs.node("missing") + "\n"});
  cpu.temperature = 45000;
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 0);
}

TEST_F(RealTest, ReportsAnEmptyNodePath) {
  RecordedLog log;
  const Real cpu("cpu", 1000, "");
  EXPECT_EQ(log.lines(), Lines{"[TalmorThermal] Can't open node: \n"});
}

TEST_F(RealTest, SaysNothingAboutANodeThatOpens) {
  RecordedLog log;
  const Real cpu("cpu", 1000, sysfs.write("temp", "45000\n"));
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(RealTest, NeverOpensItsNodeASecondTime) {
  Real cpu("cpu", 1000, sysfs.node("temp"));
  sysfs.write("temp", "45000\n");
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 0);
}

TEST_F(RealTest, GoesOnReadingANodeThatIsRemovedMeanwhile) {
  Real cpu("cpu", 1000, sysfs.write("temp", "45000\n"));
  ASSERT_EQ(::unlink(sysfs.node("temp").c_str()), 0);
  sysfs.write("temp", "60000\n");
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 45000);
}

TEST_F(RealTest, ReadsZeroForEverAfterOneFailedRead) {
  for (const char* nothing : {"", " \n\t"}) {
    Real cpu("cpu", 1000, sysfs.write("temp", "45000\n"));
    cpu.updateTemp();
    sysfs.write("temp", nothing);
    cpu.updateTemp();
    EXPECT_EQ(cpu.temperature, 0);
    sysfs.write("temp", "60000\n");
    cpu.updateTemp();
    EXPECT_EQ(cpu.temperature, 0);
  }
}

TEST_F(RealTest, ReadsOnAfterAWordThatTheEndOfTheNodeEnded) {
  Real cpu("cpu", 1000, sysfs.write("temp", "45000"));
  cpu.updateTemp();
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 45000);
  EXPECT_FALSE(cpu.node.fail());
}

TEST_F(RealTest, LeavesItsStreamFailedAfterARefusedRead) {
  Real cpu("cpu", 1000, sysfs.node(""));
  cpu.updateTemp();
  EXPECT_TRUE(cpu.node.fail());
}

TEST_F(RealTest, ReadsZeroForEverAfterAWordThatARefusalCutShort) {
  Real cpu("cpu", 500, sysfs.write("temp", "45000\n"));
  CutShort content;
  static_cast<std::istream&>(cpu.node).rdbuf(&content);
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 12) << "what came of it";
  EXPECT_TRUE(cpu.node.bad());
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 0);
}

TEST_F(RealTest, ReadsZeroFromADirectory) {
  Real cpu("cpu", 1000, sysfs.node(""));
  cpu.temperature = 45000;
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 0);
}

TEST_F(RealTest, ReadsZeroFromANodeThatCannotSeek) {
  ASSERT_EQ(::mkfifo(sysfs.node("temp").c_str(), 0600), 0);
  const int writer = ::open(sysfs.node("temp").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::write(writer, "45000\n", 6), 6);
  Real cpu("cpu", 1000, sysfs.node("temp"));
  cpu.updateTemp();
  EXPECT_EQ(cpu.temperature, 0);
  ::close(writer);
}

TEST_F(RealTest, LogsEverySampleWithTheScenarioInForce) {
  Real cpu("cpu", 1000, sysfs.write("temp", "45000\n"));
  RecordedLog log;
  cpu.updateTemp();
  sysfs.write("temp", "-7000\n");
  cpu.changeScenario("game");
  cpu.updateTemp();
  EXPECT_EQ(log.lines(), (Lines{"[TalmorThermal] Sensor [cpu], Scen [Default] temp(45000)\n",
                                "[TalmorThermal] Sensor [cpu], Scen [game] temp(-7000)\n"}));
}

TEST_F(RealTest, LogsTheZeroOfAMissingNode) {
  Real cpu("cpu", 1000, sysfs.node("missing"));
  RecordedLog log;
  cpu.updateTemp();
  EXPECT_EQ(log.lines(), Lines{"[TalmorThermal] Sensor [cpu], Scen [Default] temp(0)\n"});
}

TEST_F(RealTest, WritesNoLineWithLoggingOff) {
  const LogSwitchedOff off;
  RecordedLog log;
  Real cpu("cpu", 1000, sysfs.node("missing"));
  cpu.updateTemp();
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(RealTest, WakesNothingByASampleAlone) {
  Real cpu("cpu", 1000, sysfs.write("temp", "45000\n"));
  cpu.updateTemp();
  EXPECT_TRUE(cpu.algorithms.empty());
}

// A real sensor that trips virtual ones: `skin` switched on above 40000 and off below 35000, and
// `far`, which stays off unless a test says otherwise, so that not all of them are on.
class TripSensorTest : public RealTest {
protected:
  Virtual makeVirtual(const std::string& name, CountingThread* thread, int32_t setPoint,
                      int32_t setPointClr) {
    return {name, 1000, thread, setPoint, setPointClr, {}, 0, {}, {}};
  }
  void tripAt(int32_t temperature) {
    cpu.temperature = temperature;
    cpu.updateVirtualSensors();
  }

  Real cpu{"cpu", 1000, "/dev/null"};
  CountingThread skinThread;
  CountingThread farThread;
  Virtual skin{"skin", 1000, &skinThread, 40000, 35000, {}, 0, {}, {}};
  Virtual far{"far", 1000, &farThread, INT32_MAX, INT32_MIN, {}, 0, {}, {}};
};

TEST_F(TripSensorTest, KeepsItsVirtualSensorsInTheOrderGivenAndEachAsOftenAsGiven) {
  cpu.insertVirtualSensor(&skin);
  cpu.insertVirtualSensor(&far);
  cpu.insertVirtualSensor(&skin);
  EXPECT_EQ(cpu.virtuals, (std::vector<Virtual*>{&skin, &far, &skin}));
  EXPECT_EQ(cpu.activeVirtuals, 0u);
}

TEST_F(TripSensorTest, DoesNothingWithoutVirtualSensors) {
  tripAt(INT32_MAX);
  EXPECT_EQ(cpu.activeVirtuals, 0u);
}

TEST_F(TripSensorTest, SwitchesAVirtualSensorOnOnlyAboveItsSetPoint) {
  const struct {
    int32_t setPoint, trip;
    bool on;
    const char* why;
  } cases[] = {
      {40000, 39999, false, "one below"},
      {40000, 40000, false, "equal is not above"},
      {40000, 40001, true, "one above"},
      {-5000, -5000, false, "equal, in the frost"},
      {-5000, -4999, true, "compared as it stands, whatever the sign"},
      {INT32_MAX, INT32_MAX, false, "nothing is above the highest"},
      {INT32_MIN, INT32_MIN + 1, true, "just above the lowest"},
  };
  for (const auto& c : cases) {
    Real trip("cpu", 1000, "/dev/null");
    CountingThread thread;
    Virtual sensor("skin", 1000, &thread, c.setPoint, 0, {}, 0, {}, {});
    trip.insertVirtualSensor(&sensor);
    trip.temperature = c.trip;
    trip.updateVirtualSensors();
    EXPECT_EQ(sensor.active, c.on) << c.why;
    EXPECT_EQ(thread.activations, c.on ? 1 : 0) << c.why;
    EXPECT_EQ(trip.activeVirtuals, c.on ? 1u : 0u) << c.why;
  }
}

TEST_F(TripSensorTest, SwitchesAVirtualSensorOffOnlyBelowItsClearingSetPoint) {
  const struct {
    int32_t trip;
    bool on;
    const char* why;
  } cases[] = {
      {35001, true, "one above"},
      {35000, true, "equal is not below"},
      {34999, false, "one below"},
      {-35000, false, "far below"},
  };
  for (const auto& c : cases) {
    Real trip("cpu", 1000, "/dev/null");
    CountingThread thread;
    Virtual sensor("skin", 1000, &thread, 40000, 35000, {}, 0, {}, {});
    trip.insertVirtualSensor(&sensor);
    trip.insertVirtualSensor(&far);
    trip.temperature = 40001;
    trip.updateVirtualSensors();
    trip.temperature = c.trip;
    trip.updateVirtualSensors();
    EXPECT_EQ(sensor.active, c.on) << c.why;
    EXPECT_EQ(thread.deactivations, c.on ? 0 : 1) << c.why;
    EXPECT_EQ(trip.activeVirtuals, c.on ? 1u : 0u) << c.why;
  }
}

TEST_F(TripSensorTest, LeavesAVirtualSensorAsItIsBetweenItsTwoSetPoints) {
  cpu.insertVirtualSensor(&skin);
  cpu.insertVirtualSensor(&far);
  tripAt(38000);
  EXPECT_FALSE(skin.active);
  tripAt(41000);
  tripAt(38000);
  EXPECT_TRUE(skin.active);
  tripAt(42000);
  EXPECT_EQ(skinThread.activations, 1);
}

TEST_F(TripSensorTest, SwitchesNoneOffOnceAllAreOn) {
  Virtual hot = makeVirtual("hot", &farThread, 50000, 45000);
  cpu.insertVirtualSensor(&skin);
  cpu.insertVirtualSensor(&hot);
  tripAt(50001);
  EXPECT_EQ(cpu.activeVirtuals, 2u);
  tripAt(0);
  EXPECT_TRUE(skin.active);
  EXPECT_TRUE(hot.active);
  EXPECT_EQ(cpu.activeVirtuals, 2u);
  EXPECT_EQ(skinThread.deactivations + farThread.deactivations, 0);
}

TEST_F(TripSensorTest, NeverSwitchesItsOnlyVirtualSensorOff) {
  cpu.insertVirtualSensor(&skin);
  tripAt(40001);
  tripAt(0);
  EXPECT_TRUE(skin.active);
}

TEST_F(TripSensorTest, SwitchesOneOnAndAnotherOffInOnePass) {
  Virtual frost = makeVirtual("frost", &farThread, 50000, 45000);
  cpu.insertVirtualSensor(&skin);
  cpu.insertVirtualSensor(&frost);
  tripAt(41000);
  ASSERT_TRUE(skin.active);
  skin.setPointClr = 60000;
  tripAt(51000);
  EXPECT_FALSE(skin.active);
  EXPECT_TRUE(frost.active);
  EXPECT_EQ(cpu.activeVirtuals, 1u);
}

TEST_F(TripSensorTest, SwitchesAVirtualSensorOnAgainAfterItWasOff) {
  cpu.insertVirtualSensor(&skin);
  cpu.insertVirtualSensor(&far);
  tripAt(40001);
  skin.temperature = 38500;
  tripAt(34999);
  EXPECT_EQ(skin.temperature, 38500) << "it keeps its last temperature while it is off";
  tripAt(40001);
  EXPECT_TRUE(skin.active);
  EXPECT_EQ(skinThread.activations, 2);
  EXPECT_EQ(skinThread.deactivations, 1);
  EXPECT_EQ(cpu.activeVirtuals, 1u);
}

TEST_F(TripSensorTest, SwitchesWithoutALogLine) {
  cpu.insertVirtualSensor(&skin);
  cpu.insertVirtualSensor(&far);
  RecordedLog log;
  tripAt(40001);
  tripAt(0);
  EXPECT_EQ(log.lines(), Lines{});
}

} // namespace
