"""Ctrl-C where the tool waits for somebody who does not come."""

import os
import signal

import pexpect
import pytest

from harness.board import ROUTE, TOOL, without_places

NIC = "sys/class/net/sfp"
KEY = "0F1E2D3C4B5A69788796A5B4C3D2E1F0"

# Starts a command, waits until it sleeps and would take SIGINT, and interrupts it once. Descriptor 3 holds both ends of
# $T/open without ever reading or writing; nobody has opened $T/pipe.
INTERRUPT = """
T=$(mktemp -d); trap 'rm -r $T' EXIT; mkfifo $T/pipe $T/open; exec 3<>$T/open
sleeps() {{ [[ $(grep -s ^SigCgt: /proc/$1/status) == *[2367abef] && $(</proc/$1/stat) == *') S '* ]]; }}
({start} exec {command}) & until sleeps $!; do :; done
kill -INT $!; wait $!; status=$?; echo $T; exit $status
"""
FILL = "head -c {} /dev/zero >&3;"
READ = "{ echo open pidlut; echo read pidlut 0 131072 8bit; } >$T/lines;"

WAITS = [  # what comes before, the command, its message
    ("", "imptabs -f $T/pipe", 'Unable to read file "$T/pipe": Operation canceled'),
    ("", "imptabs -f $T/open", 'Unable to read file "$T/open": Operation canceled'),
    ("", "exptabs -f $T/pipe", 'Unable to open writable file "$T/pipe": Operation canceled'),
    (FILL.format(60000), "exptabs -f $T/open", 'Unable to write file "$T/open": Operation canceled'),
    ("", "read8 -d router -c 131072 >&3", "Could not write all of the output: Operation canceled"),
    (FILL.format(65536), "nonsense 2>&3", ""),
    ("", f"wrscmkeys -e {KEY} -o - <&3", "No key was written. IOErrorr: Could not read standard input: Operation canc"),
    ("", "-I <&3", "Could not read standard input: Operation canceled"),
    (READ, "-I <$T/lines >&3", "The output could not be written: Operation canceled."),
]
ATTRIBUTES = [  # the command, the attribute in whose place there is a pipe, the message; clrcammon finds it full
    ("rmcnotlut", f"{NIC}/mcnotlut_size", "Cannot read sysfs entry: "),
    ("wrmcnotlut -m 239.0.0.1", f"{NIC}/mcnotlut", "Cannot read sysfs entry: "),
    ("rcammon -S 0", "sys/class/zebdvbci/ci_slot0:0/mon_pktcntrs", "Cannot read sysfs entry: "),
    ("clrcammon -S 0", "sys/class/zebdvbci/ci_slot0:0/mon_pidtab", "Cannot write sysfs entry: "),
    ("rscmpidlut", "sys/class/zebscm/scm/barsize", "Could not open "),
    ("tsinrate", "sys/class/zebtsif/zebtsif_pktio_rx/bytesrx", "Could not open: "),
]


@pytest.mark.parametrize("start, command, message", WAITS, ids=[row[1] for row in WAITS])
def test_ctrl_c_ends_a_wait(board, start, command, message):
    before = board.memory()
    result = board.sh(INTERRUPT.format(start=start, command=f"{TOOL} {command}"))
    assert result.status == 255
    assert message.replace("$T", result.out.splitlines()[-1]) in without_places(result.err)
    assert board.memory() == before


@pytest.mark.parametrize(
    "start, command, message",
    [
        ("", "apply - <&3", 'Unable to read file "/dev/stdin": Operation canceled'),
        ("", "patch <&3", "Could not read standard input: Operation canceled"),
        (FILL.format(65536), "--help >&3", "Could not write all of the output: Operation canceled"),
    ],
)
def test_ctrl_c_ends_a_wait_of_zeb_route(board, start, command, message):
    result = board.sh(INTERRUPT.format(start=start, command=f"{ROUTE} {command}"))
    assert result.status == 2 and result.err.startswith("zeb_route: ") and result.err.endswith(f"{message}\n")


@pytest.mark.parametrize("command, attribute, message", ATTRIBUTES, ids=[row[0] for row in ATTRIBUTES])
def test_ctrl_c_ends_the_wait_for_an_attribute(board, command, attribute, message):
    board.path(attribute).unlink()
    os.mkfifo(board.path(attribute))
    start = f"exec 4<>/{attribute}; head -c 65536 /dev/zero >&4;" if command.startswith("clr") else ""
    result = board.sh(INTERRUPT.format(start=start, command=f"{TOOL} {command}"))
    assert result.status == 255
    assert message in result.err and f"/{attribute}" in result.err


def test_dump_that_is_read_goes_on_after_ctrl_c(board):
    """It finds room for all of the rest in the pipe when it goes on: what is read is not cut off."""
    script = f"""
import fcntl, os, signal, subprocess, sys
ours, theirs = os.pipe()
tool = subprocess.Popen(["{TOOL}", "read8", "-d", "router", "-c", "131072"], stdout=theirs)
os.close(theirs)
start = os.read(ours, 1)
tool.send_signal(signal.SIGSTOP)
os.waitpid(tool.pid, os.WUNTRACED)
tool.send_signal(signal.SIGINT)
fcntl.fcntl(ours, fcntl.F_SETPIPE_SZ, 1 << 20)
tool.send_signal(signal.SIGCONT)
sys.stdout.write((start + os.fdopen(ours, "rb").read()).decode())
sys.exit(tool.wait())
"""
    result = board.execute(["/usr/bin/python3", "-c", script])
    assert (result.status, result.err) == (0, "")
    assert result.out.count("\n") == 131072 // 16 + 1


def test_keys_are_asked_for_and_not_shown(terminal):
    session = terminal("bash", "-c", f"{TOOL} wrscmkeys -O - -e - && {TOOL} rscmkeys")
    session.expect_exact("Even key, 32 hexadecimal digits (not shown): ")
    session.send(KEY + "\n")
    session.expect("^\r\nOdd initialization vector, 32 hexadecimal digits .not shown.: ")
    session.send(KEY.lower() + "\n")
    session.expect(f"^\r\nIV_EVEN: {'0' * 32}\r\nKEY_EVEN: {KEY}\r\nIV_ODD: {KEY}\r\nKEY_ODD: {'0' * 32}\r\n")
    session.expect(pexpect.EOF)


# Stops the tool at its prompt, goes on with it as a job of the shell, and ends it; tells the modes of the terminal.
END_PROMPT = """
T=$(mktemp -d); trap 'rm -r $T' EXIT; exec 9<&0; stty echo; set -m
modes() {{ stty -a <&9 | grep -oE -- ' -?(icanon|echo)\\b' | tr -d '\n'; echo; }}
at_prompt() {{
    until grep -qs . $T/pid && [[ $(</proc/$(<$T/pid)/stat) == *') S '* && $(modes) == *-echo* ]]; do :; done
    kill -$1 $(<$T/pid)
}}
at_prompt TSTP & bash -c "echo \\$\\$ >$T/pid; exec {tool}" 2>/dev/null; echo stopped$(modes)
{then}; echo status $?$(modes)
"""
GO_ON = "at_prompt {} & fg"


@pytest.mark.parametrize("command", ["wrscmkeys -o -", "-I"])
@pytest.mark.parametrize(
    "then, status",
    [(GO_ON.format(name), 128 + getattr(signal, f"SIG{name}")) for name in ("QUIT", "TERM", "HUP")]
    # A loop without a process of its own may leave the shell blind to the end of its job.
    + [("kill %%; while [[ -e /proc/$(<$T/pid) ]]; do sleep 0.01; done", 0)],
    ids=["QUIT", "TERM", "HUP", "killed while stopped"],
)
def test_terminal_is_usable_whatever_ends_a_prompt(terminal, command, then, status):
    session = terminal("bash", "-c", END_PROMPT.format(tool=f"{TOOL} {command}", then=then))
    session.expect_exact("stopped icanon echo\r\n")
    session.expect_exact(f"status {status} icanon echo\r\n")


def test_ctrl_c_at_the_prompt_for_a_key(terminal):
    session = terminal("bash", "-c", f"trap : INT; stty echo; {TOOL} wrscmkeys -e - -o -; echo status $?; stty -a")
    session.expect_exact("Even key, 32 hexadecimal digits (not shown): ")
    session.send(KEY + "\n")
    session.expect_exact("Odd key, 32 hexadecimal digits (not shown): ")
    session.sendintr()
    session.expect_exact("No key was written. IOErrorr: Could not read standard input: Operation canceled")
    session.expect_exact("status 255\r\n")
    session.expect("[ ;]echo[ ;\r]")
