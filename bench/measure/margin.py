"""Speed and memory of a study of many units: the phone board through a game."""

from . import boards, simulation

# The status tells whether some unit breaks the limit.
ENDS = (0, 1)


def of_units(ground, units, duration, cores=2):
    return simulation.watched(
        [ground.thermalctl, "margin", "--board", boards.PHONE, "--tolerances", boards.PHONE / "tolerances.toml",
         "--workload", "game", "--limit", "node:case=43C", "--units", str(units), "--duration", duration,
         "--jobs", str(cores), "--out", ground.box.base / "margin"], ENDS, set(range(cores)))
