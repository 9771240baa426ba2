"""The raw memory commands, good and bad, as rows of {arguments, exit status, output, error}."""

import os
import random

import pytest

from harness.board import PIDLUT, PKTIO, SIZES, TOOL, rounds, run_bare, without_places

# What the rows below find in the packet port's registers.
CONTENT = [0x03020100, 0x07060504, 0x0B0A0908, 0x0F0E0D0C, 0x13121110]


def shell_error(text):
    return f"Encountered an error: Shell Error: {text}\n"


def failed(command, text):
    return shell_error(f"{command} command encountered an unexpected error: {text}")


def outside(command, byte_offset, size):
    return failed(
        command,
        "Device memory Error: Cannot access device memory. "
        f"Byte offset {byte_offset} and byte size {size} crosses memory segment boundary",
    )


def no_number(option, text):
    return shell_error(
        f'Options parsing failed: Argument "{text}" of option "{option}" is not a number from 0 to 4294967295 '
        '(prefix with "0x" for hex)'
    )


def no_argument(option):
    return shell_error(f"Options parsing failed: Option ‘{option}’ is missing an argument")


def cannot_open(path, reason):
    return shell_error(
        f'Cannot open device {path}. Driver interface returned: "PCI Error: Could not open device at path: {path}. '
        f'Error: "{reason}"".'
    )


def cannot_map(path, size):
    return shell_error(
        f'Cannot open device {path}. Driver interface returned: "PCI Error: Failed mmap of {size} bytes (offset: 0) '
        f'from device: {path}. ".'
    )


NOT_MAPPED = "PCI Error: Cannot access device memory. Device {} has no memory mapped into user space."
TOO_WIDE = "Shell Error: {} cannot write data. {} is not a {} bit value"

READS = [
    ("read8 -d pktio", "0x00000000:  0x00 \n"),
    ("READ8 -d pktio -o 3", "0x00000003:  0x03 \n"),
    (
        "read8 -d pktio -c 17",
        "0x00000000:  0x00 0x01 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09 0x0a 0x0b 0x0c 0x0d 0x0e 0x0f \n"
        "0x00000010:  0x10 \n",
    ),
    (
        "read16 -d pktio -o 1 -c 8",
        "0x00000001:  0x0302 0x0504 0x0706 0x0908 0x0b0a 0x0d0c 0x0f0e 0x1110 \n\n",
    ),
    (
        "read32 --device pktio --offset 0x0 --count 0x5",
        "0x00000000:  0x03020100 0x07060504 0x0b0a0908 0x0f0e0d0c \n0x00000004:  0x13121110 \n",
    ),
    ("read32 -d pktio -o 1024 -c 0", "\n"),
    ("read32 -d pktio -m 4 -o 4", "0x00000004:  0x13121110 \n"),  # a designation has its own size
    ("read16 -d /dev/zebtsif_pktio_dbg -m 6 -o 2", "0x00000002:  0x0504 \n"),
]

REFUSED = [
    ("read32", cannot_open("", "No such file or directory")),
    ("read32 -d /nowhere/device -m 4", cannot_open("/nowhere/device", "No such file or directory")),
    ("read32 -d Pktio -m 4", cannot_open("Pktio", "No such file or directory")),
    ("read32 -d /tmp -m 4", cannot_open("/tmp", "Is a directory")),
    ("write32 -d /dev/null -m 4", cannot_map("/dev/null", 4)),
    ("read8 -d /dev/zebtsif_pktio_dbg -m 4097", cannot_map("/dev/zebtsif_pktio_dbg", 4097)),
    ("read16 -d /dev/zebtsif_pktio_dbg", failed("read16", NOT_MAPPED.format("/dev/zebtsif_pktio_dbg"))),
    *((words, no_argument(words[-1])) for words in ["read32 -d", "read32 -d pktio -o", "write8 -d pktio -v"]),
    *(
        (f"read32 -d pktio -o {word}", no_number("offset", word))
        for word in ["4294967296", "0x1ffffffff", "99999999999999999999", "-1", "1k", "0x", "ff", "+1"]
    ),
    ("read16 -d pktio --offset=", no_number("offset", "")),
    ("write32 -d pktio -v 0x100000000", no_number("data", "0x100000000")),
    ("read8 -d /dev/zebtsif_pktio_dbg -m 0x100001000", no_number("mmapsize", "0x100001000")),
    ("write32 -d pktio 5", shell_error('Options parsing failed: unexpected argument "5"')),
    ("read8 -d pktio -o 4096", outside("read8", 4096, 1)),
    ("read16 -d pktio -o 2047 -c 2", outside("read16", 4094, 4)),
    ("read32 -d pktio -o 1025 -c 0", outside("read32", 4100, 0)),
    ("read32 -d router -c 0x40000000", outside("read32", 0, 1 << 32)),
    ("read32 -d router -o 0x40000000", outside("read32", 1 << 32, 4)),
    ("read16 -d tsio -o 0xffffffff -c 0xffffffff", outside("read16", 0x1FFFFFFFE, 0x1FFFFFFFE)),
    ("write16 -d pktio -o 2048 -v 1", outside("write16", 4096, 2)),
    ("write32 -d pktio -o 0x40000000 -v 1 -r", outside("write32", 1 << 32, 4)),
    ("write8 -d pktio -v 256", failed("write8", TOO_WIDE.format("write8", "256 (0x100)", 8))),
    ("write16 -d pktio -v 0x10000", failed("write16", TOO_WIDE.format("write16", "65536 (0x10000)", 16))),
]

WRITES = [  # arguments, output, the four bytes at offset 0 afterwards
    ("write8 -d pktio -v 255", "", [0xFF, 1, 2, 3]),
    ("write8 -d pktio -o 3 -v 0xa5 -r", "0x00000003:  0xa5 \n", [0, 1, 2, 0xA5]),
    ("write16 -d pktio -o 1 -v 0xffff --readback", "0x00000001:  0xffff \n", [0, 1, 0xFF, 0xFF]),
    ("write32 -d pktio -v 0x12345678", "", [0x78, 0x56, 0x34, 0x12]),
    ("write32 -d pktio -v 4294967295 -r", "0x00000000:  0xffffffff \n", [0xFF] * 4),
    ("write32 -d pktio", "", [0] * 4),
]


@pytest.fixture
def port(board):
    board.poke(PKTIO, 0, *CONTENT)
    return board


def test_read(port):
    before = port.memory()
    for arguments, out in READS:
        assert port.run(*arguments.split()) == (0, out, ""), arguments
    assert port.memory() == before


@pytest.mark.parametrize("arguments, err", REFUSED, ids=[row[0] for row in REFUSED])
def test_refused_with_nothing_changed(port, arguments, err):
    before = port.memory()
    result = port.run(*arguments.split(" "))
    assert (result.status, result.out, without_places(result.err)) == (255, "", err)
    assert port.memory() == before


@pytest.mark.parametrize("arguments, out, content", WRITES, ids=[row[0] for row in WRITES])
def test_write(port, arguments, out, content):
    before = port.memory()
    assert port.run(*arguments.split()) == (0, out, "")
    after = port.memory()
    assert list(after[PKTIO][:4]) == content
    assert after[PKTIO][4:] == before[PKTIO][4:]
    assert {**after, PKTIO: b""} == {**before, PKTIO: b""}


def test_help_lists_the_options_and_unknown_ones_show_it(board):
    shown = board.run("write16", "-h")
    assert (shown.status, shown.err) == (0, "")
    positions = [shown.out.find(f"--{option}") for option in ["offset", "data", "readback", "device", "mmapsize", "help"]]
    assert -1 not in positions and positions == sorted(positions)
    unknown = board.run("write16", "-d", "router", "-q")
    assert unknown == (255, "", f"Invalid options detected. See help.\n{shown.out}")


@pytest.mark.complaints("PID LUT: ", "IP LUT: ")  # it writes anywhere
def test_random_accesses_agree_with_a_model(board):
    """Several hundred reads and writes of all widths, at random places, against plain byte arrays."""
    chance = random.Random(20)
    designations = {"router": PIDLUT, "pktio": PKTIO}
    model = {name: bytearray(content) for name, content in board.memory().items()}
    per_line = {8: 16, 16: 8, 32: 4}
    for _ in range(rounds(300)):
        width = chance.choice([8, 16, 32])
        designation = chance.choice(list(designations))
        memory = model[designations[designation]]
        size = width // 8
        offset = chance.randrange(len(memory) // size)
        if chance.random() < 0.5:
            value = chance.getrandbits(width)
            result = board.run(f"write{width}", "-d", designation, "-o", hex(offset), "-v", value)
            memory[offset * size : (offset + 1) * size] = value.to_bytes(size, "little")
            assert result == (0, "", "")
        else:
            count = min(chance.randrange(1, 40), len(memory) // size - offset)
            out = ""
            for i in range(count):
                if i % per_line[width] == 0:
                    out += f"0x{offset + i:08x}:  "
                value = int.from_bytes(memory[(offset + i) * size : (offset + i + 1) * size], "little")
                out += f"0x{value:0{2 * size}x} "
                if i % per_line[width] == per_line[width] - 1:
                    out += "\n"
            assert board.run(f"read{width}", "-d", designation, "-o", offset, "-c", count) == (0, out + "\n", "")
    assert board.memory() == {name: bytes(content) for name, content in model.items()}


def test_device_that_is_not_there_cannot_be_opened_or_is_shorter_than_its_map(board):
    def error(execute, command="read32 -d router", before=()):
        result = execute([*before, TOOL, *command.split()])
        assert result[:2] == (255, "")
        return without_places(result.err)

    assert error(lambda argv: run_bare(*argv)) == cannot_open("/dev/zebtsif_pidlut", "No such file or directory")
    board.path(PIDLUT).chmod(0)
    # root is refused, too, once it may not override permissions
    powerless = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []
    assert error(board.execute, before=powerless) == cannot_open("/dev/zebtsif_pidlut", "Permission denied")
    board.reset()
    os.truncate(board.path(PIDLUT), SIZES[PIDLUT] - 1)
    assert error(board.execute, "write32 -d router -v 1") == cannot_map("/dev/zebtsif_pidlut", SIZES[PIDLUT])


def test_device_that_faults_under_an_access(tmp_path):
    """A sparse file on a file system without room: its pages beyond the room fault when touched."""
    sandbox = ["bwrap", "--bind", "/", "/", "--dev", "/dev", "--size", "16384", "--tmpfs", tmp_path, "--"]
    command = f"truncate -s 131072 {tmp_path}/device && exec {TOOL} read32 -d {tmp_path}/device -m 131072 -c 32768"
    result = run_bare(*sandbox, "sh", "-c", command)
    assert result[:2] == (255, "")
    assert without_places(result.err) == failed(
        "read32",
        'Device memory Error: Device does not answer. Access of type "R32" at byte offset 16384 failed with a bus '
        "error",
    )


NOT_WRITTEN = "Encountered an error: IOErrorr: Could not write all of the output: {}\n"
NOT_WRITTEN_SHELL = "Shell application failed with unexpected exception:\nShell Error: The output could not be written: {}."


@pytest.mark.parametrize(
    "redirection, reason", [(">/dev/full", "No space left on device"), (">&-", "Bad file descriptor")]
)
@pytest.mark.parametrize("command", ["read32 -d router", "write32 -d router -v 7 -r", "list"])
def test_output_that_cannot_be_written_is_a_failure(board, command, redirection, reason):
    result = board.sh(f"zeb_fpga_shell {command} {redirection}")
    assert (result.status, without_places(result.err)) == (255, NOT_WRITTEN.format(reason))
    result = board.sh(f"zeb_fpga_shell -I {redirection}", input="exit\n")
    assert (result.status, without_places(result.err)) == (255, NOT_WRITTEN_SHELL.format(reason))


def test_closed_standard_streams_never_become_the_device(board):
    before = board.memory()
    for redirection in ["<&-", ">&-", "2>&-", "<&- >&- 2>&-"]:
        for command in ["read8 -d router -c 100", "read32 -d router -o 0xffffffff", "nonsense"]:
            board.sh(f"zeb_fpga_shell {command} {redirection}")
    assert board.memory() == before


def test_reader_that_leaves_early(board):
    result = board.sh("zeb_fpga_shell read8 -d router -c 131072 | head -1; exit ${PIPESTATUS[0]}")
    assert result.out.count("\n") == 1
    assert result.status in (128 + 13, 255)  # SIGPIPE may end it
