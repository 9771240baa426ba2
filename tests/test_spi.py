"""The SPI commands on the board's chips: what is printed, and what the chips latched, in which order."""

import struct

import pytest

from harness.board import SPI, Board, without_places

NODES = {"fpga": "/dev/spidev0.0", "max2871": "/dev/spidev0.1", "max5868": "/dev/spidev0.2"}
STATUS = "0x00000006:  0x708581be \nDIE: 7\nPOR: 1\nADC: 5\nADCV: 1\nVASA: 0\nV: 55\n"


class Chip:
    """One slave of a fresh board, and what the board tells of it."""

    def __init__(self, board, slave):
        self._board = board
        self._slave = slave
        self._seen = 0

    def command(self, name, *options):
        usual = {"-s": self._slave, "-d": NODES[self._slave]}
        words = [word for option in usual if option not in options for word in (option, usual[option])]
        return self._board.run(name, *words, *options)

    def good(self, name, *options):
        result = self.command(name, *options)
        assert (result.status, result.err) == (0, "")
        return result.out

    def refusal(self, name, *options):
        """The error's text; nothing may have reached the chip."""
        self.log()
        result = self.command(name, *options)
        assert (result.status, result.out) == (255, "")
        assert self.log() == []
        lines = without_places(result.err).splitlines()
        assert len(lines) == 1
        return lines[0].removeprefix("Encountered an error: SPI Error: ")

    def log(self):
        """What the chip did since the last call."""
        lines = (self._board.folder / "spi" / f"{self._slave}.log").read_text().splitlines()
        new, self._seen = lines[self._seen :], len(lines)
        return new

    def words(self):
        content = (self._board.folder / "spi" / f"{self._slave}.words").read_bytes()
        return [word for (word,) in struct.iter_unpack("=I", content)]


@pytest.fixture
def chip(tmp_path):
    boards = []

    def make(slave):
        boards.append(Board(tmp_path / str(len(boards))))
        return Chip(boards[-1], slave)

    yield make
    for board in boards:
        board.close()


def test_fpga_port_registers(chip):
    fpga = chip("fpga")
    out = fpga.good("spiwrite", "-o", "0xfffe", "-v", "0xdeadbeef,2", "-r", "--force")
    assert out == "0x0000fffe:  0xdeadbeef 0x00000002 \n"
    assert fpga.log() == [
        "write 0xfffe 0xdeadbeef",
        "write 0xffff 0x00000002",
        "read 0xfffe",
        "read 0xffff",
    ]
    assert fpga.words()[-2:] == [0xDEADBEEF, 2]
    refused = fpga.refusal("spiwrite", "-v", "1")
    unverified = "refused: how this slave's registers are written has not been verified"
    assert refused.startswith(f"/dev/spidev0.0: fpga: write of 32 bits at offset 0 {unverified}")
    result = fpga.command("spiread", "-c", "0")
    assert (result.status, result.out) == (0, "\n")
    assert "warning: /dev/spidev0.0: fpga: how this slave's registers are read has not been verified" in result.err
    values = [str(i * 0x01000193 % 2**32) for i in range(2500)]
    fpga.good("spiwrite", "-v", ",".join(values), "--burst", "--force")
    assert fpga.words()[:2501] == [int(value) for value in values] + [0]
    dump = fpga.good("spiread", "-c", "2500", "--burst", "--force").split()
    assert [int(word, 16) for word in dump if not word.endswith(":")] == [int(value) for value in values]


def test_dac_registers(chip):
    dac = chip("max5868")
    assert dac.good("spiwrite", "-o", "0x7f", "-v", "0x12", "-r", "--force") == "0x0000007f:  0x12 \n"
    assert dac.log() == ["write 0x7f 0x12", "read 0x7f"]
    assert dac.good("spiread", "-w", "16", "-o", "0x3f", "--force") == "0x0000003f:  0x1200 \n"
    assert dac.good("spiwrite", "-w", "32", "-v", "0x04030201", "--force") == ""
    assert dac.words()[0] == struct.unpack("=I", b"\1\2\3\4")[0]


def test_synthesiser(chip):
    synthesiser = chip("max2871")
    assert synthesiser.good("spiwrite", "-v", "0x007D0008,0x2000FFF9,0x00004042") == ""
    assert synthesiser.log() == ["latch 2 0x00004042", "latch 1 0x2000fff9", "latch 0 0x007d0008"]
    synthesiser.good("spiwrite", "--startup", "-v", "0x10,0x11,0x12,0x13,0x14,0x15")
    assert [line.split()[1] for line in synthesiser.log()] == list("543210543210")
    assert "register 1 is write-only" in synthesiser.refusal("spiwrite", "-o", "1", "-v", "1", "-r")
    read = ["spiread", "-o", "6", "--r6_readback", "no_cs"]
    assert "0xffffffff came back, with address bits 7 instead of 6" in synthesiser.command(*read).err
    assert synthesiser.good(*read, "--mux_r2", 0x00004042, "--mux_r5", 0x00400005) == STATUS
    assert (synthesiser.words()[2], synthesiser.words()[5]) == (0x00004042, 0x00400005)


def test_raw_bytes_only_when_forced_and_none_in_a_dry_run(chip):
    dac = chip("max5868")
    raw = ["-s", "raw", "-v", "0x05,0x77", "-r"]
    assert "the chip may take any bytes for a write" in dac.refusal("spiwrite", *raw)
    assert dac.good("spiwrite", *raw, "--force") == "0x00000000:  0xff 0xff \n"
    assert dac.log() == ["write 0x05 0x77"]
    out = dac.good("spiwrite", "-d", "/dev/nix", "-o", "5", "-v", "0x77", "-r", "--dry_run")
    assert out == "mode 0x0, 1000000 Hz\nsend 0x05 0x77\nsend 0x85, receive 1 bytes\n"
    assert dac.log() == []


@pytest.mark.parametrize(
    "path, text",
    [
        ("/dev/spidev0.3", "open failed. Errno: (2 - No such file or directory)"),
        ("/dev", "open failed. Errno: (21 - Is a directory)"),
        ("/dev/null", "not a spidev node. Errno: (25 - Inappropriate ioctl for device)"),
        ("/dev/zebtsif_pidlut", "not a spidev node. Errno: (25 - Inappropriate ioctl for device)"),
    ],
)
def test_paths_that_are_no_spidev_node(board, path, text):
    result = board.run("spiread", "-s", "fpga", "-w", "32", "-o", "9", "-d", path)
    assert (result.status, result.out) == (255, "")
    assert f"SPI Error: {path}: fpga: read of 32 bits at offset 9: {text}(" in result.err


def test_board_runs_on_where_the_kernel_does_not_let_spi_be_answered_for(board):
    """The kernel takes one listener for a process; the board's own is in the way of a second one."""
    result = board.execute([SPI, "/dev/shm/second", "sh", "-c", "echo ran; exit 3"])
    assert (result.status, result.out) == (3, "ran\n")
    assert "no SPI devices on this board: IOErrorr: the kernel does not let device requests be answered" in result.err
