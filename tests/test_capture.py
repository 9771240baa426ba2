"""Capturing what the packet port delivers."""

import pytest

from harness.board import PKTIO, without_places

# What the packet port delivers: packets of PID 0x100 of input 5.
RECORDS = b"".join(bytes([0, 0, 0, 5, 0x47, 1, 0, 0x10 | i % 16]) + bytes(184) for i in range(390))
TS = b"".join(RECORDS[at + 4 : at + 192] for at in range(0, len(RECORDS), 192))
CONTENTS = {"old": b"old", "packets": TS, "389 records": RECORDS[: 389 * 192]}


@pytest.mark.parametrize(
    "arguments, said, content",
    [
        ("-c 391 -T 150 -f {f}", "no packet came for 150 ms (packets taken: 390)", "packets"),
        ("--fresh -T 150 -f {f}", "no packet came for 150 ms (packets taken: 0)", "old"),
        ("-p 0x101 -T 150 -f {f}", "no packet of the wanted inputs and PIDs came for 150 ms (packets taken: 0)", "old"),
        ("-r -c 390 -f {f}", "write {f}: File too large (errno 27) (packets taken: 390, written: 389)", "389 records"),
        ("-f {f}/x", "Cannot open {f}/x: Not a directory (errno 20)", "old"),
        ("-f /nowhere/x", "Cannot open /nowhere/x: No such file or directory (errno 2)", "old"),
        ("-f ''", "Cannot open : No such file or directory (errno 2)", "old"),
        ("-f /dev/full", "/dev/full: No space left on device (errno 28) (packets taken: 1, written: 0)", "old"),
        ("-f /dev/stdout >/dev/full", "Cannot write standard output: No space left on device (errno 28)", "old"),
        ("-c 390 >/dev/full", "Could not write all of the output: No space left on device", "old"),
        ("-p 8192 -f {f}", "Out of Range Error: --pid: 8192 is not in 0..8191", "old"),
    ],
)
def test_capture_that_is_not_whole_says_why_and_leaves_whole_packets(board, tmp_path, arguments, said, content):
    """A file keeps what it held before until a packet comes."""
    board.reset_packet_port()
    board.path("zebtsif_pktio_rx").write_bytes(RECORDS)
    file = tmp_path / "captured.ts"
    file.write_bytes(b"old")
    result = board.sh(f"trap '' XFSZ; ulimit -f 73; zeb_fpga_shell rdtspackets {arguments.format(f=file)}")
    assert (result.status, result.out) == (255, "")
    assert said.format(f=file) in without_places(result.err)
    assert file.read_bytes() == CONTENTS[content]


def test_capture_goes_behind_what_standard_output_holds(board, tmp_path):
    board.path("zebtsif_pktio_rx").write_bytes(RECORDS)
    file = tmp_path / "captured.ts"
    file.write_bytes(b"old")
    result = board.sh(f"zeb_fpga_shell rdtspackets -s -c 390 -f /dev/stdout >>{file}")
    assert (result.status, result.err.count("\n")) == (0, 1)
    assert file.read_bytes() == b"old" + TS


@pytest.mark.parametrize("device, option", [("/dev/zebtsif_pktio_rx", ""), (f"/dev/{PKTIO}", "-R")])
def test_second_capture_is_refused_while_one_takes_packets(board, device, option):
    board.reset_packet_port()
    result = board.sh(f"exec 9<{device}; flock -n 9 && zeb_fpga_shell rdtspackets {option}")
    assert (result.status, result.out) == (255, "")
    assert f"{device} is in use by " in result.err
