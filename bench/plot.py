"""Draws our time by OpenCV's, an operation a line, on a logarithmic scale."""
import html
import math

from cases import REGIONS, SIZES, geometric_mean, grouped

LINE = 18
TOP = 74
NAMES = 200
PANEL = 330
GAP = 44
LOW, HIGH = 1 / 64, 8
TICKS = [1 / 64, 1 / 32, 1 / 16, 1 / 8, 1 / 4, 1 / 2, 1, 2, 4, 8]
# From pale to dark, apart for every kind of eye.
SIZE_COLORS = dict(zip(SIZES, ["#9ecae1", "#4292c6", "#08519c", "#04183a"]))
REGION_COLORS = dict(zip(REGIONS[1:], ["#fdae6b", "#e6550d", "#7f2704"]))


def across(left, ratio):
    part = math.log(min(max(ratio, LOW), HIGH) / LOW) / math.log(HIGH / LOW)
    return left + part * PANEL


def label(x, y, text, anchor="middle", extra=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{extra}>{html.escape(text)}</text>'


def scale(left, title, colors, bottom):
    parts = [label(left, 20, title, "start", ' font-weight="bold"')]
    x = left
    for name, color in colors.items():
        parts.append(f'<circle cx="{x + 5}" cy="36" r="4" fill="{color}"/>')
        parts.append(label(x + 13, 40, name.replace("x", " × "), "start"))
        x += 26 + 6.4 * len(name.replace("x", " × "))
    # Slower than OpenCV.
    equal = across(left, 1)
    parts.append(f'<rect x="{equal:.1f}" y="{TOP - 8}" width="{left + PANEL - equal:.1f}" '
                 f'height="{bottom - TOP + 8}" fill="#f3e9e6"/>')
    for tick in TICKS:
        at = across(left, tick)
        stroke = "#555" if tick == 1 else "#ddd"
        parts.append(f'<path d="M{at:.1f} {TOP - 8}V{bottom}" stroke="{stroke}"/>')
        text = f"{tick:g}" if tick >= 1 else f"1/{round(1 / tick)}"
        parts.append(label(at, TOP - 14, text))
        parts.append(label(at, bottom + 14, text))
    return parts


def dots(cases, field, colors, left, middle):
    """The geometric mean of each group as a dot on the line of its range, groups below each other."""
    parts = []
    groups = grouped(cases, field)
    for place, (value, color) in enumerate(colors.items()):
        if (value,) not in groups:
            continue
        ratios = [case.by_opencv for case in groups[value,]]
        y = middle + 3.6 * (place - (len(colors) - 1) / 2)
        start, end = across(left, min(ratios)), across(left, max(ratios))
        parts.append(f'<path d="M{start:.1f} {y:.1f}H{end:.1f}" stroke="{color}" stroke-opacity="0.5"/>')
        parts.append(f'<circle cx="{across(left, geometric_mean(ratios)):.1f}" cy="{y}" r="2.6" '
                     f'fill="{color}"/>')
    return parts


def ratios(cases):
    operations = grouped(cases, "operation")
    bottom = TOP + LINE * len(operations)
    left, right = NAMES, NAMES + PANEL + GAP
    width = right + PANEL + GAP
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {bottom + 26}" '
             f'font-family="sans-serif" font-size="11" fill="#222">',
             f'<rect width="{width}" height="{bottom + 26}" fill="#fff"/>']
    parts += scale(left, "Whole image: our time by OpenCV's (faster to the left)", SIZE_COLORS, bottom)
    parts += scale(right, "Under a region", REGION_COLORS, bottom)
    for line, ((operation,), group) in enumerate(operations.items()):
        y = TOP + LINE * line + LINE // 2 - 4
        parts.append(label(NAMES - 12, y + 4, operation, "end"))
        parts += dots([case for case in group if case.region == "whole"], "size", SIZE_COLORS,
                      left, y)
        parts += dots([case for case in group if case.region != "whole"], "region",
                      REGION_COLORS, right, y)
    return "\n".join(parts + ["</svg>\n"])
