"""The PID look-up table from the command line to the FPGA's words and back."""

import pytest

from harness.board import PIDLUT, without_places

CONTROL = 129  # word whose bit 0 tells the bank in use
BANKS = {0: 8192, 1: 12288}
STUFFING = [0x001FFFFF, 0xFF000FFF]


def bank(board, number):
    """The rows of a bank, pairs of words."""
    words = board.words(PIDLUT, BANKS[number], 4096)
    return [words[i : i + 2] for i in range(0, 4096, 2)]


def test_the_request(board):
    note = "Note: filter 0 passes no packets (--filtidx was not given)\n"
    assert board.run("wrpidlut", "-t", "3", "-p", "0x100", "-P", "7", "-C") == (0, "", note)
    assert board.run("rpidlut", "-a") == (
        0,
        "000 (0x00003000): TSIIDX:003, PID:0x0100(0256), PIDIDX:0007, CPU_ROUTE:YES, OUT_ROUTE:NO, FILTIDX:000\n",
        "",
    )
    assert board.words(PIDLUT, CONTROL, 1) == [1]
    assert bank(board, 1) == [[0x00006100, 0x00002007]] + 2047 * [STUFFING]
    assert bank(board, 0) == 2048 * [STUFFING]


def test_the_control_words_other_bits_are_kept(board):
    board.poke(PIDLUT, CONTROL, 0xFFFFFFFF)
    assert board.run("wrpidlut", "-t", "1", "-p", "5", "-O").status == 0
    assert board.words(PIDLUT, CONTROL, 1) == [0xFFFFFFFE]
    assert bank(board, 0)[0] == [0x00002005, 0x00001FFF]
    assert bank(board, 1) == 2048 * [STUFFING]


def full_table(board):
    rows = [[1 << 13 | pid, 0x3001] for pid in range(2048)]
    board.poke(PIDLUT, BANKS[0], *(word for row in rows for word in row))
    return rows


INVALID = "ZEB Driver (user space) error: PidLutEntry created/modified with invalid "


@pytest.mark.parametrize(
    "arguments, reason",
    [
        ("wrpidlut -t 0xffffffff -p 1 -C", INVALID + "TSIIDX (4294967295)"),
        ("wrpidlut -p 8192 -C", INVALID + "PID (8192)"),
        ("wrpidlut -p 1 -P 0 -C", INVALID + "PIDIDX (0)"),
        ("wrpidlut -p 0x100000001 -C", 'Argument "0x100000001" of option "pid" is not a number'),
        ("wrpidlut -p", "Option ‘p’ is missing an argument"),
        ("wrpidlut -p 1 C", 'unexpected argument "C"'),
        ("rpidlut -o 2047 -c 2", "Offset (2047) and count (2) exceeds the size (2048) of the ZEB PID LUT."),
        ("rpidlut -o 1 -c 0xffffffff", "Offset (1) and count (4294967295) exceeds the size (2048)"),
        ("rpidlut -c -1", 'Argument "-1" of option "count" is not a number'),
    ],
)
def test_refused_with_nothing_changed(board, arguments, reason):
    full_table(board)
    before = board.memory()
    result = board.run(*arguments.split())
    assert (result.status, result.out) == (255, "")
    assert result.err.startswith("Encountered an error: ") and reason in without_places(result.err)
    assert board.memory() == before


def test_output_that_cannot_be_written(board):
    full_table(board)
    assert board.sh("zeb_fpga_shell rpidlut -a >/dev/full").status == 255
    early = board.sh("zeb_fpga_shell rpidlut -a | head -1; exit ${PIPESTATUS[0]}")
    assert early.out.count("\n") == 1 and early.status in (128 + 13, 255)
