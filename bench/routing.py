"""routing.py LAUNCHER: measures what the virtual board can route on one core, and what it costs while idle.

See scripts/bench. Rates are by the processor time that the model takes, so that they hold on a busy machine too.
"""

import os
import socket
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests"))

from harness import ts  # noqa: E402  (needs the path above)

GOAL_MBIT = 200
SENT_MBIT = 215  # a sender that loses its turn for a moment still sends enough
GOAL_IDLE = 2  # percent of a core
IDLE_SECONDS = 5
NETWORK_SECONDS = 5
GROUP_IN, GROUP_OUT, PORT = "239.3.3.1", "239.3.3.2", 3333
DATAGRAM = 7 * ts.TS
SO_RCVBUFFORCE = 33  # what an administrator allows to anybody is too little; this needs root
OUTPUT = Path("/dev/zebtsif_outputs/modulator0.ts")


def be_urgent():
    """Puts this process, and those it starts, before the machine's other work; where that is allowed."""
    try:
        os.nice(-15)
    except PermissionError:
        pass


def program(*commands):
    for command in commands:
        subprocess.run(["zeb_fpga_shell", *command.split()], check=True, stdout=subprocess.DEVNULL)


def full_pid_lut():
    """A full table that routes PIDs of TSI 4 to PIDIDX 7; the search for a row takes as long as it can."""
    rows = [(4, pid) for pid in (0x100, 0x101, 0x1FFF)] + [(tsi, pid) for tsi in range(5, 10) for pid in range(409)]
    words = [word for tsi, pid in sorted(rows) for word in (tsi << 13 | pid, 0xFF001007)]
    with open("/dev/zebtsif_pidlut", "r+b") as table:
        table.seek(4 * 8192)
        table.write(struct.pack(f"={len(words)}I", *words))
    program("wropidmap -P 7 -t 3 -p 0x222")


class ModelTime:
    """Processor time that the model has taken, in seconds."""

    def __init__(self):
        names = Path("/proc").glob("[0-9]*/comm")
        # The name is cut; the one for the SPI devices comes first.
        self._files = [name.with_name("schedstat") for name in names if name.read_text().startswith("zeb_virtual_boa")]

    def __call__(self):
        return sum(int(file.read_text().split()[0]) for file in self._files) / 1e9


def report(name, value, unit, goal, met, detail):
    print(f"{name:38} {value:9.2f} {unit:7} goal {goal:9}  {'met' if met else 'MISSED':6}  {detail}")
    return met


def measure_files(size):
    full_pid_lut()
    program("wrphyomap -t 3 -p 0")
    used, begun = ModelTime(), time.monotonic()
    before = used()
    program("wrphyimap -p 0 -t 4")
    while not OUTPUT.exists() or OUTPUT.stat().st_size < size:
        time.sleep(0.01)
        if time.monotonic() - begun > 120:
            sys.exit(f"routing: {OUTPUT.stat().st_size if OUTPUT.exists() else 0} of {size} bytes came out")
    seconds, wall = used() - before, time.monotonic() - begun
    rate = size * 8 / seconds / 1e6
    goal = f">= {GOAL_MBIT}"
    detail = f"{size} bytes in {wall:.2f} s, {seconds:.2f} s of processor time, none lost"
    return report("a file in, a file out", rate, "Mbit/s", goal, rate >= GOAL_MBIT, detail)


def receive():
    """Counts packets until there are no more."""
    receiver = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    receiver.bind((GROUP_OUT, PORT))
    receiver.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, struct.pack("4sI", socket.inet_aton(GROUP_OUT), 0))
    receiver.setsockopt(socket.SOL_SOCKET, SO_RCVBUFFORCE, 1 << 26)
    receiver.settimeout(5)
    print("ready", flush=True)
    packets, buffer = 0, bytearray(2048)
    try:
        while True:
            packets += receiver.recv_into(buffer) // ts.TS
            receiver.settimeout(1)
    except socket.timeout:
        print(packets)


def measure_network():
    be_urgent()
    full_pid_lut()
    program(f"wriplut -t 4 -i {GROUP_IN} -p {PORT}", f"wripoutmap -t 3 -i {GROUP_OUT} -p {PORT}")
    receiver = subprocess.Popen([sys.executable, "-B", __file__, "receive"], stdout=subprocess.PIPE, text=True)
    receiver.stdout.readline()
    time.sleep(0.1)
    used = ModelTime()
    data = ts.join(ts.made_up(7, pids=[0x100, 0x101]))
    sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    before, begun, sent = used(), time.monotonic(), 0
    while (passed := time.monotonic() - begun) < NETWORK_SECONDS:
        for _ in range(int(passed * SENT_MBIT * 1e6 / 8 / DATAGRAM) - sent):
            sender.sendto(data, (GROUP_IN, PORT))
            sent += 1
        time.sleep(0.0005)
    received = int(receiver.communicate()[0])
    seconds, rate = used() - before, sent * DATAGRAM * 8 / passed / 1e6
    lost = sent * 7 - received
    met = lost == 0 and rate >= GOAL_MBIT
    detail = f"{sent * 7} packets in {passed:.2f} s, {seconds:.2f} s of processor time, {lost} lost"
    return report("a group in, a group out", rate, "Mbit/s", f">= {GOAL_MBIT}", met, detail)


def measure_idle():
    program("list")
    time.sleep(2)
    used = ModelTime()
    before = used()
    time.sleep(IDLE_SECONDS)
    share = (used() - before) / IDLE_SECONDS * 100
    return report("an idle board", share, "% core", f"<= {GOAL_IDLE}", share <= GOAL_IDLE, f"{IDLE_SECONDS} s")


def main():
    parts = {"files": measure_files, "network": measure_network, "idle": measure_idle, "receive": receive}
    if sys.argv[1] in parts:
        sys.exit(0 if parts[sys.argv[1]](*map(int, sys.argv[2:])) else 1)
    with tempfile.TemporaryDirectory() as folder:
        stream = ts.make(Path(folder) / "stream.ts", seconds=30, mux_rate="40M")
        size = sum(packet.pid in (0x100, 0x101, 0x1FFF) for packet in ts.packets_of(stream.read_bytes())) * ts.TS
        runs = [
            (["--feed", f"tuner0={stream}", "--fast"], ["files", str(size)]),
            (["--net"], ["network"]),
            ([], ["idle"]),
        ]
        statuses = [
            subprocess.run([sys.argv[1], "run", *options, "--", sys.executable, "-B", __file__, *part], stdout=None).returncode
            for options, part in runs
        ]
    return 0 if not any(statuses) else 1


if __name__ == "__main__":
    sys.exit(main())
