#!/usr/bin/python3
"""Plants mistakes that a board's engineer makes with valid files, one at a time, and prints of each
whether thermalctl check finds it, at its line, and how often.

    tests/thermalctl/planted_mistakes.py [--thermalctl build/release/thermalctl]

Found is a mistake with exactly one finding, at the line that was edited or at the one that the table
names.
"""

import argparse
import json
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

REPOSITORY = Path(__file__).resolve().parents[2]
BOARDS = Path(__file__).resolve().parent / "boards"
PHONE = REPOSITORY / "boards" / "phone"
ENV, DAY, NIGHT = "talmor-thermal.env", "talmor-thermal.conf", "talmor-thermal_night.conf"


class Mistake(NamedTuple):
    what: str
    board: str
    file: str
    # The text before and after; its first occurrence behind `behind` is edited.
    old: str
    new: str
    behind: str = ""
    # Where the finding belongs, if that is another line: the file, and a text of it.
    place: tuple = ()


def item(text, name):
    """An item's lines."""
    begin = text.index(f"[{name}]")
    return text[begin:(text + "\n\n").index("\n\n", begin) + 1]


def phone(what, old, new, behind="", file=DAY, place=()):
    return Mistake(what, "phone", file, old, new, behind, place)


GAME_GPU = item((PHONE / DAY).read_text(), "game_gpu")
CAMERA_SKIN = item((PHONE / DAY).read_text(), "camera_skin")
DAY_BATTERY = item((PHONE / DAY).read_text(), "day_battery")
NIGHT_GPUS = [item((PHONE / NIGHT).read_text(), name)
              for name in ("night_gpu", "night_game_gpu", "night_camera_gpu")]

MISTAKES = [
    # Coverage.
    phone("game forgets the gpu", GAME_GPU + "\n", "", place=(DAY, "SCEN game")),
    phone("camera forgets the skin's item", CAMERA_SKIN + "\n", "",
          place=(DAY, "actions report\naction_info 1\n\n[camera_battery]")),
    phone("Default forgets the battery's heat", DAY_BATTERY + "\n", "",
          place=(DAY, "lowactive true")),
    phone("the skin is only reported in game",
          "thresholds 38000 40000 42000 44000\nthresholds_clr 37000 39000 41000 43000\nactions cpu_big+charger cpu_big+cpu_little+charger+backlight "
          "cpu_big+cpu_little+gpu+charger+backlight cpu_big+cpu_little+gpu+charger+backlight\n"
          "action_info 4+2 6+1+3+1 7+3+2+3+2 7+4+6+4+3\n\n[game_skin_alarm]",
          "thresholds 38000\nthresholds_clr 37000\nactions report\naction_info 1\n\n"
          "[game_skin_alarm]", "[game_skin]", place=(DAY, "actions report\naction_info 1\n\n[game_skin_alarm]")),
    phone("game cools the gpu far later", "68000 73000 78000", "88000 93000 98000", "[game_gpu]"),
    phone("game cools the big cores far later", "set_point 66000", "set_point 86000", "[game_big]"),
    phone("camera waits too long for the little cores", "70000 76000 82000", "91000 96000 99000",
          "[camera_little]"),
    phone("the battery waits for 70 degrees in game", "38000 41000 44000 48000",
          "58000 61000 64000 68000", "[game_battery]"),
    phone("night cools the little cores far later", "70000 76000 82000", "90000 96000 99000",
          "[night_little]", NIGHT),
    phone("the gpu is never cooled at night", NIGHT_GPUS[0] + "\n", "", file=NIGHT,
          place=(NIGHT, "SCEN Default")),
    phone("the night's game in capitals", "SCEN game", "SCEN Game", file=NIGHT),
    phone("a slip in a scenario's name", "SCEN camera", "SCEN camrea", file=NIGHT),
    phone("a scenario by another name", "SCEN camera\n", "SCEN video\n", file=NIGHT),
    Mistake("a scenario that standby lacks", "day-night-standby", "standby.conf",
            "SCEN call" + (BOARDS / "day-night-standby" / "standby.conf").read_text().partition("SCEN call")[2],
            "", place=("day.conf", "SCEN call")),
    Mistake("nothing cools in Default", "one-sensor", "day.conf",
            "actions clock clock clock\naction_info 1 2 3", "actions clock clock clock\naction_info 0 0 0",
            place=("day.conf", "action_info")),
    Mistake("reports alone in Default", "camera-and-report", "day.conf", "SCEN Default", "SCEN night",
            place=("day.conf", "SCEN night")),
    phone("an item beyond what its sensor can be", "86000 92000", "186000 192000", "[day_big_cores]"),
    phone("a set point that is never reached", "set_point 68000", "set_point 168000"),
    phone("a cold that no battery has", "thresholds 10000 0\nthresholds_clr 12000 2000",
          "thresholds -60000 -70000\nthresholds_clr -58000 -68000", "[game_battery_cold]"),
    phone("a level that nothing asks for", "850000 760000 670000 580000 490000 400000 310000",
          "850000 760000 670000 580000 490000 400000 310000 220000", file=ENV),
    Mistake("the strongest level is never asked for", "one-sensor", "day.conf", "action_info 1 2 3",
            "action_info 1 2 2", place=("board.env", "level_table")),
    # Temperatures.
    phone("an ss item without hysteresis", "set_point_clr 64000", "set_point_clr 68000"),
    phone("a hysteresis of 200", "80000 86000", "85800 86000", "[day_big_cores]"),
    phone("a narrow band against cold", "12000 2000", "10200 2000", "[day_battery_cold]"),
    phone("a clearing value that lost a digit", "36500 39500", "3650 39500", "[game_battery]"),
    phone("a clearing set point that lost a digit", "set_point_clr 62000", "set_point_clr 6200",
          "[game_big]"),
    phone("thresholds that lost a digit", "70000 76000 82000", "7000 7600 8200", "[game_little]"),
    phone("thresholds of a virtual sensor that lost a digit", "38000 40000 42000 44000\nthresholds_clr 37000 39000 41000 43000",
          "3800 4000 4200 4400\nthresholds_clr 3700 3900 4100 4300", "[game_skin]"),
    phone("thresholds of a virtual sensor with a unit", "38000 40000", "38C 40C", "[game_skin]"),
    phone("thresholds of a virtual sensor in degrees", "38000 40000 42000 44000\nthresholds_clr 37000 39000 41000 43000",
          "38000 40000 42000 44000\nthresholds_clr 37 39000 41000 43000", "[game_skin]",
          place=(DAY, "thresholds_clr 37 ")),
    phone("thresholds in tenths", "38000 41000 44000 48000\nthresholds_clr 36500 39500 42500 45000",
          "3800 4100 4400 4800\nthresholds_clr 3650 3950 4250 4500", "[game_battery]"),
    phone("a set point that lost a digit", "set_point 64000\nset_point_clr 60000",
          "set_point 6400\nset_point_clr 6000", "[camera_big]"),
    phone("lowactive on an item against heat", "thresholds 62000 67000 72000 77000",
          "lowactive true\nthresholds 62000 67000 72000 77000"),
    phone("a cold item awake in a room", "thresholds 10000 0\nthresholds_clr 12000 2000",
          "thresholds 40000 0\nthresholds_clr 42000 2000", "[camera_battery_cold]"),
    phone("a cold item without lowactive", "lowactive true\n", "", "[day_battery_cold]",
          place=(DAY, "thresholds 10000 0")),
    Mistake("one threshold of cold without lowactive", "watch", "day.conf",
            "lowactive true\nthresholds 5000 0\nthresholds_clr 7000 2000\n"
            "actions charger charger\naction_info 1 2",
            "thresholds 5000\nthresholds_clr 7000\nactions charger\naction_info 1"),
    # Steps and levels.
    phone("a floor at the start level", "device_perf_floor 6", "device_perf_floor 1"),
    phone("a start level above the floor", "start_level 1", "start_level 7",
          place=(DAY, "device_perf_floor 6")),
    phone("an item that asks for nothing", "action_info 1 2 4 6", "action_info 0 0 0 0"),
    phone("an ss item on the camera", "device cpu_big", "device camera", "[camera_big]"),
    phone("an ss item on the report", "device cpu_big", "device report", "[camera_big]"),
    phone("a stuck rule that winds up", "device_perf_floor 6", "device_perf_floor 6\ntime_tick_trigger 4",
          place=(DAY, "time_tick_trigger")),
    Mistake("a stuck rule every decision", "fast-and-slow", "day.conf", "time_tick_trigger 100",
            "time_tick_trigger 10"),
    # Nodes and tables.
    phone("two sensors on one node", "talmor_tmu/gpu_temp", "talmor_tmu/big_temp", file=ENV),
    phone("two devices on one node", "talmor_cpufreq/little_max_freq", "talmor_cpufreq/big_max_freq",
          file=ENV),
    phone("a clock's table that rises", "1950000 1800000 1600000 1400000 1200000",
          "1200000 1400000 1600000 1800000 1950000", file=ENV),
    phone("a charger's table that rises", "3000 2400 1800 1200 0", "0 1200 1800 2400 3000", file=ENV),
    phone("a backlight's table that rises", "255 217 178 140", "140 178 217 255", file=ENV),
    phone("raw bytes for a node of the kernel", "/sys/devices/platform/talmor_cpufreq/big_max_freq",
          "/sys/devices/system/cpu/cpufreq/policy4/scaling_max_freq", file=ENV),
    phone("a clock in Hz over 32 bits", "850000 760000", "2850000000 760000", file=ENV),
    Mistake("a table in another unit than its entries", "day-night-standby", "thermalctl.toml",
            'entries = "kHz"', 'entries = "Hz"', place=("board.env", "level_table 1000000")),
    # Virtual sensors.
    phone("offsets in thousandths of a degree", "offsets -600", "offsets -6000", file=ENV),
    phone("weights that overflow", "weights 28 1 2\noffsets -600", "weights 28000 1000 8000\noffsets -600",
          file=ENV),
    phone("a trip that is never passed", "set_point 29000", "set_point 150000", file=ENV),
    phone("a trip above the first threshold", "set_point 29000", "set_point 39000", file=ENV),
    Mistake("a trip sensor slower than its sensor", "virtuals", "board.env", "sampling 1000",
            "sampling 500", "[skin]", ("board.env", "trip_sensor battery")),
    phone("weights that sum to 1", "weights 28 1 2", "weights 2 -1 0", file=ENV),
    # Periods and names.
    phone("an item slower than its heat", "sampling 1000", "sampling 60000", "[day_skin]"),
    phone("a sensor slower than its item", "sampling 250\nnode_path /sys/devices/platform/10080000.talmor_tmu/little_temp",
          "sampling 2000\nnode_path /sys/devices/platform/10080000.talmor_tmu/little_temp", file=ENV,
          place=(DAY, "sampling 250\nthresholds 70000 76000 82000")),
    Mistake("a scenario that is never in force", "watch", "day.conf", "SCEN ambient", "SCEN ENOFILE"),
    Mistake("a scenario of two words", "watch", "day.conf", "SCEN ambient", "SCEN ambient mode"),
    phone("a configuration in a folder", "talmor-thermal_day.conf", "day/talmor-thermal.conf", file=ENV),
    phone("a configuration of two words", "talmor-thermal_day.conf", "talmor-thermal day.conf", file=ENV),
    # What the settings say.
    Mistake("a sensor that must be cooled is not", "day-night-standby", "night.conf",
            item((BOARDS / "day-night-standby" / "night.conf").read_text(), "night_call_battery"), "",
            place=("night.conf", "SCEN call")),
    Mistake("a sensor that must be cooled earlier", "day-night-standby", "standby.conf",
            "thresholds 72000 82000 92000", "thresholds 76000 82000 92000"),
    Mistake("an item outside of its sensor's range", "tenths", "day.conf", "400 450", "850 900",
            place=("day.conf", "thresholds 850")),
]


def folder_of(board):
    return PHONE if board == "phone" else BOARDS / board


def line_of(text, place):
    return text[:text.index(place)].count("\n") + 1


def plant(mistake, folder):
    """The board with the mistake; the file and line where it is to be found."""
    for path in folder_of(mistake.board).iterdir():
        if path.suffix in (".env", ".conf", ".toml") and path.name != "plant.toml":
            shutil.copy(path, folder)
    path = folder / mistake.file
    text = path.read_text()
    at = text.index(mistake.old, text.index(mistake.behind))
    path.write_text(text[:at] + mistake.new + text[at + len(mistake.old):])
    if mistake.place:
        return mistake.place[0], line_of((folder / mistake.place[0]).read_text(), mistake.place[1])
    # The first line that differs.
    before, after = text.split("\n"), path.read_text().split("\n")
    return mistake.file, next(i for i, (a, b) in enumerate(zip(before, after), 1) if a != b)


def findings(tool, folder):
    configurations = sorted(folder.glob("*.conf"))
    environment, = folder.glob("*.env")
    run = subprocess.run([tool, "check", "--env", environment, "--conf", *configurations, "--format",
                          "json"], capture_output=True, text=True)
    assert run.stderr == "", run.stderr
    return json.loads(run.stdout)["findings"]


def outcome(tool, mistake):
    """What is told of the mistake, and whether that is as it should be."""
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        file, line = plant(mistake, folder)
        told = findings(tool, folder)
    places = [(Path(each["file"]).name, each["line"]) for each in told]
    return [each["rule"] for each in told], places, places == [(file, line)], (file, line)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--thermalctl", default=REPOSITORY / "build" / "release" / "thermalctl")
    tool = parser.parse_args().thermalctl
    found = 0
    for mistake in MISTAKES:
        rules, places, good, wanted = outcome(tool, mistake)
        found += good
        told = ", ".join(f"{rule} {file}:{line}" for rule, (file, line) in zip(rules, places))
        print(f"{'found ' if good else 'MISSED'}  {mistake.what:45} {told or 'nothing'}"
              + ("" if good else f"   wanted {wanted[0]}:{wanted[1]}"))
    print(f"{found} of {len(MISTAKES)} found, each by one finding at its line")
    return 0 if found == len(MISTAKES) else 1


if __name__ == "__main__":
    sys.exit(main())
