"""Saving the routing tables to a file and restoring them."""

import os
import stat
import struct

import pytest

from harness.board import IPLUT, PIDLUT, TOOL

SECTIONS = [(IPLUT, 128, 64), (IPLUT, 2048, 512), (PIDLUT, 256, 256), (PIDLUT, None, 4096), (PIDLUT, 16384, 8192)]
SECTIONS += [(IPLUT, 256, 256), (IPLUT, 1024, 1024)]

pytestmark = pytest.mark.complaints("PID LUT: ", "IP LUT: ")  # the words in its tables are any


def crc(data):
    value = 0xFFFFFFFF
    for byte in data:
        value ^= byte << 24
        for _ in range(8):
            value = (value << 1 ^ (0x04C11DB7 if value >> 31 else 0)) & 0xFFFFFFFF
    return value


def image_of(board):
    words = []
    for device, offset, count in SECTIONS:
        if offset is None:
            offset = 8192 if board.words(PIDLUT, 129, 1)[0] & 1 == 0 else 12288
        words += board.words(device, offset, count)
    data = struct.pack("<14400I", *words)
    return data + struct.pack("<I", crc(data))


@pytest.fixture
def routed(board):
    """A board whose tables all hold something."""
    def full(first, count):
        return first, [(0x9E3779B1 * word) & 0xFFFFFFFF for word in range(first, first + count)]

    board.poke_at_once(PIDLUT, full(256, 512), full(8192, 16384))
    board.poke_at_once(IPLUT, full(128, 384), full(1024, 1536), (0, [1]))
    return board


@pytest.mark.parametrize("control", [0, 1])
def test_export_and_import_bring_every_table_back(routed, tmp_path, control):
    routed.poke(PIDLUT, 129, 0xFE | control)
    image = tmp_path / "image"
    expected = image_of(routed)
    assert routed.run("exptabs", "-f", image) == (0, "", "")
    assert image.read_bytes() == expected

    filters = routed.words(PIDLUT, 512, 256)
    for command in ["clrpidlut", "clriplut", "clrtsimap", "clropidmap", "clrphyimap", "clrphyomap", "clripoutmap"]:
        assert routed.run(command).status == 0
    routed.poke(PIDLUT, 16384, *struct.unpack("<2I", expected[19712:19720]))  # row 0 is not cleared
    assert routed.run("imptabs", "-f", image) == (0, "", "")
    assert image_of(routed) == expected
    assert routed.words(PIDLUT, 129, 1) == [0xFE | control ^ 1]
    assert routed.words(IPLUT, 0, 1) == [0]
    assert routed.words(PIDLUT, 512, 256) == filters


def test_default_file_pipes_and_standard_output(routed, tmp_path):
    expected = image_of(routed)
    script = f"""
    cd {tmp_path}; mkfifo pipe
    {TOOL} exptabs && {TOOL} exptabs -f /dev/stdout | cmp - zeb_fpga_tables.bin
    {{ printf head; {TOOL} exptabs -f /dev/stdout; printf tail; }} >behind
    {TOOL} exptabs -f pipe & {TOOL} imptabs -f pipe && wait $!
    """
    assert routed.sh(script) == (0, "", "")
    assert (tmp_path / "zeb_fpga_tables.bin").read_bytes() == expected
    assert (tmp_path / "behind").read_bytes() == b"head" + expected + b"tail"


def test_existing_file_is_replaced_in_one_step_and_keeps_its_mode(routed, tmp_path):
    (tmp_path / "old").write_bytes(b"old")
    (tmp_path / "old").chmod(0o640)
    (tmp_path / "link").symlink_to("old")
    with open(tmp_path / "old", "rb") as reader:
        assert routed.run("exptabs", "-f", tmp_path / "link").status == 0
        assert reader.read() == b"old"
    assert (tmp_path / "old").read_bytes() == image_of(routed)
    assert stat.S_IMODE(os.stat(tmp_path / "old").st_mode) == 0o640
    assert sorted(os.listdir(tmp_path)) == ["link", "old"]


@pytest.mark.parametrize(
    "target, reason",
    [
        ("{folder}", 'Unable to open writable file "{folder}": Is a directory'),
        ("{folder}/none/image", "No such file or directory"),
        ("/proc/image", "Unable to open writable file"),
        ("/dev/full", 'Unable to write file "/dev/full": No space left on device'),
    ],
)
def test_export_that_cannot_be_written(board, tmp_path, target, reason):
    result = board.run("exptabs", "-f", target.format(folder=tmp_path))
    assert (result.status, result.out) == (255, "")
    assert reason.format(folder=tmp_path) in result.err
    assert os.listdir(tmp_path) == []


def test_full_disk_leaves_the_old_file_or_says_that_it_is_lost(board, tmp_path):
    (tmp_path / "old").write_bytes(b"old")
    result = board.sh(f"ulimit -f 8; {TOOL} exptabs -f {tmp_path}/old")
    assert result.status == 255 and "File too large" in result.err
    assert (tmp_path / "old").read_bytes() == b"old"
    assert os.listdir(tmp_path) == ["old"]
    os.link(tmp_path / "old", tmp_path / "other")  # cannot be replaced, so it is written in its place
    result = board.sh(f"ulimit -f 8; {TOOL} exptabs -f {tmp_path}/old")
    assert "old\": File too large; its old content is lost, and the new one is incomplete(" in result.err


def test_damaged_images_are_refused_and_change_nothing(board, tmp_path):
    good = image_of(board)
    board.poke(PIDLUT, 129, 1)
    before = board.memory()
    image = tmp_path / "image"
    flips = [good[:at] + bytes([good[at] ^ 1 << at % 8]) + good[at + 1 :] for at in (0, 1, 3329, 57599, 57600, 57603)]
    lengths = [b"", good[:1], good[:57603], good + b"\0", good + good]
    for data, reason in [(flip, "incorrect CRC") for flip in flips] + [(cut, "incorrect length") for cut in lengths]:
        image.write_bytes(data)
        result = board.run("imptabs", "-f", image)
        assert (result.status, result.out) == (255, "")
        assert f"Invalid data ({reason}) given to import tables" in result.err
    assert board.memory() == before


@pytest.mark.parametrize(
    "arguments, reason",
    [
        ([], "Missing mandatory file option!!"),
        (["-f"], "Options parsing failed"),
        (["-f", "/nowhere/image"], 'Unable to open readable file "/nowhere/image": No such file or directory'),
        (["-f", "/tmp"], 'Unable to open readable file "/tmp": Is a directory'),
        (["-f", "/dev/zero"], 'Unable to open readable file "/dev/zero": neither a regular file nor a pipe'),
        (["-f", "/dev/zebtsif_pidlut"], "incorrect length"),
    ],
)
def test_import_of_what_is_no_image(board, arguments, reason):
    before = board.memory()
    result = board.run("imptabs", *arguments)
    assert (result.status, result.out) == (255, "")
    assert reason in result.err
    assert board.memory() == before
