"""The rows of the table: what is measured, the bar, and whether it is reached."""

import statistics
import time
from typing import NamedTuple

from . import calls, cost, margin, memory, micro, page, reaction, scale, simulation, startup, wakeups

MEBIBYTE = 1 << 20

# Of the wake-ups of a daemon's threads, those that wake the processor.
MOST_JOINT = 0.5


class Effort(NamedTuple):
    rounds: int  # of daemon and floor in turn
    slow_window: float  # seconds of a window at a period of 1 s
    fast_window: float  # the same at 100 ms
    idle_seconds: float
    settle_seconds: float  # before wake-ups are looked at
    swaps: int
    starts: int
    crossings: int
    pass_seconds: float
    scale_swaps: int
    micro_seconds: float
    simulations: int
    simulated_days: int  # of the longest one
    units: int


FULL = Effort(rounds=7, slow_window=8.0, fast_window=4.0, idle_seconds=20.0, settle_seconds=60.0,
              swaps=10000, starts=15, crossings=400, pass_seconds=3.0, scale_swaps=20, micro_seconds=0.3, simulations=9,
              simulated_days=365, units=10000)
QUICK = Effort(rounds=1, slow_window=2.0, fast_window=1.0, idle_seconds=5.0, settle_seconds=5.0,
               swaps=500, starts=3, crossings=40, pass_seconds=1.0, scale_swaps=3, micro_seconds=0.02, simulations=1,
               simulated_days=7, units=1000)


class Row(NamedTuple):
    work: str
    bar: str
    measured: str
    met: bool


class Result(NamedTuple):
    rows: list
    reactions: reaction.Reactions
    curves: list
    micro: list
    effort: Effort


class Rows(list):
    """Each is told as it comes."""

    def __init__(self, progress):
        super().__init__()
        self._progress = progress

    def add(self, *new):
        for row in new:
            self._progress(f"{row.work}: {row.measured}{'' if row.met else '  (MISSED)'}")
            self.append(row)


def measure_tool(ground, effort, progress):
    rows = Rows(progress)
    rows.add(*_simulation_rows(ground, effort))
    rows.add(*_margin_rows(ground, effort))
    return rows


def measure_daemon(ground, effort, progress):
    rows = Rows(progress)
    add = rows.add
    add(*_cost_rows(ground, effort))
    add(_calls_row(ground))
    add(_looks_row(ground))
    add(_wake_ups_row(ground, effort))
    add(_joint_wake_ups_row(ground, effort))
    add(*_memory_rows(ground, effort))
    add(*_start_up_rows(ground, effort))
    reactions = reaction.measure(ground, effort.crossings)
    add(*_reaction_rows(reactions))
    curves = [scale.decision_passes(ground, effort.pass_seconds),
              scale.swaps(ground, effort.scale_swaps)]
    add(*_scale_rows(curves))
    return Result(rows, reactions, curves, micro.measure(ground, effort.micro_seconds), effort)


def _cost_rows(ground, effort):
    for sensors, period, window, log, bar in (
            (16, 1000, effort.slow_window, "nolog", 2.2),
            (64, 1000, effort.slow_window, "nolog", 2.2),
            (512, 100, effort.fast_window, "nolog", 1.8),
            (16, 1000, effort.slow_window, "log", 1.8),
            (64, 1000, effort.slow_window, "log", 1.4),
            (512, 100, effort.fast_window, "log", 1.5)):
        load = cost.Load(sensors, period, window, log)
        yield _cost_row(load, bar, cost.measure(ground, load, effort.rounds))


def _cost_row(load, bar, measured):
    median = statistics.median
    ratios = measured.ratios(measured.daemon)
    ratio = median(ratios)
    return Row(
        f"processor time per sample, {load.sensors} sensors at {load.period} ms, "
        + ("log off" if load.log == "nolog" else "log on"),
        f"at most {bar} x floor" + ("" if load.log == "nolog" else " with one log line per sample"),
        f"{ratio:.2f} x ({min(ratios):.2f} to {max(ratios):.2f}): "
        f"{median(measured.daemon) / 1000:.2f} µs, floor {median(measured.floor) / 1000:.2f} µs, "
        f"with seeks and looks {median(measured.least) / 1000:.2f} µs "
        f"({median(measured.ratios(measured.least)):.2f} x)",
        ratio <= bar)


def _calls_row(ground):
    counted = calls.count(ground)
    each = ", ".join(f"{count:g} {name}" for name, count in sorted(counted.per_sample.items()))
    waiting = ", ".join(f"{count:g} {name}" for name, count in counted.per_pass.items())
    return Row("system calls per sample, log off", "exactly 2: one seek, one read",
               f"{sum(counted.per_sample.values()):g} ({each}); for the wait after a pass {waiting}",
               counted.per_sample == {"lseek": 1, "read": 1})


def _looks_row(ground):
    counted = calls.of_looks(ground)
    each = ", ".join(f"{count:g} {name}" for name, count in sorted(counted.items()))
    return Row("system calls of the two looks at the control files each second", "at most 6",
               f"{sum(counted.values()):g} ({each})", 0 < sum(counted.values()) <= 6)


def _wake_ups_row(ground, effort):
    rates = calls.wake_ups(ground, effort.idle_seconds)
    # A window may cut off one wake-up of a thread at each end.
    doubt = 1 / effort.idle_seconds
    return Row(f"wake-ups per second, {calls.SENSORS} sensors at 1 s, no active algorithm",
               "2: the sensor thread and the scenario thread",
               f"{sum(rates):.2f} ({' + '.join(f'{rate:.2f}' for rate in rates)})",
               len(rates) == 2 and all(abs(rate - 1) <= doubt for rate in rates))


def _joint_wake_ups_row(ground, effort):
    measured = wakeups.measure(ground, effort.settle_seconds, effort.idle_seconds)
    periods = ", ".join(str(period) for period in wakeups.PERIODS)
    return Row("wake-ups of the processor per second, sensors and awake algorithms at "
               f"{periods} ms",
               f"at most {MOST_JOINT:g} of those of its threads",
               f"{measured.processor:.2f}, of its threads {measured.threads:.2f}",
               measured.processor <= MOST_JOINT * measured.threads)


def _memory_rows(ground, effort):
    phone, sensors = memory.of_phone(ground), memory.of_sensors(ground, 512)
    growth = memory.growth(ground, effort.swaps)
    yield _resident_row("phone board", phone, 4.5)
    yield _resident_row("512 sensors", sensors, 6.0)
    yield Row(f"growth of the resident memory over {growth.swaps} swaps of the phone's configuration",
              "none but the scenario objects, which are never freed",
              f"{growth.bytes / 1024:.0f} KiB; the scenario objects are {growth.kept / 1024:.0f} KiB",
              growth.accounted)


def _resident_row(board, resident, bar):
    return Row(f"resident memory, {board}", f"at most {bar:g} MiB", f"{resident / MEBIBYTE:.2f} MiB",
               resident <= bar * MEBIBYTE)


def _start_up_rows(ground, effort):
    yield _start_up_row("phone board", startup.of_phone(ground, effort.starts), 20)
    yield _start_up_row("10,000 configured items",
                        startup.of_items(ground, 10000, effort.starts), 200)


def _start_up_row(board, seconds, bar):
    milliseconds = [1000 * value for value in seconds]
    median = statistics.median(milliseconds)
    return Row(f"start-up to the first sample, {board}", f"at most {bar} ms",
               f"{median:.1f} ms ({min(milliseconds):.1f} to {max(milliseconds):.1f})",
               median <= bar)


def _reaction_rows(reactions):
    sampling, period = reaction.SAMPLING, reaction.SAMPLING + reaction.DECIDING
    distance = reaction.distance_from_uniform(reactions.rising, sampling)
    chance = reaction.chance_distance(len(reactions.rising))
    yield Row(f"reaction to a crossing, algorithm asleep, sampled every {sampling} ms",
              f"uniform in 0 to {sampling} ms",
              f"{_range(reactions.rising)}; furthest from uniform {distance:.3f}, "
              f"chance stays below {chance:.3f}", distance <= chance)
    slowest = max(reactions.rising + reactions.falling)
    yield Row("the same, both directions: nothing added above the sampling period and the "
              f"algorithm's ({reaction.DECIDING} ms)", f"at most {period + 5} ms",
              f"{slowest:.1f} ms at most of {len(reactions.rising + reactions.falling)}; "
              f"algorithm awake {_range(reactions.falling)}", slowest <= period + 5)


def _range(values):
    return f"{min(values):.1f} to {max(values):.1f} ms, median {statistics.median(values):.1f}"


def _scale_rows(curves):
    for curve in curves:
        per_item = [value / count for value, count in zip(curve.nanoseconds, scale.COUNTS)]
        yield Row(f"cost of a {curve.name}, {scale.COUNTS[0]} to {scale.COUNTS[-1]:,} items",
                  "linear or better",
                  " / ".join(f"{value:.0f}" for value in per_item) + " ns per item", curve.linear)


def _simulation_rows(ground, effort):
    of_phone, days = simulation.of_phone, effort.simulated_days
    yield _simulated("an hour of the phone board", 0.010, 3600, effort, lambda: of_phone(ground, "1h"))
    yield _simulated("24 h of the phone board", 0.2, 86400, effort, lambda: of_phone(ground, "24h"))
    yield _simulated("24 h of the phone board, with both traces and the page", 0.8, 86400, effort,
                     lambda: of_phone(ground, "24h", output=True))
    yield _simulated("an hour of 512 sensors at 1 s", 0.8, 3600, effort,
                     lambda: simulation.of_sensors(ground, 512))
    yield _simulated("an hour of 201 nodes whose load changes at random milliseconds", 1, 3600, effort,
                     lambda: simulation.of_odd_times(ground, 201))
    longest = of_phone(ground, f"{days}d")
    bar = 75 * days / 365
    yield Row(f"{days} days of the phone board simulated on one core",
              f"at most {bar:.3g} s of the processor and 8 MB of memory",
              f"{longest.seconds:.1f} s and {longest.peak / 1e6:.2f} MB",
              longest.seconds <= bar and longest.peak <= 8e6)
    studies = [simulation.study(ground) for _ in range(effort.simulations)]
    one, two, apart = (statistics.median(seconds) for seconds in zip(*studies))
    yield Row("a study of 40 runs of 12 h on two cores, beside one", "at least 1.8 x as fast",
              f"{one:.2f} s and {two:.2f} s: {one / two:.2f} x; as two processes {one / apart:.2f} x",
              one / two >= 1.8)
    error = simulation.heat_error(ground)
    yield Row("heat where 1 ns and 1 µs stand beside 10 h, and through contacts of 1e-9 K/W",
              "within 1e-9 of the closed form", f"{error:.1e} at most", error <= 1e-9)
    opened = page.of_sensors(ground, 512)
    yield Row("the page of an hour of 512 sensors in a browser",
              "open within 2 s, a zoom within 0.2 s, 5 MB at most",
              f"{opened.opening:.2f} s, {opened.zoom:.2f} s, {opened.size / 1e6:.2f} MB",
              opened.opening <= 2 and opened.zoom <= 0.2 and opened.size <= 5e6)
    hour, day = (of_phone(ground, duration, output=True).peak for duration in ("1h", "24h"))
    yield Row("resident memory of a simulation, 1 h and 24 h, with both traces and the page",
              "at most 2 MiB more for the day",
              f"{hour / MEBIBYTE:.2f} MiB and {day / MEBIBYTE:.2f} MiB",
              day <= hour + 2 * MEBIBYTE)


def _margin_rows(ground, effort):
    units, bar = effort.units, 45 * effort.units / 10000
    two, one = (margin.of_units(ground, units, "30m", cores) for cores in (2, 1))
    yield Row(f"{units:,} units of half an hour of the phone board on two cores", f"at most {bar:.3g} s",
              f"{two.clock:.1f} s", two.clock <= bar)
    yield Row("the same on two cores, beside one", "at least 1.8 x as fast",
              f"{one.clock:.1f} s and {two.clock:.1f} s: {one.clock / two.clock:.2f} x",
              one.clock / two.clock >= 1.8)
    few, many = (margin.of_units(ground, count, "1m").peak for count in (units // 10, 10 * units))
    yield Row(f"resident memory of a study of {units // 10:,} and of {10 * units:,} units", "at most 1 MiB more",
              f"{few / MEBIBYTE:.2f} MiB and {many / MEBIBYTE:.2f} MiB", many <= few + MEBIBYTE)


def _simulated(what, bar, simulated, effort, run):
    seconds, begin = [], time.monotonic()
    # A shared machine's speed changes from second to second, too, and many a run is shorter than one.
    while len(seconds) < effort.simulations or time.monotonic() < begin + effort.simulations:
        seconds.append(run().seconds)
    median = statistics.median(seconds)
    return Row(f"{what} simulated on one core", f"at most {bar:g} s of the processor",
               f"{median:.4f} s ({min(seconds):.4f} to {max(seconds):.4f}): {simulated / median:,.0f} x real time",
               median <= bar)
