"""Reads what kelra_bench measured."""
import collections
import dataclasses
import json
import math
import statistics
import sys

SIZES = ["64x64", "640x480", "1920x1080", "4096x3000"]
SAMPLES = ["8-bit x1", "8-bit x3", "16-bit x1", "16-bit x3"]
REGIONS = ["whole", "rectangle", "circle", "runs"]
THREADS = ["1-thread", "all-threads"]


@dataclasses.dataclass(frozen=True)
class Case:
    operation: str
    size: str
    samples: str
    region: str
    threads: str
    microseconds: float
    by_opencv: float | None  # our time divided by OpenCV's, None where only the growth was measured
    by_copy: float | None
    doubling: float | None  # the factor that twice the pixels cost
    row_kernels: bool
    noise: bool  # both sides are the same code


def median_of(cases):
    """One case for the same one in several sittings."""
    def median(field):
        values = [getattr(case, field) for case in cases]
        return None if None in values else statistics.median(values)

    figures = ["microseconds", "by_opencv", "by_copy", "doubling"]
    return dataclasses.replace(cases[0], **{field: median(field) for field in figures})


def read(paths):
    """The cases of all files, of those in several the medians, and the last file's machine."""
    sittings = collections.defaultdict(list)
    for path in paths:
        with open(path, encoding="utf-8") as file:
            report = json.load(file)
        for run in report["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit(f"{run['name']}: {run['error_message']}")
            name = run["name"].split("/")[:5]
            sittings[tuple(name)].append(Case(
                *name, microseconds=run["real_time"], by_opencv=run.get("by_opencv"),
                by_copy=run.get("by_copy"), doubling=run.get("doubling"),
                row_kernels=run.get("row_kernels") == 1, noise=run.get("noise") == 1))
    return [median_of(cases) for cases in sittings.values()], report["context"]


def grouped(cases, *fields):
    groups = collections.defaultdict(list)
    for case in cases:
        groups[tuple(getattr(case, field) for field in fields)].append(case)
    return groups


def geometric_mean(values):
    return math.exp(sum(map(math.log, values)) / len(values))
