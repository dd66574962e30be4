"""The report of thermalctl in a browser, and thermalctl plot on real and on damaged logs."""

import csv
import json
import sys
import time
from collections import defaultdict
from contextlib import closing
from pathlib import Path

import pytest

from browser import Browser

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import Board  # noqa: E402

BOARD = REPOSITORY / "boards" / "phone"
CONFIGURATIONS = ("talmor-thermal.conf", "talmor-thermal_night.conf")
DEGREE = "°C"
SHIFT = "\ue008"


@pytest.fixture
def tool(thermalctl):
    """Runs it; `status` is what it must end with."""
    def run(*arguments, status=0):
        done = thermalctl(*arguments)
        assert done.status == status, done.err
        return done
    return run


@pytest.fixture(scope="module")
def window():
    with closing(Browser()) as one:
        yield one


@pytest.fixture
def browser(window):
    window.reset()
    return window


@pytest.fixture
def game(tool, tmp_path):
    """A quarter of an hour of a game with both configurations; the skin passes its limit by day."""
    tool("simulate", "--board", BOARD, *(f"--conf={BOARD / name}" for name in CONFIGURATIONS),
               "--workload", "game", "--duration", "15m", "--limit", "skin=41C",
               "--out", tmp_path / "out", status=1)
    return tmp_path / "out"


@pytest.fixture
def page(browser, game):
    browser.open(game / "report.html")
    settle(browser)
    return browser


def settle(browser):
    """Until everything that was asked to be drawn has been."""
    browser.command("Runtime.evaluate", awaitPromise=True, expression="new Promise((done) => "
                    "requestAnimationFrame(() => requestAnimationFrame(done)))")


def courses(out):
    """The (time, value) of each event of trace.csv, by run, kind of event, name and detail."""
    found = defaultdict(list)
    with open(out / "trace.csv", newline="") as trace:
        for row in csv.DictReader(trace):
            kind = row["event"]
            scenario = row["detail"] if kind == "algorithm" else ""
            value = -1 if row["value"] == "" else int(row["value"])
            found[row["run"], kind, row["name"], scenario].append([int(row["time_ms"]), value])
    return found


PAGE_COURSES = """
    const found = [];
    const add = (run, kind, track, scenario) => found.push([[run.name, kind, track.name, scenario],
        track.course.times.map((time, i) => [time, track.course.values[i]])]);
    for (const run of runs) {
      for (const sensor of run.sensors) add(run, sensor.kind === 'plant' ? 'plant' : 'temperature', sensor, '');
      for (const device of run.devices) add(run, 'level', device, '');
      for (const algorithm of run.algorithms) add(run, 'algorithm', algorithm, algorithm.scenario);
    }
    return found;"""


def page_courses(browser):
    return {tuple(key): points for key, points in browser.run(PAGE_COURSES) if points}


def windows(browser):
    """The stretch of time that each visible chart shows, in milliseconds."""
    return browser.run("return lanes.filter((lane) => lane.visible())"
                       ".map((lane) => lane.graph.xAxisRange())")


def the_window(browser):
    settle(browser)
    shown = windows(browser)
    assert len(shown) > 10
    assert all(window == shown[0] for window in shown), shown
    return shown[0]


def area_of(browser, lane):
    """Where a chart draws, in pixels of the window."""
    return browser.run("""
        const lane = lanes.find((one) => one.section.dataset.lane === arguments[0]);
        lane.plot.scrollIntoView({block: 'center'});
        const box = lane.plot.getBoundingClientRect();
        const area = lane.graph.getArea();
        return {left: box.left + area.x, top: box.top + area.y, width: area.w, height: area.h};
        """, lane)


def at(area, x, y=0.5):
    return area["left"] + x * area["width"], area["top"] + y * area["height"]


def colours(browser, lane):
    """How many pixels of each colour a chart has, as (red, green, blue, alpha)."""
    settle(browser)
    return {tuple(colour): count for colour, count in browser.run("""
        const {graph} = lanes.find((one) => one.section.dataset.lane === arguments[0]);
        const {width, height} = graph.hidden_;
        const {data} = graph.hidden_ctx_.getImageData(0, 0, width, height);
        const counts = new Map();
        for (let i = 0; i < data.length; i += 4) {
          const colour = data.slice(i, i + 4).join();
          counts.set(colour, (counts.get(colour) || 0) + 1);
        }
        return [...counts].map(([colour, count]) => [colour.split(',').map(Number), count]);
        """, lane)}


# Of the background of a chart, at a time.
COLOUR_AT = """
    const {graph} = lanes.find((one) => one.section.dataset.lane === 'temperature:little');
    const x = graph.toDomXCoord(arguments[0]) * graph.hidden_.width / graph.hidden_.clientWidth;
    return [...graph.hidden_ctx_.getImageData(x, 3, 1, 1).data];"""
BLUE, ORANGE = (0, 103, 177, 255), (200, 85, 10, 255)


# The page.

def test_the_page_opens_alone_and_without_an_error(page, game):
    assert page.console() == []
    assert page.run("return performance.getEntriesByType('resource').length") == 0
    assert page.run("return document.title") == "game on phone"
    assert page.run("return lanes.filter((lane) => lane.visible() && !lane.graph).length") == 0


def test_the_series_hold_the_values_of_the_csv(page, game):
    written = {key: points for key, points in courses(game).items()
               if key[1] in ("temperature", "plant", "level", "algorithm")}
    assert len(written) > 30
    assert page_courses(page) == written


def test_the_charts_draw_the_values_of_the_csv(page, game):
    written = courses(game)
    for name, scale in (("temperature:skin", 0.001), ("temperature:big", 0.001),
                        ("device:gpu", -1)):
        kind = {"temperature": "temperature", "device": "level"}[name.partition(":")[0]]
        for column, run in enumerate(CONFIGURATIONS, 1):
            drawn = page.run("""
                const {graph} = lanes.find((one) => one.section.dataset.lane === arguments[0]);
                const points = [];
                for (let row = 0; row < graph.numRows(); ++row)
                  points.push([graph.getValue(row, 0), graph.getValue(row, arguments[1])]);
                return points.filter((point) => point[1] !== null);
                """, name, column)
            # Of several values at one time the last is drawn.
            points = dict(written[run, kind, name.partition(":")[2], ""])
            if kind == "level":  # drawn on to the end of the run
                points.setdefault(900000, list(points.values())[-1])
            assert [time for time, _ in drawn] == list(points)
            assert [value for _, value in drawn] == pytest.approx(
                [value * scale for value in points.values()])


def test_a_long_run_is_thinned_without_a_wrong_point_or_a_lost_extreme(browser, tool, tmp_path):
    tool("simulate", "--board", BOARD, "--workload", "game", "--duration", "5h",
               "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    assert browser.console() == []
    shown = page_courses(browser)
    written = courses(tmp_path)
    thinned = 0
    for key, points in written.items():
        if key[1] != "temperature":
            continue
        assert len(shown[key]) <= 16384
        assert set(map(tuple, shown[key])) <= set(map(tuple, points))
        values, kept = [value for _, value in points], [value for _, value in shown[key]]
        assert (max(kept), min(kept)) == (max(values), min(values))
        assert (shown[key][0], shown[key][-1]) == (points[0], points[-1])
        thinned += len(kept) < len(values)
    assert thinned >= 5
    assert browser.run("return !document.querySelector('.thinned').hidden")
    assert (tmp_path / "report.html").stat().st_size < 1_000_000


def test_dragging_over_one_chart_zooms_all_of_them(page):
    assert the_window(page) == [0, 900000]
    area = area_of(page, "temperature:skin")
    page.pointer(at(area, 0.25), "down", at(area, 0.4), at(area, 0.5), "up")
    pixel = 900000 / area["width"]
    assert the_window(page) == [pytest.approx(225000, abs=pixel), pytest.approx(450000, abs=pixel)]
    area = area_of(page, "device:gpu")
    page.pointer(at(area, 0.5), "down", "up", "down", "up")
    assert the_window(page) == [0, 900000]


def test_dragging_with_shift_moves_all_charts(page):
    page.run("setWindow(300000, 600000)")
    area = area_of(page, "temperature:big")
    page.pointer(at(area, 0.6), "down", at(area, 0.5), at(area, 0.4), "up", keys=[SHIFT])
    pixel = 300000 / area["width"]
    assert the_window(page) == [pytest.approx(360000, abs=2 * pixel), pytest.approx(660000, abs=2 * pixel)]
    page.pointer(at(area, 0.1), "down", at(area, 0.5), at(area, 0.9), "up", keys=[SHIFT])
    page.pointer(at(area, 0.1), "down", at(area, 0.5), at(area, 0.9), "up", keys=[SHIFT])
    assert the_window(page) == [0, pytest.approx(300000)]


def test_the_buttons_zoom_and_move(page):
    page.click("[data-do=in]")
    assert the_window(page) == [225000, 675000]
    page.click("[data-do=forth]")
    assert the_window(page) == [450000, 900000]
    page.click("[data-do=back]")
    assert the_window(page) == [225000, 675000]
    page.click("[data-do=out]")
    assert the_window(page) == [0, 900000]
    page.run("setWindow(1000, 2000)")
    page.click("[data-do=all]")
    assert the_window(page) == [0, 900000]


def test_two_fingers_zoom(page):
    area = area_of(page, "temperature:skin")
    page.pinch([at(area, 0.45), "down", at(area, 0.35), at(area, 0.25), "up"],
               [at(area, 0.55), "down", at(area, 0.65), at(area, 0.75), "up"])
    start, end = the_window(page)
    # What was under the fingers, 0.45 and 0.55, is under them still: at 0.25 and 0.75.
    assert end - start == pytest.approx(180000, rel=0.05)
    assert start == pytest.approx(405000 - 0.25 * 180000, abs=9000)


def test_the_cursor_reads_every_chart_at_one_time(page, game):
    area = area_of(page, "temperature:skin")
    page.pointer(at(area, 0.7))
    cursor = page.run("return view.cursor")
    assert cursor == pytest.approx(630000, abs=900000 / area["width"])
    written = courses(game)

    def last(run, kind, name, scenario=""):
        return [value for time, value in written[run, kind, name, scenario] if time <= cursor][-1]

    def shown(lane):
        return page.run("""
            const section = document.querySelector(`section[data-lane="${arguments[0]}"]`);
            return [...section.querySelectorAll('.value')].map((value) => value.textContent);
            """, lane)

    for sensor in ("battery", "big", "gpu", "little", "skin"):
        assert shown(f"temperature:{sensor}") == [
            f"{(last(run, 'temperature', sensor) + 50) // 100 / 10:.1f} {DEGREE}"
            for run in CONFIGURATIONS]
    table = Board((BOARD / "talmor-thermal.env").read_text()).devices["gpu"].table
    levels = [last(run, "level", "gpu") for run in CONFIGURATIONS]
    assert shown("device:gpu") == [f"level {level} · {table[level]}" for level in levels]
    assert shown("algorithm:game_skin") == [
        f"level {last(CONFIGURATIONS[0], 'algorithm', 'game_skin', 'game')}"]
    assert shown("names:Scenario") == ["game", "game"]
    assert page.run("return document.querySelector('.readout').textContent").startswith("at 0:10:")
    line = page.run("return document.querySelector('.cursor').getBoundingClientRect().left")
    assert line == pytest.approx(at(area, 0.7)[0], abs=2)


def test_a_runs_button_takes_its_lines_away_and_brings_them_back(page):
    page.click("[data-do=thresholds]")
    before = colours(page, "temperature:skin")
    assert before[BLUE] > 100 and before[ORANGE] > 100
    page.click(f"[data-run='{CONFIGURATIONS[1]}']")
    without = colours(page, "temperature:skin")
    assert without[BLUE] > 100 and ORANGE not in without
    assert page.run("return document.querySelector('section[data-lane=\"algorithm:night_game_skin\"]').hidden")
    page.click(f"[data-run='{CONFIGURATIONS[1]}']")
    assert colours(page, "temperature:skin") == before


def test_a_box_takes_a_chart_away_and_brings_it_back(page):
    page.click(".chooser summary")
    hidden = "return document.querySelector('section[data-lane=\"temperature:gpu\"]').hidden"
    page.click("input[data-lane='temperature:gpu']")
    settle(page)
    assert page.run(hidden)
    page.click("input[data-lane='temperature:gpu']")
    settle(page)
    assert not page.run(hidden)
    assert the_window(page) == [0, 900000]


def test_thresholds_and_their_bands_can_be_switched_off(page):
    page.click(f"[data-run='{CONFIGURATIONS[1]}']")
    with_thresholds = colours(page, "temperature:gpu")
    page.click("[data-do=thresholds]")
    without = colours(page, "temperature:gpu")
    changed = sum(abs(with_thresholds.get(colour, 0) - without.get(colour, 0))
                  for colour in with_thresholds.keys() | without.keys()) / 2
    # At least one band, 3 degrees high, over the whole width of the chart.
    low, high = page.run("return lanes.find((lane) => lane.name === 'gpu').graph.yAxisRange()")
    area = area_of(page, "temperature:gpu")
    assert changed > 0.9 * area["width"] * area["height"] * 3 / (high - low)


def test_thresholds_show_only_while_their_scenario_is_in_force(page, game):
    [[change, _]] = courses(game)[CONFIGURATIONS[0], "scenario", "game", ""]
    for scenario, expected in (("Default", [[0, change]]), ("game", [[change, 900000]]),
                               ("camera", [])):
        spans = page.run("""
            const [run] = runs;
            return run.algorithms.filter((one) => one.scenario === arguments[0])
              .map((one) => one.inForce.map(({from, to}) => [from, to]));""", scenario)
        assert len(spans) == 8 and all(span == expected for span in spans), (scenario, spans)


def test_the_scenario_colours_the_background(page, game):
    page.click("[data-do=thresholds]")
    settle(page)
    assert page.run(COLOUR_AT, 100_500)[3] == 0  # nothing is painted in the scenario Default
    assert page.run(COLOUR_AT, 700_500)[3] > 20


def test_a_limit_that_was_passed_is_marked(page):
    cells = page.run("return [...document.querySelectorAll('.glance .passed')]"
                     ".map((cell) => [cell.textContent, cell.title])")
    [[text, title]] = cells
    assert text.endswith(f" {DEGREE} !") and title == f"above its limit of 41 {DEGREE}"
    alarm = (179, 38, 30, 255)
    assert colours(page, "temperature:skin")[alarm] > 100
    assert alarm not in colours(page, "temperature:big")


def test_it_follows_the_systems_theme_and_its_own_button(page):
    background = "return getComputedStyle(document.body).backgroundColor"
    white, dark = "rgb(255, 255, 255)", "rgb(18, 23, 29)"
    assert page.run(background) == white
    page.command("Emulation.setEmulatedMedia",
                 features=[{"name": "prefers-color-scheme", "value": "dark"}])
    settle(page)
    assert page.run(background) == dark
    assert (88, 180, 240, 255) in colours(page, "temperature:skin")
    page.click("[data-do=theme]")
    assert page.run(background) == white


def test_it_fits_a_phone(page):
    page.command("Emulation.setDeviceMetricsOverride", width=360, height=740, deviceScaleFactor=3,
                 mobile=True)
    settle(page)
    assert page.run("return innerWidth") == 360
    assert page.run("return document.scrollingElement.scrollWidth") == 360
    widths = page.run("return lanes.filter((lane) => lane.visible())"
                      ".map((lane) => lane.graph.getArea().w)")
    assert min(widths) > 250
    assert page.console() == []


def test_it_prints_and_looks_as_before_afterwards(page):
    page.click("[data-do=theme]")
    pdf = page.print()
    assert pdf.startswith(b"%PDF")
    settle(page)
    assert page.run("return document.documentElement.dataset.theme") == "dark"
    assert page.run("return document.body.style.width + document.body.style.zoom") == ""
    assert page.console() == []


# The other files and the table.

def test_the_trace_events_tell_what_the_csv_tells(game):
    written = courses(game)
    trace = json.loads((game / "trace.json").read_text())["traceEvents"]
    processes = {event["pid"]: event["args"]["name"] for event in trace
                 if event.get("name") == "process_name"}
    assert list(processes.values()) == list(CONFIGURATIONS)
    for pid, run in processes.items():
        for name, kind, counter, scale in (("skin", "temperature", "skin, degrees C", 1000),
                                           ("gpu", "level", "gpu, level", 1)):
            counted = [[event["ts"] / 1000, round(event["args"]["value"] * scale)] for event in trace
                       if event["ph"] == "C" and (event["pid"], event["name"]) == (pid, counter)]
            assert counted == written[run, kind, name, ""]
    for pid in processes:
        open_slices = defaultdict(int)
        for event in trace:
            if event["pid"] == pid and event["ph"] in "BE":
                open_slices[event["tid"]] += 1 if event["ph"] == "B" else -1
                assert open_slices[event["tid"]] in (0, 1)
        assert open_slices and not any(open_slices.values())


# thermalctl plot.

def messages():
    """The (milliseconds, text) of a few messages: a sensor warms a monitor up and cools it down."""
    yield 0, "[TalmorThermal] Using Env Config!"
    for i in range(40):
        temperature = 50000 + 1000 * min(i, 40 - i)
        time = 250 * i
        yield time, f"[TalmorThermal] Sensor [gpu], Scen [Default] temp({temperature})"
        if i % 4 == 0:
            yield time + 1, f"[TalmorThermal] Sensor[skin] temp({30000 + 10 * i})"
        if temperature == 62000 and i < 20:
            yield time + 2, "[TalmorThermal] Sensor [gpu] activate Algo [day_gpu], scen [Default]"
            yield time + 3, "[TalmorThermal] [TalmorThermal] Monitor [day_gpu] temp(62000) status(0 -> 1)"
        if temperature == 58000 and i > 20:
            yield time + 3, "[TalmorThermal] [TalmorThermal] Monitor [day_gpu] temp(58000) status(1 -> 0)"


def stamp(time):
    return f"{time // 1000 + 20:02d}.{time % 1000:03d}"


FORMATS = {
    "time": lambda time, text: f"01-30 14:03:{stamp(time)} V/echo-service( 1234): {text}\n",
    "threadtime": lambda time, text: f"01-30 14:03:{stamp(time)}  1234  5678 V echo-service: {text}\n",
    "year": lambda time, text: f"2024-01-30 14:03:{stamp(time)}  1234  5678 V echo-service: {text}\n",
    "epoch": lambda time, text: f"         17066234{stamp(time)}  1234  5678 V echo-service: {text}\n",
    "long": lambda time, text: f"[ 01-30 14:03:{stamp(time)}  1234: 5678 V/echo-service ]\n{text}\n\n\n",
    "brief": lambda time, text: f"V/echo-service( 1234): {text}\n",
    "raw": lambda time, text: f"{text}\n",
}


def write_log(path, format_name="threadtime"):
    path.write_text("".join(FORMATS[format_name](time, text) for time, text in messages()))
    return path


def gpu_events(out, run):
    written = courses(out)
    return [written[run, "temperature", "gpu", ""], written[run, "level", "gpu", ""],
            written[run, "algorithm", "day_gpu", "Default"]]


@pytest.mark.parametrize("name", FORMATS)
def test_plot_reads_the_usual_formats_of_logcat(name, tool, tmp_path):
    log = write_log(tmp_path / "phone.log", name)
    done = tool("plot", log, "--board", BOARD, "--out", tmp_path)
    lines = len(log.read_text().splitlines())
    assert done.err.splitlines()[0] == (
        f"{log}: {sum(1 for _ in messages())} messages of the daemon in {lines} lines")
    temperatures, levels, algorithm = gpu_events(tmp_path, "phone.log")
    assert temperatures == [[250 * i, 50000 + 1000 * min(i, 40 - i)] for i in range(40)]
    # Without times in the log, what happens between two samples happens at the first.
    known = name not in ("brief", "raw")
    warm, hot, cool = (3002, 3003, 8003) if known else (3000, 3000, 8000)
    assert levels == [[0, 0], [hot, 1], [cool, 0]]
    assert algorithm == [[warm, 0], [hot, 1], [cool, -1]]


def test_plot_asks_for_the_board_where_a_log_has_no_times(tool, tmp_path):
    log = write_log(tmp_path / "phone.log", "brief")
    done = tool("plot", log, status=2)
    assert done.err.endswith(" messages without a time; with --board the sensors' periods stand "
                                "in for it\n")


def test_plot_skips_the_lines_of_others_and_counts_torn_ones(tool, tmp_path):
    log = write_log(tmp_path / "phone.log")
    lines = log.read_text().splitlines(keepends=True)
    lines.insert(0, "--------- beginning of main\n")
    lines.insert(9, "01-30 14:03:20.001   700   700 I ActivityManager: Start proc\n")
    lines[20] = lines[20][:-12] + lines[21]  # two lines run together
    del lines[21]
    lines[-1] = lines[-1][:-9]
    log.write_text("".join(lines))
    done = tool("plot", log)
    assert done.err == (f"{log}: {sum(1 for _ in messages()) - 3} messages of the daemon in "
                           f"{len(lines)} lines, 2 torn lines (the first is line 21)\n")


def test_plot_needs_a_message_of_the_daemon(tool, tmp_path):
    log = tmp_path / "other.log"
    log.write_text("01-30 14:03:20.001   700   700 I ActivityManager: Start proc\n")
    done = tool("plot", log, status=2)
    assert done.err == f"thermalctl: {log}: no message of the daemon is in it\n"


def test_plot_tells_every_file_that_it_cannot_read(tool, tmp_path):
    done = tool("plot", tmp_path / "a.log", tmp_path / "b.log", status=2)
    assert done.err == "".join(f"thermalctl: {tmp_path / name}: cannot be read\n"
                                  for name in ("a.log", "b.log"))


def test_plot_without_a_board_shows_what_the_log_alone_tells(browser, tool, tmp_path):
    tool("plot", write_log(tmp_path / "phone.log"), "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    settle(browser)
    assert browser.console() == []
    assert browser.run("return lanes.filter((lane) => lane.visible())"
                       ".map((lane) => lane.section.dataset.lane)") == [
        "names:Scenario", "temperature:gpu", "temperature:skin", "algorithm:day_gpu", "time:time"]


def test_plot_lays_logs_and_simulated_runs_over_each_other(browser, tool, tmp_path, game):
    log = write_log(tmp_path / "phone.log")
    tool("plot", log, game / "trace.csv", "--board", BOARD, "--out", tmp_path / "both")
    browser.open(tmp_path / "both" / "report.html")
    settle(browser)
    assert browser.console() == []
    names = ["phone.log", *(f"trace.csv: {name}" for name in CONFIGURATIONS)]
    assert browser.run("return runs.map((run) => run.name)") == names
    assert browser.run("return lanes.find((lane) => lane.name === 'gpu').tracks"
                       ".map((track) => track.run.name)") == names
    # The game begins long after the end of the log, which is the first run.
    browser.click("[data-do=thresholds]")
    settle(browser)
    assert browser.run(COLOUR_AT, 100_500)[3] == 0
    assert browser.run(COLOUR_AT, 700_500)[3] > 20
    # All three have their thresholds from the board.
    assert browser.run("""
        return runs.map((run) => run.algorithms
          .filter((one) => one.scenario === 'Default' && one.inForce.length && /gpu$/.test(one.name))
          .map((one) => [one.name, one.thresholds[0]]));""") == [
        [["day_gpu", [62000, 59000]]], [["day_gpu", [62000, 59000]]],
        [["night_gpu", [56000, 53000]]]]


def test_plot_of_a_simulated_run_is_the_simulated_run(tool, tmp_path, game):
    tool("plot", game / "trace.csv", "--board", BOARD, "--out", tmp_path / "again")
    assert (tmp_path / "again" / "trace.csv").read_bytes() == (game / "trace.csv").read_bytes()


def test_the_levels_that_plot_derives_are_those_that_the_daemon_wrote(daemon, tool, tmp_path):
    board = Board((BOARD / "talmor-thermal.env").read_text())
    for node in board.sensor_nodes.values():
        daemon.box.add_node(node, "30000")
    for device in board.devices.values():
        daemon.box.add_node(device.node)
    daemon.env_text = (BOARD / "talmor-thermal.env").read_text()
    daemon.conf_text = (BOARD / "talmor-thermal.conf").read_text()
    daemon.profile(CONFIGURATIONS[1], (BOARD / CONFIGURATIONS[1]).read_text())
    daemon.started()

    def heat(**temperatures):
        for sensor, temperature in temperatures.items():
            daemon.box.write_node(board.sensor_nodes[sensor], str(temperature))
        time.sleep(2.5)

    heat(big=71000, gpu=64000)
    heat(big=76000, battery=41000)
    daemon.switch("game")
    heat(big=90000, gpu=74000)
    daemon.swap(CONFIGURATIONS[1])
    heat(big=60000, battery=44000)
    daemon.switch("Default")
    heat(big=40000, gpu=30000, little=30000, battery=30000)
    daemon.refresh()

    log = tmp_path / "phone.log"
    log.write_text("".join(
        f"{event.time:.6f}  1234  {event.thread} V echo-service: {event.text}\n"
        for event in sorted(daemon.log_events(), key=lambda event: event.time)))
    done = tool("plot", log, "--board", BOARD, "--out", tmp_path)
    assert "torn" not in done.err
    derived = courses(tmp_path)
    for name, device in board.devices.items():
        if device.kind in ("report", "camera"):  # the camera never left level 0, the report has none
            continue
        written = []
        for event in daemon.write_events(Path(device.node).name):
            device.follow(event.data)
            written.append(device.level)
        assert [level for _, level in derived["phone.log", "level", name, ""]] == [0, *written], name
    assert derived["phone.log", "configuration", CONFIGURATIONS[1], ""]
