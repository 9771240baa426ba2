"""The goals of sending and capturing; bench.py calls measure()."""

import os
import re
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

from timing import times_of

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests"))

from harness import ts  # noqa: E402  (needs the path above)

FILE_BYTES = 256_000_000
ROUNDS = 5
RUNS = 6  # a round, of each command
PASSES = 3  # of the file, where it is sent in a loop
CAPTURED = 1_000_000  # packets
TX, RX, PORT = "/dev/zebtsif_pktio_tx0", "/dev/zebtsif_pktio_rx", "/dev/zebtsif_pktio_dbg"
PIECE = 21 * ts.RECORD  # what a pipe takes whole or not at all


def on_devices(**devices):
    """A command prefix: a view of this machine with these devices."""
    binds = [word for name, file in devices.items() for word in ("--dev-bind", str(file), f"/dev/{name}")]
    return ["bwrap", "--dev-bind", "/", "/", "--dev", "/dev", *binds, "--"]


def make_stream(folder):
    """A stream as a headend has them, H.264 and audio at 40 Mbit/s; the same seconds over and over."""
    extra = ("-preset", "ultrafast", "-b:v", "30M", "-maxrate", "30M", "-bufsize", "8M", "-vf", "noise=alls=30:allf=t")
    piece = ts.make(folder / "piece.ts", seconds=8, mux_rate="40M", video="libx264", extra=extra)
    stream = folder / "stream.ts"
    again = ["ffmpeg", "-v", "error", "-stream_loop", "-1", "-i", piece, "-c", "copy", "-muxrate", "40M"]
    subprocess.run([*again, "-fs", str(FILE_BYTES), stream], check=True)
    return stream


def resident_kb(sandbox):
    """Resident memory of the tool, which is bubblewrap's child or has taken its place; 0 when it is not there."""
    try:
        children = Path(f"/proc/{sandbox}/task/{sandbox}/children").read_text().split()
        for pid in [str(sandbox), *children]:
            if Path(f"/proc/{pid}/comm").read_text() == "zeb_fpga_shell\n":
                # Counted page by page, while "status" is up to 64 pages behind.
                rollup = Path(f"/proc/{pid}/smaps_rollup").read_text()
                return int(re.search(r"^Rss: +(\d+) kB$", rollup, re.MULTILINE)[1])
    except (OSError, TypeError):  # it has just ended
        pass
    return 0


def watch_memory(process, *others):
    """Samples of the tool's resident memory, in kB, until it or one of `others` has ended."""
    samples = []
    while all(one.poll() is None for one in (process, *others)):
        samples.append(resident_kb(process.pid))
        time.sleep(0.02)
    return [kb for kb in samples if kb] or [0]


def sending(tool, repack_loop, folder):
    stream = make_stream(folder)
    size = stream.stat().st_size
    send = [str(tool), "wrtspackets", "-i", "5", "-f", str(stream)]
    loop = [*send, "-l", "-n", str(PASSES * (size // ts.TS))]
    remux = ["ffmpeg", "-v", "error", "-i", str(stream), "-c", "copy", "-y", "-f"]
    commands = {
        "send": send,
        "loop": loop,
        "repack_loop": [str(repack_loop), str(stream), "/dev/null"],
        "ffmpeg, copied to mpegts": [*remux, "mpegts", "/dev/null"],
        "ffmpeg, copied to null": [*remux, "null", "-"],
    }
    prefix = on_devices(**{Path(TX).name: "/dev/null"})
    times = {name: [] for name in commands}
    # By turns, so that a busy machine slows all; and the least of each, since nothing makes a run too fast.
    for _ in range(ROUNDS):
        for name, command in commands.items():
            times[name] += times_of(command, RUNS, prefix, warmup=1)
    rate = {name: (PASSES if name == "loop" else 1) * size / min(times[name]) / 1e9 for name in commands}

    def row(name, ours, peer, goal):
        detail = f"least of {ROUNDS * RUNS} runs: {rate[ours]:.2f} GB/s; {peer}: {rate[peer]:.2f} GB/s"
        measured = rate[ours] / rate[peer]
        return {"name": name, "measured": measured, "unit": "times", "goal": goal, "at_least": True, "detail": detail}

    sender = subprocess.Popen([*prefix, *send, "-l", "-n", str(20 * (size // ts.TS))], stdout=subprocess.DEVNULL)
    memory = watch_memory(sender)
    if sender.wait() != 0:
        sys.exit("bench: sending in a loop failed")
    # The last sample can be of the printing of the summary.
    half = len(memory) // 2
    peak, settled, late = max(memory), max(memory[: half + 1]), max(memory[half:-1], default=0)
    detail = f"at most {settled} kB in the first half of 20 passes, {late} kB in the second; {len(memory)} samples"
    return [
        row("send to a free sink", "send", "repack_loop", 1.15),
        *(row("send to a free sink", "send", name, 15) for name in commands if name.startswith("ffmpeg")),
        row("send in a loop, all time stamps repaired", "loop", "send", 0.5),
        {"name": "memory while sending", "measured": peak / 1024, "unit": "MiB", "goal": 12, "detail": detail},
        {"name": "its growth in the second half", "measured": max(late - settled, 0) / 1024, "unit": "MiB", "goal": 0.1, "detail": detail},
    ]


def feed(pipe, count):
    """Writes records into the pipe that stands for the receive device."""
    record = bytes([5, 0, 0, 0]) + bytes([0x47, 1, 0, 0x10]) + bytes(184)
    data = memoryview(record * (PIECE // ts.RECORD))
    with open(pipe, "wb", buffering=0) as device:
        try:
            for at in range(0, count * ts.RECORD, PIECE):
                device.write(data[: min(PIECE, count * ts.RECORD - at)])
        except BrokenPipeError:
            pass  # the capture has said why it ended


def capturing(tool, folder):
    pipe, port = folder / "rx", folder / "port"
    os.mkfifo(pipe)
    port.write_bytes(bytes(0x1000))
    prefix = on_devices(**{Path(RX).name: pipe, Path(PORT).name: port})
    command = [*prefix, str(tool), "rdtspackets", "-s", "-f", str(folder / "captured.ts"), "-c", str(CAPTURED)]
    rates = []
    for _ in range(ROUNDS):
        feeder = threading.Thread(target=feed, args=(pipe, CAPTURED), daemon=True)
        started = time.monotonic()
        feeder.start()
        done = subprocess.run(command, capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"bench: capturing failed: {done.stderr.strip()}")
        rates.append(CAPTURED / (time.monotonic() - started))
        feeder.join()
    detail = f"best of {ROUNDS} runs, {CAPTURED} records of a pipe to a file, with statistics"
    goal = {"unit": "/s", "goal": 100_000, "at_least": True}
    return [{"name": "capture, records", "measured": max(rates), "detail": detail, **goal}]


def measure(tool, repack_loop):
    with tempfile.TemporaryDirectory() as folder:
        return sending(tool, repack_loop, Path(folder)) + capturing(tool, Path(folder))
