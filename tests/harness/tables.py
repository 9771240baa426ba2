"""The routing tables as plain Python, written from the tables' description and not from the tool's code."""

from harness.board import IPLUT, PIDLUT

PID_STUFFING = [0x001FFFFF, 0xFF000FFF]
IP_STUFFING = [0, 0x00FFFFFF]
PID_BANKS = {0: 8192, 1: 12288}  # active bank by the control bit


def ip_value(text):
    a, b, c, d = map(int, text.split("."))
    return a << 24 | b << 16 | c << 8 | d


def pid_lut(board):
    """Words of the active bank."""
    return board.words(PIDLUT, PID_BANKS[board.words(PIDLUT, 129, 1)[0] & 1], 4096)


def pid_lut_words(rows):
    """A bank that holds `rows`, {(tsi, pid): (pididx, filter, cpu, out)}."""
    words = []
    for (tsi, pid), (pididx, filtidx, cpu, out) in sorted(rows.items()):
        words += [tsi << 13 | pid, filtidx << 24 | cpu << 13 | out << 12 | pididx]
    return words + PID_STUFFING * (2048 - len(rows))


def ip_lut_words(rows):
    """The IP LUT that holds `rows`, a list of (address value, port, tsi)."""
    words = []
    for address, port, tsi in sorted(rows, key=lambda row: row[:2]):
        words += [address, 1 << 24 | tsi << 16 | port]
    return words + IP_STUFFING * (256 - len(rows))


class Model:
    """What the tables must hold after a series of commands on a freshly reset board."""

    def __init__(self):
        self.pid_rows = {}
        self.ip_rows = []
        self.single = {  # name: (device, first word, words)
            "tsimap": (PIDLUT, 256, [0xFFF] * 256),
            "filttab": (PIDLUT, 512, [0] * 256),
            "opidmap": (PIDLUT, 16384, [0x001FFFFF, 0] * 4096),
            "phyimap": (IPLUT, 128, [0xFF] * 64),
            "phyomap": (IPLUT, 256, [0xFF] * 256),
            "ipoutmap": (IPLUT, 1024, [0, 0, 0, 0xFFFF] * 256),
        }
        self.reset = {name: list(words) for name, (_, _, words) in self.single.items()}

    def check(self, board):
        assert pid_lut(board) == pid_lut_words(self.pid_rows)
        assert board.words(IPLUT, 2048, 512) == ip_lut_words(self.ip_rows)
        for name, (device, first, words) in self.single.items():
            assert board.words(device, first, len(words)) == words, name

    def _put(self, name, row, *values):
        self.single[name][2][row * len(values) : (row + 1) * len(values)] = values

    def clear(self, name):
        if name == "pidlut":
            self.pid_rows = {}
        elif name == "iplut":
            self.ip_rows = []
        else:
            self.single[name][2][:] = self.reset[name]

    def random_command(self, random):
        """Arguments of an edit, which is made here as well."""
        number = random.choice
        small = lambda top: number([0, 1, 2, random.randrange(top + 1), top - 1, top])  # noqa: E731
        kind = random.randrange(100)
        if kind < 40:
            return self._pid_lut(random, number([0, 3, 254, 255]), small(8190))
        if kind < 60:
            return self._ip_lut(random, number([0, 3, 254, 255]))
        if kind < 65:
            name = number(["pidlut", "iplut", "tsimap", "opidmap", "phyimap", "phyomap", "ipoutmap"])
            self.clear(name)
            return [f"clr{name}"]
        return number([self._tsi_map, self._opid_map, self._filter, self._phys_in, self._phys_out, self._ip_out])(
            random, small
        )

    def _pid_lut(self, random, tsi, pid):
        arguments = ["wrpidlut", "-t", tsi]
        # Rows that route nowhere are lost with the next edit.
        self.pid_rows = {key: row for key, row in self.pid_rows.items() if row[2] or row[3]}
        kind = random.randrange(10)
        if kind == 0:
            self.pid_rows = {key: row for key, row in self.pid_rows.items() if key[0] != tsi}
            return arguments + ["-c"]
        arguments += ["-p", hex(pid)]
        if kind < 4:
            if self.pid_rows and random.random() < 0.7:
                tsi, pid = random.choice(sorted(self.pid_rows))
                arguments = ["wrpidlut", "-t", tsi, "-p", pid]
            self.pid_rows.pop((tsi, pid), None)
            return arguments + ["-c"]
        pididx, filtidx = random.choice([1, 7, 4095]), random.choice([None, 0, 9, 255])
        cpu, out = random.choice([(0, 0), (0, 1), (1, 0), (1, 1)])
        self.pid_rows[tsi, pid] = (pididx, filtidx or 0, cpu, out)
        arguments += ["-P", pididx] + (["-f", filtidx] if filtidx is not None else [])
        return arguments + ["-C"] * cpu + ["-O"] * out

    def _ip_lut(self, random, tsi):
        self.ip_rows = [row for row in self.ip_rows if row[2] != tsi]
        if random.random() < 0.2:
            return ["wriplut", "-t", tsi, "-c"]
        # Few addresses, so that rows often share one; each has a port of its own, so that the order is certain.
        address, port = random.choice(["239.0.0.1", "9.255.0.1", "239.255.0.1"]), random.randrange(1, 256) * 256 + tsi
        self.ip_rows.append((ip_value(address), port, tsi))
        return ["wriplut", "-t", tsi, "-i", address, "-p", port]

    def _tsi_map(self, random, small):
        tsi, pididx = small(255), 1 + small(4094)
        if random.random() < 0.3:
            self._put("tsimap", tsi, 0xFFF)
            return ["wrtsimap", "-t", tsi, "-P", pididx, "-c"]
        self._put("tsimap", tsi, 1 << 12 | pididx)
        return ["wrtsimap", "-t", tsi, "-P", pididx]

    def _opid_map(self, random, small):
        pididx, tso, follower, opid = 1 + small(4094), small(255), small(4095), random.choice([None, 0, 0x20, 8191])
        if follower == pididx:
            follower = 0
        arguments = ["wropidmap", "-P", pididx, "-t", tso, "-N", follower]
        if random.random() < 0.3:
            self._put("opidmap", pididx, 0x001FFFFF, 0)
            return arguments + ["-c"]
        remap = 8191 << 8 if opid is None else 1 << 21 | opid << 8
        self._put("opidmap", pididx, 1 << 22 | remap | tso, follower)
        return arguments + ([] if opid is None else ["-p", opid])

    def _filter(self, random, small):
        index, count = small(255), small(255)
        if random.random() < 0.3:
            self._put("filttab", index, 0)
            return ["wrfilttab", "-f", index, "-n", count, "-c"]
        self._put("filttab", index, count)
        return ["wrfilttab", "-f", index, "-n", count]

    def _phys_in(self, random, small):
        port, tsi = small(63), small(255)
        if random.random() < 0.3:
            self._put("phyimap", port, 0xFF)
            return ["wrphyimap", "-p", port, "-c"]
        self._put("phyimap", port, tsi)
        return ["wrphyimap", "-p", port, "-t", tsi]

    def _phys_out(self, random, small):
        tso, port = small(255), random.choice([None, 0, 15, 31])
        if random.random() < 0.3:
            self._put("phyomap", tso, 0xFF)
            return ["wrphyomap", "-t", tso, "-c"]
        self._put("phyomap", tso, 1 << 8 | (31 if port is None else port))
        return ["wrphyomap", "-t", tso] + ([] if port is None else ["-p", port])

    def _ip_out(self, random, small):
        tso, port = small(255), small(65535)
        if random.random() < 0.3:
            self._put("ipoutmap", tso, 0, 0, 0, 0xFFFF)
            return ["wripoutmap", "-t", tso, "-c"]
        address, rtp, disabled = random.choice(["224.0.0.0", "239.255.255.255"]), random.random() < 0.5, random.random() < 0.3
        low = ip_value(address) & 0x7FFFFF
        self._put("ipoutmap", tso, 0x0100, 0x5E << 24 | low, ip_value(address), (not disabled) << 17 | rtp << 16 | port)
        return ["wripoutmap", "-t", tso, "-i", address, "-p", port] + ["-r"] * rtp + ["-d"] * disabled
