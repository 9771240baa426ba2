"""zeb_route: the same routing from the board, from images, statements and JSON, and what is said of it."""

import json

import pytest

from harness import ts
from harness.board import BUILD

EDITS = [
    "wriplut -t 9 -i 239.1.1.1 -p 1234",
    "wrphyimap -p 0 -t 4",
    "wripoutmap -t 3 -i 239.2.2.2 -p 5000 -r",
    "wrphyomap -t 3 -p 0",
    "wrfilttab -f 12 -n 20",
    "wropidmap -P 7 -t 3 -p 0x200 -N 8",
    "wropidmap -P 8 -t 4",
    "wrpidlut -t 9 -p 0x100 -P 7 -O -C -f 12",
    "wropidmap -P 9 -t 5",
    "wrtsimap -t 9 -P 9",
    "wropidmap -P 17 -t 3 -p 0x200 -N 18",
    "wropidmap -P 18 -t 4",
]
SHOWN = """\
input 4 tuner0
input 9 239.1.1.1:1234
output 3 239.2.2.2:5000 rtp
output 3 modulator0
filter 12 count 20
route 9:0x0100 to 3:0x0200 4 cpu/12
route 9:* to 5
list 17 to 3:0x0200 4
"""


@pytest.fixture
def routed(board):
    """A board on which each table is in use."""
    done = board.sh("\n".join(f"zeb_fpga_shell {edit} 2>/dev/null || exit 1" for edit in EDITS))
    assert done == (0, "", "")
    return board


def test_every_form_of_a_routing_says_the_same(routed, tmp_path):
    assert routed.route("show") == (0, SHOWN, "")
    document = routed.route("show", "--json")
    assert json.loads(document.out)["routes"] == [
        {"tsi": 9, "pid": 256, "to": [{"tso": 3, "pid": 512}, {"tso": 4}, {"cpu": 12}]},
        {"tsi": 9, "pid": None, "to": [{"tso": 5}]},
    ]
    (tmp_path / "routing.json").write_text(document.out)
    (tmp_path / "routing.txt").write_text("# by hand\n\n" + SHOWN.replace("0x0", "0x"))
    assert routed.run("exptabs", "-f", tmp_path / "routing.bin").status == 0
    for name in ("routing.json", "routing.txt", "routing.bin"):
        assert routed.route("diff", tmp_path / name) == (0, "", ""), name
        assert routed.route("diff", "-", "live", input=SHOWN) == (0, "", "")


def test_rows_are_exact(routed):
    assert routed.route("show", "--rows").out == (
        "iplut 239.1.1.1:1234 tsi 9\n"
        "physin 0 tsi 4\n"
        "ipout 3 239.2.2.2:5000 mac 01:00:5e:02:02:02 rtp on\n"
        "physout 3 port 0\n"
        "filttab 12 20\n"
        "pidlut 9:0x0100 pididx 7 out cpu filter 12\n"
        "tsimap 9 pididx 9\n"
        "opidmap 7 tso 3 pid 0x0200 next 8\n"
        "opidmap 8 tso 4 next 0\n"
        "opidmap 9 tso 5 next 0\n"
        "opidmap 17 tso 3 pid 0x0200 next 18\n"
        "opidmap 18 tso 4 next 0\n"
    )


def test_difference_is_a_destination_a_line_and_a_status(routed):
    wanted = SHOWN.replace("3:0x0200 4 cpu/12", "3:0x0300 4 cpu").replace("input 4 tuner0\n", "")
    done = routed.route("diff", "live", "-", input=wanted)
    assert done.out == (
        "-input 4 tuner0\n-route 9:0x0100 to 3:0x0200\n-route 9:0x0100 to cpu/12\n"
        "+route 9:0x0100 to 3:0x0300\n+route 9:0x0100 to cpu\n"
    )
    assert done.status == 1
    document = json.loads(routed.route("diff", "live", "-", "--json", input=wanted).out)
    assert document["removed"]["inputs"] == [{"tsi": 4, "phys": "tuner0"}] and document["added"]["inputs"] == []
    rows = routed.route("diff", "live", "-", "--rows", input=SHOWN.replace("tuner0", "tuner1"))
    assert rows.status == 1 and "-physin 0 tsi 4\n" in rows.out and "+physin 1 tsi 4\n" in rows.out


def test_trace_forward_backward_and_check(routed):
    done = routed.route("trace", "9:0x100", "--json")
    assert json.loads(done.out) == {
        "tsi": 9,
        "pid": 256,
        "inputs": ["239.1.1.1:1234"],
        "by": "pidlut",
        "to": [
            {"tso": 3, "pid": 512, "outputs": ["239.2.2.2:5000", "modulator0"]},
            {"tso": 4, "pid": 256, "outputs": []},
            {"cpu": 12},
        ],
        "dropped": None,
    }
    assert routed.route("trace", "9:0x0fff").status == 0
    lost = routed.route("trace", "8:1")
    assert lost.status == 1 and lost.out.splitlines()[-1].startswith("dropped: ")
    assert json.loads(routed.route("trace", "--to", "3:0x200", "--json").out) == {
        "tso": 3,
        "pid": 512,
        "from": [{"tsi": 9, "pid": 256, "as": 512, "inputs": ["239.1.1.1:1234"]}],
    }
    assert routed.route("trace", "--to", "77") == (1, "", "")

    found = routed.route("check")
    assert found.status == 1
    assert [line.split(":")[0] for line in found.out.splitlines()] == ["no-output", "no-output"]
    assert [finding["code"] for finding in json.loads(routed.route("check", "--json").out)] == ["no-output", "no-output"]
    assert routed.route("graph").out.startswith("digraph ")


@pytest.mark.parametrize(
    "args, input, err",
    [
        ([], None, "a command is expected"),
        (["shwo"], None, 'unknown command "shwo", did you mean "show"?'),
        (["show", "--jsno"], None, "--jsno"),
        (["show", "--json", "--rows"], None, "--json"),
        (["show", "/nosuch"], None, "/nosuch"),
        (["diff", "-", "-"], "", "only one of the two sources can be standard input"),
        (["trace"], None, "trace needs TSI:PID or --to"),
        (["trace", "9:0x2000"], None, "8191"),
        (["trace", "--to", "256"], None, "255"),
        (["show", "-"], "route 9:1 to 3\nroutr 9:2 to 4\n", '-:2: '),
        (["show", "-"], "{ \"routes\": 3 }", "-"),
        (["rates", "--interval", "0"], None, "--interval"),
    ],
)
def test_what_is_wrong_is_said_and_nothing_printed(board, args, input, err):
    done = board.route(*args, input=input)
    assert (done.status, done.out) == (2, "")
    assert all(line.startswith("zeb_route: ") for line in done.err.splitlines()) and err in done.err, done.err


@pytest.mark.parametrize("place, reason", [("/dev/full", "No space left on device"), ("&-", "Bad file descriptor")])
def test_lost_output_is_told_with_the_reason(board, place, reason):
    done = board.sh(f"zeb_route --help >{place}")
    assert done.status == 2 and done.err.endswith(f"Could not write all of the output: {reason}\n")


def test_wrong_statements_are_told_all_at_once_with_their_lines(board):
    source = "routr 9:1 to 3\nroute 9:1 to 3:9999\ninput 9 tuner0\ninput 8 tuner0\nroute 9:4 to drop 5\n" + "what\n" * 30
    lines = board.route("show", "-", input=source).err.splitlines()
    assert len(lines) == 20
    assert lines[0].startswith('zeb_route: -:1: ') and '"route"' in lines[0]
    assert lines[1].startswith("zeb_route: -:2: ") and "8191" in lines[1]


def test_rates_name_what_they_measure_and_end_early_on_ctrl_c(routed, tmp_path):
    film = ts.make(tmp_path / "film.ts", seconds=2)
    done = routed.sh(
        f"""zeb_fpga_shell wrtspackets -f {film} -i 9 -l -q >/dev/null & sender=$!
        until zeb_route rates --interval 100 | grep -q .; do :; done
        zeb_route rates --interval 300
        zeb_route rates --interval 300 --json
        zeb_route rates --interval 300 --prometheus
        timeout --preserve-status -s INT 1 zeb_route rates --interval 600000; echo $?
        kill -INT $sender; wait"""
    )
    lines = done.out.splitlines()
    assert lines[0].startswith("input 9: ") and lines[0].endswith("bit/s 239.1.1.1:1234"), done
    document = json.loads(next(line for line in lines if line.startswith("{")))
    assert document["inputs"][0]["tsi"] == 9 and document["inputs"][0]["bits_per_second"] > 0
    assert document["inputs"][0]["names"] == ["239.1.1.1:1234"]
    assert 'zeb_input_bits_per_second{tsi="4",names="tuner0"} 0' in lines
    assert lines[-2].startswith("output 5: ") and lines[-1] == "0"
    routed.settle()  # what was sent has gone its way
    routed.reset_packet_port()


@pytest.mark.parametrize(
    "line, words",
    [
        ("tr", ["trace"]),
        ("show --", ["--json", "--rows", "--help"]),
        ("trace 9", ["9:0x0100", "9:*"]),
        ("trace 9:0x", ["0x0100"]),  # what stands before the colon is bash's other word
        ("trace --to ", ["3", "4", "5"]),
        ("trace 9:0x100 l", ["live", "list.txt"]),
        ("diff li", ["live", "list.txt"]),
        ("rates --interval ", []),
        ("del route 9:0x0100 to ", ["3", "4", "5", "cpu", "drop"]),
    ],
)
def test_completion_offers_what_the_board_has(routed, tmp_path, line, words):
    (tmp_path / "list.txt").touch()
    script = f"""
        cd {tmp_path}; set -f; . {BUILD}/util/zeb_route/reference/completion.bash
        COMP_LINE='zeb_route {line}' COMP_POINT=${{#COMP_LINE}} COMP_WORDBREAKS=' :='
        COMP_POINT=${{#COMP_LINE}}; read -ra COMP_WORDS <<<"$COMP_LINE"
        [[ $COMP_LINE == *' ' ]] && COMP_WORDS+=('')
        COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1))
        _zeb_route; printf '%s\n' "${{COMPREPLY[@]}}" """
    assert routed.sh(script).out.split() == words
