"""What the page of a simulated run says of its limits."""

from contextlib import closing
from pathlib import Path

from browser import Browser

PHONE = Path(__file__).resolve().parents[2] / "boards" / "phone"
STUCK = """\
time,scenario,little,big,gpu,panel,charger,modem,fault battery
0,Default,0.30,0.20,0.15,1,1,0.4,
5m,game,0.60,0.90,1.0,1,1,0.3,stuck
"""


def test_the_page_tells_which_of_a_sensor_and_its_node_has_passed(thermalctl, tmp_path):
    (tmp_path / "stuck.csv").write_text(STUCK)
    done = thermalctl("simulate", "--board", PHONE, "--workload", tmp_path / "stuck.csv",
                      "--limit", "battery=45C", "--out", tmp_path)
    assert done.status == 1, done.err
    with closing(Browser()) as browser:
        browser.open(tmp_path / "report.html")
        rows = browser.run("""
            return [...document.querySelectorAll('.limits tbody tr')].map((row) =>
                [row.className, ...[...row.cells].map((cell) => cell.textContent)]);""")
    # Worst first. The sensor is stuck, and its own peak shows nothing.
    state, verdict, name, peak, against, above, first = rows[0]
    assert (state, verdict, name) == ("passed", "✕ passed", "battery (plant)")
    assert (peak, against) == ("52.7 °C", "7.7 K above 45 °C")
    assert above.startswith("for 0:") and first.startswith("first at 0:")
    assert [row[:3] for row in rows[1:]] == [["kept", "✓ kept", "battery"]]


def test_the_page_judges_requirements_and_draws_the_watts_of_each_source(thermalctl, tmp_path):
    done = thermalctl("simulate", "--board", PHONE, "--workload", "game", "--duration", "15m",
                      "--limit", "skin=41C:60s", "--limit", "p95:battery=48C",
                      "--require", "work:gpu=95%", "--require", "changes:cpu_big<=60/min",
                      "--out", tmp_path)
    assert done.status == 1, done.err
    with closing(Browser()) as browser:
        browser.open(tmp_path / "report.html")
        rows = browser.run("""return [...document.querySelectorAll('.limits tbody tr')].map((row) =>
            [...row.cells].slice(0, 4).map((cell) => cell.textContent));""")
        found = {(verdict, of): (measured, against) for verdict, of, measured, against in rows}
        measured, against = found["✕ passed", "skin"]
        assert "more than 0:01:00 above 41 °C" in against
        measured, against = found["✕ missed", "gpu, work done"]
        assert measured.endswith(" %") and against.endswith("below 95 %")
        assert found["✓ kept", "battery"][0].startswith("p95 ")
        assert found["✓ kept", "cpu_big, changes"][1].endswith("below 60 a minute")
        written = [(int(time_), round(int(microwatts) / 1000)) for _, time_, event, name, microwatts, _ in
                   (line.split(",") for line in (tmp_path / "trace.csv").read_text().splitlines())
                   if (event, name) == ("power", "gpu")]
        assert len(written) > 3
        drawn = browser.run("""const {course} = runs[0].sources.find((one) => one.name === 'gpu');
            return course.times.map((time, i) => [time, course.values[i]]);""")
        assert [tuple(point) for point in drawn] == written
        [figures] = browser.run("""return [...document.querySelectorAll('.figures tr')].map((row) =>
            [...row.cells].map((cell) => cell.textContent)).filter((row) => row[0] === 'gpu' && row[1] === 'energy');""")
    joules = sum(milliwatts * (end - start) / 1e6 for (start, milliwatts), (end, _) in
                 zip(written, [*written[1:], (900000, 0)]))
    assert abs(float(figures[2].split()[0]) - joules) < 0.001 * joules
