#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs every benchmark at every size and tells the medians.

usage: record.py --build DIR --service PID [--quick] [--record]

Prints the tables. With --record it also writes docs/performance/results.json and results.txt, the
tables between the markers of docs/performance/README.md and docs/scale.md, and the pictures.
Only ratios of one run are compared with the goals.
"""
import argparse
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True  # the tree stays as it is

import scale  # noqa: E402
import tables  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
SIZES = (64, 1024, 16384, 32767)


def run_json(command):
    """The repetitions of one benchmark program as {name: [nanoseconds an operation]}."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        command = command + [f"--benchmark_out={out.name}", "--benchmark_out_format=json"]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        report = json.load(open(out.name, encoding="utf-8"))
    found = {}
    for each in report["benchmarks"]:
        if each.get("run_type") != "iteration":
            continue
        if each.get("error_occurred"):
            sys.exit(f"bench: {each['name']}: {each.get('error_message')}")
        name, _, clock = each["name"].partition("/real_time")
        name = name.replace("/manual_time", "")
        by_hand = "/manual_time" in each["name"]
        # Processor time counts, of a request that of both processes: others do not lengthen it.
        taken = each["real_time"] if by_hand else each.get("both_ns", each["cpu_time"])
        found.setdefault(name, []).append(taken / each.get("operations", 1))
    return found


def summary(found):
    result = {}
    for name, values in found.items():
        values.sort()
        result[name] = {
            "ns": statistics.median(values),
            "low": values[0],
            "high": values[-1],
            "repetitions": len(values),
        }
    return result


def processor_seconds(pid):
    """Time that a process was on a processor, from the scheduler's own count."""
    return int(pathlib.Path(f"/proc/{pid}/schedstat").read_text().split()[0]) / 1e9


def service_share(program, service):
    """The part of a request's processor time that is the service's."""
    before = processor_seconds(service)
    used_before = os.times().children_user + os.times().children_system
    subprocess.run([program, "--benchmark_filter=direct_request", "--benchmark_min_time=0.5"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    served = processor_seconds(service) - before
    used = os.times().children_user + os.times().children_system - used_before
    return served / (served + used)


def measure(build, service, quick):
    os.environ["VARN_BENCH_SERVICE"] = str(service)
    bench = str(build / "bench" / "varn_bench")
    at_service = str(build / "bench" / "varn_service_bench")
    repetitions = [f"--benchmark_repetitions={3 if quick else 9}",
                   f"--benchmark_min_time={0.002 if quick else 0.01}"]
    results = {"machine": machine(build), "sizes": {}, "memory": {}}
    for size in SIZES if not quick else (1024, 32767):
        print(f"bench: {size} entries", file=sys.stderr, flush=True)
        entries = f"--entries={size}"
        results["sizes"][str(size)] = summary(run_json([bench, entries] + repetitions))
        told = subprocess.run([bench, entries, "--memory"], check=True, capture_output=True)
        results["memory"][str(size)] = json.loads(told.stdout)
    print("bench: the service", file=sys.stderr, flush=True)
    results["service"] = summary(run_json([at_service] + repetitions))
    results["service_share"] = service_share(at_service, service)
    told = subprocess.run([at_service, "--memory"], check=True, capture_output=True)
    results["client"] = json.loads(told.stdout)
    results["machine"]["load_after"] = os.getloadavg()[0]
    return results


def machine(build):
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")

    def cached(name):
        found = [line.partition("=")[2] for line in cache.splitlines() if line.startswith(name + ":")]
        return found[0] if found else ""

    compiler = subprocess.run([cached("CMAKE_CXX_COMPILER"), "--version"], check=True,
                              capture_output=True, text=True).stdout.splitlines()[0]
    model = [line.partition(": ")[2] for line in open("/proc/cpuinfo", encoding="utf-8")
             if line.startswith("model name")]
    return {
        "processor": model[0].strip() if model else platform.machine(),
        "processors": os.cpu_count(),
        "kernel": platform.release().partition("-")[0],
        "compiler": compiler,
        "flags": f"{cached('CMAKE_CXX_FLAGS')} {cached('CMAKE_CXX_FLAGS_RELEASE')} -std=c++20 -fPIC".strip(),
        "load_before": os.getloadavg()[0],
    }


def rewrite(path, blocks):
    """Replaces what stands between <!-- NAME --> and <!-- end NAME -->."""
    text = path.read_text(encoding="utf-8")
    for name, block in blocks.items():
        start, end = f"<!-- {name} -->", f"<!-- end {name} -->"
        if start not in text:
            continue
        head, _, rest = text.partition(start)
        if end not in rest:
            sys.exit(f"bench: {path} has no {end}")
        text = head + start + "\n" + block.strip() + "\n" + end + rest.partition(end)[2]
    path.write_text(text, encoding="utf-8")


def record(results, blocks):
    folder = ROOT / "docs" / "performance"
    with open(folder / "results.json", "w", encoding="utf-8") as out:
        json.dump(results, out, indent=1, sort_keys=True)
        out.write("\n")
    (folder / "results.txt").write_text(tables.text(blocks), encoding="utf-8")
    rewrite(folder / "README.md", blocks)
    rewrite(ROOT / "docs" / "scale.md", blocks)
    subprocess.run([sys.executable, str(ROOT / "bench" / "plot.py"), str(folder)], check=True)
    print(f"bench: recorded in {folder.relative_to(ROOT)}", file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--service", type=int, required=True)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--record", action="store_true")
    given = parser.parse_args()
    if given.quick and given.record:
        sys.exit("bench: --quick is too short to be recorded")
    results = measure(given.build, given.service, given.quick)
    blocks = tables.all_tables(results)
    if not given.quick:
        blocks.update(scale.scale_tables(results))
    print(tables.text(blocks))
    if given.record:
        record(results, blocks)


if __name__ == "__main__":
    main()
