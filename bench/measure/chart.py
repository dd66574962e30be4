"""Curves over the number of items as an SVG figure, both axes logarithmic."""

import math

WIDTH, HEIGHT = 640, 400
LEFT, RIGHT, TOP, BOTTOM = 90, 20, 40, 60
COLOURS = ("#1f6fb4", "#c4511d")


def svg(counts, curves):
    points = [value for curve in curves for value in curve.nanoseconds]
    low, high = math.floor(math.log10(min(points))), math.ceil(math.log10(max(points)))
    first, last = math.log10(counts[0]), math.log10(counts[-1])

    def x(count):
        return LEFT + (math.log10(count) - first) / (last - first) * (WIDTH - LEFT - RIGHT)

    def y(nanoseconds):
        return HEIGHT - BOTTOM - (math.log10(nanoseconds) - low) / (high - low) * (
            HEIGHT - TOP - BOTTOM)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
             'font-family="sans-serif" font-size="13">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>']
    for count in counts:
        parts.append(_line(x(count), TOP, x(count), HEIGHT - BOTTOM, "#ddd"))
        parts.append(_text(x(count), HEIGHT - BOTTOM + 20, f"{count:,}", "middle"))
    for exponent in range(low, high + 1):
        parts.append(_line(LEFT, y(10 ** exponent), WIDTH - RIGHT, y(10 ** exponent), "#ddd"))
        parts.append(_text(LEFT - 8, y(10 ** exponent) + 4, duration(10 ** exponent), "end"))
    parts.append(_text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 15, "items", "middle"))
    for i, (curve, colour) in enumerate(zip(curves, COLOURS)):
        places = [(x(count), y(value)) for count, value in zip(counts, curve.nanoseconds)]
        path = " ".join(f"{px:.1f},{py:.1f}" for px, py in places)
        parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts += [f'<circle cx="{px:.1f}" cy="{py:.1f}" r="4" fill="{colour}"/>'
                  for px, py in places]
        parts.append(_text(LEFT + i * 270, TOP - 15, "\u25cf " + curve.name, "start", colour))
    # Straight from the last point of each curve to the left: what exactly linear would be.
    for curve in curves:
        exact = curve.nanoseconds[-1] * counts[0] / counts[-1]
        if exact >= 10 ** low:
            parts.append(_line(x(counts[0]), y(exact), x(counts[-1]), y(curve.nanoseconds[-1]),
                               "#999", ' stroke-dasharray="4 4"'))
    return "\n".join([*parts, "</svg>"]) + "\n"


def duration(nanoseconds):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= scale:
            return f"{nanoseconds / scale:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def _line(x1, y1, x2, y2, colour, more=""):
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
            f'stroke="{colour}"{more}/>')


def _text(x, y, text, anchor, colour="#333"):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{colour}">{text}</text>'
