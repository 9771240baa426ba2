"""The scrambler's PID LUT and keys."""

import os
import random

import pytest

from harness.board import SCM, rounds, without_places

BARSIZE = "sys/class/zebscm/scm/barsize"
EMPTY = 0xFFFFFFFF
BANKS = [1024, 1536]  # words
KEY = "0F1E2D3C4B5A69788796A5B4C3D2E1F0"
ONE = "0" * 31 + "1"


def bank(board, base):
    return board.words(SCM, base, 512)


def image(entries):
    """The words of a bank with `entries`: key index by (scrambler, PID)."""
    words = [(entries[scm, pid] << 16) + scm * 8192 + pid for scm, pid in sorted(entries)]
    return words + [EMPTY] * (512 - len(words))


def line(position, base, word):
    scm, pid, key = word >> 13 & 7, word & 0x1FFF, word >> 16 & 63
    return f"{position:03} (0x{base + position:08x}): SCMIDX:{scm}, PID:0x{pid:04x}, KEYIDX:{key}, \n"


def listing(base, words, offset=0):
    return "".join(line(i, base, word) for i, word in enumerate(words, offset) if word != EMPTY)


def test_random_edits_agree_with_a_model(board):
    chance = random.Random(73)
    entries, previous, active = {}, {}, 0
    for _ in range(rounds(150)):
        scm = chance.randrange(8)
        pid = chance.choice([0, 1, 0x100, 8189, 8190])
        before = dict(entries)
        if chance.random() < 0.3:
            entries.pop((scm, pid), None)
            edit = ["--clear"]
        else:
            entries[scm, pid] = chance.randrange(64)
            edit = ["-k", entries[scm, pid]]
        assert board.run("wrscmpidlut", "-s", scm, "-p", pid, *edit) == (0, "", "")
        previous, active = before, 1 - active
        assert board.words(SCM, 4, 1) == [active]
        assert bank(board, BANKS[active]) == image(entries)
        assert bank(board, BANKS[1 - active]) == image(previous)
    assert board.run("rscmpidlut") == (0, listing(BANKS[active], image(entries)), "")
    assert board.run("rscmpidlut", "-i") == (0, listing(BANKS[1 - active], image(previous)), "")
    part = image(entries)[3:5]
    assert board.run("rscmpidlut", "-o", "3", "-c", "2") == (0, listing(BANKS[active], part, 3), "")

    assert board.run("clrscmpidlut") == (0, "", "")
    assert bank(board, BANKS[0]) == bank(board, BANKS[1]) == [EMPTY] * 512
    assert board.words(SCM, 4, 1) == [active]
    shown = board.run("rscmpidlut", "-s", "-o", "500", "-c", "12")
    assert shown == (0, "".join(line(i, BANKS[active], EMPTY) for i in range(500, 512)), "")


@pytest.mark.parametrize("selected", [0, 1, 0x80000000])
def test_full_table_refuses_every_new_entry(board, selected):
    active, spare = BANKS[selected != 0], BANKS[selected == 0]
    entries = {(7, pid): pid % 64 for pid in range(512)}
    board.poke(SCM, 4, selected)
    board.poke(SCM, active, *image({key: value for key, value in entries.items() if key != (7, 0)}))
    assert board.run("wrscmpidlut", "-s", "7", "-p", "0").status == 0
    assert bank(board, spare) == image(entries)
    before = board.memory()
    for pid in [0, 511, 512]:  # replacing an entry is refused as well
        result = board.run("wrscmpidlut", "-s", "7", "-p", pid, "-k", "1")
        assert result[:2] == (255, "")
        assert "SCM PID LUT is full - cannot write new entry" in result.err
    assert board.memory() == before
    assert board.run("wrscmpidlut", "-c", "-s", "7", "-p", "100").status == 0
    assert board.run("wrscmpidlut", "-s", "0", "-p", "8190", "-k", "63").status == 0
    del entries[7, 100]
    entries[0, 8190] = 63
    assert bank(board, spare) == image(entries)


def keys_of(board):
    result = board.run("rscmkeys")
    assert (result.status, result.err) == (0, "")
    return dict(row.split(": ") for row in result.out.splitlines())


def test_keys_read_back_as_written(board):
    chance = random.Random(74)
    options = {"-E": ("IV_EVEN", 32), "-e": ("KEY_EVEN", 36), "-O": ("IV_ODD", 40), "-o": ("KEY_ODD", 44)}
    model = {name: "0" * 32 for name, _ in options.values()}
    assert keys_of(board) == model
    for _ in range(20):
        given = {option: f"{chance.getrandbits(128):032X}" for option in options if chance.random() < 0.5}
        words = [word for option, key in given.items() for word in (option, chance.choice([key, key.lower()]))]
        assert board.run("wrscmkeys", *words) == ((0, "", "") if given else board.run("wrscmkeys"))
        for option, key in given.items():
            name, first = options[option]
            model[name] = key
            assert board.words(SCM, first, 4) == [int(key[i : i + 8], 16) for i in (24, 16, 8, 0)]
        assert keys_of(board) == model
    assert list(keys_of(board)) == ["IV_EVEN", "KEY_EVEN", "IV_ODD", "KEY_ODD"]


def test_keys_from_standard_input(board):
    assert board.run("wrscmkeys", "--odd_iv=-", "-e", "-", "-o", KEY, input=f"{KEY}\n{ONE}\n") == (0, "", "")
    assert keys_of(board) == {"IV_EVEN": "0" * 32, "KEY_EVEN": KEY, "IV_ODD": ONE, "KEY_ODD": KEY}


INVALID = "Invalid Argument Error: Invalid parameters."
OUT_OF_RANGE = "Out of Range Error: Offset {} and entry count {} exceeds scrambler PID LUT size 512."
REFUSED = [  # arguments, error
    (["wrscmpidlut"], INVALID),
    (["wrscmpidlut", "-p", "8191"], INVALID),
    (["wrscmpidlut", "-p", "8192"], INVALID),
    (["wrscmpidlut", "-p", "1", "-s", "8"], INVALID),
    (["wrscmpidlut", "-p", "1", "-k", "64"], INVALID),
    (["rscmpidlut", "-o", "500", "-c", "13"], OUT_OF_RANGE.format(500, 13)),
    (["rscmpidlut", "-o", "0xffffffff", "-c", "1"], OUT_OF_RANGE.format(4294967295, 1)),
    (["wrscmkeys"], "Shell Error: Missing manadatory key and/or IV option"),
    *(
        (["wrscmkeys", "-E", KEY, "-o", bad], f"Shell Error: Cannot convert {bad} into valid 128 bit key/IV")
        for bad in ["", KEY[1:], KEY + "0", "0x" + KEY, "0x" + KEY[2:], " " + KEY[1:], KEY[1:] + " ", KEY[1:] + "G"]
    ),
]


@pytest.mark.parametrize("arguments, err", REFUSED, ids=[" ".join(row[0]) for row in REFUSED])
def test_refused_with_nothing_changed(board, arguments, err):
    before = board.memory()
    result = board.run(*arguments)
    assert (result.status, result.out, without_places(result.err)) == (255, "", f"Encountered an error: {err}\n")
    assert board.memory() == before


@pytest.mark.parametrize("given", ["", KEY, f"{KEY}\n{KEY}0\n", f"{KEY}\n\n{KEY}\n", f"{KEY}\r\n{KEY}\n"])
def test_refused_key_from_standard_input_is_not_shown(board, given):
    before = board.memory()
    result = board.run("wrscmkeys", "-e", "-", "-o", "-", input=given)
    assert (result.status, result.out) == (255, "")
    assert without_places(result.err) == (
        "Encountered an error: Shell Error: Cannot convert - into valid 128 bit key/IV\n"
    )
    assert board.memory() == before


@pytest.mark.parametrize("text", ["", "-16384", "16 KiB", "4294967296"])
def test_unusable_map_size(board, text):
    board.path(BARSIZE).write_text(text)
    result = board.run("rscmpidlut")
    assert (result.status, result.out) == (255, "")
    assert f'/{BARSIZE} holds "{text}", which is not a number of bytes' in result.err


def test_missing_map_size_and_short_device(board):
    board.path(BARSIZE).write_text("0x1fff")
    assert board.run("rscmkeys").status == 0
    assert "Byte offset 8188 and byte size 4 crosses memory segment boundary" in board.run("rscmpidlut", "-i").err
    board.path(BARSIZE).write_text("0x4000")
    assert board.run("rscmpidlut") == (0, "", "")
    os.truncate(board.path(SCM), 0x3FFF)
    assert "Cannot open device /dev/scm. Driver interface returned: " in board.run("clrscmpidlut").err
    board.path(BARSIZE).unlink()
    result = board.run("rscmkeys")
    assert result[:2] == (255, "")
    assert without_places(result.err) == f"Encountered an error: Shell Error: Could not open /{BARSIZE}\n"
