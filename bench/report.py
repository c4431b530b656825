#!/usr/bin/env python3
"""Tells the results of kelra_bench.

report.py table FILE...        a Markdown table, a line a case
report.py write DOCS FILE...   the measured part of DOCS/speed.md, DOCS/speed/cases.md and the plot
"""
import os
import pathlib
import re
import statistics
import sys

import plot
from cases import REGIONS, SAMPLES, SIZES, THREADS, geometric_mean, grouped, read

SLOW = 1.05  # of OpenCV's time
NEAR_A_COPY = 1.15  # of a copy's time
CALL_MICROSECONDS = 1
PROFILES = "speed/profiles.md"  # written by profile.py


def times(text):
    return re.sub(" ?x", " × ", text)


def number(value):
    return "–" if value is None else f"{value:.2f}"


def print_table(cases):
    print("| operation | size | samples | region | threads | time, µs | / OpenCV | / copy |")
    print("|---|---|---|---|---|---:|---:|---:|")
    for case in cases:
        if case.doubling is None:
            print(f"| {case.operation} | {times(case.size)} | {times(case.samples)} | {case.region} "
                  f"| {case.threads} | {case.microseconds:.2f} | {number(case.by_opencv)} "
                  f"| {number(case.by_copy)} |")
    growing = [case for case in cases if case.doubling is not None]
    if growing:
        print("\n| operation | up to | time, µs | twice the pixels take |\n|---|---|---:|---:|")
    for case in growing:
        print(f"| {case.operation} | {times(case.size)} | {case.microseconds:.2f} "
              f"| {case.doubling:.2f} times as long |")


def compared(cases):
    return [case for case in cases
            if case.size in SIZES and case.by_copy is not None and not case.noise]


def calls(cases):
    return [case for case in cases
            if case.size not in SIZES and case.doubling is None and not case.noise]


def noise(cases):
    """By size the lowest and the highest ratio of code to itself."""
    groups = grouped([case for case in cases if case.noise and case.size in SIZES], "size")
    return {size: (min(case.by_opencv for case in group), max(case.by_opencv for case in group))
            for (size,), group in groups.items()}


def machine(context):
    processor = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text()).group(1)
    caches = ", ".join(f"{cache['size'] // 1024} KiB L{cache['level']} {cache['type'].lower()}"
                       for cache in context["caches"])
    return (f"Taken on {os.cpu_count()} cores of a processor that calls itself {processor} "
            f"({caches}), with {context['compiler']}, OpenCV {context['opencv']} and oneTBB "
            f"{context['onetbb']}.")


def listed(some, text):
    return "; ".join(text(one) for one in some)


def summary(cases):
    compared_cases = compared(cases)
    slow = sorted((case for case in compared_cases if case.by_opencv > SLOW),
                  key=lambda case: -case.by_opencv)
    kernels = [case for case in compared_cases
               if case.row_kernels and case.size == SIZES[-1] and case.region == "whole"
               and case.threads == "all-threads"]
    slow_kernels = [case for case in kernels if case.by_copy > NEAR_A_COPY]
    slow_calls = [case for case in calls(cases) if case.microseconds > CALL_MICROSECONDS]
    growing = [case for case in cases if case.doubling is not None]
    worst_growth = max(growing, key=lambda case: case.doubling)

    by_chance = noise(cases)
    beyond_chance = [case for case in slow if case.by_opencv > by_chance[case.size][1]]
    lines = [
        f"- **{len(compared_cases)} cases** beside OpenCV: on geometric average "
        f"**{geometric_mean([case.by_opencv for case in compared_cases]):.2f}** of its time. "
        f"{len(slow)} cases take more than {SLOW} of it, {len(beyond_chance)} of them more than "
        "by chance.",
        "- **By chance** code takes of its own time: "
        + listed(by_chance.items(), lambda item: f"{times(item[0])} {item[1][0]:.2f} to "
                                                 f"{item[1][1]:.2f}") + ".",
        f"- **Row kernels** at {times(SIZES[-1])} on all cores: on average "
        f"{geometric_mean([case.by_copy for case in kernels]):.2f} of a copy's time; "
        f"{len(slow_kernels)} of {len(kernels)} cases take more than {NEAR_A_COPY}"
        + (": " + listed(slow_kernels, lambda case: f"{case.operation}, {times(case.samples)} "
                                                    f"{case.by_copy:.2f}") if slow_kernels else "")
        + ".",
        f"- **A call** on the smallest image that it takes costs "
        f"{statistics.median(case.microseconds for case in calls(cases)):.2f} µs in the median; "
        f"{len(slow_calls)} of {len(calls(cases))} cost more than {CALL_MICROSECONDS} µs"
        + (": " + listed(slow_calls, lambda case: f"{case.operation} {case.microseconds:.1f} µs")
           if slow_calls else "") + ".",
        f"- **Twice the pixels** take at most {worst_growth.doubling:.2f} times as long "
        f"({worst_growth.operation.removeprefix('Doubling ')}, up to {times(worst_growth.size)}).",
    ]
    return lines, slow


def by_operation(cases):
    lines = ["| operation | geometric mean | worst | where | 4096 × 3000, all cores, / copy |",
             "|---|---:|---:|---|---:|"]
    for (operation,), group in grouped(compared(cases), "operation").items():
        worst = max(group, key=lambda case: case.by_opencv)
        large = [case.by_copy for case in group
                 if case.size == SIZES[-1] and case.threads == "all-threads"
                 and case.region == "whole"]
        lines.append(f"| {operation} | {geometric_mean([case.by_opencv for case in group]):.2f} "
                     f"| {worst.by_opencv:.2f} | {times(worst.size)}, {times(worst.samples)}, "
                     f"{worst.region}, {worst.threads} | {geometric_mean(large):.2f} |")
    return lines


def slow_table(slow):
    lines = ["| operation | size | samples | region | threads | / OpenCV | / copy |",
             "|---|---|---|---|---|---:|---:|"]
    lines += [f"| {case.operation} | {times(case.size)} | {times(case.samples)} | {case.region} "
              f"| {case.threads} | {case.by_opencv:.2f} | {case.by_copy:.2f} |" for case in slow]
    return lines


def call_table(cases):
    lines = ["| call | on | ours, µs | / OpenCV |", "|---|---|---:|---:|"]
    lines += [f"| {case.operation} | {times(case.size)} | {case.microseconds:.3f} "
              f"| {case.by_opencv:.2f} |"
              for case in calls(cases)]
    return lines


def growth_table(cases):
    growing = grouped([case for case in cases if case.doubling is not None], "operation")
    sizes = [case.size for case in next(iter(growing.values()))]
    lines = ["| up to | " + " | ".join(times(size) for size in sizes) + " |",
             "|---|" + "---:|" * len(sizes)]
    lines += [f"| {operation.removeprefix('Doubling ')} | "
              + " | ".join(f"{case.doubling:.2f}" for case in group) + " |"
              for (operation,), group in growing.items()]
    return lines


def measured(cases, context, docs):
    lines, slow = summary(cases)
    profiled = (docs / PROFILES).exists()
    return "\n".join([
        machine(context), "", *lines, "", "![our time by OpenCV's](speed/ratios.svg)", "",
        "### By operation", "", *by_operation(cases), "",
        f"### The cases above {SLOW}", "", *slow_table(slow), "",
        *([f"[Where the time of some of them goes]({PROFILES}), by function.", ""] if profiled else []),
        "### What a call costs", "", *call_table(cases), "",
        "### What twice the pixels cost", "",
        "The time at a size by the time at half its pixels.", "", *growth_table(cases)])


def all_cases(cases):
    """One row for each kind of image, region and threads; a column a size."""
    lines = ["# Every case", "",
             "Our time by OpenCV's, our time by a copy's, and our time in µs. "
             "[What is measured](../speed.md).", ""]
    for (operation,), group in grouped(compared(cases), "operation").items():
        lines += [f"## {operation}", "",
                  "| samples | region | threads | " + " | ".join(map(times, SIZES)) + " |",
                  "|---|---|---|" + "---:|" * len(SIZES)]
        rows = grouped(group, "samples", "region", "threads")
        order = [(samples, region, threads) for samples in SAMPLES for region in REGIONS
                 for threads in THREADS]
        for key in filter(rows.__contains__, order):
            cells = {case.size: f"{case.by_opencv:.2f}, {case.by_copy:.2f}, "
                                f"{case.microseconds:.4g}" for case in rows[key]}
            lines.append("| " + " | ".join([times(key[0]), *key[1:],
                                            *(cells.get(size, "") for size in SIZES)]) + " |")
        lines.append("")
    return "\n".join(lines)


def write(cases, context, docs):
    page = docs / "speed.md"
    head, rest = page.read_text(encoding="utf-8").split("<!-- measured -->\n")
    tail = rest.split("<!-- end of measured -->\n")[1]
    page.write_text(f"{head}<!-- measured -->\n{measured(cases, context, docs)}\n"
                    f"<!-- end of measured -->\n{tail}", encoding="utf-8")
    folder = docs / "speed"
    folder.mkdir(exist_ok=True)
    (folder / "cases.md").write_text(all_cases(cases), encoding="utf-8")
    (folder / "ratios.svg").write_text(plot.ratios(compared(cases)), encoding="utf-8")
    print("\n".join(summary(cases)[0]))
    print(f"All is told in {page}.")


def main():
    match sys.argv[1:]:
        case ["table", *paths] if paths:
            print_table(read(paths)[0])
        case ["write", docs, *paths] if paths:
            write(*read(paths), pathlib.Path(docs))
        case _:
            sys.exit(__doc__)


if __name__ == "__main__":
    main()
