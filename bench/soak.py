"""Sends a 20 s file in an endless loop, as fast as a checker takes it: soak.py BUILD_FOLDER HOURS. See scripts/soak."""

import subprocess
import sys
import tempfile
import time
from pathlib import Path

from streaming import watch_memory

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests"))

from harness import ts  # noqa: E402  (needs the path above)

SECONDS = 20
MAX_MEMORY_KB = 12 * 1024
CHANNEL = "/dev/zebtsif_pktio_tx0"


def main():
    build, hours = Path(sys.argv[1]), float(sys.argv[2])
    with tempfile.TemporaryDirectory() as folder:
        stream = ts.make(Path(folder) / "loop.ts", seconds=SECONDS, mux_rate="1500k")
        packets = stream.stat().st_size // ts.TS
        count = int(hours * 3600 / SECONDS * packets)
        channel = Path(folder) / "channel"
        subprocess.run(["mkfifo", channel], check=True)
        checker = subprocess.Popen([build / "bench" / "transfer_check", channel, stream], stdout=subprocess.PIPE)
        sandbox = ["bwrap", "--dev-bind", "/", "/", "--dev", "/dev", "--bind", channel, CHANNEL, "--"]
        tool = build / "util" / "fpga_shell" / "zeb_fpga_shell"
        command = [tool, "wrtspackets", "-q", "-l", "-i", "5", "-f", stream, "-n", str(count)]
        started = time.monotonic()
        sender = subprocess.Popen([*map(str, sandbox), *map(str, command)], stdout=subprocess.PIPE)
        memory = watch_memory(sender, checker)
        if checker.poll():  # it has said why
            sender.terminate()
            return 1
        print(sender.communicate()[0].decode(), end="")
        print(checker.communicate()[0].decode(), end="")
        print(
            f"{time.monotonic() - started:.1f} s; resident memory: {memory[len(memory) // 4]} kB after a quarter, "
            f"{max(memory)} kB at most"
        )
        return int(sender.returncode != 0 or checker.returncode != 0 or not 0 < max(memory) <= MAX_MEMORY_KB)


if __name__ == "__main__":
    sys.exit(main())
