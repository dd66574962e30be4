#include "integrate/IntegrationFiles.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "board/Environment.h"

namespace {

std::vector<IntegrationFile> filesOf(const std::string& text, const std::string& blueprint = "") {
  const Environment environment = readEnvironment("board.env", text);
  return integrationFiles(nodesOf(environment).nodes, text, blueprint);
}

std::string content(const std::vector<IntegrationFile>& files, const std::string& name) {
  for (const IntegrationFile& file : files)
    if (file.name == name) return file.content;
  return "no " + name;
}

bool has(const std::string& text, const std::string& line) {
  return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

std::string knob(const std::string& kind, const std::string& path, const std::string& table) {
  return "[knob]\ntype " + kind + "\nnode_path " + path + "\nlevel_table " + table + "\n\n";
}

const std::string kSensor = "[cpu]\ntype real\nnode_path /sys/devices/a/temp\n\n";

} // namespace

TEST(IntegrationFilesTest, LabelsWhatIsReadAndWhatIsWrittenInSys) {
  const auto files = filesOf(kSensor + knob("gpufreq", "/sys/devices/a.b/max", "8 7"));
  const std::string labels = content(files, "sepolicy/genfs_contexts");
  EXPECT_TRUE(
      has(labels, "genfscon sysfs /devices/a/temp u:object_r:sysfs_talmor_thermal_sensor:s0"));
  EXPECT_TRUE(
      has(labels, "genfscon sysfs /devices/a.b/max u:object_r:sysfs_talmor_thermal_device:s0"));
}

TEST(IntegrationFilesTest, LabelsNodesOfDevByAnExpressionAndGivesThemToTheDaemonsUser) {
  const auto files =
      filesOf("[t]\ntype real\nnode_path /dev/temp.0\n\n" + knob("charger", "/dev/fan", "8 7"));
  const std::string labels = content(files, "sepolicy/file_contexts");
  EXPECT_TRUE(has(labels, "/dev/temp\\.0 u:object_r:talmor_thermal_sensor_device:s0"));
  EXPECT_TRUE(has(labels, "/dev/fan u:object_r:talmor_thermal_device:s0"));
  const std::string lines = content(files, "talmor-thermal-ueventd.rc");
  EXPECT_TRUE(has(lines, "/dev/temp.0 0440 system system"));
  EXPECT_TRUE(has(lines, "/dev/fan 0660 system system"));
  const std::string init = content(files, "talmor-thermal-board.rc");
  EXPECT_EQ(init.find("chown"), std::string::npos);
  EXPECT_TRUE(has(init, "    write /dev/fan 8"));
}

TEST(IntegrationFilesTest, SetsOwnersAndModesAtBoot) {
  const std::string init = content(filesOf(kSensor + knob("gpufreq", "/sys/devices/max", "8 7")),
                                   "talmor-thermal-board.rc");
  EXPECT_TRUE(has(init, "    chmod 0444 /sys/devices/a/temp"));
  EXPECT_TRUE(
      has(init, "    chown system system /sys/devices/max\n    chmod 0644 /sys/devices/max"));
  EXPECT_EQ(init.find("chown system system /sys/devices/a/temp"), std::string::npos);
}

TEST(IntegrationFilesTest, ResetsTextByWriteAtBootAndAtRestart) {
  const std::string init =
      content(filesOf(knob("gpufreq", "/sys/devices/max", "8 7")), "talmor-thermal-board.rc");
  EXPECT_TRUE(has(init, "    write /sys/devices/max 8"));
  EXPECT_TRUE(has(init, "    onrestart write /sys/devices/max 8"));
}

TEST(IntegrationFilesTest, ResetsBytesByACopyOfAFileThatTheBlueprintInstalls) {
  const auto files = filesOf(knob("cpufreq", "/sys/devices/max", "258 7"));
  EXPECT_EQ(content(files, "talmor-thermal-knob.level0"), std::string("\2\1\0\0", 4));
  const std::string init = content(files, "talmor-thermal-board.rc");
  const std::string copy = "copy /vendor/etc/talmor-thermal-knob.level0 /sys/devices/max";
  EXPECT_TRUE(has(init, "    " + copy));
  EXPECT_TRUE(has(init, "    onrestart " + copy));
  EXPECT_TRUE(has(content(files, "Android.bp"), "    src: \"talmor-thermal-knob.level0\","));
}

TEST(IntegrationFilesTest, WritesTextsThatInitWouldTakeApartAsOneWord) {
  const auto reset = [](const std::string& table) {
    const std::string init =
        content(filesOf(knob("gpufreq", "/sys/a", table)), "talmor-thermal-board.rc");
    const size_t start = init.find("    write ") + 4;
    return init.substr(start, init.find('\n', start) - start);
  };
  EXPECT_EQ(reset("\"no limit\""), "write /sys/a \"no limit\"");
  EXPECT_EQ(reset("\"#1\""), "write /sys/a \"#1\"");
  EXPECT_EQ(reset("\"5$\""), "write /sys/a 5$$");
}

TEST(IntegrationFilesTest, LeavesAFileOfTheDaemonsOwnToTheDaemon) {
  const auto files = filesOf("[log]\ntype report\nnode_path /data/vendor/thermal/log\n\n" +
                             knob("gpufreq", "/data/vendor/thermal/max", "8 7"));
  for (const char* name :
       {"sepolicy/file_contexts", "sepolicy/genfs_contexts", "talmor-thermal-board.rc"})
    EXPECT_EQ(content(files, name).find("/data/vendor"), std::string::npos) << name;
}

TEST(IntegrationFilesTest, KeepsWhatTheBlueprintSaysOfLicenses) {
  const std::string package = "package {\n    default_applicable_licenses: [\"mine\"],\n}\n";
  const std::string license = "license {\n    name: \"mine\",\n}\n";
  const std::string before =
      "// Mine.\n" + package + "\nphony {\n    name: \"other\",\n}\n" + license + "package {\n";
  const std::string after = content(filesOf(kSensor, before), "Android.bp");
  EXPECT_TRUE(has(after, "soong_namespace {\n}\n\n" + package + "\n" + license));
  EXPECT_EQ(after.find("\"other\""), std::string::npos);
  EXPECT_EQ(content(filesOf(kSensor, after), "Android.bp"), after);
}

TEST(IntegrationFilesTest, TakesTheEnvironmentAlongByteForByte) {
  EXPECT_EQ(content(filesOf(kSensor), "talmor-thermal.env"), kSensor);
}

TEST(IntegrationFilesTest, InitKnowsTheServiceAndWhatComesBeforeAndBehindIt) {
  const std::string init = content(filesOf(kSensor + knob("gpufreq", "/sys/devices/max", "8 7")),
                                   "talmor-thermal-board.rc");
  EXPECT_EQ(init,
            "# Made by \"thermalctl integrate\" of the board's environment file. Change that one, "
            "and make\n"
            "# this one anew.\n"
            "\n"
            "# Before the daemon starts: its nodes are readable, or its user's, and at level 0.\n"
            "on boot\n"
            "    chmod 0444 /sys/devices/a/temp\n"
            "    chown system system /sys/devices/max\n"
            "    chmod 0644 /sys/devices/max\n"
            "    write /sys/devices/max 8\n"
            "\n"
            "# After the end of a run, too, the nodes are at level 0, as the next one takes them "
            "to be.\n"
            "service vendor.talmor-thermal /vendor/bin/talmor-thermal\n"
            "    class late_start\n"
            "    user system\n"
            "    group system\n"
            "    capabilities\n"
            "    oom_score_adjust -1000\n"
            "    restart_period 120\n"
            "    task_profiles ServiceCapacityLow\n"
            "    onrestart write /sys/devices/max 8\n");
}

TEST(IntegrationFilesTest, TheBlueprintInstallsEachFileInTheOrderOfTheirNames) {
  EXPECT_EQ(content(filesOf(knob("cpufreq", "/sys/devices/max", "258 7")), "Android.bp"),
            "// Made by \"thermalctl integrate\" of the board's environment file. Change that one, "
            "and make\n"
            "// this one anew.\n"
            "\n"
            "// Another board in the tree may have modules of the same names.\n"
            "soong_namespace {\n}\n\n"
            "phony {\n"
            "    name: \"talmor-thermal-board\",\n"
            "    required: [\n"
            "        \"talmor-thermal\",\n"
            "        \"talmor-thermal-board.rc\",\n"
            "        \"talmor-thermal-knob.level0\",\n"
            "        \"talmor-thermal-ueventd.rc\",\n"
            "        \"talmor-thermal.conf\",\n"
            "        \"talmor-thermal.env\",\n"
            "    ],\n}\n"
            "\nprebuilt_etc {\n    name: \"talmor-thermal-board.rc\",\n    vendor: true,\n"
            "    src: \"talmor-thermal-board.rc\",\n    sub_dir: \"init\",\n}\n"
            "\nprebuilt_etc {\n    name: \"talmor-thermal-knob.level0\",\n    vendor: true,\n"
            "    src: \"talmor-thermal-knob.level0\",\n}\n"
            "\nprebuilt_etc {\n    name: \"talmor-thermal-ueventd.rc\",\n    vendor: true,\n"
            "    src: \"talmor-thermal-ueventd.rc\",\n}\n"
            "\nprebuilt_etc {\n    name: \"talmor-thermal.conf\",\n    vendor: true,\n"
            "    src: \"talmor-thermal.conf\",\n}\n"
            "\nprebuilt_etc {\n    name: \"talmor-thermal.env\",\n    vendor: true,\n"
            "    src: \"talmor-thermal.env\",\n}\n");
}

TEST(IntegrationFilesTest, SaysWhatAReaderTakesForARemark) {
  for (const IntegrationFile& file : filesOf(knob("cpufreq", "/sys/devices/max", "258 7"))) {
    const std::string remark = file.remark ? file.remark : "none";
    const bool isExact =
        file.name == "talmor-thermal.env" || file.name.find(".level0") != std::string::npos;
    EXPECT_EQ(remark, isExact ? "none" : file.name == "Android.bp" ? "//" : "#") << file.name;
    const bool saysSo = file.content.rfind(remark + " Made by", 0) == 0;
    EXPECT_EQ(saysSo, !isExact) << file.name;
  }
}

TEST(IntegrationFilesTest, ASignOfAnExpressionInAPathIsItself) {
  const auto files = filesOf("[t]\ntype real\nnode_path /dev/a+b.c-d\n\n");
  EXPECT_TRUE(has(content(files, "sepolicy/file_contexts"),
                  "/dev/a\\+b\\.c-d u:object_r:talmor_thermal_sensor_device:s0"));
}
