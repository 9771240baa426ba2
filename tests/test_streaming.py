"""Sending and capturing real streams on virtual boards. A plain file in a channel's place takes down what is sent."""

import itertools
import os
import re
import signal
import subprocess
import tty

import pytest

from harness import ts
from harness.board import LAUNCHER, PIDLUT, PKTIO, TIMEOUT, TOOL, run_bare, wait_until, without_places

NULL_PID = 0x1FFF


@pytest.fixture(scope="session")
def streams(tmp_path_factory):
    """Makes streams by name, each once."""
    folder = tmp_path_factory.mktemp("streams")
    kinds = {
        "plain": {},
        "fast": {"mux_rate": "40M", "video": "libx264", "extra": ("-preset", "ultrafast")},
        "programmes": {"programs": 2, "mux_rate": "6M"},
        "wrap": {"offset": 2**33 / 90000 - 2},  # PCR, PTS and DTS pass 2^33 after two seconds
        "short": {"seconds": 1, "mux_rate": "3M", "video": "libx264", "audio": "aac"},
        "variable": {"seconds": 2, "mux_rate": None, "programs": 2, "audio": "ac3"},
    }

    def stream(name):
        path = folder / f"{name}.ts"
        if not path.exists():
            ts.make(path, **kinds[name])
        return path

    return stream


def test_streams_hold_what_they_are_made_for(streams):
    plain, programmes, wrap = (ts.packets_of(streams(name).read_bytes()) for name in ("plain", "programmes", "wrap"))
    assert any(packet.pid == NULL_PID for packet in plain)
    assert any(packet.pcr is not None and not packet.has_payload for packet in plain)
    assert len({packet.pid for packet in programmes if packet.pcr is not None}) == 2
    pcrs = [packet.pcr for packet in wrap if packet.pcr is not None]
    assert sum(after < before for before, after in zip(pcrs, pcrs[1:])) == 1


class Recorder:
    """A board whose channel 0 is a plain file."""

    def __init__(self, folder):
        self.folder = folder
        (folder / "dev").mkdir(parents=True)
        self.channel = folder / "dev" / "zebtsif_pktio_tx0"
        self.channel.touch()

    def send(self, *args, **further):
        return run_bare(LAUNCHER, "run", "--dir", self.folder, "--", TOOL, "wrtspackets", *args, **further)

    def segments(self):
        return ts.segments_of(self.channel.read_bytes())

    def packets(self):
        return [packet for segment in self.segments() for packet in segment.packets]


@pytest.fixture
def recorder(tmp_path):
    return Recorder(tmp_path / "board")


@pytest.mark.parametrize("name", ["plain", "fast", "programmes", "wrap"])
def test_transfers_carry_every_packet_in_segments_of_one_pcr_interval(streams, recorder, name):
    stream = streams(name)
    packets = ts.packets_of(stream.read_bytes())
    result = recorder.send("-f", stream, "-i", 5)
    assert (result.status, result.err) == (0, "")
    assert result.out.startswith(f"Sent {len(packets)} packets, {len(packets) * ts.TS} bytes, ")

    pcr_pid = next(packet.pid for packet in packets if packet.pcr is not None)
    segments = recorder.segments()
    assert [packet for segment in segments for packet in segment.packets] == packets
    for segment, following in zip(segments, segments[1:]):
        begins = [packet.pid == pcr_pid and packet.pcr is not None for packet in segment.packets]
        first, after = segment.packets[0].pcr, following.packets[0].pcr
        assert (begins[0] or segment is segments[0]) and not any(begins[1:])
        duration = (after - first) % 2**32 if begins[0] else len(segment.packets) * 8122
        assert segment.spacing * len(segment.packets) + segment.remainder == duration
        assert 0 < segment.spacing and segment.remainder < len(segment.packets)
    for segment in segments:
        assert segment.headers[:-1] == [5] * (len(segment.packets) - 1)
        assert segment.headers[-1] == 0x01000005


def counters_are_continuous(packets):
    last = {}
    for packet in packets:
        if packet.pid == NULL_PID:
            continue
        expected = (last.get(packet.pid, packet.continuity - packet.has_payload) + packet.has_payload) % 16
        if packet.continuity != expected:
            return False
        last[packet.pid] = packet.continuity
    return True


def runs_on(values, modulus):
    """Whether each value is less than half of the modulus ahead of the one before."""
    return all(0 < (after - before) % modulus < modulus // 2 for before, after in zip(values, values[1:]))


@pytest.mark.parametrize("name", ["plain", "programmes", "wrap", "short", "variable"])
def test_loop_has_no_seam(streams, recorder, tmp_path, name):
    data = streams(name).read_bytes()
    original = ts.packets_of(data)
    source = tmp_path / "cut.ts"
    source.write_bytes(data + data[:100])  # and a cut tail
    result = recorder.send("-f", source, "-o", 7, "-l", "-n", 4 * len(original))
    assert result.status == 0
    assert "The input's last 100 bytes are not a whole packet" in result.err and result.err.count("\n") == 1

    sent = recorder.packets()
    assert len(sent) == 4 * len(original)
    assert counters_are_continuous(sent)
    # Between end and start of the file stand null packets, and packets with nothing but a PCR.
    length = next(i for i in range(len(original), len(sent)) if sent[i].has_payload and sent[i].pid != NULL_PID)
    for index, packet in enumerate(sent):
        place = index % length
        if place < len(original):
            assert (packet.pid, packet.data[-100:]) == (original[place].pid, original[place].data[-100:]), index
        else:
            assert packet.pid == NULL_PID or not packet.has_payload, index

    # Every pass is the first one, moved on by the same time.
    again = sent[length:]
    pcrs = [(then.pcr - now.pcr) % ts.PCR_RANGE for now, then in zip(sent, again) if now.pcr is not None]
    assert len(set(pcrs)) == 1
    moved = {(b - a) % 2**33 for now, then in zip(sent, again) for a, b in zip(now.stamps, then.stamps)}
    assert moved <= {pcrs[0] // 300, pcrs[0] // 300 + 1}

    for pid in {packet.pid for packet in original if packet.pcr is not None}:
        times = [(index, packet.pcr) for index, packet in enumerate(sent) if packet.pid == pid and packet.pcr is not None]
        assert runs_on([pcr for _, pcr in times], ts.PCR_RANGE)
        steps = [(second[0], (second[1] - first[1]) % ts.PCR_RANGE) for first, second in zip(times, times[1:])]
        within = [step for index, step in steps if index < len(original)]
        assert max(step for _, step in steps) <= max(within) + sum(within) / (times[len(within)][0] - times[0][0])
    for pid in {packet.pid for packet in original if packet.stamps}:
        assert runs_on([packet.stamps[-1] for packet in sent if packet.pid == pid and packet.stamps], 2**33)
    if name != "variable":  # the segment over the seam is timed like all others
        rates = {round(segment.spacing / 50) for segment in recorder.segments()[1:-1]}
        assert max(rates) - min(rates) <= 1

    looped = tmp_path / "looped.ts"
    looped.write_bytes(ts.join(sent))
    copy = ["ffmpeg", "-nostdin", "-v", "warning", "-i", str(looped), "-map", "0", "-c", "copy", "-f", "null", "-"]
    assert subprocess.run(copy, capture_output=True, text=True, check=True).stderr == ""


def test_stream_without_pcr_goes_at_the_default_rate(streams, recorder, tmp_path):
    data = bytearray(streams("plain").read_bytes())
    for at in range(0, len(data), ts.TS):
        if data[at + 3] & 0x20 and data[at + 4]:
            data[at + 5] &= ~0x10
    source = tmp_path / "no_pcr.ts"
    source.write_bytes(data)
    result = recorder.send("-f", source, "-P", 9, "-b", 100_000)
    assert result.status == 0
    assert "No PCR so far: the stream is sent at the default rate of 5.00 Mbit/s" in result.err
    assert "no PCR PID" in result.out
    assert {(segment.spacing, segment.remainder) for segment in recorder.segments()} == {(8122, 0)}
    assert max(len(segment.packets) for segment in recorder.segments()) == 4096
    assert b"".join(packet.data for packet in recorder.packets()) == data


def test_standard_input_and_fixed_counters(streams, recorder, tmp_path):
    data = streams("plain").read_bytes()
    packets = [packet for index, packet in enumerate(ts.packets_of(data)) if index % 7]
    broken = tmp_path / "broken.ts"
    broken.write_bytes(b"".join(packet.data for packet in packets))
    assert not counters_are_continuous(packets)
    script = f"cat {broken} | {TOOL} wrtspackets -i 5 -F"
    assert run_bare(LAUNCHER, "run", "--dir", recorder.folder, "--", "bash", "-c", script).status == 0
    sent = recorder.packets()
    assert counters_are_continuous(sent) and len(sent) == len(packets)


@pytest.mark.parametrize(
    "arguments, message",
    [
        (["-f", "{ts}"], "Exactly one of --tsi, --pididx and --tso says where the packets go; 0 were given"),
        (["-f", "{ts}", "-i", "1", "-o", "1"], "2 were given"),
        (["-f", "{ts}", "-i", "256"], "Invalid TS TX DMA mode 0 or invalid TSI,PIDIDX,TSO value 256"),
        (["-f", "{ts}", "-P", "0"], "Invalid TS TX DMA mode 1 or invalid TSI,PIDIDX,TSO value 0"),
        (["-f", "{ts}", "-P", "4096"], "Invalid TS TX DMA mode 1 or invalid TSI,PIDIDX,TSO value 4096"),
        (["-f", "{ts}", "-o", "256"], "Invalid TS TX DMA mode 3 or invalid TSI,PIDIDX,TSO value 256"),
        (["-f", "{ts}", "-i", "256"], "Accepted are --tsi 0-255, --pididx 1-4095, --tso 0-255 and --channel 0-3."),
        (["-f", "{ts}", "-i", "1", "-b", "0"], "--buffer: 0 is not in 1..100000"),
        (["-f", "{ts}", "-i", "1", "-v", "loud"], "expected one of trace, debug"),
        (["-f", "{ts}", "-i", "1", "-C", "4"], "Invalid TS TX DMA channel number 4"),
        (["-f", "{tmp}/text", "-i", "1"], "is not a transport stream of 188-byte packets: byte 0 is 0x74"),
        (["-f", "{tmp}/192", "-i", "1"], "It looks like packets of 192 bytes"),
        (["-f", "{tmp}/204", "-i", "1"], "It looks like packets of 204 bytes"),
        (["-f", "{tmp}/short", "-i", "1"], "holds 187 bytes, not even one TS packet"),
        (["-f", "{tmp}", "-i", "1"], "is a folder, not a file of TS packets"),
        (["-f", "{tmp}/none", "-i", "1"], "No such file or directory (errno 2)"),
        (["-f", "{tmp}/slow", "-i", "1"], "PCR based packet spacing too high. TS Stream rater either to low or not CBR"),
        (["-l", "-i", "1"], "Standard input cannot be sent in a loop"),
        (["-i", "1"], "The input holds no packet"),
        (["-f", "{tmp}/lost", "-i", "1"], "Sync lost at byte 188000 of the input: 0x00 instead of 0x47"),
    ],
    ids=lambda value: " ".join(value) if isinstance(value, list) else "",
)
def test_bad_input(streams, recorder, tmp_path, arguments, message):
    data = streams("plain").read_bytes()
    packets = ts.packets_of(data)[:3000]
    (tmp_path / "text").write_text("text\n" * 1000)
    (tmp_path / "192").write_bytes(b"".join(bytes(4) + packet.data for packet in packets))
    (tmp_path / "204").write_bytes(b"".join(packet.data + bytes(16) for packet in packets))
    (tmp_path / "short").write_bytes(data[:187])
    with_pcr = [packet.data for packet in packets if packet.pcr is not None]
    (tmp_path / "slow").write_bytes(with_pcr[0] + with_pcr[-1] + with_pcr[-1])
    (tmp_path / "lost").write_bytes(data[: 1000 * ts.TS] + bytes(ts.TS) + data[:100])
    words = [word.format(ts=streams("plain"), tmp=tmp_path) for word in arguments]
    script = 'cat /dev/null | "$0" wrtspackets "$@"'
    result = run_bare(LAUNCHER, "run", "--dir", recorder.folder, "--", "bash", "-c", script, TOOL, *words)
    assert result.status == 255
    assert message in without_places(result.err)
    assert result.err.count("Encountered an error: ") == 1
    sent = b"".join(packet.data for packet in recorder.packets())
    assert sent == (data[: 1000 * ts.TS] if "Sync lost" in message else b"")
    assert "Sync lost" not in message or result.err.count("\n") == 1, "nothing more is said about the rest"


def start_send(channel, *args):
    """Begins a send to a device of this machine that stands for channel 0."""
    sandbox = ["bwrap", "--dev-bind", "/", "/", "--dev", "/dev", "--dev-bind", channel, "/dev/zebtsif_pktio_tx0", "--"]
    command = [*map(str, sandbox), str(TOOL), "wrtspackets", "-i", "5", *map(str, args)]
    return subprocess.Popen(
        command,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        start_new_session=True,
        # A signal for all of them is for the tool, not for the sandbox around it.
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN),
    )


def assert_failed(sender, message):
    out, err = sender.communicate(timeout=TIMEOUT)
    assert sender.returncode == 255
    assert re.search(message, without_places(err)) and err.count("Encountered an error: ") == 1
    return int(re.match(r"Sent (\d+) packets, ", out)[1])


def test_ctrl_c_ends_a_send_with_whole_segments_and_the_summary(streams, tmp_path):
    channel = tmp_path / "channel"
    os.mkfifo(channel)
    sender = start_send(channel, "-l", "-f", streams("plain"))
    with open(channel, "rb") as device:
        transfers = device.read(1_000_000)
        os.killpg(sender.pid, signal.SIGINT)
        transfers += device.read()
    out, err = sender.communicate(timeout=TIMEOUT)
    assert (sender.returncode, err) == (0, "")
    packets = int(re.match(r"Sent (\d+) packets, ", out)[1])
    assert sum(len(segment.packets) for segment in ts.segments_of(transfers)) == packets


def test_device_that_refuses_a_segment_ends_the_send(streams):
    message = r"packets: No space left on device \(errno 28\)"
    assert assert_failed(start_send("/dev/full", "-f", streams("plain")), message) == 0


def test_device_that_goes_away_in_a_transfer_ends_the_send(streams):
    master, slave = os.openpty()
    tty.setraw(slave)
    sender = start_send(os.ttyname(slave), "-l", "-f", streams("plain"))
    taken = 0
    while taken < 500_000:
        taken += len(os.read(master, 65536))
    os.close(slave)
    os.close(master)
    # Whether the transfer in which it went had begun is chance.
    packets = assert_failed(sender, r"(The device took only \d+ of \d+ bytes|packets: Input/output error \(errno 5\))")
    unread = 100_000  # at most, in the terminal's buffers
    assert 0 < packets * ts.RECORD <= taken + unread


def test_file_that_shrinks_ends_the_send_after_what_is_left(streams, tmp_path):
    data = streams("fast").read_bytes()
    source, channel = tmp_path / "shrinking.ts", tmp_path / "channel"
    source.write_bytes(data)
    os.mkfifo(channel)
    with open(os.open(channel, os.O_RDWR | os.O_NONBLOCK), "rb", buffering=0) as keeper:
        sender = start_send(channel, "-b", 1000, "-f", source)
        with open(channel, "rb") as device:
            transfers = device.read(100_000)
            os.truncate(source, 5_000_100)
            keeper.close()
            transfers += device.read()
    packets = assert_failed(sender, f"{source} ends at byte 5000100 now, it had {len(data)} bytes when it was opened")
    sent = b"".join(packet.data for segment in ts.segments_of(transfers) for packet in segment.packets)
    assert sent == data[: 5_000_100 // ts.TS * ts.TS] and packets == 5_000_100 // ts.TS


INPUTS = itertools.count(1)


def route_to_cpu(board, *pids):
    """Sends PIDs of an input to the processor, and nothing of what came before; returns its TSI.

    It is one that no other test uses, as an earlier test's packets may still be on their way.
    """
    tsi = next(INPUTS)
    board.reset_packet_port()
    for row, pid in enumerate(pids):
        board.poke(PIDLUT, 8192 + 2 * row, tsi << 13 | pid, 0xFF002000)
    return tsi


def test_what_is_sent_as_input_comes_back(board, streams, tmp_path):
    tsi = route_to_cpu(board, 0x100, 0x101)
    captured = tmp_path / "captured.ts"
    result = board.sh(
        f"zeb_fpga_shell wrtspackets -q -i {tsi} -f {streams('plain')} -n 3000 >/dev/null & "
        f"zeb_fpga_shell rdtspackets -c 400 -p 0x100 -s -T 0 -f {captured}; status=$?; wait; exit $status"
    )
    assert (result.status, result.err) == (0, "")
    source = [packet for packet in ts.packets_of(streams("plain").read_bytes()) if packet.pid == 0x100]
    assert ts.packets_of(captured.read_bytes()) == source[:400]
    assert re.match(rf"TSI {tsi} PID 0x0100 \(256\): 400 packets, .*bit/s, 0 continuity errors, 0 transport", result.out)


# Its leak check traces the process itself, which only one can do at a time.
UNTRACED = "ASAN_OPTIONS=detect_leaks=0 zeb_fpga_shell"


def test_registers_pass_each_packet_once_both_ways(board, tmp_path):
    """To an output; and to the processor as many as wait there for a receiver by registers."""
    tsi = route_to_cpu(board, 0x100)
    sent = ts.made_up(3000, pids=[0x100])
    (tmp_path / "sent.ts").write_bytes(ts.join(sent))
    result = board.sh(
        f"""set -e; zeb_fpga_shell wrphyomap -t 3 -p 0
        {UNTRACED} wrtspackets -O -o 3 -f {tmp_path}/sent.ts
        {UNTRACED} wrtspackets -O -i {tsi} -n 250 -f {tmp_path}/sent.ts
        {UNTRACED} rdtspackets -R -c 250 -T 20000 -f {tmp_path}/captured"""
    )
    assert (result.status, result.err) == (0, "")
    assert ts.packets_of(board.output("modulator0", len(sent))) == sent
    assert ts.packets_of((tmp_path / "captured").read_bytes()) == sent[:250]


def test_what_a_capture_misses_is_told_and_all_that_comes_is_counted(board, tmp_path):
    tsi = route_to_cpu(board, 0x100)
    bytes_came = board.path("sys/class/zebtsif/zebtsif_pktio_rx/bytesrx")
    before, count = int(bytes_came.read_text()), 8000  # more than wait for a capture
    records = b"".join(tsi.to_bytes(4, "big") + packet.data for packet in ts.made_up(count, pids=[0x100]))
    (tmp_path / "transfer").write_bytes(bytes(64) + records)
    result = board.sh(
        f"""came={before}
        send() {{
            cat {tmp_path}/transfer >/dev/zebtsif_pktio_tx3; (( came += {count * ts.RECORD} ))
            until (( $(</sys/class/zebtsif/zebtsif_pktio_rx/bytesrx) >= came )); do :; done
        }}
        send; zeb_fpga_shell rdtspackets -c 0 -T 0 -f {tmp_path}/captured & capture=$!
        until [ -s {tmp_path}/captured ]; do :; done
        kill -STOP $capture; send; kill -CONT $capture; kill -INT $capture; wait $capture"""
    )
    assert (result.status, result.err) == (0, "")
    complaints = []
    wait_until(lambda: complaints.extend(board.new_complaints()) or complaints)
    assert len(complaints) == 1, "nothing is lost while nobody captures"
    lost, of = re.match(r"packet port: (\d+) of (\d+) packets lost from \d\d:\d\d:\d\d on, in ", complaints[0]).groups()
    assert 0 < int(lost) <= int(of) <= count


def until_counted(tsi):
    """Waits until packets of an input have been routed."""
    return f'until zeb_fpga_shell tsotsibitrate -a -t 20 | grep -q "TSI({tsi})"; do :; done'


def test_rates_move_while_a_stream_is_sent(board, streams):
    tsi = route_to_cpu(board, 0x100)
    result = board.sh(
        f"zeb_fpga_shell wrtspackets -q -l -i {tsi} -C 2 -f {streams('plain')} >/dev/null & sender=$!; "
        f"{until_counted(tsi)}; zeb_fpga_shell tsoutrate -C 2 -t 500; zeb_fpga_shell tsinrate -t 500; "
        f"zeb_fpga_shell tsotsibitrate -i {tsi} -t 500; kill -INT $sender; wait $sender"
    )
    assert result.status == 0
    for line, what in zip(result.out.splitlines(), ["", "", f"TSI({tsi}): "]):
        rate, unit, taken, seconds = re.fullmatch(
            re.escape(what) + r"(\d+\.\d\d) ([kM]?)bit/s \((\d+) bytes in (\d+\.\d\d) seconds\)", line
        ).groups()
        shown = float(rate) * {"": 1, "k": 1e3, "M": 1e6}[unit]
        assert shown == pytest.approx(8 * int(taken) / float(seconds), rel=0.02)  # both have two decimals
        assert int(taken) > 0 and float(seconds) >= 0.49


def test_ctrl_c_again_and_again_ends_a_send_as_cleanly(board, streams):
    """The further ones interrupt the rest of a transfer of which the channel has taken a part."""
    result = board.sh(
        f"""for channel in 0 1 2 3; do
                zeb_fpga_shell wrtspackets -q -l -i $((channel + 200)) -C $channel -f {streams("plain")} >/dev/null &
                sender=$!; {until_counted("$((channel + 200))")}
                while kill -INT $sender; do sleep 0.001; done
                wait $sender; echo $?
            done 2>/dev/null"""
    )
    assert result.out == 4 * "0\n"


def test_ctrl_c_ends_a_capture_with_what_came(board, streams, tmp_path):
    tsi = route_to_cpu(board, 0x100)
    captured = tmp_path / "captured.ts"
    result = board.sh(
        f"zeb_fpga_shell wrtspackets -q -l -i {tsi} -f {streams('plain')} >/dev/null & sender=$!; "
        f"zeb_fpga_shell rdtspackets -c 0 -T 0 -s -f {captured} & capture=$!; "
        f"until [ -s {captured} ]; do sleep 0.05; done; "
        "kill -INT $capture; wait $capture; status=$?; kill -INT $sender; wait $sender; exit $status"
    )
    assert (result.status, result.err) == (0, "")
    count = len(ts.packets_of(captured.read_bytes()))
    assert re.match(rf"TSI {tsi} PID 0x0100 \(256\): {count} packets, ", result.out)


@pytest.mark.parametrize(
    "command, lines",
    [
        *((f"{command} -c -t 50", 2) for command in ["tsinrate", "tsoutrate", "tsotsibitrate -i 5"]),
        *((f"{command} -t 3600000", 0) for command in ["tsinrate", "tsoutrate", "tsotsibitrate -i 5"]),
        ("rdtspackets -c 0 -T 0", 0),
    ],
)
def test_ctrl_c_ends_long_commands_at_once_between_lines(board, tmp_path, command, lines):
    board.reset_packet_port()
    out = tmp_path / "out"
    out.touch()
    result = board.sh(
        f"zeb_fpga_shell {command} >{out} & until (( $(wc -l <{out}) >= {lines} )); do sleep 0.01; done; "
        # Once it catches the signal (bit 1 of the last digit).
        "until grep -q 'SigCgt.*[2367abef]$' /proc/$!/status; do sleep 0.01; done; kill -INT $!; wait $!"
    )
    assert (result.status, result.err) == (0, "")
    rate = re.compile(r"(TSI\(5\): )?\S+ [kM]?bit/s \(\d+ bytes in \d+\.\d\d seconds\)\n")
    shown = out.read_text().splitlines(True)
    assert all(rate.fullmatch(line) for line in shown) and len(shown) >= lines
