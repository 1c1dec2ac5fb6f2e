"""Prints, for each measurement WORK_vorlane/ARG, the time of every WORK_PEER/ARG of the same run divided by it."""

import json
import re
import sys


def read_times(paths):
    times = {}
    for path in paths:
        with open(path) as file:
            for entry in json.load(file).get("benchmarks", []):
                if entry.get("run_type", "iteration") == "iteration":
                    times.setdefault(entry["name"], entry["cpu_time"])
    return times


def main(paths):
    times = read_times(paths)
    print(f"{'work':<40}{'peer':<20}{'peer / vorlane':>15}")
    for name, own in times.items():
        match = re.fullmatch(r"(\w+?)_vorlane((?:/.*)?)", name)
        if not match:
            continue
        work, argument = match.groups()
        for other, time in times.items():
            peer = re.fullmatch(re.escape(work) + r"_(\w+)" + re.escape(argument), other)
            if peer and peer.group(1) != "vorlane":
                print(f"{work + argument:<40}{peer.group(1):<20}{time / own:>15.2f}")


main(sys.argv[1:])
