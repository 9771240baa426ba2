"""The launcher of the virtual board, and the state of a board that was just reset."""

import os
import re
import shutil
import signal
import subprocess
import tempfile
from pathlib import Path

import pexpect
import pytest

from harness.board import BUILD, IPLUT, LAUNCHER, MODEL, PIDLUT, PKTIO, REPO, ROUTE, SCM, SIZES, SPI, TIMEOUT, TOOL
from harness.board import environment, heed_hang_up, run_bare, wait_until
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
    port = board.words(PKTIO)
    assert port[32] == 1  # the port can take a packet
    assert set(port[:32] + port[33:]) == {0}


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
    others = ["zebtsif_complaints", "zebtsif_outputs"]
    kept = tmp_path / "new" / "kept"
    assert sorted(os.listdir(kept / "dev")) == sorted([*SIZES, *streams, *others])
    (kept / "dev" / PIDLUT).unlink()
    attribute = kept / "sys/class/zebscm/scm/barsize"
    attribute.write_text("8192")
    relative = run("zeb_fpga_shell", "read32", "-d", "tsio", options=["--dir=kept"], cwd=tmp_path / "new")
    assert relative.out == "0x00000000:  0x00000005 \n"
    assert (kept / "dev" / PIDLUT).stat().st_size == SIZES[PIDLUT] and attribute.read_text() == "8192"


UNUSABLE = {  # what is in the way, and the complaint
    "a file": (lambda folder: folder.write_text(""), "Cannot make folder {0}/dev: Not a directory"),
    "dev/zebtsif_pidlut": (lambda file: file.write_bytes(b"12345"), "{0} has 5 bytes, the device has 131072"),
    "dev/zebtsif_iplut": (lambda file: file.mkdir(), "{0} is not a regular file"),
    "sys/class/zebscm/scm/barsize": (lambda file: file.symlink_to("/nix"), "{0} is not a regular file; it cannot be an"),
}


@pytest.mark.parametrize("name", UNUSABLE)
def test_unusable_folder(tmp_path, name):
    prepare, complaint = UNUSABLE[name]
    (tmp_path / name).parent.mkdir(parents=True, exist_ok=True)
    prepare(tmp_path / name)
    result = run("echo", "ran", options=["--dir", tmp_path / "a file" if name == "a file" else tmp_path])
    assert result[:2] == (125, "")
    assert complaint.format(tmp_path / name) in result.err


def test_usage():
    assert run_bare(LAUNCHER, "--help").out.startswith("Runs commands on a virtual board")
    for line in ["", "walk", "run", "run --", "run --dir", "run --feed tuner0", "run --network true", "shell true"]:
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


def test_shell_on_a_board():
    session = pexpect.spawn(str(LAUNCHER), ["shell"], env=environment(), encoding="utf-8", timeout=TIMEOUT)
    prompt = r"board:[^\r\n]*[$#] "
    session.expect(prompt)
    session.sendline("zeb_fpga_shell read32 -d pktio")
    session.expect_exact("0x00000000:  0x00000000 \r\n")
    session.expect(prompt)
    session.sendline("sh -c 'echo re''ady; exec sleep 60'")
    session.expect_exact("ready\r\n")  # what the command says, not what was typed
    session.sendintr()
    session.expect(prompt)
    session.sendline("exit 4")
    session.expect(pexpect.EOF)
    session.close()
    assert session.exitstatus == 4


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
        refused = run_bare(*board, "--dir", f"{folder}/forbidden", "true", cwd="/")
        assert refused.status == 125 and "Permission denied" in refused.err
    finally:
        shutil.rmtree(folder)
