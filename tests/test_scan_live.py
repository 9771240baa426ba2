"""zeb_route scan on a live board, and services: what is found, and that nobody on air notices."""

import json
import random
import re
import time

import pytest

from harness import ts
from harness.board import PIDLUT, rounds, wait_until

ROUTING = """\
output 3 modulator0
output 4 modulator1
output 5 modulator2
filter 12 count 1
route 9:0x0100 to 3
route 9:0x0101 to 4:0x0201 cpu/12
route 9:0x0102 to drop
route 9:* to 5
"""
# Whatever runs beside the sender, and then: the status of the last of it.
BESIDE = """set -m # so that the sender heeds an interrupt from the first
    zeb_fpga_shell wrtspackets -q -C 1 -i 9 -l -f {stream} >/dev/null & sender=$!
    set +m
    trap 'status=$?; exec 2>/dev/null; kill -INT $sender; wait $sender; exit $status' EXIT
    {commands}"""

# After the start of a scan: waits until its rows are there.
LISTENING = "until zeb_route check | grep -q scan-rows || ! kill -0 $!; do :; done"
RECEIVED = "sys/class/zebtsif/zebtsif_pktio_rx/bytesrx"


@pytest.fixture(scope="module")
def stream(tmp_path_factory):
    """Services 1 and 2, and 3, which has the picture of 2 and the sound of 1."""
    extra = ["-program", "title=P2:st=2:st=1"]
    return ts.make(tmp_path_factory.mktemp("scan") / "three.ts", seconds=2, programs=2, extra=extra)


@pytest.fixture
def routed(board, tmp_path):
    (tmp_path / "routing").write_text(ROUTING)
    assert board.route("apply", tmp_path / "routing").status == 0
    return board


@pytest.fixture
def beside(routed, stream):
    """Runs commands while the stream comes in. Nothing of what a sender leaves comes later."""

    def is_quiet():
        counter = routed.words(PIDLUT, 1024 + 9, 1)
        time.sleep(0.03)
        return routed.words(PIDLUT, 1024 + 9, 1) == counter

    def run(commands):
        done = routed.sh(BESIDE.format(stream=stream, commands=commands))
        wait_until(is_quiet)
        return done

    return run


def rows(board):
    return board.route("show", "--rows").out


def pids_of(part):
    """Everything in a scan's document that tells of a PID."""
    if isinstance(part, dict):
        if "percent" in part:
            yield part
        part = list(part.values())
    for inner in part if isinstance(part, list) else []:
        yield from pids_of(inner)


def named_in(document):
    """What a scan says apart from what was counted and heard."""
    for pid in pids_of(document):
        for key in ("packets", "bits_per_second", "percent", "to", "heard"):
            pid.pop(key)
    return document


def test_a_scan_finds_what_is_in_the_stream_and_where_it_goes(routed, beside, stream):
    before = rows(routed)
    done = beside("zeb_route scan 9 --time 500 --json")
    assert (done.status, done.err) == (0, ""), done
    assert rows(routed) == before
    found = json.loads(done.out)
    pids = {pid["pid"]: pid for pid in pids_of(found)}
    assert 98 < sum(pid["percent"] or 0 for pid in pids.values()) < 102
    assert pids[0x100]["to"] == ["3 (modulator0)"] and pids[0x101]["to"] == ["4:0x0201 (modulator1)", "cpu/12"]
    assert pids[0x102]["to"] == [] and pids[0x103]["to"] == pids[8191]["to"] == ["5 (modulator2)"]
    assert named_in(found) == named_in(json.loads(routed.route("scan", "--file", stream, "--json").out))


def routes(sign, *ways):
    return "".join(f"{sign}route 9:{pid} to {tso}\n" for pid, tsos in ways for tso in tsos)


def test_a_service_is_one_word_for_its_routes(routed, beside):
    """One PID of it has gone by a route of its own, the others by that of the rest."""
    assert routed.route("patch", input="-route 9:0x102\n+route 9:0x102 to 6\n").status == 0
    before = rows(routed)
    added = routes("+", ("0x0102", "7"), ("0x0103", "57"), ("0x1001", "57"))
    note = "# note: what went by 9:* still goes there, too\n"
    assert beside("zeb_route add --time 10000 --dry-run service 9:2 to 7").out.startswith(added + note)
    assert rows(routed) == before
    done = beside("for job in add add del; do zeb_route $job service --time 10000 9:2 to 7; done; zeb_route del service 9:2")
    taken = routes("-", ("0x0102", "7"), ("0x0103", "7"), ("0x1001", "7"))
    rest = routes("-", ("0x0102", "6"), ("0x0103", "5"), ("0x1001", "5"))
    written = re.sub(r"# \d+ rows? written, 1 table switched, \d+ ms", "# done", done.out)
    assert written == f"{added}{note}# done\n# nothing to change\n{taken}# done\n{rest}# done\n", done


def test_what_another_service_shares_stays(routed, beside):
    assert routed.route("del", "route", "9:0x102").status == 0
    done = beside("for job in 'add service 9:2' 'add service 9:3' 'del service 9:2'; do zeb_route $job to 7 --time 10000; done")
    note = "# note: 9:0x0102 stays where it goes: service 3 needs it there\n# "
    assert routes("-", ("0x0103", "7"), ("0x1001", "7")) + note in done.out, done


@pytest.mark.parametrize(
    "command, err",
    [
        ("scan 256", "256"),
        ("add service 9:1", "expected to and where the service goes"),
        ("add service 9 to 3", "a TSI and the number of a service, as 9:1001"),
        ("add service 9:1 to 3:0x200", "the PIDs of a service go as they are"),
        ("add service 9:7 to 3 --time 1000", "TSI 9 has no service 7; it has 1, 2"),
        ("add service 8:1 to 3 --time 100", "no PAT came from TSI 8 within 100 ms"),
        ("del service 9:1 to 7 --time 10000", "none of its PIDs is routed there"),
        ("scan 9 --backup /nosuch/file", "/nosuch/file"),
    ],
)
def test_what_cannot_be_is_said_and_nothing_stays(routed, beside, command, err):
    before = rows(routed)
    done = beside(f"zeb_route {command}")
    assert (done.status, done.out) == (2, "") and err in done.err, done
    assert rows(routed) == before


@pytest.mark.parametrize("signal", ["INT", "HUP", "TERM", "QUIT", "TSTP"])
def test_nothing_of_a_scan_stays_when_it_is_stopped(routed, beside, signal):
    before = rows(routed)
    done = beside(f"zeb_route scan 9 --time 100 & {LISTENING}; kill -{signal} $!; wait $!")
    assert done.status in (0, 1) and done.err == "", done
    assert ("were not listened to" in done.out) == (signal != "TSTP"), done
    assert rows(routed) == before


@pytest.mark.parametrize("next", ["scan 9 --time 100", "patch", "apply backup"])
def test_what_a_killed_scan_has_left_goes_with_the_next_scan_or_change(routed, beside, tmp_path, next):
    before = rows(routed)
    (tmp_path / "patch").write_text("-filter 12\n+filter 12 count 1\n")
    beside(f"cd {tmp_path}; zeb_route scan --backup backup 9 >/dev/null & {LISTENING}; kill -9 $!; wait $!")
    assert "filter 251 61\nfilter 252 61\nfilter 253 1\nfilter 254 1\n".replace("filter", "filttab") in rows(routed)
    done = beside(f"cd {tmp_path}; zeb_route {next} <patch")
    assert rows(routed) == before, done


def test_a_scan_and_a_capture_exclude_each_other(beside, tmp_path):
    done = beside(f"""zeb_route scan 9 --time 200 >/dev/null & scan=$!; {LISTENING}
        zeb_fpga_shell rdtspackets -c 0; wait $scan || exit
        zeb_fpga_shell rdtspackets -c 0 -f {tmp_path}/captured & until [[ -s {tmp_path}/captured ]]; do :; done
        zeb_route scan 9; kill -INT $!; wait $!""")
    assert done.err.count("in use by process") == 2 and done.status == 0, done


def test_no_packet_on_air_notices_scans_and_killed_scans(board, tmp_path):
    mbit, count = 30, 60_000
    own = {pid: (3 + pid % 2, pid + 0x100) for pid in range(0x100, 0x10A)}  # the others go with the rest
    routing = "route 8:* to 5\n" + "".join(f"output {tso} modulator{tso}\n" for tso in (3, 4, 5))
    routing += "".join(f"route 8:{pid} to {tso}:{new_pid}\n" for pid, (tso, new_pid) in own.items())
    (tmp_path / "busy").write_text(routing)
    assert board.route("apply", tmp_path / "busy").status == 0
    before = rows(board)
    packets = ts.made_up(count, pids=range(0x100, 0x114), ticks=27 * ts.TS * 8 // mbit)
    sent = [ts.starting(packet) if number % 400 < 20 else packet for number, packet in enumerate(packets)]
    (tmp_path / "sent.ts").write_bytes(ts.join(sent))

    bytes_before = int(board.path(RECEIVED).read_text())
    delays = " ".join(f"{random.uniform(0, 0.3):.3f}" for _ in range(rounds(10)))
    done = board.sh(f"""zeb_fpga_shell wrtspackets -q -C 1 -i 8 -f {tmp_path}/sent.ts >/dev/null & sender=$!
        for delay in {delays}; do zeb_route scan --time 100 8 >/dev/null & sleep $delay; kill -9 $!; done
        while kill -0 $sender 2>/dev/null; do zeb_route scan 8 --time 100 >/dev/null; [[ $? -lt 2 ]] || exit; done
        wait $sender""")
    assert done.status == 0, done
    assert rows(board) == before
    came = {3: [], 4: [], 5: []}
    for packet in sent:
        tso, new_pid = own.get(packet.pid, (5, packet.pid))
        came[tso].append(ts.with_pid(packet, new_pid))
    for tso, wanted in came.items():
        assert board.output(f"modulator{tso}", len(wanted)) == ts.join(wanted), tso
    board.settle()
    seconds = count * ts.TS * 8 / (mbit * 1e6)
    assert 0 < (int(board.path(RECEIVED).read_text()) - bytes_before) * 8 / seconds < 2e6
