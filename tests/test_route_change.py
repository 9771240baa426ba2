"""zeb_route apply, patch, add and del: a board that changes while it is in use."""

import random
import re
import sys
from pathlib import Path

import pytest

from harness import ts
from harness.board import wait_until

CONFIRM = Path(__file__).with_name("harness") / "confirm.py"
ONE = """\
input 9 239.1.1.1:1234
output 3 modulator0
output 4 modulator1
filter 12 count 20
route 9:0x0100 to 3
route 9:0x0101 to 3:0x0201 4
route 9:0x0102 to 4 cpu/12
route 9:* to 4
list 17 to 3:0x0300
"""
OTHER = """\
output 3 modulator0
output 4 modulator1
output 5 239.2.2.2:5000 rtp off
route 9:0x0100 to 3
route 9:0x0101 to 4:0x0301 cpu
route 9:* to 3:0x0400 5
route 9:0x0104 to drop
"""


@pytest.fixture
def routed(board, tmp_path):
    """A board that routes as ONE, with both texts as files in the folder."""
    (tmp_path / "one").write_text(ONE)
    (tmp_path / "other").write_text(OTHER)
    assert board.route("apply", tmp_path / "one").status == 0
    return board


def test_apply_makes_the_board_route_as_the_source_and_then_changes_nothing(routed, tmp_path):
    before = routed.memory()
    changes = routed.route("diff", "live", tmp_path / "other").out
    planned = routed.route("apply", "--dry-run", tmp_path / "other")
    assert planned.out.startswith(changes) and "one switch before the TSI MAP changes\n" in planned.out
    assert routed.memory() == before

    done = routed.route("apply", "--backup", tmp_path / "backup", tmp_path / "other")
    assert re.fullmatch(re.escape(changes) + r"# \d+ rows written, 3 tables switched, \d+ ms\n", done.out), done
    assert (done.status, routed.route("show").out) == (0, routed.route("show", tmp_path / "other").out)
    before = routed.memory()
    assert routed.route("apply", tmp_path / "other") == (0, "# nothing to change\n", "")
    assert routed.memory() == before

    assert routed.run("imptabs", "-f", tmp_path / "backup").status == 0
    assert routed.route("diff", tmp_path / "one").out == "-filter 12 count 20\n"  # which no image holds


def test_patch_of_a_difference_is_an_apply(routed, tmp_path):
    changes = routed.route("diff", "live", tmp_path / "other").out
    assert routed.route("patch", input=changes).out.startswith(changes)
    assert routed.route("diff", tmp_path / "other") == (0, "", "")


def test_one_statement_is_added_and_taken_away(routed):
    assert routed.route("add", "route", "9:0x100", "to", "4:0x200").out.startswith("+route 9:0x0100 to 4:0x0200\n# ")
    assert routed.route("add", "route", "9:0x100", "to", "3").out == "# nothing to change\n"
    assert routed.route("del", "route", "9:0x100", "to", "3").out.startswith("-route 9:0x0100 to 3\n# ")
    done = routed.route("del", "route", "9:0x101")
    assert done.out.startswith("-route 9:0x0101 to 3:0x0201\n-route 9:0x0101 to 4\n# ")
    for key in ("input 9", "output 3", "filter 12", "list 17"):
        assert routed.route("del", *key.split()).out.startswith(f"-{key} "), key
    assert routed.route("show").out == "output 4 modulator1\nroute 9:0x0100 to 4:0x0200\nroute 9:0x0102 to 4 cpu/12\nroute 9:* to 4\n"


@pytest.mark.parametrize(
    "command, input, err",
    [
        ("del output 7", "", "output 7 cannot be taken away: it is not there"),
        ("del route 9:0x100 to 4", "", "route 9:0x0100 to 4 cannot be taken away: it is not there"),
        ("add route 9:0x100 to drop", "", "contradicts what is there and stays; what is dropped goes nowhere else"),
        ("add", "", "STATEMENT is required"),
        ("add route 9:0x100", "", 'expected "to" and where the packets go, but the line ends'),
        ("patch", "+route 9:1 to 5\n+rout 9:2 to 5\n-list 18\n", '-:2: expected "input"'),
        ("patch", "+route 9:1 to 5\n# why\n\nroute 9:2 to 5\n", '-:4: expected "-" or "+" and a statement'),
        ("patch", "+filter 9 unit\n+filter 9 count 3\n", "-:2: filter 9: contradicts line 1"),
        ("patch", "+route 9:1 to 5\n" * 50000 + "+route\n", "-:50001: expected"),
        ("patch /nosuch", "", "/nosuch"),
        ("apply live", "", "a file or - is expected"),
        ("apply --confirm 5 -", OTHER, "there is none"),
        ("apply --confirm 5 --dry-run -", OTHER, "--dry-run"),
        ("apply --backup /nosuch/file -", OTHER, "/nosuch/file"),
        ("apply -", "".join(f"route {n % 9}:{n} to drop\n" for n in range(2049)), "the PID LUT has 2048 rows"),
    ],
)
def test_what_is_wrong_is_said_and_nothing_written(routed, command, input, err):
    before = routed.memory()
    done = routed.route(*command.split(), input=input)
    assert (done.status, done.out) == (2, "") and err in done.err, done
    assert routed.memory() == before


@pytest.mark.parametrize(
    "action, seconds, status",
    [("yes\n", 100, 0), ("Y\n", 100, 0), ("no\n", 100, 1), ("\n", 100, 1), (r"\4", 100, 1), ("", 1, 1), ("HUP", 100, 1),
     ("INT", 100, 1), ("TERM", 100, 1), ("QUIT", 100, 1), ("TSTP", 1, 1), ("close", 100, 1), ("kill", 100, 1)],
)  # fmt: skip
def test_what_is_not_confirmed_is_taken_back(routed, tmp_path, action, seconds, status):
    done = routed.execute(
        [sys.executable, CONFIRM, action, "apply", "--confirm", seconds, "--backup", tmp_path / "b", tmp_path / "other"]
    )
    assert done.status == status, done
    assert routed.route("diff", tmp_path / ("one" if status else "other")) == (0, "", "")


def test_packets_whose_route_stays_are_not_harmed(routed, tmp_path):
    sent = ts.made_up(6000, pids=(0x100, 0x103, 0x1FFF), ticks=2700)  # 0.6 s, and none to the processor
    (tmp_path / "sent.ts").write_bytes(ts.join(sent))
    script = f"""cd {tmp_path}; zeb_fpga_shell wrtspackets -q -C 1 -i 9 -f sent.ts >/dev/null & sender=$!
        while kill -0 $sender 2>/dev/null; do zeb_route apply other && zeb_route apply one || exit; done >/dev/null
        wait $sender"""
    assert routed.sh(script) == (0, "", "")
    stays = [packet for packet in sent if packet.pid == 0x100]

    def came():
        return [packet for packet in ts.packets_of(routed.output("modulator0", 1)) if packet.pid == 0x100]

    wait_until(lambda: len(came()) >= len(stays))
    routed.settle()
    assert came() == stays


def test_the_same_command_completes_what_was_killed(routed, tmp_path):
    for _ in range(15):
        for wanted in ("other", "one"):
            delay = random.uniform(0, 0.008)
            script = f"cd {tmp_path}; zeb_route apply {wanted} & sleep {delay:.4f}; kill -9 $!; wait; zeb_route apply {wanted}"
            assert routed.sh(script).status == 0
            assert routed.route("diff", tmp_path / wanted) == (0, "", ""), delay


def test_no_edit_of_two_programs_is_lost(board):
    script = """for i in {1..15}; do
            zeb_route add route 9:$i to 3 >/dev/null || exit & zeb_fpga_shell wrpidlut -t 8 -p $i -C -f 255 || exit &
        done; wait"""
    assert board.sh(script) == (0, "", "")
    assert board.route("show").out.splitlines() == [
        *(f"route 8:0x{i:04x} to cpu" for i in range(1, 16)),
        *(f"route 9:0x{i:04x} to 3" for i in range(1, 16)),
    ]


def test_a_board_in_use_is_waited_for_as_long_as_told(board):
    script = "exec 9</dev/zebtsif_iplut; flock 9; zeb_route add --wait 0 route 9:1 to 3 9<&-"
    done = board.sh(script)
    assert done.status == 2 and "/dev/zebtsif_iplut is in use by" in done.err.replace("was in use", "is in use"), done
