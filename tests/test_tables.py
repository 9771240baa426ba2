"""The routing tables: edits in any order, full tables, listings, and processes that die half-way."""

import random
import re

import pytest

from harness.board import IPLUT, PIDLUT, TOOL
from harness.tables import PID_BANKS, Model, ip_lut_words, ip_value, pid_lut, pid_lut_words


def expect_done(result):
    assert result == (0, "", "")


def fill_pid_lut(board, rows):
    board.poke(PIDLUT, PID_BANKS[board.words(PIDLUT, 129, 1)[0] & 1], *pid_lut_words(rows))


def full_pid_rows():
    return {(tsi, pid): (7, 255, 0, 1) for tsi in range(256) for pid in range(8)}


def test_the_request(board):
    """The control word's other bits are kept, the bank that was in use as well."""
    board.poke(PIDLUT, 129, 0xFFFFFFFE)
    before = pid_lut(board)
    expect_done(board.run("wrpidlut", "-t", "3", "-p", "0x100", "-P", "7", "-C"))
    line = "000 (0x00003000): TSIIDX:003, PID:0x0100(0256), PIDIDX:0007, CPU_ROUTE:YES, OUT_ROUTE:NO, FILTIDX:000\n"
    assert board.run("rpidlut", "-a") == (0, line, "")
    assert board.words(PIDLUT, 129, 1) == [0xFFFFFFFF]
    assert pid_lut(board) == pid_lut_words({(3, 0x100): (7, 0, 1, 0)})
    assert board.words(PIDLUT, PID_BANKS[0], 4096) == before


@pytest.mark.parametrize("seed", range(8))
def test_random_edits(board, seed):
    """In any order, every edit leaves all tables as the model has them."""
    choices = random.Random(seed)
    model = Model()
    for _ in range(50):
        arguments = [str(word) for word in model.random_command(choices)]
        result = board.run(*arguments)
        assert result[:2] == (0, ""), (arguments, result)
        assert all(line.startswith("Note: ") for line in result.err.splitlines()), (arguments, result)
        model.check(board)
    listed = board.run("rpidlut", "-a").out
    keys = [(int(tsi), int(pid)) for tsi, pid in re.findall(r"TSIIDX:(\d+), PID:0x[0-9a-f]{4}\((\d+)\)", listed)]
    assert keys == sorted(model.pid_rows)
    listed = board.run("riplut", "-a").out
    rows = re.findall(r"IP:([\d.]+), UDP_PORT:(\d{5}), TSIIDX:(\d{3}), ENABLED:YES", listed)
    assert [(ip_value(ip), int(port), int(tsi)) for ip, port, tsi in rows] == sorted(model.ip_rows)


def test_full_pid_lut(board):
    rows = full_pid_rows()
    fill_pid_lut(board, rows)
    before = board.memory()
    refused = board.run("wrpidlut", "-t", "255", "-p", "8", "-O")
    assert (refused.status, refused.out) == (255, "")
    assert "List is 2049 .ZEBTSIF FPGA supports a maximum of 2048." in refused.err
    assert board.memory() == before

    expect_done(board.run("wrpidlut", "-t", "255", "-p", "7", "-P", "9", "-O", "-f", "1"))
    rows[255, 7] = (9, 1, 0, 1)
    assert board.run("wrpidlut", "-t", "0", "-c") == (0, "", "Note: 8 rows of TSI 0 removed\n")
    rows = {key: row for key, row in rows.items() if key[0] != 0}
    for pid in range(8):
        expect_done(board.run("wrpidlut", "-t", "0", "-p", 8190 - pid, "-P", "1", "-C", "-f", "0"))
        rows[0, 8190 - pid] = (1, 0, 1, 0)
    assert pid_lut(board) == pid_lut_words(rows)
    lines = board.run("rpidlut", "-a").out.splitlines()
    assert len(lines) == 2048
    assert lines[2047].startswith("2047 (0x") and "TSIIDX:255, PID:0x0007(0007), PIDIDX:0009" in lines[2047]


def test_full_ip_lut(board):
    rows = [(0xEF000000 + 7 * tsi, 5000, tsi) for tsi in range(256)]
    board.poke(IPLUT, 2048, *ip_lut_words(rows))
    expect_done(board.run("wriplut", "-t", "0", "-i", "239.255.255.255", "-p", "1"))
    rows[0] = (0xEFFFFFFF, 1, 0)
    assert board.words(IPLUT, 2048, 512) == ip_lut_words(rows)
    assert len(board.run("riplut", "-a").out.splitlines()) == 256


@pytest.mark.complaints("PID LUT: ", "IP LUT: ")  # what is cleared is no table
@pytest.mark.parametrize("name", ["pidlut", "iplut", "tsimap", "opidmap", "phyimap", "phyomap", "ipoutmap"])
def test_clear(board, name):
    """A cleared table is as after a reset, whatever it held; all other memory stays."""
    fresh = {device: board.words(device) for device in (PIDLUT, IPLUT)}
    device, first, count = {
        "pidlut": (PIDLUT, 8192, 8192),
        "iplut": (IPLUT, 2048, 512),
        "tsimap": (PIDLUT, 256, 256),
        "opidmap": (PIDLUT, 16386, 8190),
        "phyimap": (IPLUT, 128, 64),
        "phyomap": (IPLUT, 256, 256),
        "ipoutmap": (IPLUT, 1024, 1024),
    }[name]
    for used in (PIDLUT, IPLUT):
        board.poke(used, 0, *[0x5A5A5A5A] * len(fresh[used]))
    expect_done(board.run(f"clr{name}"))
    expected = [0x5A5A5A5A] * len(fresh[device])
    expected[first : first + count] = fresh[device][first : first + count]
    assert board.words(device) == expected


def active_tables(board, done, old_ip_lut):
    """PID LUT and IP LUT as the FPGA has them. Rows written at the IP LUT's address reach the spare bank, and so are
    nothing to the FPGA, until the control word switches."""
    switched = done or board.words(IPLUT, 0, 1)[0] & 1
    return pid_lut(board), board.words(IPLUT, 2048, 512) if switched else old_ip_lut


@pytest.mark.parametrize(
    "command",
    ["wrpidlut -t 3 -p 1 -C", "clrpidlut", "wriplut -t 3 -i 239.1.1.1 -p 1", "clriplut", "imptabs -f {image}"],
)
def test_killed_process_leaves_whole_old_or_new_tables(board, tmp_path, command):
    image = tmp_path / "image"
    expect_done(board.run("exptabs", "-f", image))
    rows = full_pid_rows()
    rows.pop((9, 0))
    ip_lut = ip_lut_words([(0xEF000000 + 7 * tsi, 5000, tsi) for tsi in range(256)])
    old = pid_lut_words(rows), ip_lut

    def run(prefix=""):
        board.reset()
        fill_pid_lut(board, rows)
        board.poke(IPLUT, 2048, *ip_lut)
        return board.sh(f"{prefix} {TOOL} {command.format(image=image)}").status

    assert run() == 0
    new = active_tables(board, True, ip_lut)
    assert new != old
    killed = 0
    for delay in [0.0002 * n for n in range(60)]:
        status = run(f"timeout -s KILL {delay:.4f}")
        killed += status != 0
        for found, before, after in zip(active_tables(board, status == 0, ip_lut), old, new):
            assert found == after or (status != 0 and found == before), delay
    assert killed


NUMBERS = {
    "wrpidlut": "tpPf",
    "wriplut": "tp",
    "wrtsimap": "tP",
    "wropidmap": "PptN",
    "wrfilttab": "fn",
    "wripoutmap": "tp",
    "wrphyimap": "pt",
    "wrphyomap": "tp",
    "rpidlut": "oc",
    "ropidmap": "oc",
}


@pytest.mark.parametrize("command", NUMBERS)
def test_words_that_are_no_number_are_refused(board, command):
    before = board.memory()
    for option in NUMBERS[command]:
        for value in ["", "x", "0x", "-1", "+1", "1 ", "1.0", "0x100000000", "1e3", "١"]:
            result = board.run(command, f"-{option}", value)
            assert (result.status, result.out) == (255, ""), (option, value)
            assert result.err.startswith("Encountered an error: Shell Error: Options parsing failed: ")
        assert board.run(command, f"-{option}").status == 255
    assert board.memory() == before


@pytest.mark.parametrize(
    "arguments, reason",
    [
        ("wriplut -i 256.1.1.1", "IpInEntry created with invalid IP address (256.1.1.1)"),
        ("wropidmap -P 7 -N 7", "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (7)"),
        ("wripoutmap -i 10.0.0.1", "IP address must be in the multicast range"),
        ("ripoutmap -o 256", "Offset (256) and count (1) exceeds the size (256) of the ZEB PHYS OUT MAP."),
        ("rpidlut -o 1 -c 0xffffffff", "Offset (1) and count (4294967295) exceeds the size (2048) of the ZEB PID LUT."),
    ],
)
def test_values_outside_their_range_are_refused(board, arguments, reason):
    before = board.memory()
    result = board.run(*arguments.split())
    assert (result.status, result.out) == (255, "")
    assert result.err.startswith("Encountered an error: ") and reason in result.err
    assert board.memory() == before
