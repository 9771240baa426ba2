"""Virtual boards for tests: the unmodified tool, run by scripts/board."""

import json
import os
import re
import signal
import struct
import subprocess
import sys
import time
from pathlib import Path
from typing import NamedTuple, Optional

REPO = Path(__file__).resolve().parents[2]
LAUNCHER = REPO / "scripts" / "board"
BUILD = Path(os.environ.get("ZEB_BUILD_DIR", REPO / "build" / "dev")).resolve()
TOOL = BUILD / "util" / "fpga_shell" / "zeb_fpga_shell"
ROUTE = BUILD / "util" / "zeb_route" / "zeb_route"
MODEL = BUILD / "util" / "virtual_board" / "zeb_virtual_board"
SPI = BUILD / "util" / "virtual_board" / "spi" / "zeb_virtual_board_spi"
TIMEOUT = 120  # seconds; far more than any command takes, sanitizers and a busy machine included

PIDLUT = "zebtsif_pidlut"
IPLUT = "zebtsif_iplut"
PKTIO = "zebtsif_pktio_dbg"
SCM = "scm"
PORT_RELEASE = 17  # word of the packet port; the board clears it whenever it looks
SIZES = {PIDLUT: 0x20000, IPLUT: 0x4000, PKTIO: 0x1000, SCM: 0x4000}  # bytes


def rounds(count):
    """How many commands to try at random: fewer of a build whose sanitizers make each start twenty times as slow."""
    return count // 5 if BUILD.name == "asan" else count


class Result(NamedTuple):
    status: Optional[int]  # minus the signal's number when a signal ended the command; None: it did not end in time
    out: str
    err: str


def without_places(text):
    """An error text without the place in the source code where the error was raised."""
    return re.sub(r"\([^()\s]+\.(?:cpp|h):\d+\)", "", text)


def heed_hang_up():
    """For a child of tests that run under nohup: it inherits an ignored hang-up, which a shell cannot undo."""
    signal.signal(signal.SIGHUP, signal.SIG_DFL)


def environment():
    return {**os.environ, "ZEB_BUILD_DIR": str(BUILD)}


def run_bare(*argv, input=None, complaints=False, **options):
    """Runs a command on this machine, where there is no board. If it starts one, that must not complain."""
    done = subprocess.run(
        [str(word) for word in argv],
        input=input,
        stdin=subprocess.DEVNULL if input is None else None,
        capture_output=True,
        text=True,
        errors="surrogateescape",
        timeout=TIMEOUT,
        env=environment(),
        **options,
    )
    assert complaints or "virtual board: " not in done.stderr, done.stderr
    return Result(done.returncode, done.stdout, done.stderr)


def wait_until(condition):
    """Waits until `condition` returns something true, for as long as anything may take."""
    deadline = time.monotonic() + TIMEOUT
    while not condition() and time.monotonic() < deadline:
        time.sleep(0.005)


class Board:
    """A board in `folder` and one sandbox on it, in which all commands run; to be closed."""

    def __init__(self, folder, *options):
        self.folder = Path(folder)
        self._complaints_seen = 0
        server = Path(__file__).with_name("sandbox_server.py")
        self._sandbox = subprocess.Popen(
            [LAUNCHER, "run", "--dir", self.folder, *options, "--", sys.executable, server],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
            env=environment(),
        )
        self.execute(["true"])  # the board is there once this was answered
        self._reset = self.memory()

    def close(self):
        self._sandbox.stdin.close()
        assert self._sandbox.wait(TIMEOUT) == 0
        assert self.new_complaints() == []

    def new_complaints(self):
        """What the board has complained about since the last call."""
        lines = self.path("zebtsif_complaints").read_text().splitlines()
        new, self._complaints_seen = lines[self._complaints_seen :], len(lines)
        return new

    def expect_complaints(self, *texts):
        """Waits for complaints that contain these texts, in any order, and for no others."""
        complaints = []
        wait_until(lambda: complaints.extend(self.new_complaints()) or len(complaints) >= len(texts))
        for text in texts:
            found = next((line for line in complaints if text in line), None)
            assert found is not None, (text, complaints)
            complaints.remove(found)
        assert complaints == []

    def path(self, name):
        """Where the test finds the memory of a device, or an attribute file by its path below "/"."""
        return self.folder / (name if "/" in name else f"dev/{name}")

    def settle(self):
        """Waits until the board has looked at everything once more: at what senders left, and whether they are gone."""
        for _ in range(2):  # the first look may have been half over
            self.poke(PKTIO, PORT_RELEASE, 1)
            wait_until(lambda: self.words(PKTIO, PORT_RELEASE, 1) == [0])

    def reset(self):
        """As after a reset of the FPGA. The devices' files stay the same ones: the sandbox holds them."""
        for name, content in self._reset.items():
            if name not in SIZES:
                self.path(name).unlink(missing_ok=True)
                self.path(name).write_bytes(content)
                continue
            self.path(name).chmod(0o644)
            with self.path(name).open("r+b") as device:
                device.truncate(len(content))
                device.write(content)
        for output in self.path("zebtsif_outputs").iterdir():
            output.unlink()

    def reset_packet_port(self):
        """Forgets the packets that earlier tests left in it."""
        self.poke(PKTIO, 258, 1)
        self.settle()
        self.poke(PKTIO, 258, 0)

    def output(self, port, packets):
        """What left through a physical output, once it is this many packets."""
        file = self.path("zebtsif_outputs") / f"{port}.ts"
        wait_until(lambda: file.exists() and file.stat().st_size >= packets * 188)
        return file.read_bytes()

    def execute(self, argv, input=None, timeout=TIMEOUT):
        request = {"argv": [str(word) for word in argv], "input": input, "timeout": timeout}
        print(json.dumps(request), file=self._sandbox.stdin, flush=True)
        answer = self._sandbox.stdout.readline()
        assert answer, "the sandbox ended"
        return Result(**json.loads(answer))

    def run(self, *args, input=None):
        """Runs the tool with `args`."""
        return self.execute([TOOL, *args], input)

    def route(self, *args, input=None):
        """Runs zeb_route with `args`."""
        return self.execute([ROUTE, *args], input)

    def sh(self, script, input=None):
        """Runs a shell script; the tool is in its PATH."""
        return self.execute(["bash", "-c", script], input)

    def words(self, device, offset=0, count=None):
        """32-bit words of the device's memory; `offset` and `count` in words, default all."""
        content = self.path(device).read_bytes()[4 * offset :]
        return [word for (word,) in struct.iter_unpack("=I", content)][:count]

    def poke(self, device, offset, *words):
        """Stores 32-bit words in the device's memory, as the FPGA would."""
        self.poke_at_once(device, (offset, words))

    def poke_at_once(self, device, *parts):
        """The same for several parts, (offset, words), between which the board never sees the device closed."""
        with self.path(device).open("r+b") as memory:
            for offset, words in parts:
                memory.seek(4 * offset)
                memory.write(struct.pack(f"={len(words)}I", *words))

    def memory(self):
        """All device memory and attribute files, to see that a command changed nothing."""
        files = (file for file in (self.folder / "sys").rglob("*") if file.is_file())
        names = [*SIZES, *(str(file.relative_to(self.folder)) for file in files)]
        return {name: self.path(name).read_bytes() for name in names}
