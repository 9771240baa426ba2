"""Transport streams for tests: made by ffmpeg on the spot, and taken apart packet by packet."""

import struct
import subprocess
from typing import NamedTuple, Optional

TS = 188
PCR_RANGE = 300 << 33
HEAD = struct.Struct(">II56x")  # spacing, remainder
RECORD = 192


class Packet(NamedTuple):
    data: bytes

    @property
    def pid(self):
        return (self.data[1] & 0x1F) << 8 | self.data[2]

    @property
    def has_payload(self):
        return bool(self.data[3] & 0x10)

    @property
    def continuity(self):
        return self.data[3] & 15

    @property
    def pcr(self) -> Optional[int]:
        d = self.data
        if not d[3] & 0x20 or d[4] == 0 or not d[5] & 0x10:
            return None
        base = d[6] << 25 | d[7] << 17 | d[8] << 9 | d[9] << 1 | d[10] >> 7
        return base * 300 + ((d[10] & 1) << 8 | d[11])

    @property
    def stamps(self):
        """PTS and DTS of a PES header that starts here."""
        d = self.data
        start = 4 + (1 + d[4] if d[3] & 0x20 else 0)
        pes = d[start:]
        if not d[1] & 0x40 or not self.has_payload or pes[:3] != b"\0\0\1" or len(pes) < 14:
            return []
        fields = {2: [9], 3: [9, 14]}.get(pes[7] >> 6, [])
        return [
            (pes[at] >> 1 & 7) << 30 | pes[at + 1] << 22 | pes[at + 2] >> 1 << 15 | pes[at + 3] << 7 | pes[at + 4] >> 1
            for at in fields
        ]


class Segment(NamedTuple):
    spacing: int
    remainder: int
    headers: list
    packets: list


def packets_of(data):
    assert len(data) % TS == 0
    return [Packet(data[at : at + TS]) for at in range(0, len(data), TS)]


def segments_of(transfers):
    """What a channel took, as segments; every byte must belong to one."""
    segments = []
    at = 0
    while at < len(transfers):
        if transfers[at + 4] == 0x47:
            segments[-1].headers.append(int.from_bytes(transfers[at : at + 4], "big"))
            segments[-1].packets.append(Packet(transfers[at + 4 : at + RECORD]))
            at += RECORD
        else:
            assert transfers[at + 8 : at + HEAD.size] == bytes(56)
            segments.append(Segment(*HEAD.unpack_from(transfers, at), [], []))
            at += HEAD.size
    assert at == len(transfers)
    return segments


def packet(pid, counter=0, pcr=None, body=b""):
    """A packet with payload; `pcr` in ticks of 27 MHz."""
    head = bytes([0x47, pid >> 8, pid & 0xFF, (0x30 if pcr is not None else 0x10) | counter % 16])
    if pcr is not None:
        base, extension = divmod(pcr, 300)
        field = (base << 15 | 0x7E00 | extension).to_bytes(6, "big")
        head += bytes([7, 0x10]) + field
    return Packet(head + body + bytes(TS - len(head) - len(body)))


def made_up(count, pids=(0x100, 0x101, 0x1FFF), ticks=2000, pcr_every=20):
    """`count` packets that are all different; the PIDs take turns, PCRs on the first tell `ticks` for each packet."""
    packets, counters = [], dict.fromkeys(pids, 0)
    for index in range(count):
        pid = pids[index % len(pids)]
        pcr = index * ticks if pid == pids[0] and index // len(pids) % pcr_every == 0 else None
        packets.append(packet(pid, counters[pid], pcr, index.to_bytes(4, "big")))
        counters[pid] += 1
    return packets


def with_pid(packet, pid):
    return Packet(bytes([0x47, packet.data[1] & 0xE0 | pid >> 8, pid & 0xFF]) + packet.data[3:])


def starting(packet):
    """The same at the start of a payload unit."""
    return Packet(bytes([packet.data[0], packet.data[1] | 0x40]) + packet.data[2:])


def join(packets):
    return b"".join(packet.data for packet in packets)


def make(path, seconds=4, mux_rate="5M", programs=1, offset=0, video="mpeg2video", audio="mp2", extra=()):
    """A stream of one video and one audio a programme, at a constant rate, with null packets, unless that is None."""
    command = ["ffmpeg", "-v", "error", "-y"]
    for number in range(programs):
        command += ["-f", "lavfi", "-i", f"testsrc2=size=352x288:rate=25:duration={seconds}"]
        command += ["-f", "lavfi", "-i", f"sine=frequency={440 + number}:sample_rate=48000:duration={seconds}"]
    for number in range(2 * programs):
        command += ["-map", str(number)]
    if programs > 1:
        for number in range(programs):
            command += ["-program", f"title=P{number}:st={2 * number}:st={2 * number + 1}"]
    command += ["-c:v", video, "-b:v", "1M", "-g", "12", "-c:a", audio, "-b:a", "128k"]
    if mux_rate is not None:
        command += ["-muxrate", mux_rate]
    command += ["-output_ts_offset", str(offset), *extra, "-f", "mpegts", str(path)]
    subprocess.run(command, check=True)
    return path
