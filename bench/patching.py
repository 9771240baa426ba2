"""patching.py LAUNCHER: measures how fast zeb_route patches the routing of a board, and the tool beside it.

See scripts/bench. The figures are of the fastest run, which other work on the machine disturbs least.
"""

import subprocess
import sys
import time
from pathlib import Path

GOAL_LINES = 16_000  # a second, the start of the program included
GOAL_GROWTH = 1.5  # of the time for a line
FEW, MANY = 200, 2000
ROUNDS = 15
TOOL_RUNS = 100


def seconds_of(*command, **options):
    begun = time.perf_counter()
    done = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options)
    return time.perf_counter() - begun, done.stdout


def patch(lines):
    """Seconds for a patch of so many routes on an empty board."""
    text = "".join(f"+route {i // 250}:{i % 250} to 3:{i} 4\n" for i in range(lines))
    seconds_of("zeb_route", "apply", "-", input="")
    seconds, printed = seconds_of("zeb_route", "patch", input=text)
    assert ", 1 table switched, " in printed.splitlines()[-1], printed[-200:]
    return seconds


def edit_row(number):
    return seconds_of("zeb_fpga_shell", *f"wrpidlut -t {number // 250} -p {number % 250} -P 7 -f 255 -O".split())[0]


def report(name, value, unit, goal, met, detail):
    print(f"{name:38} {value:9.2f} {unit:7} goal {goal:9}  {'met' if met else 'MISSED':6}  {detail}")
    return met


def measure():
    few, many = [], []
    for _ in range(ROUNDS):  # by turns
        few.append(patch(FEW))
        many.append(patch(MANY))
    tool = sum(edit_row(number) for number in range(TOOL_RUNS)) / TOOL_RUNS
    rate = MANY / min(many)
    growth = min(many) / MANY / (min(few) / FEW)
    detail = f"{min(many) * 1000:.1f} ms; {MANY} runs of wrpidlut would take {tool * MANY:.1f} s and as many switches"
    met = report(f"patch of {MANY} routes", rate, "lines/s", f">= {GOAL_LINES}", rate >= GOAL_LINES, detail)
    detail = f"{min(few) / FEW * 1e6:.1f} us a line of {FEW}, {min(many) / MANY * 1e6:.1f} us of {MANY}"
    return report("patch: a line of many to one of few", growth, "times", f"<= {GOAL_GROWTH}", growth <= GOAL_GROWTH, detail) and met


if sys.argv[1] == "measure":
    sys.exit(0 if measure() else 1)
sys.exit(subprocess.run([sys.argv[1], "run", "--", sys.executable, "-B", Path(__file__), "measure"]).returncode)
