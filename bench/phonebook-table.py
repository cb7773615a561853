#!/usr/bin/env python3

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

"""Markdown table of the phonebook sync's growth with the export's size, from the JSON output of
fritzbox_bench_sync run with repetitions: the medians of BM_PhonebookSync (download, digest and
conversion) per contact and per sync for each build.

    phonebook-table.py LABEL=RESULTS.json...
"""
import json
import sys


def medians(path):
    """{(benchmark, contacts): median aggregate} of one results file."""
    with open(path) as results:
        runs = json.load(results)["benchmarks"]
    found = {}
    for run in runs:
        if run.get("aggregate_name") != "median":
            continue
        benchmark, contacts = run["run_name"].split("/")[:2]
        found[(benchmark, int(contacts))] = run
    return found


def milliseconds(run, key):
    scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[run["time_unit"]]
    return run[key] * scale


def sync_columns(found, contacts):
    sync = found[("BM_PhonebookSync", contacts)]
    return [
        f"{sync['per_contact'] * 1e6:.2f} µs",
        f"{milliseconds(sync, 'cpu_time'):.1f} ms",
        f"{milliseconds(sync, 'real_time'):.1f} ms",
    ]


def main(arguments):
    if not arguments or not all("=" in argument for argument in arguments):
        sys.exit(__doc__)
    builds = [(label, medians(path)) for label, path in (argument.split("=", 1) for argument in arguments)]
    sizes = sorted(contacts for benchmark, contacts in builds[0][1] if benchmark == "BM_PhonebookSync")
    names = ["per contact (CPU)", "per sync (CPU)", "per sync (wall)"]
    header = ["contacts"] + [f"{label}: {name}" for label, _ in builds for name in names]
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    for contacts in sizes:
        columns = [f"{contacts:,}"] + [column for _, found in builds for column in sync_columns(found, contacts)]
        print("| " + " | ".join(columns) + " |")


if __name__ == "__main__":
    main(sys.argv[1:])
