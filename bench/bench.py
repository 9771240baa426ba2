"""bench.py LAUNCHER BUILD_FOLDER RESULT_FILE: measures and prints. See scripts/bench."""

import json
import statistics
import struct
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple, Optional

import streaming
from timing import times_of

ROUNDS = 5
# Where no real device has its place, an ordinary file may stand for the physical memory that the peer reads. The PID LUT
# is full.
ON_BOARD = ["run", "--", "sh", "-c", 'truncate -s 4096 /dev/mem && zeb_fpga_shell imptabs -f "$0" && exec "$@"']


class Comparison(NamedTuple):
    """Two commands, timed as whole processes."""

    name: str
    subject: list
    peer: list
    goal: Optional[float]  # None: told, not judged
    in_ms: bool = False  # the goal is a difference in milliseconds, not a ratio
    on_board: bool = True  # both run on a board that is there already
    differs: bool = False  # ends with a status of its own, since there is a difference


def crc32_mpeg2(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc ^= byte << 24
        for _ in range(8):
            crc = (crc << 1 ^ (0x04C11DB7 if crc >> 31 else 0)) & 0xFFFFFFFF
    return crc


def full_tables(first_tso=0):
    """A table image: 2048 rows in the PID LUT, each with a list of two rows in the full O-PID MAP, all other tables as
    after a reset."""
    words = 64 * [0xFF] + 256 * [0, 0x00FFFFFF] + 256 * [0xFFF]
    for row in range(2048):
        words += [row // 256 << 13 | 0x100 + row % 256, 0xFF001000 | 1 + 2 * (row % 2047)]
    words += [0x1FFFFF, 0]
    for row in range(1, 4096):
        words += [1 << 22 | (first_tso + row % 2) % 256, row + 1 if row % 2 == 1 and row < 4095 else 0]
    words += 256 * [0xFF] + 256 * [0, 0, 0, 0xFFFF]
    image = struct.pack("<14400I", *words)
    return image + struct.pack("<I", crc32_mpeg2(image))


def compare(row, launcher, image):
    prefix = [launcher, *ON_BOARD, image] if row.on_board else []
    files = {"IMAGE": image, "COPY": f"{image}.copy", "OTHER": f"{image}.other"}
    command = [files.get(word, word) for word in row.subject]
    subject, peer = [], []
    # By turns, so that a busy machine slows both.
    for _ in range(ROUNDS):
        subject += times_of(command, 200 if row.on_board else 40, prefix, row.differs)
        peer += times_of(row.peer, 200 if row.on_board else 40, prefix)
    ours, theirs = statistics.median(subject) * 1000, statistics.median(peer) * 1000
    fastest = f"{min(subject) * 1000:.2f} to {min(peer) * 1000:.2f} ms"
    return {
        "name": row.name,
        "measured": ours - theirs if row.in_ms else ours / theirs,
        "unit": "ms" if row.in_ms else "times",
        "goal": row.goal,
        "detail": f"{ours:.2f} ms; {' '.join(row.peer)}: {theirs:.2f} ms; fastest runs: {fastest}",
    }


def size(tool, goal):
    size = tool.stat().st_size
    return {
        "name": f"size of {tool.name}, static and stripped",
        "measured": size / 1e6,
        "unit": "MB",
        "goal": goal,
        "detail": f"{size} bytes",
    }


def main():
    launcher, build, result_file = sys.argv[1:]
    tool = Path(build) / "util" / "fpga_shell" / "zeb_fpga_shell"
    name, route = tool.name, "zeb_route"  # in PATH on a board
    comparisons = [
        Comparison("one word: read32 -d router", [name, "read32", "-d", "router"], ["busybox", "devmem", "0", "32"], 1.2),
        Comparison("2048 lines: rpidlut -a -s", [name, "rpidlut", "-a", "-s"], [name, "list"], 3.0),
        Comparison("full PID LUT: wrpidlut", [name, *"wrpidlut -t 3 -p 0x120 -P 9 -O".split()], [name, "list"], 1.7),
        Comparison("exptabs, to memory", [name, "exptabs", "-f", "/dev/shm/tables.bin"], [name, "list"], 2.0),
        # Waits for the disk, whatever that is, before the file takes its place.
        Comparison("exptabs, to disk", [name, "exptabs", "-f", "COPY"], [name, "list"], None),
        Comparison("imptabs", [name, "imptabs", "-f", "IMAGE"], [name, "list"], 2.0),
        Comparison("start of zeb_route", [route, "--version"], [name, "list"], 1.3),
        Comparison("full tables: zeb_route show", [route, "show"], [route, "--version"], 5.0),
        Comparison("two full images: zeb_route diff", [route, "diff", "IMAGE", "OTHER"], [route, "--version"], 10, in_ms=True, differs=True),
        Comparison(
            "a board and its first command",
            [launcher, "run", "--", name, "list"],
            [str(tool), "list"],
            60,
            in_ms=True,
            on_board=False,
        ),
    ]
    with tempfile.TemporaryDirectory() as folder:
        image = Path(folder) / "tables.bin"
        image.write_bytes(full_tables())
        Path(f"{image}.other").write_bytes(full_tables(first_tso=7))
        results = [compare(row, launcher, str(image)) for row in comparisons] + [size(tool, 2.5), size(Path(build) / "util" / route / route, 2.5)]
    results += streaming.measure(tool, Path(build) / "bench" / "repack_loop")

    print(f"{'':42} {'measured':>16} {'goal':>18}")
    for result in results:
        at_least = result.get("at_least", False)
        measured, goal = result["measured"], result["goal"]
        result["met"] = goal is None or (measured >= goal if at_least else measured <= goal)
        measured = f"{measured:.2f} {result['unit']}"
        goal = "none" if goal is None else f"{'>=' if at_least else '<='} {goal:.2f} {result['unit']}"
        print(f"{result['name']:42} {measured:>16} {goal:>18}  {'met' if result['met'] else 'MISSED':6}  {result['detail']}")
    Path(result_file).write_text(json.dumps(results, indent=2) + "\n")
    return 0 if all(result["met"] for result in results) else 1


if __name__ == "__main__":
    sys.exit(main())
