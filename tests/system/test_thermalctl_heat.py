"""thermalctl check: what temperatures mean - the coverage, correct boards, planted mistakes."""

import json
import re
import resource
import subprocess
import sys
from html.parser import HTMLParser
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
BOARDS = REPOSITORY / "tests" / "thermalctl" / "boards"
sys.path.insert(0, str(REPOSITORY / "tests" / "thermalctl"))
import planted_mistakes  # noqa: E402

CORRECT = sorted(path.name for path in BOARDS.iterdir())


def files_of(folder):
    environment, = folder.glob("*.env")
    return ["--env", environment, "--conf", *sorted(folder.glob("*.conf"))]


# Correct boards.

def test_there_is_a_dozen_of_correct_boards():
    assert len(CORRECT) >= 12


@pytest.mark.parametrize("board", CORRECT)
def test_nothing_is_told_of_a_correct_board(thermalctl, board):
    status, out, err = thermalctl("check", *files_of(BOARDS / board), "--werror")
    assert (status, err) == (0, ""), out
    assert out.startswith("no problems in ")


def test_nothing_is_told_of_the_phone_with_its_plant(thermalctl, tmp_path):
    for path in PHONE.iterdir():
        if path.is_file():
            (tmp_path / path.name).write_bytes(path.read_bytes())
    (tmp_path / "thermalctl.toml").write_text('plant = "plant.toml"\n')
    assert thermalctl("check", *files_of(tmp_path), "--werror").out == "no problems in 3 files\n"


# Planted mistakes.

@pytest.mark.parametrize("mistake", planted_mistakes.MISTAKES, ids=lambda mistake: mistake.what)
def test_a_planted_mistake_is_found_at_its_line_by_one_finding(build_dir, mistake):
    rules, places, good, wanted = planted_mistakes.outcome(build_dir / "thermalctl", mistake)
    assert good, (rules, places, wanted)


def test_there_are_sixty_planted_mistakes():
    assert len(planted_mistakes.MISTAKES) >= 60


@pytest.mark.parametrize("what, view", [
    ("game forgets the gpu", "while 'game' is in force no item watches 'gpu'"),
    ("Default forgets the battery's heat", "nothing of 'Default' acts on 'battery'"),
    ("game cools the gpu far later", "at 87 °C nothing of 'game' acts on 'gpu': it begins at 88 °C, "
                                     "30 degrees later than 'camera'"),
    ("an item that asks for nothing", "however hot 'gpu' is, it cools nothing"),
])
def test_a_finding_tells_the_devices_view(build_dir, tmp_path, what, view):
    mistake = next(each for each in planted_mistakes.MISTAKES if each.what == what)
    planted_mistakes.plant(mistake, tmp_path)
    told, = planted_mistakes.findings(build_dir / "thermalctl", tmp_path)
    assert view in told["message"]


def test_a_virtual_sensor_that_no_heat_of_the_plant_switches_on_is_told(thermalctl, tmp_path):
    for path in PHONE.iterdir():
        if path.is_file():
            (tmp_path / path.name).write_bytes(path.read_bytes())
    (tmp_path / "thermalctl.toml").write_text('plant = "plant.toml"\n')
    environment = tmp_path / "talmor-thermal.env"
    environment.write_text(environment.read_text().replace("set_point 29000", "set_point 99000"))
    told = json.loads(thermalctl("check", *files_of(tmp_path), "--format", "json").out)["findings"]
    assert [each["rule"] for each in told] == ["virtual-never-on"]
    assert re.fullmatch(r"'battery' never comes above 99 °C: its hottest is [\d.]+ °C, so that the sensor is never "
                        r"switched on, and 12 items on it sleep for ever", told[0]["message"])


# The coverage.

def coverage(thermalctl, *options):
    return thermalctl("check", *files_of(PHONE), "--coverage", *options)


def test_the_phones_coverage_fits_on_one_screen(thermalctl):
    status, out, err = coverage(thermalctl)
    assert (status, err) == (0, "")
    rows = out.splitlines()
    assert len(rows) <= 24
    assert max(map(len, rows)) <= 120
    assert re.search(r"^big +>=68 +>=66 +>=64 +>=62 +>=60 +>=58$", out, re.M)
    assert re.search(r"^  cpu_big +6 +7 +7 +6 +7 +7$", out, re.M)
    assert re.search(r"^battery, cold( +<=10){6}$", out, re.M)


def test_a_report_is_no_cooling(thermalctl, tmp_path):
    board = BOARDS / "camera-and-report"
    (tmp_path / "board.env").write_text((board / "board.env").read_text())
    day = (board / "day.conf").read_text()
    begin, end = day.index("[battery_less]"), day.index("[battery_alarm]")
    (tmp_path / "day.conf").write_text(day[:begin] + day[end:])
    out = thermalctl("check", *files_of(tmp_path), "--coverage").out
    assert re.search(r"^battery +-\n  \(reported\) +>=50$", out, re.M)


def test_the_coverage_as_json(thermalctl):
    scenarios = json.loads(coverage(thermalctl, "--format", "json").out)["scenarios"]
    assert [(Path(each["file"]).name, each["scenario"]) for each in scenarios][1] == \
        ("talmor-thermal.conf", "game")
    gpu = next(each for each in scenarios[1]["sensors"] if each["sensor"] == "gpu")
    assert gpu["heat"] == {"celsius": 68.0, "item": "game_gpu", "line": 109, "devices": {"gpu": 6}}
    assert (gpu["cold"], gpu["report"]) == (None, None)


@pytest.mark.parametrize("line, direction", [("", "heat"), ("lowactive true\n", "cold")])
def test_the_coverage_tells_the_direction_of_a_report(thermalctl, tmp_path, line, direction):
    board = BOARDS / "camera-and-report"
    (tmp_path / "board.env").write_text((board / "board.env").read_text())
    (tmp_path / "day.conf").write_text(
        f"SCEN Default\n[alarm]\nalgo_type monitor\nsensor battery\n{line}thresholds 50000\n"
        f"thresholds_clr {'52000' if line else '48000'}\nactions alarms\naction_info 1\n")
    scenarios = json.loads(thermalctl("check", *files_of(tmp_path), "--coverage", "--format", "json").out)["scenarios"]
    battery = next(each for each in scenarios[0]["sensors"] if each["sensor"] == "battery")
    assert battery["report"] == {"celsius": 50.0, "item": "alarm", "line": 5 + bool(line), "direction": direction}


class Cells(HTMLParser):
    def __init__(self):
        super().__init__()
        self.texts = []
        self.inside = False

    def handle_starttag(self, tag, attributes):
        self.inside = tag in ("td", "th")

    def handle_endtag(self, tag):
        self.inside = False

    def handle_data(self, data):
        if self.inside:
            self.texts.append(data)


def test_the_coverage_as_a_page(thermalctl):
    status, out, _ = coverage(thermalctl, "--format", "html")
    assert status == 0
    assert "http" not in out
    cells = Cells()
    cells.feed(out)
    at = cells.texts.index("big")
    assert cells.texts[at:at + 7] == ["big", ">=68", ">=66", ">=64", ">=62", ">=60", ">=58"]


def test_threads_and_wake_ups_are_told(thermalctl):
    assert coverage(thermalctl).out.splitlines()[-1] == (
        "2 threads for sensors (every 250 and 1000 ms), up to 3 for the items of a scenario, at most "
        "14 wake-ups a second")


@pytest.mark.parametrize("options, message", [
    (["--coverage", "--format", "sarif"], "--coverage: is shown as text, json or html, and not as sarif"),
    (["--format", "html"], "--format: html is for --coverage"),
])
def test_a_coverage_in_no_format_of_its_own_could_not_run(thermalctl, options, message):
    status, out, err = thermalctl("check", *files_of(PHONE), *options)
    assert (status, out) == (2, "")
    assert message in err


# What the settings say.

@pytest.mark.parametrize("text, message", [
    ('[sensor.soc]\nrange = ["85C", "20C"]\n', "'range' is no range"),
    ('[sensor.soc]\nrange = ["85F", "20C"]\n', "'85F' is no temperature"),
    ('[sensor.soc]\nnoise = "much"\n', "'much' is no temperature"),
    ('[sensor.soc]\nnoise = -0.1\n', "'noise' is below 0"),
    ('[sensor.soc]\nnoise = "-100mC"\n', "'noise' is below 0"),
    ('[device.clokc]\nentries = "kHz"\n', "the board has no device 'clokc'"),
    ('[device.clock]\nentries = "khz"\n', "no table counts 'khz'"),
    ('must_cool = ["sco"]\n', "the board has no sensor 'sco'"),
    ('must_cool = ["soc"]\nsoc = "hot"\n', "'hot' is no temperature"),
    ('plant = "plant.toml"\n', "cannot read"),
])
def test_a_mistake_in_the_settings_is_told_and_nothing_ran(thermalctl, tmp_path, text, message):
    for path in (BOARDS / "one-sensor").iterdir():
        (tmp_path / path.name).write_bytes(path.read_bytes())
    (tmp_path / "thermalctl.toml").write_text(text)
    status, _, err = thermalctl("check", *files_of(tmp_path))
    assert status == 2
    assert message in err


# Sizes.

def many_items(count, line=""):
    item = ("[{0}]\nalgo_type monitor\nsensor soc\nthresholds 70000 80000 90000\n"
            "thresholds_clr 66000 76000 86000\nactions clock clock clock\naction_info 1 2 3\n{1}")
    return "SCEN Default\n" + "\n".join(item.format(f"item{i}", line) for i in range(count))


def test_ten_thousand_items_give_no_finding(thermalctl, tmp_path):
    (tmp_path / "board.env").write_text((BOARDS / "one-sensor" / "board.env").read_text())
    (tmp_path / "day.conf").write_text(many_items(10_000))
    assert thermalctl("check", *files_of(tmp_path)).out == "no problems in 2 files\n"


def as_many_as_the_phone_has(count, by):
    """The phone's items again and again: in further scenarios, or under further names in its own."""
    scenarios = re.split(r"^(?=SCEN )", (PHONE / "talmor-thermal.conf").read_text().strip("\n"), flags=re.M)[1:]
    own = sum(scenario.count("algo_type") for scenario in scenarios)
    result = []
    for scenario in scenarios:
        line, _, items = scenario.strip("\n").partition("\n")
        copies = [re.sub(r"^\[(\w+)\]", rf"[\1_{i}]", items, flags=re.M) for i in range(count // own + 1)]
        if by == "items":
            result.append(line + "\n" + "\n\n".join(copies))
        else:
            result += [f"{line}{i or ''}\n{copy}" for i, copy in enumerate(copies)]
    return "\n\n".join(result) + "\n"


def seconds_of(*command):
    """Of the processor."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
    run = subprocess.run([*map(str, command)], capture_output=True, text=True)
    return run, resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before


@pytest.mark.parametrize("options", [[], ["--coverage"]], ids=["rules", "coverage"])
@pytest.mark.parametrize("by", ["items", "scenarios"])
def test_ten_thousand_items_take_less_than_a_second_with_all_rules(build_dir, tmp_path, by, options):
    for name in ("talmor-thermal.env", "plant.toml"):
        (tmp_path / name).write_bytes((PHONE / name).read_bytes())
    (tmp_path / "talmor-thermal.conf").write_text(as_many_as_the_phone_has(10_000, by))
    (tmp_path / "thermalctl.toml").write_text(
        'must_cool = ["skin", "battery"]\nplant = "plant.toml"\n[sensor.skin]\nnoise = "0.1C"\n'
        'range = ["-20C", "90C"]\n')
    quickest = None
    # On a busy machine one try says little.
    for _ in range(5):
        run, seconds = seconds_of(build_dir / "thermalctl", "check", *files_of(tmp_path), *options)
        assert (run.returncode, run.stderr) == (0, "")
        assert options or run.stdout == "no problems in 2 files\n"
        quickest = min(seconds, quickest or seconds)
        if quickest < 1:
            break
    assert quickest < 1


@pytest.mark.parametrize("file_format", ["text", "json", "github"])
def test_a_hundred_thousand_findings_fit_into_the_memory(build_dir, tmp_path, file_format):
    (tmp_path / "board.env").write_text((BOARDS / "one-sensor" / "board.env").read_text())
    (tmp_path / "day.conf").write_text(many_items(100_000, "samplnig 10\n"))
    limit = 1 << 30
    run = subprocess.run([build_dir / "thermalctl", "check", *files_of(tmp_path), "--format", file_format],
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                         preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
    assert (run.returncode, run.stderr) == (1, "")
    if file_format == "json":
        assert len(json.loads(run.stdout)["findings"]) == 100_000
    else:
        # No more are shown, but all are counted.
        assert len(re.findall(r"samplnig", run.stdout)) in (100, 200)
        assert run.stdout.endswith("100000 errors in 2 files\n")
