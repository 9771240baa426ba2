"""The commands over attribute files: multicast filter and CAM monitor."""

import os
import random

import pytest

from harness.board import TOOL, rounds, without_places

MC = "sys/class/net/sfp/mcnotlut"
MC_SIZE = "sys/class/net/sfp/mcnotlut_size"
OFF = 0x1FFF


def cam(slot, name):
    return f"sys/class/zebdvbci/ci_slot0:{slot}/mon_{name}"


def unreadable(path, reason):
    return f'Encountered an error: IOErrorr: Generic filesystem Error: Cannot read sysfs entry: "/{path}": {reason}\n'


def unwritable(path, reason):
    return f'Encountered an error: IOErrorr: Generic filesystem Error: Cannot write sysfs entry: "/{path}": {reason}\n'


def dotted(address):
    return ".".join(str(byte) for byte in address.to_bytes(4, "big"))


def test_multicast_filter_agrees_with_a_model(board):
    """Random edits of few addresses in a table that is almost full, so that every refusal comes up."""
    chance = random.Random(71)
    addresses = [0, *(0xEF000001 + i for i in range(6))]
    table = [0] * 4 + [0x0A000000 + i for i in range(58)] + [addresses[1]] * 2
    board.poke(MC, 0, *table)
    for _ in range(rounds(150)):
        address = chance.choice(addresses)
        there = [i for i, entry in enumerate(table) if entry == address]
        vacant = [i for i, entry in enumerate(table) if entry == 0]
        clear = chance.random() < 0.4
        expected = (0, "", "")
        if clear and there:
            table[there[-1]] = 0
        elif clear:
            expected = (255, "Error: Entry not found\n", "")
        elif vacant and not there:
            table[vacant[-1]] = address
        elif not there:
            expected = (255, "Error: No vacant entries in multicast NOT LUT\n", "")
        assert board.run("wrmcnotlut", *["-c"][: int(clear)], "-m", dotted(address)) == expected
        assert board.words(MC) == table
    lines = [f"{i:03}: {dotted(entry)}\n" for i, entry in enumerate(table)]
    assert board.run("rmcnotlut", "-s") == (0, "".join(lines), "")
    assert board.run("rmcnotlut") == (0, "".join(line for line, entry in zip(lines, table) if entry), "")


def cam_line(i, pid, packets, errors):
    return f"{i:02}: PID:0x{pid:04x}({pid:04}), PKT_CNT:0x{packets:05x}({packets:06}), ERR_CNT:0x{errors:05x}({errors:06})\n"


def test_cam_monitor_agrees_with_a_model(board):
    """Random edits of two slots, whose tables are cut to six entries, so that they get full."""
    chance = random.Random(72)
    tables = {0: [OFF] * 6, 5: [0x1F, OFF, 0x1F, 0x40, 0x40, OFF]}
    counters = [0, 1, 0x12345, 0x123456, 999999, 0xFFFFFFFF]
    for slot, table in tables.items():
        board.path(cam(slot, "size")).write_text("6\n")
        for name in ["pidtab", "pktcntrs", "errcntrs"]:
            os.truncate(board.path(cam(slot, name)), 24)
        board.poke(cam(slot, "pidtab"), 0, *table)
        board.poke(cam(slot, "pktcntrs"), 0, *counters)
    for _ in range(rounds(150)):
        slot = chance.choice(list(tables))
        table = tables[slot]
        pid = chance.choice([0x20, 0x21, 0x40, 0x100, 0x1FFD, 0x1FFE, 0x1234, 0x1111])
        clear = chance.random() < 0.3
        expected = (0, "", "")
        if clear and pid in table:
            table[table.index(pid)] = OFF
        elif not clear and pid not in table:
            free = [i for i, entry in enumerate(table) if entry in (OFF, 0x1F)]
            if free:
                table[free[0]] = pid
            else:
                error = "Driver (user space) error: ZEB Driver (user space) error: PID table is full"
                expected = (255, "", f"Encountered an error: {error}\n")
        where = [] if slot == 0 else ["-S", slot]
        result = board.run("wrcammon", *["-c"][: int(clear)], "-p", hex(pid), *where)
        assert (result.status, result.out, without_places(result.err)) == expected
        assert board.words(cam(slot, "pidtab")) == table
    for slot, table in tables.items():
        lines = [cam_line(i, pid, counters[i], 0) for i, pid in enumerate(table)]
        assert board.run("rcammon", "-s", "-S", slot) == (0, "".join(lines), "")
        shown = "".join(line for line, pid in zip(lines, table) if pid != OFF)
        assert board.run("rcammon", "-S", slot) == (0, shown, "")
        assert board.run("clrcammon", "-S", slot) == (0, "", "")
        assert board.words(cam(slot, "pidtab")) == [OFF] * 6
        assert board.words(cam(slot, "pktcntrs")) == counters


def invalid(text):
    return f"Encountered an error: Invalid Argument Error: {text}\n"


PID_RANGE = invalid("Invalid PID value given, must be within the range [0x20-0x1FFE]")
BAD_SIZE = "its text is not a number from 0 to 1048576"

REFUSED = [  # arguments, output, error
    ("wrmcnotlut", "Error: Invalid or missing IP argument\n", ""),
    ("wrmcnotlut -m 239.1.2", "Error: Invalid or missing IP argument\n", ""),
    ("wrmcnotlut -c -m 239.1.2.256", "Error: Invalid or missing IP argument\n", ""),
    ("wrcammon", "", invalid("No PID value given!")),
    ("wrcammon -p 0x1F", "", PID_RANGE),
    ("wrcammon -p 0x1FFF", "", PID_RANGE),
    ("wrcammon -c -p 0", "", PID_RANGE),
    ("wrcammon -p 0xFFFFFFFF", "", PID_RANGE),
    *(
        (f"{command} -S {slot}", "", unreadable(cam(slot, "size"), "No such file or directory"))
        for command, slot in [("rcammon", 8), ("wrcammon -p 0x20", 8), ("clrcammon", 4294967295)]
    ),
]


@pytest.mark.parametrize("arguments, out, err", REFUSED, ids=[row[0] for row in REFUSED])
def test_refused_with_nothing_changed(board, arguments, out, err):
    before = board.memory()
    result = board.run(*arguments.split())
    assert (result.status, result.out, without_places(result.err)) == (255, out, err)
    assert board.memory() == before


SIZES = ["", "\n", "many", "-64", "64 entries", "0x40", "1048577", "18446744073709551680"]
DAMAGES = [  # file, its new content (None: it is gone), the complaint
    *((MC_SIZE, text, unreadable(MC_SIZE, BAD_SIZE)) for text in SIZES),
    *((cam(3, "size"), text, unreadable(cam(3, "size"), BAD_SIZE)) for text in SIZES),
    (MC_SIZE, None, unreadable(MC_SIZE, "No such file or directory")),
    (MC, None, unreadable(MC, "No such file or directory")),
    (cam(3, "size"), None, unreadable(cam(3, "size"), "No such file or directory")),
    (cam(3, "pidtab"), None, unreadable(cam(3, "pidtab"), "No such file or directory")),
]


@pytest.mark.parametrize("file, content, err", DAMAGES)
def test_damaged_attribute_changes_nothing(board, file, content, err):
    board.path(file).unlink()
    if content is not None:
        board.path(file).write_text(content)
    before = board.memory()
    commands = ["rmcnotlut", "wrmcnotlut -m 239.0.0.1", "wrmcnotlut -c -m 239.0.0.1"]
    if "zebdvbci" in file:
        commands = ["rcammon -S 3", "wrcammon -p 0x20 -S 3", "wrcammon -c -p 0x20 -S 3"]
    for command in commands:
        result = board.run(*command.split())
        assert (result.status, result.out, without_places(result.err)) == (255, "", err), command
    assert board.memory() == before


def test_tables_of_another_length_than_their_size_says(board):
    """What the size does not cover stays as it is, and what the file lacks is 0."""
    board.path(MC_SIZE).write_text("3")
    board.poke(MC, 0, 0, 7, 0, 8)
    assert board.run("wrmcnotlut", "-m", "0.0.0.9").status == 0
    assert board.words(MC)[:4] == [0, 7, 9, 8]

    board.path(cam(0, "size")).write_text("2")
    board.poke(cam(0, "pidtab"), 0, 0x20, OFF, OFF)
    os.truncate(board.path(cam(0, "pktcntrs")), 4)
    board.poke(cam(0, "pktcntrs"), 0, 5)
    os.truncate(board.path(cam(0, "errcntrs")), 0)
    assert board.run("wrcammon", "-p", "0x21").status == 0
    assert board.run("rcammon") == (0, cam_line(0, 0x20, 5, 0) + cam_line(1, 0x21, 0, 0), "")
    assert board.words(cam(0, "pidtab"))[:3] == [0x20, 0x21, OFF]


@pytest.mark.parametrize("size", ["65", "1048576", "0"])
def test_multicast_table_that_ends_early_is_a_broken_driver(board, size):
    board.path(MC_SIZE).write_text(size)
    if size == "0":
        board.path(MC).write_text("")
    before = board.memory()
    result = board.run("wrmcnotlut", "-m", "239.0.0.1")
    assert result[:2] == (-6, "")
    assert result.err.startswith("Assertion failed: [ret > 0 && ((uint32_t)ret == size * 4)] \n")
    assert board.memory() == before


@pytest.mark.parametrize(
    "file, command",
    [(MC, "wrmcnotlut -m 239.0.0.1"), (cam(0, "pidtab"), "wrcammon -p 0x20"), (cam(0, "pidtab"), "clrcammon")],
)
def test_read_only_attribute(board, file, command):
    board.path(file).chmod(0o444)
    before = board.memory()
    # root is refused, too, once it may not override permissions
    powerless = ["setpriv", "--bounding-set=-dac_override"] if os.geteuid() == 0 else []
    result = board.execute([*powerless, TOOL, *command.split()])
    assert (result.status, result.out) == (255, "")
    assert without_places(result.err) == unwritable(file, "Permission denied")
    assert board.memory() == before


def test_missing_table_is_not_created(board):
    board.path(cam(0, "pidtab")).unlink()
    result = board.run("clrcammon")
    assert without_places(result.err) == unwritable(cam(0, "pidtab"), "No such file or directory")
    assert not board.path(cam(0, "pidtab")).exists()
