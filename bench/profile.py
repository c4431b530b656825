#!/usr/bin/env python3
"""Says where the time of cases goes, by function.

profile.py KELRA_BENCH RESULTS PAGE [FILTER...]   writes PAGE; without a filter of the cases that the
                                                 files in RESULTS found too slow, each operation's worst
"""
import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from cases import SIZES, grouped, read
from report import CALL_MICROSECONDS, SLOW, machine, times

SECONDS = 0.5
FUNCTIONS = 5  # of a case, at most
SMALLEST_SHARE = 2  # percent
COUNTERS = ["instructions", "cycles"]


def cases_of(bench, filters):
    listed = subprocess.run([bench, "--benchmark_list_tests", f"--benchmark_filter={'|'.join(filters)}"],
                            capture_output=True, text=True, check=True).stdout.splitlines()
    return ["/".join(name.split("/")[:5]) for name in listed if not name.startswith("Doubling")]


def literally(text):
    """As std::regex takes it, which refuses escapes that are not needed."""
    return re.sub(r"([.^$*+?()\[\]{}|\\])", r"\\\1", text)


def too_slow(results):
    """Of each operation the case farthest from its target."""
    cases, _ = read(sorted(pathlib.Path(results).glob("*.json")))
    missed = [case for case in cases if case.doubling is None and not case.noise
              and (case.by_opencv > SLOW if case.size in SIZES
                   else case.microseconds > CALL_MICROSECONDS)]
    worst = [max(group, key=lambda case: case.by_opencv)
             for group in grouped(missed, "operation").values()]
    return ["/".join([case.operation, case.size, case.samples, case.region, case.threads])
            for case in sorted(worst, key=lambda case: -case.by_opencv)]


class Perf:
    """Runs our side of a case under perf, which is awake only while it is called."""

    def __init__(self, bench, folder):
        self.bench = bench
        self.folder = pathlib.Path(folder)
        self.fifo = self.folder / "control"
        os.mkfifo(self.fifo)

    def run(self, case, *command):
        result = self.folder / "result.json"
        subprocess.run(
            ["perf", *command, "--delay=-1", f"--control=fifo:{self.fifo}", "--", self.bench,
             f"--benchmark_filter=^{literally(case)}/", f"--benchmark_out={result}",
             f"--ours_for={SECONDS}", f"--perf_control={self.fifo}"],
            capture_output=True, check=True)
        report = json.loads(result.read_text())
        return report["benchmarks"][0], report["context"]

    def functions(self, case):
        """Percent of the time by function, and what the benchmark measured."""
        data = self.folder / "perf.data"
        run, context = self.run(case, "record", "-q", f"--output={data}")
        lines = subprocess.run(
            ["perf", "report", f"--input={data}", "--stdio", "-q", "--no-children", "--percentage=relative",
             "--fields=overhead,dso,symbol", "--field-separator=\t"],
            capture_output=True, text=True, check=True).stdout.splitlines()
        shares = collections.Counter()
        for line in lines:
            if line.count("\t") == 2:
                percent, library, symbol = line.split("\t")
                shares[named(library.strip(), symbol.strip())] += float(percent.strip().rstrip("%"))
        return shares, run, context

    def counters(self, case):
        """What a processor counted, {} where none can be asked."""
        counted = self.folder / "counted"
        self.run(case, "stat", "-x\t", f"--event={','.join(COUNTERS)}", f"--output={counted}")
        values = {}
        for line in counted.read_text().splitlines():
            fields = line.split("\t")
            if len(fields) > 2 and fields[0].isdigit():
                values[fields[2].split(":")[0]] = int(fields[0])
        return values


def shortened(symbol):
    """Without arguments, results and our own namespace."""
    symbol = symbol.replace("(anonymous namespace)::", "").replace("KELRA::", "")
    symbol = re.sub(r"\{lambda\(.*", "{lambda}", symbol) if symbol.startswith("{") else symbol
    outer = ""
    depth = 0
    for character in symbol.replace("operator()", "operator_call"):
        depth -= character == ")"
        if depth == 0 and character != ")":
            outer += character if character != "(" else ""
        depth += character == "("
    outer = re.sub(r"\{lambda#\d+\}", "lambda", outer.replace("operator_call", "operator()"))
    outer = re.sub(r" const\b", "", outer).replace("lambda::operator()", "lambda")
    return outer if len(outer) <= 80 else outer[:77] + "..."


def named(library, symbol):
    kernel, symbol = symbol.startswith("[k]"), re.sub(r"^\[.\] ", "", symbol)
    if kernel:
        return "the kernel", symbol
    library = re.sub(r"\.so.*", "", library)
    return library, "" if symbol.startswith("0x") else shortened(symbol)


def figure(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


def told(case, perf, counts):
    shares, run, context = perf.functions(case)
    operation, size, samples, region, threads = case.split("/")
    figures = [f"{figure(run['real_time'])} µs a call"]
    if run["bytes_moved"]:
        figures.append(f"{figure(run['bytes_moved'] / run['real_time'] / 1000)} GB/s read and written")
    figures.append(f"{figure(run['page_faults'])} page faults a call")
    if counts:
        counted = perf.counters(case)
        figures.append(f"{counted['instructions'] / counted['cycles']:.2f} instructions a cycle")
    libraries = collections.Counter()
    for (library, _), share in shares.items():
        libraries[library] += share
    lines = [f"## {operation}, {times(size)}, {times(samples)}, {region}, {threads}", "",
             ", ".join(figures) + ".", "", "| % | function | of |", "|---:|---|---|"]
    top = [item for item in shares.most_common(FUNCTIONS) if item[1] >= SMALLEST_SHARE]
    lines += [f"| {share:.0f} | {f'`{function}`' if function else '–'} | {library} |"
              for (library, function), share in top]
    rest = 100 - sum(share for _, share in top)
    if rest >= SMALLEST_SHARE:
        lines.append(f"| {rest:.0f} | all else | |")
    by_library = [f"{library} {share:.0f} %" for library, share in libraries.most_common()
                  if share >= SMALLEST_SHARE]
    return lines + ["", f"By library: {', '.join(by_library)}.", ""], context


def written(cases, bench):
    pages = []
    with tempfile.TemporaryDirectory() as folder:
        perf = Perf(bench, folder)
        counts = bool(perf.counters(cases[0]))
        for case in cases:
            print(case, file=sys.stderr)
            lines, context = told(case, perf, counts)
            pages += lines
    head = ["# Where the time goes", "",
            f"Our side of some cases, each called for {SECONDS} s under `perf` by `scripts/profile`: the time by function. Functions of stripped",
            "libraries have no names (–). Bytes are what a call reads and writes at least. [What is measured](../speed.md).", "",
            machine(context)]
    if not counts:
        head.append("This machine lets nobody count instructions or cycles.")
    return "\n".join([*head, "", *pages])


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    bench, results, page, *filters = sys.argv[1:]
    cases = cases_of(bench, filters) if filters else too_slow(results)
    if not cases:
        sys.exit("No such case.")
    pathlib.Path(page).write_text(written(cases, bench), encoding="utf-8")
    print(f"{len(cases)} cases are told in {page}.")


if __name__ == "__main__":
    main()
