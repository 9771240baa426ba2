"""Interactive mode, typed at a terminal as a person does, and fed through a pipe."""

import random
import re

import pexpect
import pytest

from harness.board import TOOL

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
    for line in [r"close \(ZEB FPGA command module\) ---.*", r"exit \(shell\) ---Exit the shell.", r"list \(shell\) ---List .*"]:
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
