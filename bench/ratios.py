#!/usr/bin/env python3
"""Prints the ratios of a kelra_bench run (its JSON on standard input) as a Markdown table.

A ratio is the median over the repetitions of our time divided by the other's time in the same
repetition; below 1 we are faster.
"""
import collections
import json
import statistics
import sys


def main():
    times = collections.defaultdict(lambda: collections.defaultdict(dict))
    for run in json.load(sys.stdin)["benchmarks"]:
        if run.get("run_type") != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"ratios.py: {run['name']}: {run['error_message']}")
        operation, size, kind, who = run["name"].removesuffix("/real_time").split("/")
        times[operation, size, kind][who][run["repetition_index"]] = run["real_time"] / 1000

    print("| operation | size | samples | time, µs | / OpenCV | / copy |")
    print("|---|---|---|---:|---:|---:|")
    for (operation, size, kind), by_who in times.items():
        ours = by_who["kelra"]

        def ratio(other):
            return statistics.median(ours[i] / by_who[other][i] for i in ours)

        print(f"| {operation} | {size.replace('x', ' × ')} | {kind.replace('x', '× ')} "
              f"| {statistics.median(ours.values()):.2f} "
              f"| {ratio('opencv'):.2f} | {ratio('copy'):.2f} |")


if __name__ == "__main__":
    main()
