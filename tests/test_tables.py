"""The routing tables: edits in any order, full tables, listings, and processes that die half-way."""

import random
import re

import pytest

from harness.board import IPLUT, PIDLUT, TOOL, rounds
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
    note = "Note: filter 0 passes no packets (--filtidx was not given)\n"
    assert board.run("wrpidlut", "-t", "3", "-p", "0x100", "-P", "7", "-C") == (0, "", note)
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
    for _ in range(rounds(50)):
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
    for delay in [0.0002 * n for n in range(rounds(60))]:
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


LINES = [  # what writes a row, what clears it again, what lists it, and its line
    ("wrtsimap -t 255 -P 7", "wrtsimap -t 255 -c", "rtsimap", "255 (0x000001ff): TSIIDX:255, PIDIDX:0007, ENABLED:YES"),
    ("wrtsimap", "wrtsimap -c", "rtsimap", "000 (0x00000100): TSIIDX:000, PIDIDX:4095, ENABLED:YES"),
    ("wropidmap -P 7 -t 2", "wropidmap -P 7 -c", "ropidmap",
     "0007 (0x0000400e): PIDIDX:0007, OPID:0x1fff(8191), TSOIDX:002, NEXTPIDIDX:0000, ENABLED:YES, REMAP:NO"),
    ("wropidmap -P 7 -p 0x20 -N 8", "wropidmap -P 7 -c", "ropidmap",
     "0007 (0x0000400e): PIDIDX:0007, OPID:0x0020(0032), TSOIDX:000, NEXTPIDIDX:0008, ENABLED:YES, REMAP:YES"),
    ("wropidmap", "wropidmap -c", "ropidmap",
     "4095 (0x00005ffe): PIDIDX:4095, OPID:0x1fff(8191), TSOIDX:000, NEXTPIDIDX:0000, ENABLED:YES, REMAP:NO"),
    ("wrphyimap -p 0 -t 9", "wrphyimap -p 0 -c", "rphyimap", "000 (0x00000080): PHYIIDX:00, TSIIDX:009"),
    ("wrphyimap", "wrphyimap -c", "rphyimap", "063 (0x000000bf): PHYIIDX:63, TSIIDX:000"),
    ("wrphyomap -t 4", "wrphyomap -t 4 -c", "rphyomap", "004 (0x00000104): TSOIDX:004, PHYOIDX:031, ENABLED:YES"),
    ("wripoutmap -t 4 -i 239.129.2.3 -p 0 -r", "wripoutmap -t 4 -i x -c", "ripoutmap",
     "004 (0x00000410): TSOIDX:004, MAC:01:00:5E:01:02:03, IP:239.129.2.3, PORT:00, RTP:YES, ENABLED:YES"),
    ("wripoutmap", "wripoutmap -c", "ripoutmap",
     "000 (0x00000400): TSOIDX:000, MAC:01:00:5E:40:00:2A, IP:239.192.0.42, PORT:65535, RTP:NO, ENABLED:YES"),
    ("wriplut -t 7 -i 239.1.2.3 -p 80", "wriplut -t 7 -c", "riplut",
     "000 (0x00000800): IP:239.1.2.3, UDP_PORT:00080, TSIIDX:007, ENABLED:YES"),
]  # fmt: skip


def test_every_kind_of_row_has_its_line_and_goes_when_it_is_cleared(board):
    for write, clear, read, line in LINES:
        assert board.run(*write.split()).status == 0
        assert board.run(read, "-a") == (0, line + "\n", ""), write
        assert board.run(*clear.split()).status == 0
        Model().check(board)
    assert board.run("wripoutmap", "-t", "4", "-d").status == 0
    assert board.run("ripoutmap", "-a") == (0, "", "")
    assert "IP:239.192.0.42, PORT:65535, RTP:NO, ENABLED:NO" in board.run("ripoutmap", "-o", "4", "-s").out


def test_lists_begin_at_the_first_row_and_show_unused_ones_when_told(board):
    rows = {"rpidlut": 2048, "ropidmap": 4095, "rphyimap": 64, "rtsimap": 256, "riplut": 256, "ripoutmap": 256, "rphyomap": 256}
    for command, count in rows.items():
        assert board.run(command) == board.run(command, "-a") == (0, "", "")
        assert board.run(command, "-a", "-s", "-o", "5", "-c", "3").out.count("\n") == count
    assert board.run("rpidlut", "-s").out.startswith("000 (0x00002000): TSIIDX:255")
    assert board.run("ropidmap", "-s").out.startswith("0001 (0x00004002): PIDIDX:0001")
    assert board.run("rpidlut", "-s", "-i", "-o", "1").out.startswith("001 (0x00003002): ")


def note(option, now, before):
    return f"Note: --{option} was not given; {now} is written (before: {before})\n"


NO_PACKETS = "Note: filter 0 passes no packets (--filtidx was not given)\n"
NOTES = [  # what writes a row, an edit of it, and what is noted
    ("wrpidlut -t 3 -p 1 -P 7 -O -f 255", "wrpidlut -t 3 -p 1 -C -f 255",
     note("pididx", "4095", "7") + note("route_output", "NO", "YES")),
    ("wrpidlut -t 3 -p 1 -P 7 -O -f 255", "wrpidlut -t 3 -p 1 -P 7 -O", note("filtidx", "0", "255")),
    ("wrpidlut -t 3 -p 1 -P 7 -O", "wrpidlut -t 3 -p 2 -O -P 8", ""),
    ("wrpidlut -t 3 -p 2 -O", "wrpidlut -t 3 -p 9 -P 7 -C", NO_PACKETS),
    ("wrpidlut -t 3 -p 2 -O", "wrpidlut -t 3 -p 10 -P 7 -C -f 0", ""),
    ("wriplut -t 3 -i 239.1.1.1 -p 1234", "wriplut -t 3 -i 239.1.1.2", note("port", "65535", "1234")),
    ("wriplut -t 3 -i 239.1.1.1 -p 1234", "wriplut -t 3 -p 5", note("ip", "255.255.255.255", "239.1.1.1")),
    ("wriplut -t 3 -i 239.1.1.1 -p 1234", "wriplut -t 4 -p 5", ""),
    ("wrtsimap -t 3 -P 7", "wrtsimap -t 3", note("pididx", "4095", "7")),
    ("wropidmap -P 7 -t 2 -N 8 -p 0x20", "wropidmap -P 7",
     note("tsoidx", "0", "2") + note("next_pididx", "0", "8") + note("opid", "none", "32")),
    ("wropidmap -P 7 -t 2 -N 8", "wropidmap -P 7 -t 2 -p 0x20", note("next_pididx", "0", "8")),
    ("wrfilttab -f 3 -n 5", "wrfilttab -f 3", note("count_val", "0", "5")),
    ("wrphyimap -p 3 -t 5", "wrphyimap -p 3", note("tsiidx", "0", "5")),
    ("wrphyomap -t 3 -p 5", "wrphyomap -t 3", note("phyoidx", "31", "5")),
    ("wripoutmap -t 3 -i 239.1.1.1 -p 5 -r", "wripoutmap -t 3 -d",
     note("ip", "239.192.0.42", "239.1.1.1") + note("port", "65535", "5") + note("rtp", "NO", "YES")),
    ("wripoutmap -t 3 -i 239.1.1.1 -p 5 -d", "wripoutmap -t 3", ""),  # not in use
    ("wrfilttab -f 0 -n 255", "wrpidlut -t 3 -p 11 -P 7 -C", ""),
]  # fmt: skip


@pytest.mark.complaints("IP LUT: ")  # 255.255.255.255 is no group
def test_a_default_that_changes_a_row_in_use_is_noted(board):
    for write, edit, notes in NOTES:
        assert board.run(*write.split()).status == 0
        assert board.run(*edit.split()) == (0, "", notes), (write, edit)
        again = notes if notes == NO_PACKETS else ""
        assert board.run(*edit.split()) == (0, "", again), (write, edit, "again")


@pytest.mark.complaints("IP LUT: ")
def test_clearing_takes_any_number_and_finds_what_is_there(board):
    for row in ["-t 0 -p 0 -O", "-t 3 -p 8190 -O", "-t 3 -p 1 -O", "-t 4 -p 0 -O"]:
        assert board.run("wrpidlut", *row.split()).status == 0
    for nothing in ["-t 256 -c", "-t 0x80003 -c", "-t 259 -p 1 -c", "-t 2 -p 8190 -P 0 -f 256 -c"]:
        assert board.run("wrpidlut", *nothing.split()).status == 0
    assert board.run("rpidlut", "-a").out.count("\n") == 4
    for words, notes in [("-p 1 -P 9999", ""), ("-p 0xFFFFFFFF", "Note: 1 row of TSI 3 removed\n"), ("", "Note: 0 rows of TSI 3 removed\n")]:
        assert board.run("wrpidlut", "-t", "3", *words.split(), "-c") == (0, "", notes)
    assert board.run("rpidlut", "-a").out.count("\n") == 2
    assert board.run("wriplut", "-t", "0", "-i", "239.1.1.1").status == 0
    expect_done(board.run("wriplut", "-t", "256", "-i", "x", "-p", "65536", "-c"))
    assert board.run("riplut", "-a").out.count("\n") == 1
    expect_done(board.run("wriplut", "-i", "x", "-c"))
    assert board.run("riplut", "-a").out == ""


@pytest.mark.complaints("PID LUT: ")  # two rows with one key
def test_of_two_rows_with_one_key_the_first_stays(board):
    board.poke(PIDLUT, 8192, 0x6100, 0x2007, 0x6100, 0x2008)
    assert board.run("wrpidlut", "-t", "9", "-p", "1", "-C").status == 0
    assert pid_lut(board) == pid_lut_words({(3, 0x100): (7, 0, 1, 0), (9, 1): (4095, 0, 1, 0)})


REFUSED = [
    ("wrpidlut -t 256 -C", "invalid TSIIDX (256)"),
    ("wrpidlut -p 8192 -C", "invalid PID (8192)"),
    ("wrpidlut -P 0 -C", "invalid PIDIDX (0)"),
    ("wrpidlut -P 4096 -C", "invalid PIDIDX (4096)"),
    ("wrpidlut -f 256 -C", "invalid FiltTabIDX (256)"),
    ("wriplut -t 256", "IpInEntry created with invalid TSIidx (256)"),
    ("wriplut -i 256.1.1.1", "IpInEntry created with invalid IP address (256.1.1.1)"),
    ("wriplut -p 65536", "IpInEntry created with invalid UDP port (65536)"),
    ("wrtsimap -t 256", "Cannot create TsiMapEntry - invalid TSIidx (256)"),
    ("wrtsimap -P 4096", "Cannot set TSIidx - invalid TSIidx given (4096)"),
    ("wropidmap -P 0", "Cannot create PidMapEntry - invalid PIDidx (0)"),
    ("wropidmap -P 4096 -c", "Cannot create PidMapEntry - invalid PIDidx (4096)"),
    ("wropidmap -P 7 -N 7", "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (7)"),
    ("wropidmap -P 7 -N 4096", "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (4096)"),
    ("wropidmap -P 7 -p 0xDEADBEEF", "invalid PID value (3735928559)"),
    ("wropidmap -P 7 -t 256", "Cannot set TSOidx - invalid TSOidx (256)"),
    ("wrfilttab -f 256", "invalid FILTTABIDX (256)"),
    ("wrfilttab -n 256", "invalid Packet count value (256)"),
    ("wrphyimap -p 64", "Cannot create PhysInEntry - invalid PHYIidx (64)"),
    ("wrphyimap -t 256", "Cannot set TSIidx - invalid TSIidx (256)"),
    ("wrphyomap -t 256", "Cannot create PhysOutEntry - invalid TSOidx (256)"),
    ("wrphyomap -p 32", "Cannot create PhysOutEntry - invalid PHYOidx (32)"),
    ("wripoutmap -t 256", "TSOIdx out of range"),
    ("wripoutmap -p 65536", "UDPPort out of range"),
    ("wripoutmap -i 1.2.3", 'Unable to parse string representation of IPv4 address: "1.2.3"'),
    ("wripoutmap -i 10.0.0.1", "IP address must be in the multicast range"),
    ("rphyimap -o 60 -c 5", "Offset (60) and count (5) exceeds the size (64) of the ZEB PHYS IN MAP."),
    ("ripoutmap -o 256", "Offset (256) and count (1) exceeds the size (256) of the ZEB PHYS OUT MAP."),
    ("rpidlut -o 1 -c 0xffffffff", "Offset (1) and count (4294967295) exceeds the size (2048) of the ZEB PID LUT."),
    ("ropidmap -o 0", "Offset value 0 is not permitted in the ZEB O-PID MAP"),
]


def test_values_outside_their_range_are_refused(board):
    before = board.memory()
    for arguments, reason in REFUSED:
        result = board.run(*arguments.split())
        assert (result.status, result.out) == (255, ""), arguments
        assert result.err.startswith("Encountered an error: ") and reason in result.err, arguments
    assert board.memory() == before
