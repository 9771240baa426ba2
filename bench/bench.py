"""Runs on a virtual board: bench.py BUILD_FOLDER RESULT_FILE. See scripts/bench."""

import json
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

ROUNDS = 5


class Speed(NamedTuple):
    """Two commands; how many times as long as the second may the first take?"""

    name: str
    subject: list
    peer: list
    goal: float


def median_times(commands):
    """Median seconds of each command. They take turns, so that a busy machine slows all of them."""
    times = [[] for _ in commands]
    for _ in range(ROUNDS):
        for command, own in zip(commands, times):
            with tempfile.NamedTemporaryFile(suffix=".json") as export:
                # No shell between: at a millisecond a run it would be half of what is measured.
                subprocess.run(
                    ["hyperfine", "--shell=none", "--style=none", "--warmup=20", "--min-runs=200"]
                    + ["--export-json", export.name, " ".join(command)],
                    check=True,
                    stdout=subprocess.DEVNULL,
                )
                own += json.load(open(export.name))["results"][0]["times"]
    return [statistics.median(own) for own in times]


def measure_speed(row):
    subject, peer = median_times([row.subject, row.peer])
    return {
        "name": row.name,
        "measured": subject / peer,
        "goal": row.goal,
        "unit": "times",
        "detail": f"{subject * 1000:.2f} ms against {peer * 1000:.2f} ms: {' '.join(row.peer)}",
    }


def measure_size(tool, goal_mb):
    size = tool.stat().st_size
    return {
        "name": "Size of the stripped static tool",
        "measured": size / 1e6,
        "goal": goal_mb,
        "unit": "MB",
        "detail": f"{size} bytes",
    }


def main():
    tool = Path(sys.argv[1]) / "util" / "fpga_shell" / "zeb_fpga_shell"
    shell = str(tool)
    # The peer reads physical memory. On the board that device is free to be an ordinary file; "x": never a real one.
    with open("/dev/mem", "xb") as memory:
        memory.write(bytes(4096))
    results = [
        measure_speed(row)
        for row in [
            Speed(
                "One word: read32 -d router",
                [shell, "read32", "-d", "router"],
                ["busybox", "devmem", "0", "32"],
                1.2,
            ),
            Speed("Whole table: rpidlut -a -s", [shell, "rpidlut", "-a", "-s"], [shell, "list"], 3.0),
        ]
    ]
    results.append(measure_size(tool, 2.5))

    print(f"{'':34} {'measured':>12} {'at most':>12}")
    for result in results:
        result["met"] = result["measured"] <= result["goal"]
        print(
            f"{result['name']:34} {result['measured']:6.2f} {result['unit']:5} {result['goal']:6.2f} {result['unit']:5}"
            f"  {'met' if result['met'] else 'MISSED':6}  {result['detail']}"
        )
    Path(sys.argv[2]).write_text(json.dumps(results, indent=2) + "\n")
    return 0 if all(result["met"] for result in results) else 1


if __name__ == "__main__":
    sys.exit(main())
