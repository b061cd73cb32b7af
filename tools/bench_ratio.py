#!/usr/bin/env python3
"""Turns Google Benchmark's JSON into a table of times, with the ratio to ours within each group.

Rows are named GROUP/CONTENDER or GROUP/CONTENDER/ARGUMENT; ours is the contender "tessitone". With
repetitions the smallest time of each row counts: what disturbs a run only ever adds. A row that
times its calls one by one gives their middle in a counter "median_ns", which then stands for it.
"""
import collections
import json
import sys

groups = collections.OrderedDict()
for row in json.load(sys.stdin)["benchmarks"]:
    if row.get("run_type") == "aggregate":
        continue
    name = row["run_name"].split("/")
    group = (name[0], "/".join(name[2:]))
    contender = name[1] if len(name) > 1 else ""
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[row["time_unit"]]
    times = groups.setdefault(group, collections.OrderedDict())
    time = row.get("median_ns", row["cpu_time"] * unit)
    times[contender] = min(times.get(contender, float("inf")), time)

print(f"{'what':<44}{'contender':<24}{'ns':>12}  tessitone/contender")
for (what, arg), times in groups.items():
    ours = times.get("tessitone")
    for contender, time in times.items():
        ratio = f"{ours / time:10.2f}" if ours and contender != "tessitone" else ""
        print(f"{what + (' ' + arg if arg else ''):<44}{contender:<24}{time:12.1f}  {ratio}")
