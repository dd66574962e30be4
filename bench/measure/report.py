"""The result as text, and where it is put."""

import os
import platform
import statistics
import sys

from . import chart, reaction, scale

BEGIN = "<!-- of the {}, written by bench/run from here on -->"
END = "<!-- of the {}, written by bench/run up to here -->"


def of_daemon(result, command, figure):
    parts = [of_rows(result.rows, command), _reactions(result), _curves(result.curves, figure), _micro(result.micro)]
    return "\n\n".join(parts)


def of_rows(rows, command):
    return f"`{command}` printed this on {_machine()}.\n\n{_table(rows)}"


def replace_block(path, part, text):
    first, last = BEGIN.format(part), END.format(part)
    before, begin, rest = path.read_text().partition(first)
    _, end, after = rest.partition(last)
    if not begin or not end:
        sys.exit(f"{path}: error: no block between '{first}' and '{last}' to put the result into")
    path.write_text(f"{before}{first}\n\n{text}\n\n{last}{after}")


def write_figure(path, result):
    path.write_text(chart.svg(scale.COUNTS, result.curves))


def _machine():
    load = ", ".join(f"{value:.1f}" for value in os.getloadavg())
    return (f"{os.cpu_count()} cores of {_processor()}, {platform.system()} {platform.release()}, "
            f"load at the end {load}")


def _processor():
    for line in open("/proc/cpuinfo"):
        if line.startswith(("model name", "CPU part")):
            return line.partition(":")[2].strip()
    return platform.machine()


def _table(rows):
    return _rows(("work", "must reach", "measured", ""), (
        (row.work, row.bar, row.measured, "reached" if row.met else "**missed**") for row in rows))


def _reactions(result):
    reactions = result.reactions
    lines = [(name, *(f"{value:.1f}" for value in
                      (min(values), *statistics.quantiles(values, n=10), max(values))))
             for name, values in (("asleep", reactions.rising), ("awake", reactions.falling))]
    deciles = [f"{share} %" for share in range(10, 100, 10)]
    even = [f"{reaction.SAMPLING * share / 10:.1f}" for share in range(11)]
    return ("Reactions in milliseconds, by deciles. Asleep, an algorithm decides at once when a "
            "sample wakes it; awake, it\ndecides once in its period.\n\n" + _rows(
                ("algorithm", "least", *deciles, "most"),
                [("asleep, if exactly uniform", *even), *lines]))


def _curves(curves, figure):
    rows = [(f"{count:,}", *(chart.duration(curve.nanoseconds[i]) for curve in curves))
            for i, count in enumerate(scale.COUNTS)]
    text = "Cost by the number of items.\n\n" + _rows(("items", *(c.name for c in curves)), rows)
    if figure:
        text += f"\n\n![Cost by the number of items, both axes logarithmic]({figure})"
    return text


def _micro(operations):
    return "Single operations, from `bench-micro`: processor time, the least of three runs.\n\n" + (
        _rows(("operation", "time"), (
            (f"`{operation.name}`", chart.duration(operation.nanoseconds))
            for operation in operations)))


def _rows(header, rows):
    lines = [header, ["---"] * len(header), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)
