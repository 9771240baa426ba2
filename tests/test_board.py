"""The launcher of the virtual board, and the state of a board that was just reset."""

import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

import pexpect
import pytest

from harness.board import BUILD, IPLUT, LAUNCHER, MODEL, PIDLUT, PKTIO, REPO, ROUTE, SCM, SIZES, SPI, TIMEOUT, TOOL
from harness.board import Result, environment, heed_hang_up, run_bare, wait_until
from harness.tables import Model


def run(*command, options=(), **further):
    return run_bare(LAUNCHER, "run", *options, "--", *command, **further)


def test_reset_state(board):
    Model().check(board)
    pid, io = board.words(PIDLUT), board.words(IPLUT)
    assert pid[8192:16384] == 4096 * [0x001FFFFF, 0xFF000FFF]  # PID LUT, both banks
    assert set(pid[:256] + pid[512:8192] + pid[24576:]) == {0}  # control, FILTER TABLE, counters
    assert set(io[:128] + io[192:256] + io[512:1024] + io[2560:]) == {0}
    assert board.words(SCM) == 1024 * [0] + 1024 * [0xFFFFFFFF] + 2048 * [0]  # PID LUT, both banks
    assert board.path("sys/class/zebscm/scm/barsize").read_text() == "16384\n"
    assert board.path("sys/class/net/sfp/mcnotlut_size").read_text() == "64\n"
    assert board.words("sys/class/net/sfp/mcnotlut") == 64 * [0]
    for slot in range(8):
        folder = f"sys/class/zebdvbci/ci_slot0:{slot}"
        assert board.path(f"{folder}/mon_size").read_text() == "32\n"
        assert board.words(f"{folder}/mon_pidtab") == 32 * [0x1FFF]
        assert board.words(f"{folder}/mon_pktcntrs") == board.words(f"{folder}/mon_errcntrs") == 32 * [0]
    assert set(board.words(PKTIO)) == {0}


def test_installed_launcher_finds_its_parts(tmp_path):
    parts = {"sbin": [TOOL, ROUTE], "libexec/zeb-virtual-board": [MODEL, SPI]}
    for folder, programs in parts.items():
        (tmp_path / folder).mkdir(parents=True)
        for program in programs:
            (tmp_path / folder / program.name).symlink_to(program)
    (tmp_path / "bin").mkdir()
    launcher = shutil.copy(LAUNCHER, tmp_path / "bin" / "zeb-virtual-board")
    command = ["sh", "-c", "command -v zeb_fpga_shell && zeb_fpga_shell rpidlut -a"]
    shown = run_bare("env", "-u", "ZEB_BUILD_DIR", launcher, "run", "--", *command)
    assert shown == (0, f"{tmp_path}/sbin/zeb_fpga_shell\n", "")


def test_ends_with_the_status_of_the_command_and_passes_everything_through():
    script = 'cat; pwd; echo "$1" "$2" >&2; exit 42'
    result = run("sh", "-c", script, "sh", "--dir", "a b", input="given\n", cwd="/usr")
    assert result == (42, "given\n/usr\n", "--dir a b\n")
    assert run("true").status == 0
    assert run("sh", "-c", "kill -KILL $$").status == 128 + 9
    assert run("/nowhere/command").status == 127
    assert run("/tmp").status == 126


def test_command_finds_the_tool_and_a_fresh_board():
    words = run("sh", "-c", "zeb_fpga_shell write32 -d tsio -v 5; zeb_fpga_shell read32 -d tsio")
    assert words == (0, "0x00000000:  0x00000005 \n", "")
    # The machine's own classes are out of sight.
    assert set(run("ls", "/sys/class").out.split()) <= {"zebtsif", "zebscm", "zebdvbci", "net"}
    assert run("zeb_fpga_shell", "read32", "-d", "tsio").out == "0x00000000:  0x00000000 \n"
    assert not os.path.exists("/dev/zebtsif_iplut")


def test_kept_board_is_found_again(tmp_path):
    options = ["--dir", tmp_path / "new" / "kept"]
    assert run("zeb_fpga_shell", "write32", "-d", "tsio", "-v", "5", options=options).status == 0
    assert run("zeb_fpga_shell", "read32", "-d", "tsio", options=options).out == "0x00000000:  0x00000005 \n"
    streams = ["zebtsif_pktio_rx", *(f"zebtsif_pktio_tx{channel}" for channel in range(4))]
    others = ["zebtsif_complaints", "zebtsif_messages", "zebtsif_outputs"]
    kept = tmp_path / "new" / "kept"
    assert sorted(os.listdir(kept / "dev")) == sorted([*SIZES, *streams, *others])
    (kept / "dev" / PIDLUT).unlink()
    attribute = kept / "sys/class/zebscm/scm/barsize"
    attribute.write_text("8192")
    relative = run("zeb_fpga_shell", "read32", "-d", "tsio", options=["--dir=kept"], cwd=tmp_path / "new")
    assert relative.out == "0x00000000:  0x00000005 \n"
    assert (kept / "dev" / PIDLUT).stat().st_size == SIZES[PIDLUT] and attribute.read_text() == "8192"


def to_nowhere(file):
    file.symlink_to("/nix")


UNUSABLE = {  # what is in the way in the board's folder, and the complaint
    "": (lambda folder: (folder.rmdir(), folder.write_text("")), "Cannot make folder {0}: Not a directory"),
    ".": (lambda folder: (folder.rmdir(), to_nowhere(folder)), "Cannot make folder {0}: "),
    "letter": (lambda file: file.write_text(""), "{folder} holds other things and no board; a new or an empty folder"),
    "dev/zebtsif_pidlut": (lambda file: file.write_bytes(b"12345"), "{0} has 5 bytes, the device has 131072"),
    "dev/zebtsif_iplut": (lambda file: file.mkdir(), "{0} is not a regular file"),
    "dev/zebtsif_pktio_rx": (to_nowhere, "{0} is a link that leads nowhere"),
    "dev/zebtsif_mine": (to_nowhere, "{0} is a link that leads nowhere"),
    "board.lock": (to_nowhere, "Cannot open {0}: Too many levels of symbolic links"),
    "sys/class/zebscm/scm/barsize": (to_nowhere, "{0} is not a regular file; it cannot be an attribute"),
    "sys/class/zebtsif/zebtsif_pktio_rx/bytesrx": (to_nowhere, "{0} is not a regular file; it cannot be an attribute"),
}


@pytest.mark.parametrize("name", UNUSABLE)
def test_unusable_folder(tmp_path, name):
    prepare, complaint = UNUSABLE[name]
    folder = tmp_path / "board"
    file = folder / name
    (folder if name == "letter" else folder / "dev" / "zebtsif_outputs" if name.strip(".") else folder).mkdir(parents=True)
    file.parent.mkdir(parents=True, exist_ok=True)
    prepare(file)
    result = run("echo", "ran", options=["--dir", folder])
    assert result[:2] == (125, "")
    assert complaint.format(file, folder=folder) in result.err
    assert not os.path.exists("/nix")


def test_usage():
    for line in ["--help", "run --help", "shell -h", "status --dir x --help"]:
        assert run_bare(LAUNCHER, *line.split()).out.startswith("Runs commands on a virtual board")
    bad = ["run", "run --", "run --dir", "run --feed tuner0", "run --network true", "shell true", "status x", "status"]
    for line in ["", "walk", *bad, "status --dir /nowhere", "status --net"]:
        result = run_bare(LAUNCHER, *line.split())
        assert result[:2] == (125, ""), line
        assert result.err.startswith("board: ") and result.err.count("\n") == 1, line
    for line, reason in [("", "no folder"), ("-x", 'incomplete option "-x"'), ("--feed a= /", "--feed a=: expected PORT=")]:
        result = run_bare(MODEL, *line.split())
        assert result.status == 125 and reason in result.err and "\nusage: zeb_virtual_board " in result.err


@pytest.mark.parametrize(
    "bwrap, options, message",
    [
        (None, [], "board: bubblewrap is not installed; run: scripts/setup-packages board\n"),
        ("echo 'bwrap: No permissions' >&2; exit 1", [], "bwrap: No permissions\nboard: no sandbox: "),
        ("", ["--net"], "board: iproute2 is not installed; run: scripts/setup-packages board\n"),
    ],
)
def test_what_the_launcher_needs_is_missing(tmp_path, bwrap, options, message):
    """With little in the PATH but a bubblewrap of our own or none."""
    for program in ["bash", "dirname", "realpath"]:
        (tmp_path / program).symlink_to(shutil.which(program))
    if bwrap is not None:
        (tmp_path / "bwrap").write_text(f"#!/bin/bash\n{bwrap}\n")
        (tmp_path / "bwrap").chmod(0o755)
    script = f"PATH={tmp_path} exec bash {LAUNCHER} run {' '.join(options)} true"
    result = run_bare("bash", "-c", script)
    assert result.status == 125 and result.err.startswith(message)
    assert os.geteuid() != 0 or "other than root" not in result.err


def processes_with(mark):
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/cmdline", "rb") as cmdline:
                # Empty for a process that only waits to be reaped. Another run of the tests has a mark of its own.
                if re.search(rf"\b{re.escape(mark)}\b".encode(), cmdline.read()):
                    found.append(int(pid))
        except OSError:
            pass
    return found


def assert_soon_gone(mark):
    wait_until(lambda: not processes_with(mark))
    assert processes_with(mark) == []


@pytest.mark.parametrize(
    "end, options",
    [(signal.SIGKILL, []), (signal.SIGTERM, []), (signal.SIGHUP, []), (signal.SIGKILL, ["--net"])],
    ids=["kill", "term", "hang-up", "kill with network"],
)
def test_nothing_is_left_when_the_launcher_is_killed(end, options, tmp_path):
    mark = f"9{os.getpid()}.{int(end)}"
    script = f"sleep {mark} & echo started; exec sleep {mark}"
    launcher = subprocess.Popen(
        [LAUNCHER, "run", *options, "--", "sh", "-c", script],
        stdout=subprocess.PIPE,
        env={**environment(), "TMPDIR": str(tmp_path)},
        preexec_fn=heed_hang_up,
    )
    assert launcher.stdout.readline() == b"started\n"
    assert processes_with(mark)
    launcher.send_signal(end)
    launcher.wait(TIMEOUT)
    assert_soon_gone(mark)
    assert os.listdir(tmp_path) == []
    launcher.stdout.close()


def test_background_processes_end_with_the_command():
    mark = f"8{os.getpid()}.5"
    assert run("sh", "-c", f"sleep {mark} >/dev/null 2>&1 & exit 3").status == 3
    assert_soon_gone(mark)


@pytest.mark.parametrize("trap, status", [("echo caught; exit 5", 5), ("-", 128 + signal.SIGINT)])
def test_ctrl_c_is_for_the_command(terminal, trap, status):
    session = terminal("sh", "-c", f'trap "{trap}" INT; echo ready; sleep 60 & wait')
    session.expect_exact("ready")
    session.sendintr()
    session.expect(pexpect.EOF)
    session.close()
    assert session.exitstatus == status


def test_shell_on_a_board(tmp_path):
    folder = tmp_path / "board"
    session = pexpect.spawn(str(LAUNCHER), ["shell", "--dir", str(folder)], env=environment(), encoding="utf-8", timeout=TIMEOUT)
    prompt = r"board:[^\r\n]*[$#] "
    session.expect(prompt)
    session.sendline("zeb_fpga_shell read32 -d pktio")
    session.expect_exact("0x00000000:  0x00000000 \r\n")
    session.expect(prompt)
    session.sendline("sh -c 'echo re''ady; exec sleep 60'")
    session.expect_exact("ready\r\n")  # what the command says, not what was typed
    session.sendintr()
    session.expect(prompt)
    session.send("echo one li")
    session.expect_exact("echo one li")
    os.truncate(folder / "dev" / PKTIO, 0)
    wait_until(lambda: "was cut short" in run_bare(LAUNCHER, "status", "--dir", folder, complaints=True).out)
    session.sendline("ne")
    session.expect(r"^ne\r\n(\x1b\S+\r)?one line\r\n")  # nothing came between
    session.expect(r"\(1 new in /dev/zebtsif_messages, the last: .*virtual board: .* was cut short .*\)\r\n")
    session.expect(prompt)
    session.sendline(f"{LAUNCHER} status")
    session.expect("a board runs in .*pts/.* shell.*1 messages in .*20..-..-.. ..:..:.. virtual board: .* was cut short")
    session.expect(prompt)
    session.sendline("exit 4")
    session.expect(pexpect.EOF)
    session.close()
    assert session.exitstatus == 4


class Visit:
    """A user of a kept board, who does what it is asked to until it leaves."""

    def __init__(self, folder, *options, launcher=(LAUNCHER,)):
        self.mark = f"visitor{os.getpid()}.{time.monotonic_ns()}"
        script = 'echo; while read -r line; do eval "$line"; done'
        self.process = subprocess.Popen(
            [*launcher, "run", "--dir", folder, *options, "--", "bash", "-c", script, self.mark],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            env=environment(),
            cwd="/",
        )
        assert self.process.stdout.readline() == "\n"

    def ask(self, command):
        print(command, file=self.process.stdin, flush=True)
        return self.process.stdout.readline()

    def end(self, command=""):
        """Returns how it ended, by itself or by this command."""
        out, error = self.process.communicate(command, timeout=TIMEOUT)
        return Result(self.process.returncode, out, error)

    def line(self):
        """The processes from the launcher down to the command."""
        found = [self.process.pid]
        while children := Path(f"/proc/{found[-1]}/task/{found[-1]}/children").read_text().split():
            found.append(int(children[-1]))  # who started the board has that as a child as well
        return found


def check_shared_board(folder, *options, launcher=(LAUNCHER,)):
    def status():
        return run_bare(*launcher, "status", "--dir", folder, cwd="/")

    first, second = [Visit(folder, *options, launcher=launcher) for _ in range(2)]
    assert first.ask("zeb_fpga_shell write32 -d tsio -v 5 -r") == "0x00000000:  0x00000005 \n"
    assert second.ask("zeb_fpga_shell read32 -d tsio") == "0x00000000:  0x00000005 \n"
    network = first.ask("readlink /proc/self/ns/net")
    assert network == second.ask("readlink /proc/self/ns/net")
    assert (network.strip() == os.readlink("/proc/self/ns/net")) == (not options)
    assert first.mark in status().out and second.mark in status().out and " ".join(options) in status().out
    refused = run_bare(*launcher, "run", "--dir", folder, "--fast", *options, "--", "true", cwd="/")
    assert refused[:2] == (125, "") and f"a board runs in {folder} already, without --fast; " in refused.err
    assert first.end("exit 4\n") == (4, "", "")
    assert second.ask("zeb_fpga_shell read32 -d tsio") == "0x00000000:  0x00000005 \n"
    assert first.mark not in status().out and second.mark in status().out
    assert second.end() == (0, "", "")
    assert status() == (1, f"no board runs in {folder}\nno messages in {folder}/dev/zebtsif_messages\n", "")
    assert not (folder / "board.socket").exists()


@pytest.mark.parametrize("options", [[], ["--net"]], ids=["", "net"])
def test_users_share_a_board_that_ends_with_the_last(tmp_path, options):
    check_shared_board(tmp_path / "board", *options)


def model_of(folder):
    return int(re.search(r", process (\d+)", run_bare(LAUNCHER, "status", "--dir", folder).out)[1])


def sandbox_of_model(folder):
    return int(re.search(r"PPid:\s*(\d+)", Path(f"/proc/{model_of(folder)}/status").read_text())[1])


# Whose end it is to be, and whether that is the end of the user who came first, and of the one who came later.
VICTIMS = {
    "launcher": (lambda first, folder: first.line()[0], True, False),
    "place at the board": (lambda first, folder: first.line()[1], True, False),
    "sandbox": (lambda first, folder: first.line()[2], True, False),
    "first process in the sandbox": (lambda first, folder: first.line()[3], True, False),
    "SPI": (lambda first, folder: first.line()[4], True, False),
    "command": (lambda first, folder: first.line()[5], True, False),
    "sandbox of the model": (lambda first, folder: sandbox_of_model(folder), False, False),
    "model": (lambda first, folder: model_of(folder), True, True),
}


@pytest.mark.parametrize("victim", VICTIMS)
def test_who_is_killed_leaves_nothing_and_harms_no_other(tmp_path, victim):
    process, *ends = VICTIMS[victim]
    folder = tmp_path / f"board{os.getpid()}.{list(VICTIMS).index(victim)}"
    visits = [Visit(folder, "--net") for _ in range(2)]
    os.kill(process(visits[0], folder), signal.SIGKILL)
    for visit, ended in zip(visits, ends):
        if ended:
            visit.process.wait(TIMEOUT)
            assert_soon_gone(visit.mark)
            wait_until(lambda: visit.mark not in run_bare(LAUNCHER, "status", "--dir", folder).out)
    for visit, ended in zip(visits, ends):
        if not ended:
            assert visit.ask("zeb_fpga_shell read32 -d tsio") == "0x00000000:  0x00000000 \n"
        result = visit.end()
        assert (result.status == 0) == (not ended) and (victim != "model" or result.status == 125)
        assert (f"the board in {folder} has ended, and the command with it" in result.err) == (victim == "model")
    assert_soon_gone(folder.name)
    assert sorted(os.listdir(folder)) == ["board.lock", "dev", "spi", "sys"]


def test_bridge_to_the_network_of_this_machine(tmp_path):
    """Which is one of the test's own: nothing leaves the machine."""
    own_network = ["unshare", *([] if os.geteuid() == 0 else ["-Ur"]), "-n"]
    on_board = """
        zeb_fpga_shell wriplut -t 9 -i 239.1.1.1 -p 1234; zeb_fpga_shell wripoutmap -t 3 -i 239.2.2.2 -p 5000
        zeb_fpga_shell wropidmap -P 2 -t 3 -p 0x200; zeb_fpga_shell wrpidlut -t 9 -p 0x100 -P 2 -O; echo; read -r _
    """
    script = """
        coproc exec "$0" run --bridge --dir "$1" -- bash -c "$2"
        read -r _ <&${COPROC[0]}
        ffmpeg -v error -re -f lavfi -i testsrc2=size=352x288:rate=25 -c:v mpeg2video -g 12 -muxrate 2M -f mpegts \
            'udp://239.1.1.1:1234?pkt_size=1316&localaddr=169.254.18.1' </dev/null &
        timeout 60 ffprobe -v fatal -probesize 50000 -analyzeduration 200000 -show_entries stream=codec_name,id -of csv=p=0 \
            'udp://239.2.2.2:5000?localaddr=169.254.18.1' </dev/null
        kill $!; exec {COPROC[1]}>&-; wait $COPROC_PID; while ip link show zeb0 2>/dev/null; do :; done
    """
    result = run_bare(*own_network, "bash", "-c", script, LAUNCHER, tmp_path / "board", on_board)
    assert result.out.split() == ["mpeg2video,0x200,"]
    assert result.err == "board: on this machine its groups are on device zeb0, address 169.254.18.1\n"


def test_boards_are_strangers_to_each_other():
    write_and_wait = "zeb_fpga_shell write32 -d tsio -v 1; echo; read -r _; zeb_fpga_shell read32 -d tsio"
    first = subprocess.Popen(
        [LAUNCHER, "run", "sh", "-c", write_and_wait],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        text=True,
        env=environment(),
    )
    assert first.stdout.readline() == "\n"
    second = run("sh", "-c", "zeb_fpga_shell read32 -d tsio; zeb_fpga_shell write32 -d tsio -v 2")
    assert second.out == "0x00000000:  0x00000000 \n"
    assert first.communicate("go\n", timeout=TIMEOUT)[0] == "0x00000000:  0x00000001 \n"


NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]


@pytest.mark.skipif(os.geteuid() != 0, reason="not root: all tests run unprivileged already")
def test_unprivileged_user():
    """A copy that everyone may read, since the working tree may lie in root's own folder."""
    view = ["bwrap", "--bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--unshare-pid", "--"]
    if run_bare(*NOBODY, *view, "true", cwd="/").status != 0:
        pytest.skip("this machine lets nobody but root make a sandbox")
    folder = Path(tempfile.mkdtemp())
    try:
        folder.chmod(0o755)
        for source in [LAUNCHER, TOOL, ROUTE, MODEL, SPI]:
            copy = folder / (source.relative_to(REPO) if source == LAUNCHER else "build/dev" / source.relative_to(BUILD))
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
        board = [*NOBODY, "env", "-u", "ZEB_BUILD_DIR", f"{folder}/scripts/board", "run"]
        result = run_bare(*board, "sh", "-c", "id -u; zeb_fpga_shell write32 -d tsio -v 3 -r", cwd="/")
        assert result == (0, "65534\n0x00000000:  0x00000003 \n", "")
        network = run_bare(*board, "--net", "cut", "-sf1-3", "/proc/net/route", cwd="/")
        assert network == (0, "Iface\tDestination\tGateway \nlo\t000000E0\t00000000\n", "")
        spi = ["spiwrite", "-s", "fpga", "-d", "/dev/spidev0.0", "-v", "4", "-r", "--force"]
        assert run_bare(*board, "zeb_fpga_shell", *spi, cwd="/") == (0, "0x00000000:  0x00000004 \n", "")
        (folder / "own").mkdir()
        os.chown(folder / "own", 65534, 65534)
        check_shared_board(folder / "own", "--net", launcher=board[:-1])
        assert "--bridge needs root" in run_bare(*board, "--bridge", "true", cwd="/").err
        refused = run_bare(*board, "--dir", f"{folder}/forbidden", "true", cwd="/")
        assert refused.status == 125 and "Permission denied" in refused.err
    finally:
        shutil.rmtree(folder)
