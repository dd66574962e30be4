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
