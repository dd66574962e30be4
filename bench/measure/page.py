"""How long the page of very many sensors takes to open and to zoom, and its size. The browser is the one of the tests."""

import sys
import time
from typing import NamedTuple

from . import simulation
from .ground import REPOSITORY

sys.path.insert(0, str(REPOSITORY / "tests" / "system"))
from browser import Browser  # noqa: E402

# Until what was asked to be drawn has been.
SETTLED = """new Promise((done) => {
    let frames = 5;
    const next = () => --frames ? requestAnimationFrame(next) : done();
    next(); })"""


class Opened(NamedTuple):
    opening: float  # seconds of the clock
    zoom: float  # the longest of some
    size: int  # bytes


def of_sensors(ground, count):
    simulation.of_sensors(ground, count, "--out", ground.box.base / "page", "--only", "html")
    path = ground.box.base / "page" / "report.html"
    browser = Browser()
    try:
        def seconds_of(action):
            begin = time.monotonic()
            action()
            browser.command("Runtime.evaluate", awaitPromise=True, expression=SETTLED)
            return time.monotonic() - begin

        opening = seconds_of(lambda: browser.open(path))
        zooms = [seconds_of(lambda step=step: browser.run(step)) for step in ("zoom(0.5)", "pan(0.3)", "zoom(1.5)")]
    finally:
        browser.close()
    return Opened(opening, max(zooms), path.stat().st_size)
