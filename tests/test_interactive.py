"""Interactive mode, typed at a terminal as a person does, and fed through a pipe."""

import random
import re

import pexpect
import pytest

from harness.board import IPLUT, PIDLUT, TOOL, without_places

BANNER = "Ostrel Utill Shell..\n"
GOODBYE = "\nExiting.......\n\n"
UP, DOWN, LEFT = "\x1b[A", "\x1b[B", "\x1b[D"
ERASED = re.escape(f"{LEFT} {LEFT}")


@pytest.fixture
def shell(terminal):
    """A session at its first prompt."""
    session = terminal(TOOL, "-I")
    session.expect_exact(BANNER.replace("\n", "\r\n") + ">> ")
    return session


def leave(session):
    session.send("exit\n")
    session.expect_exact("exit" + GOODBYE.replace("\n", "\r\n"))
    session.expect(pexpect.EOF)
    session.close()
    assert (session.exitstatus, session.signalstatus) == (0, None)


def test_session_at_the_terminal(shell):
    shell.send("open pidlut\n")
    shell.expect(r"open pidlut\r\n.*131072 bytes.*\r\n>> ")
    shell.send("write pidlut 0x1 32bit 0xCAFE\n")
    shell.expect(r">> ")
    shell.sendintr()
    shell.send("READ pidlut 0 04X\x7f\n")
    shell.expect("READ pidlut 0 04X" + ERASED + r"\r\n0x00000000:  0x00000000 0x0000cafe 0x0{8} 0x0{8} \r\n\r\n\r\n>> ")
    shell.send("lis" + UP)
    shell.expect_exact("lis\r>> read pidlut 0 04")
    shell.send(UP)
    shell.expect_exact("\r>> write pidlut 0x1 32bit 0xcafe")
    shell.send(DOWN + DOWN)  # the first shows the same again
    shell.expect_exact("\r>> write pidlut 0x1 32bit 0xcafe\r>> read pidlut 0 04" + 13 * " " + 13 * LEFT)
    shell.send(DOWN + "t\n")  # back at the line that was being typed
    shell.expect_exact("\r>> lis" + 13 * " " + 13 * LEFT + "t\r\nInstalled commands:\r\n" + 75 * "-")
    for line in [r"close \(ZEB FPGA command module\) ---[^\r]*", r"exit \(shell\) ---Exit the shell.", r"list \(shell\) ---List [^\r]*"]:
        shell.expect(rf"{line}\r\n")
    shell.expect_exact(">> ")
    leave(shell)


def test_terminal_echoes_and_edits_again_after_leaving(terminal):
    """Even one that did not before."""
    session = terminal("sh", "-c", f"stty -icanon -echo; {TOOL} -I; status=$?; stty -a; exit $status")
    session.expect_exact(">> ")
    session.send("exit\n")
    session.expect(r"[ ;]icanon[ ;\r]")
    session.expect(r"[ ;]echo[ ;\r]")
    session.expect(pexpect.EOF)
    session.close()
    assert session.exitstatus == 0


def prompts(*outputs):
    """What a whole session prints: an output for each line given, `exit` last."""
    return BANNER + ">> " + "".join(f"{output}\n>> " for output in outputs)


def cannot(line):
    return f'{line}\nMall-formed Command: {line}\ncannot execute command: "{line}"'


@pytest.mark.parametrize(
    "given, shown",
    [
        ("EXIT\nlist\n", prompts() + "EXIT" + GOODBYE),
        ('read "pidlut 0\n', prompts(cannot('read "pidlut 0')) + GOODBYE),
        ("nons\x00e\xff\udcffn\x1b[3~se\n", prompts('nonsen~se\ncannot execute command: "nonsen~se"') + GOODBYE),
    ],
)
def test_session_through_a_pipe(board, given, shown):
    assert board.run("-I", input=given) == (0, shown, "")


def test_interactive_mode_is_found_anywhere_on_the_command_line(board):
    for arguments in (["--interactive"], ["read8", "-I"], ["list", "-d", "x", "--interactive"]):
        assert board.run(*arguments, input="") == (0, prompts() + GOODBYE, "")
    for arguments in (["-i"], ["--interactive=1"], ["-Ix"]):
        assert board.run(*arguments, input="").status == 255


def test_input_that_ends_inside_a_line_is_a_failure(board):
    before = board.memory()
    result = board.run("-I", input="open pidlut\nwrite pidlut 0 32bit 55")
    assert result.status == 255
    assert '"write pidlut 0 32bit 55"' in result.err
    assert board.memory() == before


def test_whatever_is_typed_the_shell_lives(board):
    chance = random.Random(7)
    words = ["open", "close", "read", "write", "readall", "writeall", "pidlut", "iplut", "0x10", "8bit", '"', "-h", "32"]
    for _ in range(60):
        noise = "".join(map(chr, (chance.randrange(256) for _ in range(20))))
        typed = "".join(chance.choice([*words, noise, " ", " ", "\n"]) for _ in range(60))
        result = board.run("-I", input=typed + "\n")
        assert (result.status, result.err) == (0, ""), repr(typed)
        assert result.out.endswith(GOODBYE), repr(typed)


def no_number(what, text):
    return f'Invalid {what}: "{text}" is not a decimal or "0x" hexadecimal number of up to 32 bits'


NOT_OPEN = "Device iplut is not open; type: open iplut\n"
USAGE = {
    "open": "open <pidlut mmap size | iplut mmap size>",
    "close": "close <pidlut | iplut>",
    "read": 'read <dev> <offset> <word count> <width>. Offset can be prefixed with "0x" for hexadecimal',
    "write": 'write <dev> <offset> <width> <Data>. Data and offset can be prefixed with "0x" for hexadecimal',
    "readall": "readall <8|16|32>",
    "writeall": "writeall <8|16|32> <WORD COUNT>",
}
REFUSED = [  # a line, and why it is refused; its command's usage follows
    ("open", "Missing argument: 0 given, 1 needed"),
    ("open pidlut 64 xx", "Too many arguments: 3 given, 2 allowed"),
    ("open scm", "Invalid dev designation: scm"),
    ("open pidlut 64k", no_number("size", "64k")),
    ("open pidlut 0 ", "Invalid size: it must be at least one byte"),
    ("close /dev/pidlut", "Invalid dev designation: /dev/pidlut"),
    ("read pidlut 0 ", "Missing argument: 2 given, 3 needed"),
    ("read pidlut -1 1 ", no_number("offset", "-1")),
    ('read pidlut 0 ""', no_number("word count", "")),
    ("write pidlut 0 8bit 256", "write cannot write data. 256 (0x100) is not a 8 bit value"),
    ("write pidlut 0 16bit 0x10000", "write cannot write data. 65536 (0x10000) is not a 16 bit value"),
    ("write pidlut 0 32bit 1z", no_number("data", "1z")),
    ("readall 8bit", 'Invalid width: "8bit" is not one of 8, 16 and 32'),
    ("writeall 32 xx", no_number("word count", "xx")),
    ("writeall 32 9 ", "Invalid word count: iplut has 8 words of 32 bits, not 9; nothing was written"),
]
SESSION = [  # lines and their answers, on a board whose memory is zero
    *((line, NOT_OPEN) for line in ["close iplut", "read iplut 0 1 ", "write iplut 0 8bit 1 "]),
    *((line, "No device is open\n") for line in ["readall 32", "writeall 32 1 "]),
    ("open pidlut 64", "Opened pidlut (/dev/zebtsif_pidlut), 64 bytes mapped\n"),
    ("open iplut 32", "Opened iplut (/dev/zebtsif_iplut), 32 bytes mapped\n"),
    *((line, f"{reason}\n{USAGE[line.split()[0]]}\n") for line, reason in REFUSED),
    *((f"{name} {word} ", f"{usage}\n") for name, usage in USAGE.items() for word in ["help", "-h", "--help"]),
    ("readall 32", "".join(f"{name} (/dev/zebtsif_{name}):\n" + "".join(
        f"0x{at:08x}:  " + 4 * "0x00000000 " + "\n" for at in range(0, words, 4)) + "\n"
        for name, words in [("pidlut", 16), ("iplut", 8)])),
    ("write pidlut 0x3 8bit 0xab", "Wrote 0xab to pidlut at 8 bit word offset 0x00000003\n"),
    ("write pidlut 4 16bit 0xffff", "Wrote 0xffff to pidlut at 16 bit word offset 0x00000004\n"),
    ("write pidlut 15 32bit 4294967295", "Wrote 0xffffffff to pidlut at 32 bit word offset 0x0000000f\n"),
    ("read pidlut 3 1 8bit", "0x00000003:  0xab \n"),
    ("read pidlut 3 2 16bit", "0x00000003:  0x0000 0xffff \n"),
    ("read pidlut 0xe 2 ", "0x0000000e:  0x00000000 0xffffffff \n"),
    ("write iplut 1 16 0x10000", "Invalid access data witdh: 16. Width defaults to 32bit\n"
     "Wrote 0x00010000 to iplut at 32 bit word offset 0x00000001\n"),
    ("read iplut 8 1 ", "Device memory Error: Cannot access device memory. Byte offset 32 and byte size 4 crosses memory "
     "segment boundary\n"),
    ("writeall 16 2 ", "Wrote 2 words of 16 bits to pidlut\nWrote 2 words of 16 bits to iplut\n"),
    ("read iplut 0 2 ", "0x00000000:  0xaaabaaaa 0x00010000 \n"),
    ("close pidlut", "Closed pidlut\n"),
    ("writeall 8 3 ", "Wrote 3 words of 8 bits to iplut\n"),
    ("read iplut 0 4 8bit", "0x00000000:  0xaa 0xab 0xac 0xaa \n"),
    # Opening again closes first, so a device that cannot be opened again is closed.
    ("open iplut 0x100000", "PCI Error: Failed mmap of 1048576 bytes (offset: 0) from device: /dev/zebtsif_iplut. \n"),
    ("close iplut", NOT_OPEN),
]  # fmt: skip


@pytest.mark.complaints("PID LUT: ", "IP LUT: ")
def test_every_command_and_refusal(board):
    for device in (PIDLUT, IPLUT):
        board.poke(device, 0, *[0] * 16)
    shown = without_places(board.run("-I", input="".join(f"{line}\n" for line, _ in SESSION)).out)
    answers = re.split(r"\n>> ", shown.removeprefix(BANNER + ">> ").removesuffix("\n>> " + GOODBYE))
    assert answers == [f"{line}\n{answer}" for line, answer in SESSION]
