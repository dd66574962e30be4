"""The report of thermalctl in a browser, and thermalctl plot on real and on damaged logs."""

import csv
import hashlib
import json
import subprocess
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
    browser.command("Runtime.evaluate", awaitPromise=True, expression="""new Promise((done) => {
        // Observers are told of what came into view behind a frame, and ask for another.
        let frames = 5;
        const next = () => --frames ? requestAnimationFrame(next) : done();
        next(); })""")


def show(browser, lane):
    """Scrolls a chart into the middle of the window, where it is drawn."""
    browser.run("""document.querySelector(`section[data-lane="${arguments[0]}"]`)
                   .scrollIntoView({block: 'center'})""", lane)
    settle(browser)


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
    """The stretch of time that each chart in the browser's window shows, in milliseconds."""
    return browser.run("return lanes.filter((lane) => lane.visible() && lane.isNear && !lane.isFlat)"
                       ".map((lane) => lane.graph.xAxisRange())")


def the_window(browser):
    settle(browser)
    shown = windows(browser)
    assert len(shown) > 4
    assert all(window == shown[0] for window in shown), shown
    return shown[0]


def area_of(browser, lane):
    """Where a chart draws, in pixels of the window."""
    show(browser, lane)
    return browser.run("""
        const lane = lanes.find((one) => one.section.dataset.lane === arguments[0]);
        const box = lane.plot.getBoundingClientRect();
        const area = lane.graph.getArea();
        return {left: box.left + area.x, top: box.top + area.y, width: area.w, height: area.h};
        """, lane)


def at(area, x, y=0.5):
    return area["left"] + x * area["width"], area["top"] + y * area["height"]


def colours(browser, lane):
    """How many pixels of each colour a chart has, as (red, green, blue, alpha)."""
    show(browser, lane)
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
BLUE, ORANGE = (0, 103, 177, 255), (184, 74, 0, 255)


# The page.

def test_the_page_opens_alone_and_without_an_error(page, game):
    assert page.console() == []
    assert page.run("return performance.getEntriesByType('resource').length") == 0
    assert page.run("return document.title") == "game on phone"
    assert page.run("return lanes.filter((lane) => lane.visible() && lane.isNear && !lane.isFlat && !lane.graph).length") == 0
    assert page.run("return lanes.filter((lane) => lane.graph).length") > 4


def test_the_series_hold_the_values_of_the_csv(page, game):
    written = {key: points for key, points in courses(game).items()
               if key[1] in ("temperature", "plant", "level", "algorithm")}
    assert len(written) > 30
    assert page_courses(page) == written


DRAWN = """
    const {graph} = lanes.find((one) => one.section.dataset.lane === arguments[0]);
    const points = [];
    for (let row = 0; row < graph.numRows(); ++row)
      points.push([graph.getValue(row, 0), graph.getValue(row, arguments[1])]);
    return points.filter((point) => point[1] !== null);"""


def test_the_charts_draw_the_values_of_the_csv(page, game):
    written = courses(game)
    page.run("setWindow(330000, 360000)")
    for lane, kind, scale in (("temperature:skin", "temperature", 0.001),
                              ("temperature:big", "temperature", 0.001),
                              ("device:gpu", "level", -1)):
        show(page, lane)
        for column, run in enumerate(CONFIGURATIONS, 1):
            drawn = [(time, value) for time, value in page.run(DRAWN, lane, column)
                     if 330000 <= time <= 360000]
            # Of several values at one time the last is drawn.
            points = {time: value * scale
                      for time, value in written[run, kind, lane.partition(":")[2], ""]
                      if 330000 <= time <= 360000}
            if kind == "level":  # drawn on to the end of the window
                assert drawn.pop()[0] == 360000
            assert [time for time, _ in drawn] == list(points)
            assert [value for _, value in drawn] == pytest.approx(list(points.values()))


def test_a_whole_run_is_drawn_as_mean_and_envelope_of_each_column(page, game):
    written = courses(game)
    show(page, "temperature:big")
    column = page.run("return lanes.find((one) => one.name === 'big').column()")
    for number, run in enumerate(CONFIGURATIONS):
        piece = page.run("return lanes.find((one) => one.name === 'big').pieces[arguments[0]]", number)
        points = written[run, "temperature", "big", ""]
        assert len(piece["times"]) == pytest.approx(900000 / column, abs=2)
        for i in (0, 50, 200, len(piece["times"]) - 2):
            inside = [value for time, value in points
                      if time // column == piece["times"][i] // column]
            assert len(inside) > 5
            assert (piece["lows"][i], piece["highs"][i]) == (min(inside), max(inside))
            assert piece["values"][i] == pytest.approx(sum(inside) / len(inside))
        # The line is the mean.
        assert [value for _, value in page.run(DRAWN, "temperature:big", number + 1)] == (
            pytest.approx([value / 1000 for value in piece["values"]]))


def test_a_long_run_keeps_lowest_mean_and_highest_of_short_stretches(browser, tool, tmp_path):
    tool("simulate", "--board", BOARD, "--workload", "game", "--duration", "10h",
               "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    assert browser.console() == []
    shown = browser.run("""return runs[0].sensors.map(({name, kind, stretch, course}) =>
                           [name, kind, stretch, course.times, course.lows, course.values, course.highs]);""")
    written = courses(tmp_path)
    thinned = 0
    for name, kind, stretch, *columns in shown:
        points = written["talmor-thermal.conf", "plant" if kind == "plant" else "temperature", name, ""]
        if stretch == 1:
            assert columns[0] == [time for time, _ in points]
            continue
        thinned += 1
        assert stretch <= 4096
        found = defaultdict(list)
        for time_, value in points:
            found[time_ // stretch].append(value)
        assert columns[0] == [(number + 0.5) * stretch for number in found]
        assert columns[1] == [min(values) for values in found.values()]
        assert columns[2] == pytest.approx([sum(values) / len(values) for values in found.values()], abs=0.51)
        assert columns[3] == [max(values) for values in found.values()]
    assert thinned >= 3


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
    assert page.run("return document.querySelector('.readout').textContent").startswith("at 0:10:")
    line = page.run("return document.querySelector('.cursor').getBoundingClientRect().left")
    assert line == pytest.approx(at(area, 0.7)[0], abs=2)
    written = courses(game)

    def last(run, kind, name, scenario=""):
        return [value for time, value in written[run, kind, name, scenario] if time <= cursor][-1]

    def shown(lane):
        show(page, lane)
        return page.run("""
            setCursor(arguments[1]);
            const section = document.querySelector(`section[data-lane="${arguments[0]}"]`);
            return [...section.querySelectorAll('.value')].map((value) => value.textContent);
            """, lane, cursor)

    for sensor in ("battery", "big", "gpu", "little", "skin"):
        assert shown(f"temperature:{sensor}") == [
            f"{(last(run, 'temperature', sensor) + 50) // 100 / 10:.1f} {DEGREE}"
            for run in CONFIGURATIONS]
    table = Board((BOARD / "talmor-thermal.env").read_text()).devices["gpu"].table
    levels = [last(run, "level", "gpu") for run in CONFIGURATIONS]
    assert shown("device:gpu") == [f"level {level} · {int(table[level]) // 1000} MHz" for level in levels]
    assert shown("algorithm:game_skin") == [
        f"level {last(CONFIGURATIONS[0], 'algorithm', 'game_skin', 'game')}"]
    assert shown("names:Scenario") == ["game", "game"]


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
    show(page, "temperature:little")
    assert page.run(COLOUR_AT, 100_500)[3] == 0  # nothing is painted in the scenario Default
    assert page.run(COLOUR_AT, 700_500)[3] > 20


def test_a_limit_that_was_passed_is_marked(page):
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
    widths = page.run("return lanes.filter((lane) => lane.graph).map((lane) => lane.graph.getArea().w)")
    assert min(widths) > 190
    assert page.console() == []


def test_it_prints_and_looks_as_before_afterwards(page):
    page.click("[data-do=theme]")
    pdf = page.print()
    assert pdf.startswith(b"%PDF")
    settle(page)
    assert page.run("return document.documentElement.dataset.theme") == "dark"
    assert page.run("return document.body.style.width + document.body.style.zoom") == ""
    assert page.console() == []


# What the page answers at the first glance.

def texts(browser, selector):
    return browser.run("return [...document.querySelectorAll(arguments[0])].map((one) => one.textContent)", selector)


def test_the_verdict_stands_at_the_top_with_how_far_and_how_long(page, game):
    assert texts(page, ".verdict .sum") == ["✕ 1 of 2 limits passed"]
    samples = courses(game)[CONFIGURATIONS[0], "temperature", "skin", ""]
    peak = max(value for _, value in samples)
    over = [(time, value > 41000) for time, value in samples] + [(900000, False)]
    above = sum(end - start for (start, is_over), (end, _) in zip(over, over[1:]) if is_over)
    first = next(time for time, value in samples if value > 41000)
    passed, kept = page.run("""return [...document.querySelectorAll('.limits tbody tr')].map((row) =>
        [...row.cells].map((cell) => cell.textContent));""")
    assert passed == ["✕ passed", "skin", f"{peak / 1000:.1f} {DEGREE}",
                      f"{(peak - 41000) / 1000:.1f} K above 41 {DEGREE}",
                      f"for 0:{above // 60000:02d}:{above // 1000 % 60:02d}",
                      f"first at 0:{first // 60000:02d}:{first // 1000 % 60:02d}", CONFIGURATIONS[0]]
    assert kept[:2] == ["✓ kept", "skin"] and kept[3].endswith(f"K below 41 {DEGREE}")
    # Above everything that is drawn, without scrolling.
    bottom, top = page.run("""return [document.querySelector('.limits').getBoundingClientRect().bottom,
        document.querySelector('.charts').getBoundingClientRect().top]""")
    assert bottom < top < 600
    assert texts(page, "section[data-lane='temperature:skin'] .badge") == [passed[3]]


def test_a_chart_tells_how_far_the_runs_are_beyond_that_it_shows(page):
    shown = "section[data-lane='temperature:skin'] .badge:not([hidden])"
    for expected in (0, 1):
        page.click(f"[data-run='{CONFIGURATIONS[0]}']")
        settle(page)
        assert len(texts(page, shown)) == expected


def test_a_phone_shows_the_failing_figure_without_scrolling(page):
    page.command("Emulation.setDeviceMetricsOverride", width=390, height=844, deviceScaleFactor=3,
                 mobile=True)
    settle(page)
    for cell in ("state", "peak", "against", "above"):
        left, right, bottom = page.run("""
            const box = document.querySelector('.limits .' + arguments[0]).getBoundingClientRect();
            return [box.left, box.right, box.bottom];""", cell)
        assert 0 <= left < right <= 390 and bottom < 844, cell


def test_without_a_limit_the_page_says_so(browser, tool, tmp_path):
    tool("simulate", "--board", BOARD, "--workload", "idle", "--duration", "5m", "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    [text] = texts(browser, ".verdict .sum")
    assert "--limit" in text


def order(browser):
    """Headings and charts from top to bottom; a folded chart in brackets."""
    return browser.run("""return [...document.querySelectorAll('.charts h2, .charts section')]
        .filter((one) => !one.hidden).map((one) => one.dataset.lane === undefined ? one.textContent
            : one.classList.contains('flat') ? `(${one.dataset.lane})` : one.dataset.lane);""")


def test_what_fails_is_limited_or_throttled_stands_first(browser, tool, tmp_path):
    tool("simulate", "--board", BOARD, "--workload", "game", "--duration", "15m",
         "--limit", "skin=41C", "--limit", "battery=48C", "--limit", "node:case=41.1C",
         "--out", tmp_path, status=1)
    browser.open(tmp_path / "report.html")
    shown = order(browser)
    first = shown.index("Limits and throttling")
    # By how far it has passed; then what is limited; then what an algorithm has throttled for.
    assert shown[first + 1:first + 5] == ["temperature:skin", "temperature:case (plant)",
                                          "temperature:battery", "temperature:battery (plant)"]
    rest = shown[first + 5:shown.index("Other temperatures")]
    kinds = [lane.partition(":")[0] for lane in rest]
    assert kinds == sorted(kinds, reverse=True) and "device:gpu" in rest and "device:cpu_big" in rest
    assert "(device:camera)" in shown[shown.index("Other devices"):]


def test_a_flat_chart_is_folded_into_a_line_that_opens(browser, tool, tmp_path):
    tool("simulate", "--board", BOARD, "--workload", "idle", "--duration", "15m", "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    settle(browser)
    assert "(device:camera)" in order(browser)
    camera = "section[data-lane='device:camera']"
    assert texts(browser, camera + " .values") == ["level 0 · 30 fps"]
    assert browser.run("return document.querySelector(arguments[0]).offsetHeight", camera) < 40
    browser.click(camera + " h3 button")
    show(browser, "device:camera")
    assert "device:camera" in order(browser)
    assert browser.run("return document.querySelector(arguments[0]).offsetHeight", camera) > 90
    assert browser.run("return laneOf.get(document.querySelector(arguments[0])).graph !== undefined", camera)


def test_the_lines_of_noisy_runs_stay_apart(page):
    """The mean moves less than the noise does, so that the dashes of a line can be seen."""
    show(page, "temperature:big")
    page.run("setWindow(600000, 900000)")
    settle(page)
    roughness = page.run("""
        const {values, lows, highs} = lanes.find((one) => one.name === 'big').pieces[1];
        const moves = (list) => list.slice(1).reduce((sum, value, i) => sum + Math.abs(value - list[i]), 0) / list.length;
        return [moves(values), highs.reduce((sum, high, i) => sum + high - lows[i], 0) / highs.length];""")
    assert roughness[0] < 0.35 * roughness[1]


def test_shades_of_several_runs_never_mix(browser, tool, tmp_path):
    """Runs with the same noise and thresholds: no colour but those of the runs is laid on."""
    for i in range(4):
        (tmp_path / f"{i}.conf").write_text((BOARD / CONFIGURATIONS[0]).read_text())
    tool("simulate", "--board", BOARD, *(f"--conf={tmp_path}/{i}.conf" for i in range(4)),
         "--workload", "idle", "--duration", "5m", "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    show(browser, "temperature:big")
    # Without the lines, whose edges do lie over each other.
    browser.run("lanes.find((one) => one.name === 'big').graph.updateOptions({colors: Array(4).fill('#0000')})")
    found = colours(browser, "temperature:big")
    # The fifth is grey itself.
    alone = {run: browser.run("return colourOf(runs[arguments[0]])", run) for run in range(4)}
    grid = "#e9edf1"
    shades = {tuple(int(colour[i:i + 2], 16) for i in (1, 3, 5)) for colour in (*alone.values(), grid)}
    pale = {colour[:3] for colour, count in found.items() if 50 < colour[3] < 110 and count > 60}
    assert pale
    for colour in pale:
        assert any(max(abs(a - b) for a, b in zip(colour, shade)) <= 12 for shade in shades), colour


def test_labels_stand_beside_the_chart_in_the_colour_of_their_run_and_none_vanishes(page):
    for lane in ("temperature:skin", "temperature:big", "temperature:gpu"):
        show(page, lane)
        area, labels = page.run("""
            const lane = lanes.find((one) => one.section.dataset.lane === arguments[0]);
            const {x, w} = lane.graph.getArea();
            const box = lane.plot.getBoundingClientRect();
            return [[box.left + x + w, box.top, box.bottom], [...lane.marks.querySelectorAll('text')].map((one) => {
                const {left, top, bottom, right} = one.getBoundingClientRect();
                return [one.textContent, one.getAttribute('fill'), left, top, bottom, right]; })];""", lane)
        assert all(left > area[0] for _, _, left, _, _, _ in labels)
        middles = sorted((top + bottom) / 2 for _, _, _, top, bottom, _ in labels)
        assert all(b - a > 9 for a, b in zip(middles, middles[1:])), lane
        assert area[1] <= middles[0] and middles[-1] <= area[2]
        assert all(right <= 1200 for *_, right in labels)
        if lane == "temperature:skin":
            assert {(text, colour) for text, colour, *_ in labels} >= {
                ("44 → 4", "#0067b1"), ("42 → 3", "#0067b1"), ("40 → 2", "#0067b1"), ("38 → 1", "#0067b1"),
                ("41 → 4", "#b84a00"), ("39 → 3", "#b84a00"), ("37 → 2", "#b84a00"), ("35 → 1", "#b84a00"),
                (f"limit 41 {DEGREE}", "#b3261e")}


def test_levels_that_two_runs_share_are_set_apart(browser, tool, tmp_path):
    """A threshold of both is dashed in both colours, and levels of a device lie side by side."""
    for name in ("a.conf", "b.conf"):
        (tmp_path / name).write_text((BOARD / CONFIGURATIONS[0]).read_text())
    tool("simulate", "--board", BOARD, "--conf", tmp_path / "a.conf", "--conf", tmp_path / "b.conf",
         "--workload", "game", "--duration", "15m", "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    show(browser, "temperature:skin")
    bars = browser.run("""return [...lanes.find((one) => one.name === 'skin').marks.querySelectorAll('text')]
        .map((one) => [one.textContent, one.previousElementSibling.getAttribute('fill'),
                       one.previousElementSibling.previousElementSibling.getAttribute('fill')]);""")
    assert ["40 → 2", "#b84a00", "#0067b1"] in bars
    found = colours(browser, "device:gpu")
    blue, orange = found[BLUE], found[ORANGE]
    assert blue > 800 and orange > 400  # dashed
    row = """
        const {graph} = lanes.find((one) => one.section.dataset.lane === 'temperature:skin');
        const scale = graph.hidden_.width / graph.hidden_.clientWidth;
        const {x, w} = graph.getArea();
        const {data} = graph.hidden_ctx_.getImageData(x * scale, Math.floor(graph.toDomYCoord(44) * scale), w * scale, 1);
        const counts = {blue: 0, orange: 0};
        for (let i = 0; i < data.length; i += 4) {
          if (data[i + 2] > data[i] + 60) ++counts.blue;
          if (data[i] > data[i + 2] + 60) ++counts.orange;
        }
        return counts;"""
    show(browser, "temperature:skin")
    counts = browser.run(row)
    assert counts["blue"] > 200 and counts["orange"] > 200


def test_every_level_of_a_device_has_its_label_with_a_unit(page):
    def axis(lane):
        show(page, lane)
        return texts(page, f"section[data-lane='{lane}'] .dygraph-axis-label-y")
    assert axis("device:cpu_big") == ["0 · 2.6 GHz", "1 · 2.4 GHz", "2 · 2.2 GHz", "3 · 2 GHz",
                                      "4 · 1.8 GHz", "5 · 1.6 GHz", "6 · 1.4 GHz", "7 · 1.2 GHz"]
    assert axis("device:gpu")[:3] == ["0 · 850 MHz", "1 · 760 MHz", "2 · 670 MHz"]
    assert axis("device:charger") == [f"{i} · {mA} mA" for i, mA in enumerate((3000, 2400, 1800, 1200, 0))]


def test_the_axis_of_time_reads_hours_minutes_and_seconds(browser, tool, tmp_path):
    tool("simulate", "--board", BOARD, "--workload", "idle", "--duration", "6h", "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    ticks = ".time .dygraph-axis-label-x"
    settle(browser)
    assert {"0:00", "5:00"} <= set(texts(browser, ticks))
    browser.run("setWindow(5 * 3600e3, 5 * 3600e3 + 60e3)")
    settle(browser)
    assert {"5:00:00", "5:00:30", "5:01:00"} <= set(texts(browser, ticks))
    browser.run("setWindow(5 * 3600e3, 5 * 3600e3 + 1000)")
    settle(browser)
    assert "5:00:00.2" in texts(browser, ticks)


def write_trace(path, sensors, period, hours):
    """A trace.csv of sensors whose temperatures swing, each a little later than the one before."""
    with open(path, "w") as trace:
        trace.write("run,time_ms,event,name,value,detail\n")
        for time_ in range(0, hours * 3600000, period):
            for i in range(1, sensors + 1):
                value = 40000 + 100 * ((time_ // period * 7 + i * 13) % 60)
                trace.write(f"many,{time_},temperature,s{i},{value},\n")
        trace.write(f"many,{hours * 3600000},end,,,\n")
    return path


def test_sensors_stand_in_the_order_of_their_numbers(browser, tool, tmp_path):
    tool("plot", write_trace(tmp_path / "trace.csv", 12, 60000, 1), "--out", tmp_path / "out")
    browser.open(tmp_path / "out" / "report.html")
    assert [lane for lane in order(browser) if "s" in lane.partition(":")[2]] == [
        f"temperature:s{i}" for i in range(1, 13)]


def metrics(browser):
    return {one["name"]: one["value"] for one in browser.command("Performance.getMetrics")["metrics"]}


def seconds_of(browser, action):
    """What the page's thread has computed meanwhile, however busy the machine is."""
    browser.command("Performance.enable", timeDomain="threadTicks")
    before = metrics(browser)["TaskDuration"]
    action()
    settle(browser)
    after = metrics(browser)["TaskDuration"]
    browser.command("Performance.disable")
    return after - before


def test_a_day_of_512_sensors_opens_in_two_seconds_and_zooms_in_a_fifth(browser, tool, tmp_path):
    tool("plot", write_trace(tmp_path / "trace.csv", 512, 60000, 24), "--out", tmp_path / "out")
    page = tmp_path / "out" / "report.html"
    assert page.stat().st_size < 5_000_000
    assert seconds_of(browser, lambda: browser.open(page)) < 2
    assert browser.run("return lanes.length") == 513
    # What is out of sight waits.
    assert 3 < browser.run("return lanes.filter((lane) => lane.graph).length") < 20
    for action in ("zoom(0.5)", "pan(0.3)", "zoom(1.5)"):
        # A busy machine disturbs even what the thread alone takes.
        assert min(seconds_of(browser, lambda: browser.run(action)) for _ in range(3)) < 0.2, action
    browser.run("setWindow(0, duration)")
    show(browser, "temperature:s400")
    drawn = browser.run("return lanes.find((lane) => lane.name === 's400').graph.xAxisRange()")
    assert drawn == [0, 24 * 3600000]


def test_a_zoom_into_a_day_shows_the_course_and_how_to_look_closer(browser, tool, tmp_path):
    tool("simulate", "--board", BOARD, "--workload", "navigation", "--duration", "24h",
         "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    settle(browser)
    closer = "return document.querySelector('.closer').hidden ? '' : document.querySelector('.closer').textContent"
    assert browser.run(closer) == ""
    browser.run("setWindow(5 * 3600e3, 5 * 3600e3 + 600e3)")
    show(browser, "temperature:big")
    written = [(time, value) for time, value in
               courses(tmp_path)["talmor-thermal.conf", "temperature", "big", ""]
               if 18000000 <= time <= 18600000]
    lows, highs, times = browser.run("""
        const {lows, highs, times} = lanes.find((one) => one.name === 'big').pieces[0];
        return [lows, highs, times];""")
    inside = [i for i, time in enumerate(times) if 18000000 <= time <= 18600000]
    assert len(inside) > 140
    assert min(lows[i] for i in inside[1:-1]) >= min(value for _, value in written)
    assert max(highs[i] for i in inside) >= max(value for _, value in written[10:-10])
    # The chart fits what is in it, so that its course can be seen.
    low, high = browser.run("return lanes.find((one) => one.name === 'big').graph.yAxisRange()")
    assert high - low < 3 * (max(value for _, value in written) - min(value for _, value in written)) / 1000
    browser.run("setWindow(5 * 3600e3, 5 * 3600e3 + 30e3)")
    settle(browser)
    command = browser.run("return document.querySelector('.closer code').textContent").split()
    assert command == ["thermalctl", "plot", "trace.csv", "--from", "4:59:55", "--to", "5:00:34", "--out", "closer"]
    tool(*command[1:2], tmp_path / "trace.csv", *command[3:-1], tmp_path / "closer")
    browser.open(tmp_path / "closer" / "report.html")
    points = page_courses(browser)["talmor-thermal.conf", "temperature", "big", ""]
    assert len(points) > 4 * 30
    tool("simulate", "--board", BOARD, "--workload", "navigation", "--duration", "24h", "--only", "html",
         "--out", tmp_path / "alone")
    assert not (tmp_path / "alone" / "trace.csv").exists()
    browser.open(tmp_path / "alone" / "report.html")
    settle(browser)
    browser.run("setWindow(5 * 3600e3, 5 * 3600e3 + 30e3)")
    settle(browser)
    assert "with --only html,csv a trace.csv is written, too; then thermalctl plot trace.csv" in browser.run(closer)


# Where it comes from.

def origin(browser):
    return browser.run("""return [...document.querySelectorAll('.origin dt')].map((one) =>
        [one.textContent, one.nextElementSibling.textContent]);""")


def digest(path):
    return hashlib.sha256(Path(path).read_bytes()).hexdigest()


def test_the_foot_tells_what_makes_the_page_again(browser, thermalctl, tmp_path):
    command = ["simulate", "--board", BOARD, "--workload", "game", "--duration", "1m", "--seed", "7",
               "--conf", BOARD / CONFIGURATIONS[1], "--out", tmp_path / "a folder"]
    done = thermalctl(*command, env={"SOURCE_DATE_EPOCH": "1700000000"})
    assert done.status == 0, done.err
    browser.open(tmp_path / "a folder" / "report.html")
    told = origin(browser)
    facts = dict(told)
    assert facts["Command"].split(" ", 1)[1] == " ".join(map(str, command[:-1])) + f" '{tmp_path}/a folder'"
    assert facts["Version"] == thermalctl("--version").out.strip()
    assert facts["Date"] == "2023-11-14 22:13:20 UTC"
    assert facts["Seed"] == "7"
    inputs = [text for name, text in told if name == "Input"]
    assert inputs == [f"{path} SHA-256 {digest(path)}" for path in (
        BOARD / "talmor-thermal.env", BOARD / CONFIGURATIONS[1], BOARD / "plant.toml",
        BOARD / "workloads" / "game.csv")]


def test_a_page_can_be_made_again_byte_for_byte(thermalctl, tmp_path):
    pages = []
    for epoch in ("1700000000", "1700000000", "1700000001"):
        done = thermalctl("simulate", "--board", BOARD, "--workload", "game", "--duration", "1m",
                          "--out", tmp_path, env={"SOURCE_DATE_EPOCH": epoch})
        assert done.status == 0, done.err
        pages.append((tmp_path / "report.html").read_bytes())
    assert pages[0] == pages[1] != pages[2]


def test_plot_tells_the_digests_of_logs_board_and_standard_input(browser, thermalctl, tmp_path):
    log = write_log(tmp_path / "phone.log")
    other = write_log(tmp_path / "other.log", "epoch")
    subprocess.run([*thermalctl.command, "plot", log, "-", "--board", BOARD, "--out", tmp_path],
                   input=other.read_bytes(), capture_output=True, check=True)
    browser.open(tmp_path / "report.html")
    told = origin(browser)
    inputs = [text for name, text in told if name == "Input"]
    assert inputs[:2] == [f"{log} SHA-256 {digest(log)}",
                          f"standard input SHA-256 {digest(tmp_path / 'other.log')}"]
    assert f"{BOARD}/talmor-thermal.env SHA-256 {digest(BOARD / 'talmor-thermal.env')}" in inputs
    assert "Seed" not in dict(told)


# Without eyes, without a mouse.

ARROW_LEFT, ARROW_RIGHT, HOME, END, ESCAPE = "\ue012", "\ue014", "\ue011", "\ue010", "\ue00c"


def press(browser, *keys):
    browser.perform([{"type": "key", "id": "keyboard", "actions": [
        {"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]}])
    settle(browser)


def test_the_cursor_moves_by_keyboard_and_is_told(page):
    press(page, HOME)
    assert page.run("return view.cursor") == 0
    press(page, ARROW_RIGHT, ARROW_RIGHT, ARROW_RIGHT)
    assert page.run("return view.cursor") == 27000
    press(page, ARROW_LEFT)
    assert page.run("return view.cursor") == 18000
    [told] = texts(page, ".readout")
    assert told.startswith("at 0:00:18. skin ") and DEGREE in told
    press(page, "+", "+", END)
    window = the_window(page)
    assert page.run("return view.cursor") == window[1]
    # On over the end of what is shown.
    press(page, ARROW_RIGHT)
    cursor = page.run("return view.cursor")
    assert the_window(page)[0] < cursor < the_window(page)[1] and cursor > window[1]
    press(page, ESCAPE)
    assert page.run("return view.cursor") is None


def test_every_chart_has_a_role_and_tells_its_figures(page):
    show(page, "temperature:skin")
    role, label = page.run("""const plot = document.querySelector("section[data-lane='temperature:skin'] .plot");
        return [plot.getAttribute('role'), plot.getAttribute('aria-label')];""")
    assert role == "img"
    assert label.startswith("skin, 0:00:00 to 0:15:00. talmor-thermal.conf: peak 4")
    assert page.run("return [...document.querySelectorAll('.plot')].every((one) => one.getAttribute('aria-label'))")


def test_the_values_stand_in_a_table_too(page, game):
    page.click(".at-times summary")
    settle(page)
    rows = page.run("""return [...document.querySelectorAll('.at-times tr')].map((row) =>
        [...row.cells].map((cell) => cell.textContent));""")
    assert rows[0][:3] == ["Chart", "0:00", "0:02"]
    written = courses(game)
    for run in CONFIGURATIONS:
        [row] = [row for row in rows if row[0] == f"skin, {run}"]
        for minute in (2, 8, 14):
            value = [value for time, value in written[run, "temperature", "skin", ""]
                     if time <= 60000 * minute][-1]
            assert row[1 + minute // 2] == f"{(value + 50) // 100 / 10:.1f} {DEGREE}"
    page.run("setWindow(60000, 120000)")
    settle(page)
    assert texts(page, ".at-times thead th")[1] == "0:01:00"


def test_the_figures_stand_in_a_table(page, game):
    rows = page.run("""return [...document.querySelectorAll('.figures tr')].map((row) =>
        [...row.cells].map((cell) => cell.textContent));""")
    written = courses(game)
    for sensor in ("battery", "big", "skin"):
        peaks = [max(value for _, value in written[run, "temperature", sensor, ""]) for run in CONFIGURATIONS]
        assert [sensor, "peak", *(f"{(peak + 50) // 100 / 10:.1f} {DEGREE}" for peak in peaks)] in rows
    assert any(row[:2] == ["gpu", "work done of that asked for"] for row in rows)


AXE = Path("/usr/local/lib/node_modules/axe-core/axe.min.js")  # scripts/setup puts it there


@pytest.mark.parametrize("theme", ["light", "dark"])
@pytest.mark.parametrize("number", [1, 5])
def test_axe_finds_nothing_serious(browser, tool, tmp_path, number, theme):
    for i in range(number):
        (tmp_path / f"{i}.conf").write_text((BOARD / CONFIGURATIONS[i % 2]).read_text())
    tool("simulate", "--board", BOARD, *(f"--conf={tmp_path}/{i}.conf" for i in range(number)),
         "--workload", "game", "--duration", "10m", "--limit", "skin=41C", "--out", tmp_path, status=1)
    browser.command("Emulation.setEmulatedMedia",
                    features=[{"name": "prefers-color-scheme", "value": theme}])
    browser.open(tmp_path / "report.html")
    assert browser.run("return document.documentElement.dataset.theme") == theme
    for opened in (".figures, .at-times, .limits details", ".chooser"):
        browser.run("for (const one of document.querySelectorAll(arguments[0])) one.open = true;", opened)
        settle(browser)
        browser.command("Runtime.evaluate", expression=AXE.read_text())
        found = browser.command("Runtime.evaluate", awaitPromise=True, returnByValue=True, expression="""
            axe.run().then(({passes, violations}) => [passes.length, violations.map(({id, impact, nodes}) =>
                `${impact}: ${id}: ${nodes[0].html}`)])""")["result"]["value"]
        assert found[0] > 15
        assert found[1] == []


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
    assert done.err == "".join(f"thermalctl: {tmp_path / name}: cannot be read: "
                               "No such file or directory\n"
                                  for name in ("a.log", "b.log"))


def test_plot_without_a_board_shows_what_the_log_alone_tells(browser, tool, tmp_path):
    tool("plot", write_log(tmp_path / "phone.log"), "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    settle(browser)
    assert browser.console() == []
    assert browser.run("return lanes.filter((lane) => lane.visible())"
                       ".map((lane) => lane.section.dataset.lane)") == [
        "names:Scenario", "temperature:gpu", "temperature:skin", "algorithm:day_gpu", "time:time"]


def test_a_gap_has_no_line_in_any_chart(browser, tool, tmp_path):
    log = tmp_path / "phone.log"
    log.write_text("".join(
        f"{(time if time < 6000 else time + 600000) / 1000:.3f}  1234  5678 V echo-service: {text}\n"
        for time, text in messages()))
    tool("plot", log, "--board", BOARD, "--out", tmp_path)
    browser.open(tmp_path / "report.html")
    settle(browser)
    assert browser.console() == []
    drawn = dict(browser.run("""
        const {graph} = lanes.find((one) => one.section.dataset.lane === 'temperature:gpu');
        const points = [];
        for (let row = 0; row < graph.numRows(); ++row) {
          const value = graph.getValue(row, 1);
          points.push([graph.getValue(row, 0), Number.isNaN(value) ? 'none' : value]);
        }
        return points;"""))
    [broken] = [time for time, value in drawn.items() if value == "none"]
    assert 5750 < broken < 606000
    # All that holds a value holds none in the gap, and holds it again behind.

    def read(time_):
        texts = []
        for lane in ("temperature:gpu", "device:gpu", "algorithm:day_gpu", "names:Scenario"):
            show(browser, lane)
            texts.append(browser.run("""
                setCursor(arguments[1]);
                return document.querySelector(`section[data-lane="${arguments[0]}"] .value`).textContent;""",
                lane, time_))
        return texts

    none, level = "–", "level 1 · 760 MHz"
    assert read(300000) == [none, none, none, ""]
    before, behind = read(5900), read(606100)
    assert before[1:] == behind[1:] == [level, "level 1", "Default"]
    # The grey of the gap.
    assert browser.run(COLOUR_AT.replace("temperature:little", "temperature:gpu"), 300000)[3] > 20
    assert browser.run(COLOUR_AT.replace("temperature:little", "temperature:gpu"), 3000)[3] == 0


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
    show(browser, "temperature:little")
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
