"""pacing.py LAUNCHER: measures how exactly packets leave the virtual board that come through a TX DMA channel.

A stream goes through wrtspackets to a multicast group of the board; the receiver compares the time at which each datagram
arrives, by the kernel's time stamp, with the time that the PCRs tell for its last packet. See scripts/bench.
"""

import os
import re
import socket
import statistics
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests"))

from harness import ts  # noqa: E402  (needs the path above)

SECONDS = 20
GOAL_P99 = 200  # microseconds
GOAL_RATE = 1  # parts in a million, of what can be told apart in this time
GROUP, PORT = "239.3.3.3", 3333
SO_TIMESTAMPNS = 35
SO_RCVBUFFORCE = 33  # what an administrator allows to anybody is too little; this needs root
UNDERRUNS = Path("/sys/class/zebtsif/zebtsif_pktio_tx0/underruns")


def be_urgent():
    """Puts this process, and those it starts, before the machine's other work; where that is allowed."""
    try:
        os.nice(-15)
    except PermissionError:
        pass


def receive(stream):
    """On the board: [(arrival in seconds, packets that came so far)] of the datagrams of the stream."""
    receiver = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    receiver.bind((GROUP, PORT))
    receiver.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, struct.pack("4sI", socket.inet_aton(GROUP), 0))
    receiver.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
    receiver.setsockopt(socket.SOL_SOCKET, SO_RCVBUFFORCE, 1 << 24)
    subprocess.run(["zeb_fpga_shell", "wripoutmap", "-t", "3", "-i", GROUP, "-p", str(PORT)], check=True)
    sender = subprocess.Popen(["zeb_fpga_shell", "wrtspackets", "-q", "-o", "3", "-f", stream], stdout=subprocess.DEVNULL)
    receiver.settimeout(2)
    arrivals, packets = [], 0
    try:
        while True:
            data, ancillary, _, _ = receiver.recvmsg(2048, 64)
            seconds, nanoseconds = struct.unpack("qq", ancillary[0][2][:16])
            packets += len(data) // ts.TS
            arrivals.append((seconds + nanoseconds / 1e9, packets))
    except socket.timeout:
        pass
    if sender.wait() != 0:
        sys.exit("pacing: wrtspackets failed")
    return arrivals


def stream_times(packets):
    """Seconds at which each packet leaves by the PCRs: a segment's packets at one distance, whole ticks each."""
    pcrs = [(index, packet.pcr) for index, packet in enumerate(packets) if packet.pcr is not None]
    times = [None] * len(packets)
    for (index, pcr), (following, next_pcr) in zip(pcrs, pcrs[1:]):
        spacing = (next_pcr - pcr) // (following - index)
        for at in range(index, following):
            times[at] = (pcr + spacing * (at - index)) / 27e6
    return times


def measure(stream):
    be_urgent()
    packets = ts.packets_of(Path(stream).read_bytes())
    arrivals = receive(stream)
    if arrivals[-1][1] != len(packets):
        sys.exit(f"pacing: {len(packets)} packets were sent, {arrivals[-1][1]} came")
    times = stream_times(packets)
    pairs = [(arrival, times[count - 1]) for arrival, count in arrivals if times[count - 1] is not None]
    late = [arrival - time for arrival, time in pairs]
    middle = statistics.median(late)
    errors = sorted(abs(value - middle) * 1e6 for value in late)
    rms = statistics.mean((value - middle) ** 2 for value in late) ** 0.5 * 1e6
    rate = statistics.linear_regression([time for _, time in pairs], late).slope * 1e6
    print(
        f"pacing: {len(pairs)} datagrams in {pairs[-1][1] - pairs[0][1]:.1f} s: rms {rms:.1f} us, 99th percentile "
        f"{errors[len(errors) * 99 // 100]:.1f} us, at most {errors[-1]:.1f} us; rate error {rate:+.3f} ppm; "
        f"{UNDERRUNS.read_text().strip()} underruns"
    )


def main():
    if sys.argv[1] == "measure":
        return measure(sys.argv[2])
    with tempfile.TemporaryDirectory() as folder:
        stream = ts.make(Path(folder) / "stream.ts", seconds=SECONDS)
        argv = [sys.argv[1], "run", "--net", "--", sys.executable, "-B", __file__, "measure", stream]
        done = subprocess.run(argv, stdout=subprocess.PIPE, text=True)
    print(done.stdout, end="")
    if done.returncode != 0:
        return 1
    p99, rate = (float(re.search(pattern, done.stdout)[1]) for pattern in (r"percentile (\S+)", r"error (\S+)"))
    met = p99 <= GOAL_P99 and abs(rate) <= GOAL_RATE
    print(f"{'met' if met else 'MISSED'}: goal {GOAL_P99} us at the 99th percentile, rate within {GOAL_RATE} ppm")
    return 0 if met else 1


if __name__ == "__main__":
    sys.exit(main())
