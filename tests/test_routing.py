"""Streams through the virtual board: from every kind of input, by the tables, to every kind of output."""

import ipaddress
import json
import os
import random
import re
import struct
import subprocess
import sys
import time
from pathlib import Path

import pytest

from harness import ts
from harness.board import IPLUT, LAUNCHER, PIDLUT, TIMEOUT, environment, run_bare, wait_until

TRAFFIC = Path(__file__).with_name("harness") / "traffic.py"


def program(board, *commands):
    """Runs commands of the tool, one a line."""
    result = board.sh("set -e\n" + "\n".join(f"zeb_fpga_shell {command}" for command in commands))
    assert (result.status, result.err) == (0, "")


def write(path, packets):
    path.write_bytes(ts.join(packets))
    return path


def only(packets, pid, new_pid=None):
    """The packets of a PID, as they are after its rewriting."""
    return [ts.with_pid(packet, new_pid or pid) for packet in packets if packet.pid == pid]


# --- Transfers, and physical outputs ---------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "designator, tables, expected",
    [
        ("-i 5", ["wrpidlut -t 5 -p 0x100 -P 7 -O"], lambda sent: only(sent, 0x100, 0x321)),
        ("-i 5", ["wrtsimap -t 5 -P 7"], lambda sent: [ts.with_pid(packet, 0x321) for packet in sent]),
        ("-i 5", ["wrtsimap -t 5 -P 7", "wrpidlut -t 5 -p 0x100 -P 9 -O", "wrpidlut -t 5 -p 0x101 -P 7 -C -f 0"],
         lambda sent: only(sent, 0x1FFF, 0x321)),
        ("-P 7", [], lambda sent: [ts.with_pid(packet, 0x321) for packet in sent]),
        ("-o 3", [], lambda sent: sent),
    ],
    ids=["PID LUT", "TSI MAP", "PID LUT before TSI MAP", "PIDIDX", "TSO"],
)  # fmt: skip
def test_every_designator_enters_at_its_table(board, tmp_path, designator, tables, expected):
    sent = ts.made_up(300)
    program(board, "wropidmap -P 7 -t 3 -p 0x321 -N 8", "wropidmap -P 8 -t 4", "wrphyomap -t 3 -p 0",
            "wrphyomap -t 4 -p 15", *tables)  # fmt: skip
    program(board, f"wrtspackets -q -C 1 {designator} -f {write(tmp_path / 'sent.ts', sent)} >/dev/null")
    expected = expected(sent)
    assert ts.packets_of(board.output("modulator0", len(expected))) == expected
    if designator != "-o 3":  # the list's second row has no new PID
        copies = [packet.data[4:] for packet in ts.packets_of(board.output("modulator15", len(expected)))]
        assert copies == [packet.data[4:] for packet in expected]
    taken = [len(sent) if designator == "-i 5" else 0]
    wait_until(lambda: board.words(PIDLUT, 1024 + 5, 1) == taken)  # packets that go nowhere may follow the last
    assert board.words(PIDLUT, 1024 + 5, 1) == taken
    assert board.words(PIDLUT, 1280 + 3, 1) == [len(expected)]


def test_cam_monitor_counts_watched_pids_and_their_errors(board, tmp_path):
    sent = ts.made_up(300)
    missing, repeated = (index for index in (30, 60))  # both of PID 0x100
    faulty = sent[:missing] + sent[missing + 1 : repeated + 1] + sent[repeated:]
    program(board, "wrphyomap -t 3 -p 18", "wrcammon -S 2 -p 0x100", "wrcammon -S 2 -p 0x102")
    before = board.run("rcammon", "-S", 2).out
    assert before.count("PKT_CNT:0x00000(000000), ERR_CNT:0x00000(000000)") == 2
    program(board, f"wrtspackets -q -o 3 -f {write(tmp_path / 'sent.ts', faulty)} >/dev/null")
    assert ts.packets_of(board.output("cam2", 300)) == faulty
    counted = (
        "00: PID:0x0100(0256), PKT_CNT:0x00064(000100), ERR_CNT:0x00001(000001)\n"
        "01: PID:0x0102(0258), PKT_CNT:0x00000(000000), ERR_CNT:0x00000(000000)\n"
    )
    wait_until(lambda: board.run("rcammon", "-S", 2).out == counted)
    assert board.run("rcammon", "-S", 2).out == counted


def test_what_goes_through_cam_and_scrambler_comes_back(board, tmp_path):
    """From TSI 5 through cam0, TSI 6 and scm7 to modulator0. A packet without payload is never scrambled."""
    sent = ts.made_up(300)
    sent[30] = ts.Packet(sent[30].data[:3] + b"\x20\xb7\0" + sent[30].data[6:])
    program(board, "wrtsimap -t 5 -P 1", "wropidmap -P 1 -t 1", "wrphyomap -t 1 -p 16", "wrphyimap -p 16 -t 6",
            "wrtsimap -t 6 -P 2", "wropidmap -P 2 -t 2", "wrphyomap -t 2 -p 31", "wrphyimap -p 31 -t 7",
            "wrtsimap -t 7 -P 3", "wropidmap -P 3 -t 3", "wrphyomap -t 3 -p 0",
            "wrscmpidlut -s 7 -p 0x100 -k 4", "wrscmpidlut -s 7 -p 0x101 -k 63", "wrscmpidlut -s 0 -p 0x101 -k 2",
            f"wrtspackets -q -i 5 -f {write(tmp_path / 'sent.ts', sent)} >/dev/null")  # fmt: skip
    marks = {0x100: 0x80, 0x101: 0xC0, 0x1FFF: 0}
    expected = [packet.data[3] | (marks[packet.pid] if packet.has_payload else 0) for packet in sent]
    came = ts.packets_of(board.output("modulator0", len(sent)))
    assert [packet.data[3] for packet in came] == expected
    assert [packet.data[:3] + packet.data[4:] for packet in came] == [p.data[:3] + p.data[4:] for p in sent]
    assert board.output("cam0", len(sent)) == board.output("scm7", len(sent)) == ts.join(sent)


def segment(packets, spacing, header=5):
    """A segment for a TX DMA channel, remainder 0."""
    records = b"".join(struct.pack(">I", header) + packet.data for packet in packets)
    return struct.pack(">II56x", spacing, 0) + records


def test_late_data_is_an_underrun_and_no_complaint(board, tmp_path):
    underruns = board.path("sys/class/zebtsif/zebtsif_pktio_tx2/underruns")
    before = int(underruns.read_text())
    # Short enough for a pipe to take both segments at once.
    (tmp_path / "one").write_bytes(segment(ts.made_up(10), 2700))
    (tmp_path / "two").write_bytes(2 * segment(ts.made_up(10), 2700))
    channel = "/dev/zebtsif_pktio_tx2"
    all_gone = "until [[ $(zeb_fpga_shell read32 -d router -o 1029) == *0x0000000a* ]]; do sleep 0.01; done"
    assert board.sh(f"cd {tmp_path}; (cat one; {all_gone}; cat two) > {channel}").status == 0
    wait_until(lambda: board.words(PIDLUT, 1024 + 5, 1) == [30])
    board.settle()  # it knows that this sender has ended
    assert board.sh(f"cat {tmp_path}/one > {channel}").status == 0
    wait_until(lambda: board.words(PIDLUT, 1024 + 5, 1) == [40])
    wait_until(lambda: int(underruns.read_text()) > before)
    assert int(underruns.read_text()) == before + 1


# --- Physical inputs -------------------------------------------------------------------------------------------------

ROUTE_TUNER = """
    zeb_fpga_shell wrtsimap -t 4 -P 7; zeb_fpga_shell wropidmap -P 7 -t 3
    zeb_fpga_shell wrphyomap -t 3 -p 1; zeb_fpga_shell wrphyimap -p 32 -t 4
"""


def feed(folder, file, script, *options):
    """Runs a script on a board whose tuner16 is fed; returns what left through modulator1."""
    argv = [LAUNCHER, "run", "--dir", folder, "--feed", f"tuner16={file}", *options, "--", "bash", "-c"]
    result = run_bare(*argv, ROUTE_TUNER + script)
    assert result == (0, "", "")
    return ts.packets_of((folder / "dev/zebtsif_outputs/modulator1.ts").read_bytes())


def until_left(packets):
    """Waits until this many packets have left."""
    size = f"$(stat -c %s /dev/zebtsif_outputs/modulator1.ts 2>/dev/null)"
    return f"until [[ {size} -ge {packets * ts.TS} ]]; do sleep 0.01; done"


def test_fast_feed_goes_once_and_whole(tmp_path):
    sent = ts.made_up(20000)
    assert feed(tmp_path / "board", write(tmp_path / "a=b.ts", sent), until_left(len(sent)), "--fast") == sent


@pytest.mark.parametrize("ticks, speed", [(2700, 1), (54000, 20)])
def test_paced_feed_loops_without_a_seam(tmp_path, ticks, speed):
    sent = ts.made_up(2998, ticks=ticks)  # 0.3 s, or 6 s that take as long
    begun = time.monotonic()
    came = feed(tmp_path / "board", write(tmp_path / "sent.ts", sent), until_left(6000), "--speed", str(speed))
    seconds, due = time.monotonic() - begun, 27e6 / ticks * speed
    assert 6000 <= len(came) < seconds * due + 10, "some were not due yet"
    assert seconds < 6000 / due * 20, "time does not run faster"
    start = sent.index(next(packet for packet in sent if packet.data[-170:] == came[0].data[-170:]))
    assert [packet.data[-170:] for packet in came] == [
        sent[(start + index) % len(sent)].data[-170:] for index in range(len(came))
    ]
    for pid in (0x100, 0x101):
        counters = [packet.continuity for packet in came if packet.pid == pid]
        assert all((after - before) % 16 == 1 for before, after in zip(counters, counters[1:]))
    pcrs = [(index, packet.pcr) for index, packet in enumerate(came) if packet.pcr is not None]
    for (index, pcr), (next_index, next_pcr) in zip(pcrs, pcrs[1:]):
        assert abs(next_pcr - pcr - ticks * (next_index - index)) < ticks


def test_speed_that_cannot_be_held_is_told(tmp_path):
    script = "until [ -s /dev/zebtsif_complaints ]; do sleep 0.01; done; head -n 1 /dev/zebtsif_complaints"
    feeding = ["--feed", f"tuner0={write(tmp_path / 'sent.ts', ts.made_up(2998, ticks=27))}", "--speed", "10000"]
    result = run_bare(LAUNCHER, "run", *feeding, "--", "sh", "-c", script, complaints=True)
    held = re.fullmatch(r"speed 10000 cannot be held: a feed ran at (\d+\.\d\d)\n", result.out)[1]
    assert 0 < float(held) < 10000


@pytest.mark.parametrize(
    "argument, message",
    [
        ("tuner0={tmp}/none.ts", "Cannot open {tmp}/none.ts: No such file or directory"),
        ("tuner0={tmp}/text", "{tmp}/text cannot be fed: TS streaming read error: The input is not a transport stream"),
        ("tuner0={tmp}/empty", "{tmp}/empty"),
        ("tuner0={tmp}/pipe", "{tmp}/pipe cannot be fed: it is not a file"),
        ("tuner22={tmp}/text", "unknown input \"tuner22\"; expected one of cam0, cam1, "),
        ("scm0={tmp}/text --feed scm0={tmp}/text", "scm0 is fed already"),
        ("scm0={tmp}/text --speed 0", "--speed 0: expected a number from 0.01 to 10000"),
    ],
)
def test_unusable_feed(tmp_path, argument, message):
    (tmp_path / "text").write_text("text\n" * 1000)
    (tmp_path / "empty").touch()
    os.mkfifo(tmp_path / "pipe")
    result = run_bare(LAUNCHER, "run", "--feed", *argument.format(tmp=tmp_path).split(), "--", "echo", "ran")
    assert result[:2] == (125, "")
    assert message.format(tmp=tmp_path) in result.err


# --- Networks --------------------------------------------------------------------------------------------------------

GROUP_IN, GROUP_OUT = ["239.1.1.1", 1234], ["239.2.2.2", 5000]
ROUTE_NETWORK = ["wriplut -t 9 -i 239.1.1.1 -p 1234", "wrpidlut -t 9 -p 0x100 -P 7 -O", "wropidmap -P 7 -t 3 -p 0x200"]


def joined(board):
    """The groups that the board receives, as the IP LUT writes them."""
    sockets = re.findall(r"^ *\d+: ([0-9A-F]{8}):([0-9A-F]{4}) ", board.sh("cat /proc/net/udp").out, re.MULTILINE)
    groups = {(ipaddress.ip_address(bytes.fromhex(ip)[::-1]), int(port, 16)) for ip, port in sockets}
    return {f"IP:{ip}, UDP_PORT:{port:05}" for ip, port in groups if ip.is_multicast}


def exchange(board, folder, send, packets):
    """Sends datagrams, ((group, port), bytes), from which `packets` must come; returns what came to GROUP_OUT."""
    wanted = {row.split(" ", 2)[2].split(", TSIIDX")[0] for row in board.run("riplut", "-a").out.splitlines()}
    wait_until(lambda: joined(board) == wanted)
    task = {
        "send": [[group, port, data.hex()] for (group, port), data in send],
        "receive": [GROUP_OUT],
        "packets": [packets],
        "patience": TIMEOUT / 2,
        "quiet": 0.1,
    }
    (folder / "task").write_text(json.dumps(task))
    result = board.execute([sys.executable, TRAFFIC, folder / "task"])
    assert (result.status, result.err) == (0, "")
    return [bytes.fromhex(datagram) for datagram in json.loads(result.out)[0]]


def datagrams_of(packets, head=b"", tail=b""):
    return [head + ts.join(packets[at : at + 7]) + tail for at in range(0, len(packets), 7)]


def rtp(flags, more=b""):
    return bytes([0x80 | flags, 33]) + bytes(10) + more


IN_KINDS = {
    "plain": {},
    "rtp": {"head": rtp(0)},
    "rtp with everything": {
        "head": rtp(0x32, bytes(8) + b"\x12\x34\x00\x03" + 12 * b"\x47"),  # two sources, an extension, padding
        "tail": b"\0\0\0\x04",
    },
}


@pytest.mark.parametrize("out", ["", "-r"], ids=["plain out", "rtp out"])
@pytest.mark.parametrize("kind", IN_KINDS)
def test_multicast_in_and_out(net_board, tmp_path, kind, out):
    sent = ts.made_up(310)
    program(net_board, *ROUTE_NETWORK, f"wripoutmap -t 3 -i 239.2.2.2 -p 5000 {out}")
    send = [(GROUP_IN, datagram) for datagram in datagrams_of(sent, **IN_KINDS[kind])]
    expected = only(sent, 0x100, 0x200)
    came = exchange(net_board, tmp_path, send, len(expected))
    size = 12 if out else 0
    assert b"".join(datagram[size:] for datagram in came) == ts.join(expected)
    # Fewer only when the next packets were late.
    assert max(len(datagram) for datagram in came) == size + 7 * ts.TS
    if out:
        heads = [struct.unpack(">BBHII", datagram[:12]) for datagram in came]
        assert {head[:2] + head[4:] for head in heads} == {(0x80, 33, heads[0][4])}
        assert [head[2] for head in heads] == [(heads[0][2] + index) % 65536 for index in range(len(came))]
        assert all((after[3] - before[3]) % 2**32 < 2**31 for before, after in zip(heads, heads[1:]))  # never back


def test_groups_follow_the_active_table(net_board, tmp_path):
    """Moved, removed, and with a neighbour that differs in the port alone."""
    made = ts.made_up(210, pids=[0x100])
    streams = [made[:70], made[70:140], made[140:]]
    program(net_board, *ROUTE_NETWORK, "wripoutmap -t 3 -i 239.2.2.2 -p 5000")
    addresses = [GROUP_IN, ["239.1.1.1", 1235], ["239.1.1.2", 1234]]
    send = [(address, data) for address, sent in zip(addresses, streams) for data in datagrams_of(sent)]
    for command, heard in [
        ("wriplut -t 9 -i 239.1.1.1 -p 1235", 1),
        ("wriplut -t 9 -i 239.1.1.2 -p 1234", 2),
        ("wriplut -t 8 -i 239.1.1.1 -p 1234", 2),
        ("clriplut", None),
    ]:
        program(net_board, command)
        expected = [] if heard is None else streams[heard]
        came = exchange(net_board, tmp_path, send, len(expected))
        assert b"".join(came) == ts.join(only(expected, 0x100, 0x200)), command


def test_part_of_an_ip_lut_is_gone_with_its_writer(net_board):
    """One that is killed before the switch. Meanwhile it reads back what it wrote, and the board uses the other bank."""
    program(net_board, ROUTE_NETWORK[0], "wriplut -t 8 -i 239.1.1.9 -p 7")
    before, heard = net_board.words(IPLUT), joined(net_board)
    result = net_board.sh("exec 9<>/dev/zebtsif_iplut; zeb_fpga_shell write32 -d tsio -o 2050 -v 0xEF000001; "
                          "zeb_fpga_shell read32 -d tsio -o 2050; cat /proc/net/udp; kill -9 $$")  # fmt: skip
    assert result.status == -9 and "0xEF000001" in result.out.upper().replace("X", "x")
    wait_until(lambda: net_board.words(IPLUT) == before)
    assert net_board.words(IPLUT) == before and joined(net_board) == heard


def test_datagrams_without_ts_are_reported_and_dropped(net_board, tmp_path):
    sent = ts.made_up(70, pids=[0x100])
    program(net_board, *ROUTE_NETWORK, "wripoutmap -t 3 -i 239.2.2.2 -p 5000")
    good = datagrams_of(sent)[0]
    bad = [b"", b"text", good[:-1], good + b"\0", rtp(0) + good[1:], rtp(0x10, b"\0\0\xff\xff") + good,
           rtp(0x20) + good + b"\xff", rtp(0x0F), bytes(188)]  # fmt: skip
    send = [(GROUP_IN, datagram) for wrong in bad for datagram in (good, wrong)]
    begun = time.monotonic()
    came = exchange(net_board, tmp_path, send, len(bad) * 7)
    assert b"".join(came) == len(bad) * ts.join(only(sent[:7], 0x100, 0x200))
    complaints = net_board.new_complaints()
    assert 1 <= len(complaints) <= time.monotonic() - begun + 1  # one a second at most
    assert complaints[0] == "1 datagrams to 239.1.1.1:1234 are not a transport stream; the last has 0 bytes"


def test_the_network_is_the_boards_own(net_board, tmp_path):
    devices = net_board.sh("cut -d: -sf1 /proc/net/dev | tr -d ' '").out.split()
    assert "lo" in devices and "eth0" not in devices
    program(net_board, *ROUTE_NETWORK, "wripoutmap -t 3 -i 239.2.2.2 -p 5000")
    script = f"{' && '.join('zeb_fpga_shell ' + command for command in ROUTE_NETWORK)} && echo ready && read -r _"
    other = subprocess.Popen([LAUNCHER, "run", "--net", "bash", "-c", script], stdin=subprocess.PIPE,
                             stdout=subprocess.PIPE, env=environment())  # fmt: skip
    assert other.stdout.readline() == b"ready\n"
    sent = ts.made_up(70, pids=[0x100])
    came = exchange(net_board, tmp_path, [(GROUP_IN, data) for data in datagrams_of(sent)], len(sent))
    assert b"".join(came) == ts.join(only(sent, 0x100, 0x200))  # once, not twice
    other.communicate(b"\n", timeout=TIMEOUT)
    assert other.returncode == 0


# --- What real hardware would choke on -------------------------------------------------------------------------------


def poke_pid_lut(*rows):
    return lambda board: (board.poke(PIDLUT, 12288, *sum(rows, ())), board.poke(PIDLUT, 129, 1))


def poke_ip_lut(*rows):
    # A table out of order is gone once the device is closed without the switch of the bank.
    return lambda board: board.poke_at_once(IPLUT, (2048, sum(rows, ())), (0, (1,)))


def transfer(data):
    return lambda board: board.sh("cat > /dev/zebtsif_pktio_tx2", input=data.decode("utf-8", "surrogateescape"))


def send_to(designator, *commands):
    def act(board):
        program(board, *commands)
        name = board.folder / "complaint.ts"
        program(board, f"wrtspackets -q {designator} -f {write(name, ts.made_up(20))} >/dev/null")

    return act


@pytest.mark.parametrize(
    "act, complaint",
    [
        (poke_pid_lut((0xA100, 0), (0x6100, 0)), "PID LUT: row 1 of the active bank is not in order"),
        (poke_pid_lut((0x6100, 0), (0x6100, 0)), "PID LUT: row 1 of the active bank has the same key as the row before it"),
        (poke_ip_lut((0xEF000002, 0x01050050), (0xEF000001, 0x01060050)), "IP LUT: row 1 of the active bank is not in"),
        (poke_ip_lut((0xEF000001, 0x01050050), (0xEF000001, 0x01060050)), "IP LUT: row 1 of the active bank has the same key"),
        (poke_ip_lut((0x0A000001, 0x01050050)), "IP LUT: 10.0.0.1:80 of TSI 5 is not a multicast group"),
        (transfer(b"0" * 200), "TX channel 2: 200 bytes were neither segment head nor packet record"),
        (transfer(b"\0\0\0\0\x47"), "TX channel 2: the sender ended inside a transfer; its last 5 bytes are dropped"),
        (transfer(segment(2 * ts.made_up(1), 0, header=2 << 30)), "a packet with the unknown designator 0x80000000"),
        (lambda board: board.sh("cp /dev/null /dev/zebtsif_pktio_dbg"), "/dev/zebtsif_pktio_dbg was cut short under the"),
        (lambda board: os.truncate(board.path(IPLUT), 0), "/dev/zebtsif_iplut was cut short under the board; what was cut"),
        (send_to("-P 7", "wropidmap -P 7 -t 3 -N 8", "wropidmap -P 8 -t 3 -N 7"), "the replication list from PIDIDX 7 loops"),
        (send_to("-i 5", "wrtsimap -t 5 -P 7", "wropidmap -P 7 -t 3", "wrphyomap -t 3 -p 18", "wrphyimap -p 18 -t 5"),
         "packets go round and round through CAMs and scramblers; they are dropped after 10 passes"),
        (send_to("-o 3", "write32 -d tsio -o 259 -v 0x11b"), "a stream is mapped to PHYOIDX 27, where the board has no output"),
        (send_to("-o 3", "write32 -d tsio -o 1038 -v 0x0a000001", "write32 -d tsio -o 1039 -v 0x20050"),
         "TSO 3 is sent to 10.0.0.1, which is not a multicast group"),
    ],
    ids=lambda value: value if isinstance(value, str) else "",
)  # fmt: skip
def test_the_board_complains_and_goes_on(net_board, tmp_path, act, complaint):
    act(net_board)
    net_board.expect_complaints(complaint)
    net_board.reset()
    program(net_board, "wrphyomap -t 7 -p 2")
    sent = ts.made_up(20)
    program(net_board, f"wrtspackets -q -C 2 -o 7 -f {write(tmp_path / 'sent.ts', sent)} >/dev/null")
    assert ts.packets_of(net_board.output("modulator2", 20)) == sent


def test_device_that_is_replaced_is_told():
    script = "mv /dev/zebtsif_iplut /dev/moved; until [ -s /dev/zebtsif_complaints ]; do sleep 0.01; done"
    result = run_bare(LAUNCHER, "run", "--", "sh", "-c", script, complaints=True)
    assert result.err == ("virtual board: /dev/zebtsif_iplut was removed or replaced under the board, which works on "
                          "with the old one until it ends\n")  # fmt: skip


# --- Tables that change under traffic --------------------------------------------------------------------------------

SWITCHES = """
    zeb_fpga_shell wrtspackets -q -l -i 5 -C 3 -f {stream} > {summary} & sender=$!
    end=$((SECONDS + {seconds})) edits=0 imports=0
    while (( SECONDS < end || edits < 20 )); do
        zeb_fpga_shell imptabs -f {one} && zeb_fpga_shell imptabs -f {other} && (( imports += 2 )) || exit 1
        for round in 1 2 3 4 5; do
            zeb_fpga_shell wrpidlut -t 2 -p $round -P 3 -O && zeb_fpga_shell wrpidlut -t 5 -p 0x100 -P 20 -O -f 255 &&
                zeb_fpga_shell wrpidlut -t 2 -p $round -c && zeb_fpga_shell wrpidlut -t 5 -p 0x100 -P 10 -O -f 255 &&
                (( edits += 4 )) || exit 1
        done
    done
    kill -INT $sender; wait $sender && echo $edits $imports
"""


def test_no_packet_is_routed_by_a_half_written_table(board, tmp_path):
    """Whatever the tables are at a moment, TSI 5 PID 0x100 leaves as 0x200 or 0x300, once and in order; all else of the
    stream goes to another output by the TSI MAP."""
    stream = write(tmp_path / "stream.ts", ts.made_up(4998, ticks=5400))  # 7.5 Mbit/s
    program(board, "wrphyomap -t 3 -p 0", "wrphyomap -t 4 -p 1", "wrtsimap -t 5 -P 30", "wropidmap -P 30 -t 4",
            "wropidmap -P 10 -t 3 -p 0x200", "wropidmap -P 20 -t 3 -p 0x300")  # fmt: skip
    images = []
    for pididx, seed in ((10, 1), (20, 2)):
        # Rows before and behind move the stream's row, and the bisection's way to it.
        keys = random.Random(seed).sample([(tsi, pid) for tsi in (1, 4, 6, 200) for pid in range(8000)], 500 * seed)
        rows = {key: 0xFF001001 for key in keys} | {(5, 0x100): 0xFF001000 | pididx}
        board.poke(PIDLUT, 8192, *sum(([tsi << 13 | pid, word] for (tsi, pid), word in sorted(rows.items())), []))
        images.append(tmp_path / f"image{seed}")
        program(board, f"exptabs -f {images[-1]}")
    seconds = int(os.environ.get("ZEB_SWITCH_SECONDS", 6))
    names = dict(seconds=seconds, stream=stream, summary=tmp_path / "summary", one=images[0], other=images[1])
    result = board.execute(["bash", "-c", SWITCHES.format(**names)], timeout=TIMEOUT + seconds)
    assert (result.status, result.err) == (0, "")
    edits, imports = map(int, result.out.split())
    print(f"{edits} edits, {imports} imports")
    assert edits >= 20 and imports >= 2
    count = int((tmp_path / "summary").read_text().split()[1])
    wait_until(lambda: board.words(PIDLUT, 1024 + 5, 1) == [count % 2**18])
    routed = ts.packets_of(board.output("modulator0", (count + 2) // 3))
    others = ts.packets_of(board.output("modulator1", count - len(routed)))
    assert {packet.pid for packet in routed} == {0x200, 0x300}
    assert {packet.pid for packet in others} == {0x101, 0x1FFF}
    assert len(routed) == (count + 2) // 3 and len(routed) + len(others) == count
    assert all((after.continuity - before.continuity) % 16 == 1 for before, after in zip(routed, routed[1:]))
