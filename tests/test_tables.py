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


def test_row_is_programmed_and_read_back(board):
    expect_done(board.run("wrpidlut", "-t", "3", "-p", "0x100", "-P", "7", "-C"))
    assert board.run("rpidlut", "-a") == (
        0,
        "000 (0x00003000): TSIIDX:003, PID:0x0100(0256), PIDIDX:0007, CPU_ROUTE:YES, OUT_ROUTE:NO, FILTIDX:000\n",
        "",
    )


@pytest.mark.parametrize("seed", range(8))
def test_random_edits(board, seed):
    """In any order, every edit leaves all tables as the model has them."""
    choices = random.Random(seed)
    model = Model()
    for _ in range(50):
        arguments = [str(word) for word in model.random_command(choices)]
        assert board.run(*arguments) == (0, "", ""), arguments
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
    expect_done(board.run("wrpidlut", "-t", "0", "-c"))
    rows = {key: row for key, row in rows.items() if key[0] != 0}
    for pid in range(8):
        expect_done(board.run("wrpidlut", "-t", "0", "-p", 8190 - pid, "-P", "1", "-C"))
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


@pytest.mark.parametrize("command", ["wrpidlut -t 3 -p 1 -C", "clrpidlut", "imptabs -f {image}"])
def test_killed_process_leaves_the_old_or_the_new_pid_lut(board, tmp_path, command):
    rows = full_pid_rows()
    rows.pop((9, 0))
    image = tmp_path / "image"
    fill_pid_lut(board, {(1, 1): (1, 1, 1, 1)})
    expect_done(board.run("exptabs", "-f", image))
    after = {"wrpidlut": rows | {(3, 1): (4095, 0, 1, 0)}, "clrpidlut": {}, "imptabs": {(1, 1): (1, 1, 1, 1)}}
    old, new = pid_lut_words(rows), pid_lut_words(after[command.split()[0]])
    delays = [0.0002 * n for n in range(60)]
    killed = 0
    for delay in delays:
        board.reset()
        fill_pid_lut(board, rows)
        result = board.sh(f"timeout -s KILL {delay:.4f} {TOOL} {command.format(image=image)}")
        killed += result.status != 0
        found = pid_lut(board)
        assert found in (old, new), delay
        assert result.status != 0 or found == new
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
        ("wrpidlut -t 256 -C", "PidLutEntry created/modified with invalid TSIIDX (256)"),
        ("wrpidlut -p 8192 -C", "PidLutEntry created/modified with invalid PID (8192)"),
        ("wrpidlut -P 0 -C", "PidLutEntry created/modified with invalid PIDIDX (0)"),
        ("wriplut -i 256.1.1.1", "IpInEntry created with invalid IP address (256.1.1.1)"),
        ("wriplut -p 65536", "IpInEntry created with invalid UDP port (65536)"),
        ("wropidmap -P 7 -N 7", "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (7)"),
        ("wropidmap -P 7 -N 4096", "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (4096)"),
        ("wripoutmap -i 10.0.0.1", "IP address must be in the multicast range"),
        ("wripoutmap -i 1.2.3", 'Unable to parse string representation of IPv4 address: "1.2.3"'),
        ("wrphyomap -p 32", "Cannot create PhysOutEntry - invalid PHYOidx (32)"),
        ("rphyimap -o 60 -c 5", "Offset (60) and count (5) exceeds the size (64) of the ZEB PHYS IN MAP."),
        ("ripoutmap -o 256", "Offset (256) and count (1) exceeds the size (256) of the ZEB PHYS OUT MAP."),
        ("ropidmap -o 0 -c 0", "Offset value 0 is not permitted in the ZEB O-PID MAP"),
        ("rpidlut -o 0xffffffff -c 0xffffffff", "exceeds the size (2048) of the ZEB PID LUT."),
    ],
)
def test_values_outside_their_range_are_refused(board, arguments, reason):
    before = board.memory()
    result = board.run(*arguments.split())
    assert (result.status, result.out) == (255, "")
    assert result.err.startswith("Encountered an error: ") and reason in result.err
    assert board.memory() == before
