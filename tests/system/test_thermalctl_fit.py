"""thermalctl fit: a plant's numbers from recordings of a device. What was recorded is simulated by the
matrix exponential of SciPy, in bench/fit/truth.py, and never by the tool's own network."""

import copy
import json
import re
import signal
import sys
import time
from pathlib import Path

import numpy as np
import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "bench" / "fit"))
import truth  # noqa: E402


class Desk:
    """A folder with a board, a sketch whose numbers are off, and recordings of the true device."""

    def __init__(self, folder, thermalctl, plant, seed=1):
        self.folder, self.thermalctl, self.plant = folder, thermalctl, plant
        self.random = np.random.default_rng(seed)
        (folder / "board").mkdir()
        (folder / "board" / "phone.env").write_text(plant.environment())
        keys = [*plant.capacities, *plant.resistances]
        self.sketch({key: float(np.exp(self.random.uniform(np.log(0.3), np.log(3)))) for key in keys})

    def sketch(self, factors=None, **more):
        (self.folder / "sketch.toml").write_text(self.plant.toml(factors, **more))

    def record(self, **more):
        return truth.record(self.plant, self.random, self.folder, **more)

    def fit(self, *words):
        return self.thermalctl("fit", "--board", self.folder / "board", "--plant", self.folder / "sketch.toml",
                               "--out", self.folder / "out", *words)

    def results(self):
        return json.loads((self.folder / "out" / "fit.json").read_text())

    def found(self):
        """The true plant with the numbers that were found."""
        plant = copy.deepcopy(self.plant)
        for quantity in self.results()["quantities"]:
            kind, name = quantity["name"].split(".")[:2]
            if kind == "node":
                plant.capacities[name] = quantity["value"]
            elif kind == "resistance":
                plant.resistances[tuple(name.split("-"))] = quantity["value"]
        return plant

    def free_running_error(self, seconds=1800):
        loads = truth.steps(self.random, len(self.plant.sources), seconds)
        powers = loads * np.array([watts for watts, _ in self.plant.sources.values()])
        return self.found().run(powers, 1.0) - self.plant.run(powers, 1.0)


@pytest.fixture
def desk(thermalctl, tmp_path):
    return Desk(tmp_path, thermalctl, truth.phone())


def test_it_finds_the_numbers_of_an_independent_simulation(desk):
    status, out, err = desk.fit("--recording", desk.record())
    assert (status, err) == (0, ""), err
    error = desk.free_running_error()
    assert np.sqrt((error**2).mean()) <= 0.1
    assert abs(error).max() <= 0.25
    results = desk.results()
    assert results["complete"]
    assert results["undetermined"] == []
    assert results["recordings"][0]["files"][1]["offset_seconds"] == pytest.approx(3.4, abs=0.5)
    for sensor in results["sensors"]:
        assert sensor["step"] == 1
        assert sensor["noise"] == pytest.approx(0.3, abs=0.05)
    assert "resistance.case-ambient" in out


def test_intervals_hold_the_truth(desk):
    desk.fit("--recording", desk.record(noise=0.1, step=0.1))
    for quantity in desk.results()["quantities"]:
        kind, name = quantity["name"].split(".")[:2]
        true = (desk.plant.capacities[name] if kind == "node"
                else desk.plant.resistances[tuple(name.split("-"))])
        low, high = quantity["interval"]
        # Twice as wide as a 95 % interval no number of ten should miss.
        assert low - (high - low) / 2 < true < high + (high - low) / 2, quantity
        assert high - low < 0.1 * true


def test_the_plant_that_it_writes_can_be_simulated(desk, thermalctl):
    desk.fit("--recording", desk.record(seconds=1200))
    text = (desk.folder / "out" / "plant.toml").read_text()
    assert "# 95 %: " in text
    board = desk.folder / "board"
    workload = desk.folder / "all.csv"
    workload.write_text("time,cpu_l,cpu_b,graphics,charging\n0,1,1,1,1\n")
    (board / "phone.conf").write_text("")
    # It gets as far as the check of the configuration, behind no word about the plant.
    again = thermalctl("fit", "--board", board, "--plant", desk.folder / "out" / "plant.toml",
                       "--recording", "none.csv")
    assert "plant.toml" not in again.err


def test_what_is_not_determined_is_named_and_keeps_its_guess(desk):
    loads = truth.steps(desk.random, 4, 1800)
    loads[:, 2] = 0
    desk.sketch({}, free=("node.*.joules_per_kelvin", "resistance.*", "source.graphics.watts"))
    status, out, _ = desk.fit("--recording", desk.record(seconds=1800, loads=loads))
    assert status == 0
    assert "graphics was never on" in out
    [quantity] = [each for each in desk.results()["quantities"] if each["name"] == "source.graphics.watts"]
    assert (quantity["determined"], quantity["value"]) == (False, 2.5)
    assert "not determined: the guess" in (desk.folder / "out" / "plant.toml").read_text()


def test_requirements_decide_about_the_status(desk):
    recording, other = desk.record(seconds=1200), desk.record(seconds=900, name="other")
    status, out, _ = desk.fit("--recording", recording, "--validate", other, "--require", "rmse<=0.5C")
    assert (status, "rmse<=0.5C: kept" in out) == (0, True)
    status, out, _ = desk.fit("--recording", recording, "--validate", other, "--require", "largest<=0.1C")
    assert (status, "largest<=0.1C: missed" in out) == (1, True)
    [validated] = desk.results()["validation"]
    assert len(validated["sensors"]) == 5


@pytest.mark.parametrize("option", ["--recording", "--validate"])
def test_a_recording_too_short_to_judge_by_is_told_and_keeps_no_requirement(desk, option):
    recording, short = desk.record(seconds=300), desk.record(seconds=65, name="short")
    status, out, err = desk.fit("--recording", recording, option, short, "--require", "rmse<=9C")
    assert (status, "kept" in out) == (2, False)
    assert "short-sensors.csv: error: is too short: it has 5 rows of readings, and 10 are the least" in err
    assert not (desk.folder / "out").exists()


def shorten(desk, name, first, last):
    """Of a recording's loads only what was known from `first` to `last`, on their own clock."""
    path = desk.folder / f"{name}-loads.csv"
    header, *rows = path.read_text().splitlines()
    path.write_text("\n".join([header, *rows[first:last]]) + "\n")


@pytest.mark.parametrize("seconds, offset", [(65, 58.4), (70, 55), (110, 59), (150, 40.3)])
@pytest.mark.parametrize("option", ["--recording", "--validate"])
def test_a_recording_hardly_longer_than_its_clocks_are_apart_is_used(desk, option, seconds, offset):
    """Loads and readings of the same stretch of time, by clocks that are nearly a minute apart."""
    loads = truth.steps(desk.random, 4, seconds + 60, shortest=10, longest=30)
    short = desk.record(seconds=seconds + 60, offset=offset, loads=loads, name="short")
    shorten(desk, "short", int(offset), int(offset) + seconds)
    status, _, err = desk.fit("--recording", desk.record(seconds=7200), option, short, "--require", "rmse<=0.6C")
    assert (status, err) == (0, "")
    results = desk.results()
    told = results["validation"][0] if option == "--validate" else results["recordings"][1]
    assert told["files"][1]["offset_seconds"] == pytest.approx(offset, abs=1.5)
    assert all(sensor["readings"] >= seconds - 4 for sensor in told["sensors"])


def test_readings_behind_the_loads_are_not_fitted(desk):
    """Both files are as long, and the clock of one is 45 s behind: 45 s of readings have no loads."""
    recording = desk.record(seconds=1260, offset=45)
    shorten(desk, "rec", 0, 1200)
    assert desk.fit("--recording", recording)[0] == 0
    assert {sensor["readings"] for sensor in desk.results()["recordings"][0]["sensors"]} <= {1155, 1156, 1157}
    error = desk.free_running_error()
    assert np.sqrt((error**2).mean()) <= 0.1


def edited(path, number, line):
    lines = path.read_text().splitlines()
    lines[number - 1] = line(lines[number - 1]) if callable(line) else line
    path.write_text("\n".join(lines) + "\n")


@pytest.mark.parametrize("which, number, line, message", [
    ("sensors", 1, lambda text: text.replace("time", "when"), "1:1: error: there is no column 'time'"),
    ("sensors", 7, lambda text: text + ",1", "7:"),
    ("sensors", 9, "7,NaN,30,30,30,30", "9:3: error: 'NaN' is no number"),
    ("sensors", 9, "7,38500,30,30,30,30", "9:1: error: 'little_t' is 38500: no part of a device is that hot"),
    ("sensors", 12, "3,30,30,30,30,30", "12:1: error: the times must not go back"),
    ("loads", 5, "3,1.5,0,0,0", "5:1: error: 'cpu_l' is 1.5: a load goes from 0 to 1"),
    ("loads", 1, lambda text: text.replace("cpu_l", "cpu_l:W"), None),
    ("loads", 5, "3,x,0,0,0", "5:3: error: 'x' is no number"),
])
def test_a_bad_file_is_told_with_its_line_and_nothing_is_written(desk, which, number, line, message):
    recording = desk.record(seconds=300)
    (desk.folder / "out").mkdir()
    (desk.folder / "out" / "plant.toml").write_text("earlier\n")
    path = desk.folder / f"rec-{which}.csv"
    edited(path, number, line)
    status, _, err = desk.fit("--recording", recording)
    if message is None:
        assert status == 0
        return
    assert status == 2
    assert f"{path.name}:{message}" in err
    assert (desk.folder / "out" / "plant.toml").read_text() == "earlier\n"
    assert [each.name for each in (desk.folder / "out").iterdir()] == ["plant.toml"]


def test_an_empty_file_and_one_of_another_time_are_told(desk):
    recording = desk.record(seconds=300)
    sensors = desk.folder / "rec-sensors.csv"
    rows = sensors.read_text().splitlines()
    sensors.write_text("")
    status, _, err = desk.fit("--recording", recording)
    assert (status, "rec-sensors.csv:1:1: error: the file is empty" in err) == (2, True)
    later = [f"{int(row.split(',')[0]) + 5000},{row.split(',', 1)[1]}" for row in rows[1:]]
    sensors.write_text("\n".join([rows[0], *later]) + "\n")
    status, _, err = desk.fit("--recording", recording)
    assert status == 2
    assert "rec-sensors.csv:2" in err
    assert "do not overlap" in err


def test_zeros_after_a_failed_read_are_left_out_and_told(desk):
    recording = desk.record(seconds=1500)
    path = desk.folder / "rec-sensors.csv"
    rows = path.read_text().splitlines()
    for number in range(400, 500):
        cells = rows[number].split(",")
        cells[2] = "0"
        rows[number] = ",".join(cells)
    path.write_text("\n".join(rows) + "\n")
    status, _, err = desk.fit("--recording", recording)
    assert status == 0
    assert "rec-sensors.csv:401: 'big_t' is 0 from 0:06:39 to 0:08:18" in err
    error = desk.free_running_error()
    assert np.sqrt((error**2).mean()) <= 0.1


# What takes nearly all of the time beside a short recording.
@pytest.mark.parametrize("longest", ["recording", "validation", "plan"])
def test_an_interrupt_leaves_the_best_so_far(desk, longest):
    words = ["--recording", desk.record(seconds=28800 if longest == "recording" else 600)]
    if longest == "validation":
        words += ["--validate", desk.record(seconds=28800, name="later")]
    if longest == "plan":
        words += ["--plan"]
    begun = time.monotonic()
    assert desk.fit(*words)[0] == 0
    whole = time.monotonic() - begun
    for share in (0.5, 0.35, 0.65, 0.2):  # of a machine that does other things, too
        run = desk.thermalctl.start("fit", "--board", desk.folder / "board", "--plant", desk.folder / "sketch.toml",
                                    "--out", desk.folder / "out", *words)
        time.sleep(share * whole)
        run.send_signal(signal.SIGINT)
        _, err = run.communicate(timeout=60)
        if run.returncode == 2:
            break
    assert run.returncode == 2
    assert "best so far" in err
    assert not desk.results()["complete"]
    assert "# 95 %: " in (desk.folder / "out" / "plant.toml").read_text()


def hold_gpu(path):
    """From line 501 to 1000 the GPU's sensor shows one reading."""
    rows = path.read_text().splitlines()
    held = rows[500].split(",")[3]
    for number in range(500, 1000):
        cells = rows[number].split(",")
        cells[3] = held
        rows[number] = ",".join(cells)
    path.write_text("\n".join(rows) + "\n")


def test_a_sensor_that_is_stuck_in_a_validation_recording_is_left_out_and_told(desk):
    recording = desk.record(seconds=1500)
    later = desk.record(seconds=1500, name="later")
    hold_gpu(desk.folder / "later-sensors.csv")
    status, out, err = desk.fit("--recording", recording, "--validate", later, "--require", "largest<=4C")
    assert re.search(r"later-sensors\.csv:\d+: 'gpu_t' is stuck at \d+ from 0:08:\d\d to 0:16:\d\d: left out", err)
    assert (status, "largest<=4C: kept" in out) == (0, True), out
    [validation] = desk.results()["validation"]
    assert {s["name"]: s["readings"] for s in validation["sensors"]}["gpu_t"] < 1000


def test_a_log_of_the_device_in_the_form_of_logcat_is_fitted(desk):
    loads, sensors = desk.record(seconds=1500).split(",")
    names, *rows = [row.split(",") for row in Path(sensors).read_text().splitlines()]
    log = desk.folder / "device.log"
    lines = ["01-30 14:00:00.000  1234  5678 V echo-service: [TalmorThermal] Using Env Config!\n"]
    for time_, *cells in rows:
        second = int(time_)
        stamp = f"01-30 14:{second // 60:02}:{second % 60:02}.000  1234  5678 V echo-service:"
        lines += [f"{stamp} [TalmorThermal] Sensor [{name}], Scen [Default] temp({round(1000 * float(cell))})\n"
                  for name, cell in zip(names[1:], cells)]
    log.write_text("".join(lines))
    status, _, err = desk.fit("--recording", f"{log},{loads}")
    assert status == 0, err
    error = desk.free_running_error()
    assert np.sqrt((error**2).mean()) <= 0.15
    [offset] = [file["offset_seconds"] for file in desk.results()["recordings"][0]["files"] if file["offset_seconds"]]
    assert abs(offset) == pytest.approx(3.4, abs=0.5)


def test_an_environment_is_named_by_itself(desk, thermalctl):
    recording = desk.record(seconds=600)
    environment = desk.folder / "mine.env"
    (desk.folder / "board" / "phone.env").rename(environment)
    plant = desk.folder / "sketch.toml"
    for board in ([], ["--board", desk.folder / "board"]):
        done = thermalctl("fit", "--env", environment, "--plant", plant, "--recording", recording, *board)
        assert (done.status, done.err) == (0, ""), done.err
    missing = thermalctl("fit", "--env", desk.folder / "none.env", "--plant", plant, "--recording", recording)
    assert (missing.status, "none.env" in missing.err) == (2, True)
    unplanted = thermalctl("fit", "--env", environment, "--recording", recording)
    assert unplanted.status == 2
    assert "--plant is required where there is no --board" in unplanted.err


def test_a_stuck_sensor_is_left_out_and_told(desk):
    recording = desk.record(seconds=1500)
    hold_gpu(desk.folder / "rec-sensors.csv")
    status, _, err = desk.fit("--recording", recording)
    assert status == 0
    # Readings beside it may be the same by chance.
    assert re.search(r"rec-sensors\.csv:(49\d|50\d): 'gpu_t' is stuck at \d+ from 0:08:1\d to 0:16:\d\d: left out", err)
    error = desk.free_running_error()
    assert np.sqrt((error**2).mean()) <= 0.1


@pytest.mark.parametrize("shown", ["0", "29", "70"])
def test_a_sensor_that_never_shows_anything_else_is_left_out_and_told(desk, shown):
    recording = desk.record(seconds=1500)
    path = desk.folder / "rec-sensors.csv"
    header, *rows = [row.split(",") for row in path.read_text().splitlines()]
    path.write_text("\n".join(",".join(row) for row in [header, *([*row[:3], shown, *row[4:]] for row in rows)]) + "\n")
    status, out, err = desk.fit("--recording", recording)
    assert status == 0
    assert f"rec-sensors.csv:2: 'gpu_t' is stuck at {shown} from 0:00:00 to 0:23:59: left out" in err
    assert "put a sensor on gpu" in out
    found = {q["name"]: q["value"] for q in desk.results()["quantities"]}
    assert found["resistance.big-case"] == pytest.approx(9.09, rel=0.02)


def test_residuals_that_are_no_noise_are_told(desk):
    recording = desk.record(seconds=1800, noise=0.1)
    path = desk.folder / "rec-sensors.csv"
    rows = path.read_text().splitlines()
    # Somebody holds the device: three degrees on its case that no source explains.
    for number in range(600, 1000):
        cells = rows[number].split(",")
        cells[5] = str(float(cells[5]) + 3)
        rows[number] = ",".join(cells)
    path.write_text("\n".join(rows) + "\n")
    status, out, _ = desk.fit("--recording", recording)
    assert status == 0
    assert "the residuals of case_t in" in out
    assert "are not noise: +" in out


def test_the_page_stands_alone(desk):
    desk.fit("--recording", desk.record(seconds=900), "--validate", desk.record(seconds=600, name="other"))
    page = (desk.folder / "out" / "fit.html").read_text()
    assert page.count("<svg") == page.count("</svg>") == 10
    for heading in ("Numbers", "Validation", "Recordings", "Correlations"):
        assert f"<h2>{heading}</h2>" in page
    assert "http" not in page
    assert "nan" not in page


def test_a_plan_is_a_workload_that_narrows_the_intervals(desk):
    status, out, _ = desk.fit("--recording", desk.record(seconds=600), "--plan")
    assert status == 0
    header, *rows = (desk.folder / "out" / "plan.csv").read_text().splitlines()[1:]
    assert header == "time," + ",".join(desk.plant.sources)
    assert [row.split(",")[0] for row in rows] == [f"{120 * step}s" for step in range(15)]
    steps = (desk.folder / "out" / "plan.txt").read_text()
    assert steps in out
    for line in re.findall(r": from ([\d.e+]+) (?:%|C) to ([\d.e+]+)", steps):
        assert float(line[1]) <= float(line[0])
    # As it says, no node gets hotter than it was in the recording, and a degree.
    loads = np.repeat([[float(cell) for cell in row.split(",")[1:]] for row in rows], 120, axis=0)
    powers = loads * np.array([watts for watts, _ in desk.plant.sources.values()])
    planned = desk.plant.run(powers, 1.0, np.full(5, 27.0))
    recorded = np.array([[float(cell) for cell in row.split(",")[1:]]
                         for row in (desk.folder / "rec-sensors.csv").read_text().splitlines()[1:]])
    assert (planned.max(axis=0) <= recorded.max(axis=0) + 2).all()


def test_a_sketch_can_be_fitted_as_it_is(thermalctl, tmp_path):
    """An hour of the phone as the simulator's trace has it: its sensors, and the levels of its devices."""
    board = REPOSITORY / "boards" / "phone"
    status, sketch, err = thermalctl("fit", "--sketch", board)
    assert (status, err) == (0, "")
    for text in ('[node."big"]', '[source."gpu"]\nnode = "gpu"', 'between = ["battery", "case"]', "[fit]"):
        assert text in sketch
    assert thermalctl("fit", "--sketch", board, "--out", tmp_path / "sketch").status == 0
    assert (tmp_path / "sketch" / "plant.toml").read_text() == sketch
    thermalctl("simulate", "--board", board, "--workload", "game", "--duration", "20m", "--out", tmp_path / "run")
    loads = tmp_path / "loads.csv"
    loads.write_text("time,cpu_little,cpu_big,gpu:load,backlight,charger,camera\n0,0.3,0.2,0.15,1,1,0\n300,0.6,0.9,1,1,1,0\n")
    status, out, err = thermalctl("fit", "--board", board, "--plant", tmp_path / "sketch" / "plant.toml",
                                  "--recording", f"{tmp_path / 'run' / 'trace.csv'},{loads}", "--out", tmp_path / "out")
    assert status == 0, err
    assert "resistance.case-ambient" in out


def test_the_levels_and_readings_of_a_trace_give_the_plant_back(thermalctl, tmp_path):
    board = REPOSITORY / "boards" / "phone"
    thermalctl("simulate", "--board", board, "--workload", "game", "--duration", "40m", "--out", tmp_path / "run")
    (tmp_path / "loads.csv").write_text(
        "time,little:load,big:load,gpu:load,panel,charger,modem\n0,0.3,0.2,0.15,1,1,0.4\n300,0.6,0.9,1,1,1,0.3\n")
    sketch = tmp_path / "sketch.toml"
    sketch.write_text((board / "plant.toml").read_text().replace("= 9.09", "= 4").replace("= 70.0", "= 150"))
    status, _, err = thermalctl("fit", "--board", board, "--plant", sketch, "--out", tmp_path / "out",
                                "--recording", f"{tmp_path / 'run' / 'trace.csv'},{tmp_path / 'loads.csv'}")
    assert status == 0, err
    found = {q["name"]: q["value"] for q in json.loads((tmp_path / "out" / "fit.json").read_text())["quantities"]}
    assert found["resistance.big-case"] == pytest.approx(9.09, rel=0.01)
    assert found["node.case.joules_per_kelvin"] == pytest.approx(70, rel=0.05)


@pytest.mark.parametrize("fit, message", [
    ('free = ["node.bgi.*"]', "'node.bgi.*' is none of the plant's numbers"),
    ('fre = ["node.*"]', "'fre' is no key that is known here"),
    ('free = ["node.*"]\n[[fit.bounds]]\nof = "node.big.*"\nleast = 3\nmost = 9', "is not within its bounds"),
    ('free = ["node.*"]\n[[fit.bounds]]\nof = "node.big.*"\nleast = 3', "'most' is missing"),
])
def test_a_wrong_fit_section_is_told_with_its_place(desk, fit, message):
    recording = desk.record(seconds=300)
    path = desk.folder / "sketch.toml"
    path.write_text(desk.plant.toml().split("[fit]")[0] + f"[fit]\n{fit}\n")
    status, _, err = desk.fit("--recording", recording)
    assert (status, message in err) == (2, True), err
    assert "sketch.toml:" in err
    assert not (desk.folder / "out").exists()


def test_bounds_hold(desk):
    desk.sketch(None, extra='[[fit.bounds]]\nof = "resistance.case-ambient"\nleast = 2\nmost = 3\n')
    text = (desk.folder / "sketch.toml").read_text()
    (desk.folder / "sketch.toml").write_text(text.replace("kelvin_per_watt = 4\n", "kelvin_per_watt = 2.5\n"))
    desk.fit("--recording", desk.record(seconds=900))
    [value] = [q["value"] for q in desk.results()["quantities"] if q["name"] == "resistance.case-ambient"]
    assert 2 <= value <= 3


def test_without_a_recording_it_says_so(thermalctl):
    status, _, err = thermalctl("fit", "--board", REPOSITORY / "boards" / "phone")
    assert (status, "--recording is required" in err) == (2, True)
    status, _, err = thermalctl("fit", "--board", REPOSITORY / "boards" / "phone", "--recording", "")
    assert (status, "--recording: error: names no file" in err) == (2, True), err


def peak_of(folder, name):
    """The hottest reading of a sensor in a trace."""
    return max(int(row.split(",")[4]) for row in (folder / "trace.csv").read_text().splitlines()
               if f",temperature,{name}," in row)


def test_a_recording_is_run_in_a_closed_and_in_an_open_loop(thermalctl, tmp_path):
    """A game whose GPU was measured in watts, unthrottled."""
    board = REPOSITORY / "boards" / "phone"
    recording = tmp_path / "game.csv"
    recording.write_text("time,little:load,big:load,gpu:W,panel,charger,modem,ambient\n0,0.3,0.2,0.5,1,1,0.4,25\n"
                         "60,0.6,0.9,3.6,1,1,0.3,30\n1500,0.6,0.9,3.6,1,1,0.3,30\n")
    for loop in ("closed", "open"):
        status, out, err = thermalctl("simulate", "--board", board, "--recording", recording, "--loop", loop,
                                      "--out", tmp_path / loop, "--limit", "gpu=60C")
        assert (status in (0, 1), err) == (True, "")
        assert "0:25:00" in out or "1500000" in (tmp_path / loop / "trace.csv").read_text()
    # In the open loop nothing that the daemon does makes the GPU any cooler.
    assert peak_of(tmp_path / "open", "gpu") > peak_of(tmp_path / "closed", "gpu") + 1000
    status, _, err = thermalctl("simulate", "--board", board, "--recording", tmp_path / "none.csv")
    assert (status, "none.csv" in err) == (2, True)
    status, _, err = thermalctl("simulate", "--board", board, "--recording", recording, "--workload", "game")
    assert (status, "excludes --workload" in err) == (2, True)


def test_a_recording_is_run_on_one_clock_and_its_offset_is_told(thermalctl, tmp_path):
    board = REPOSITORY / "boards" / "phone"
    thermalctl("simulate", "--board", board, "--workload", "game", "--duration", "20m", "--out", tmp_path / "run")
    loads = tmp_path / "loads.csv"
    for behind in (0, 38):
        loads.write_text("time,little:load,big:load,gpu:load,panel,charger,modem\n"
                         f"{100 - behind},0.3,0.2,0.15,1,1,0.4\n{300 - behind},0.6,0.9,1,1,1,0.3\n"
                         f"{1200 - behind},0.6,0.9,1,1,1,0.3\n")
        status, _, err = thermalctl("simulate", "--board", board, "--loop", "open", "--out", tmp_path / "again",
                                    "--recording", f"{tmp_path / 'run' / 'trace.csv'},{loads}")
        assert status in (0, 1), err
        [seconds, word] = re.search(r"loads\.csv: its clock is ([\d.]+) s (behind|ahead of) that of", err).groups()
        assert float(seconds) == pytest.approx(behind, abs=1)
        assert word == "behind" or behind == 0
        # On one clock the recorded levels meet the loads that they came of.
        assert peak_of(tmp_path / "again", "gpu") == pytest.approx(peak_of(tmp_path / "run", "gpu"), abs=1500)
    # Without a reading nothing tells it, which is told.
    header, *rows = (tmp_path / "run" / "trace.csv").read_text().splitlines()
    (tmp_path / "levels.csv").write_text("\n".join([header, *(row for row in rows if ",temperature," not in row)]) + "\n")
    status, _, err = thermalctl("simulate", "--board", board, "--recording", f"{tmp_path / 'levels.csv'},{loads}")
    assert (status in (0, 1), "do not tell how the files' clocks differ" in err) == (True, True), err
