"""zeb_route scan: what is in a transport stream, compared with what another program says of it."""

import json
import subprocess

import pytest

from harness import ts

KINDS = {
    "mpeg2video": "MPEG-2 video",
    "h264": "H.264 video",
    "hevc": "HEVC video",
    "mp2": "MPEG-1 audio",
    "aac": "AAC audio",
    "aac_latm": "AAC audio in LATM",
    "ac3": "AC-3 audio",
    "eac3": "E-AC-3 audio",
    "opus": "Opus audio",
}
VIDEO = ["-f", "lavfi", "-i", "testsrc2=size=160x128:rate=25:duration=0.5"]
AUDIO = ["-f", "lavfi", "-i", "sine=sample_rate=48000:duration=0.5"]
ONE = "-map 0 -map 1 -c:v mpeg2video -c:a mp2 -metadata:s:a language=deu -metadata service_provider=Anstalt"
SEVERAL = """-map 0 -map 1 -map 1 -map 0 -map 1 -map 1 -map 0 -map 1 -muxrate 5M -c:v:0 libx264 -c:v:1 libx265
    -x265-params log-level=none -c:v:2 mpeg2video -c:a:0 ac3 -c:a:1 eac3 -c:a:2 libopus -c:a:3 aac -c:a:4 mp2
    -metadata:s:a:0 language=deu -metadata:s:a:1 language=fra -metadata:s:a:3 language=eng
    -program title=Übersicht:program_num=1001:st=0:st=1:st=2 -program title=Two:program_num=65535:st=3:st=4:st=5
    -program program_num=2:st=6:st=7"""


def probed(path):
    """Services by number: names, PMT and PCR PIDs, and each elementary stream's PID, kind and language."""
    command = ["ffprobe", "-v", "error", "-show_programs", "-of", "json", str(path)]
    programs = json.loads(subprocess.run(command, check=True, capture_output=True).stdout)["programs"]
    return {
        program["program_id"]: (
            program["tags"]["service_name"],
            program["tags"]["service_provider"],
            program["pmt_pid"],
            program["pcr_pid"],
            [
                (int(stream["id"], 16), KINDS[stream["codec_name"]], stream.get("tags", {}).get("language"))
                for stream in sorted(program["streams"], key=lambda stream: stream["id"])
            ],
        )
        for program in programs
    }


def scanned(document):
    return {
        service["service"]: (
            service["name"],
            service["provider"],
            service["pmt"]["pid"],
            service["pcr_pid"],
            [(stream["pid"], stream["kind"], stream["language"]) for stream in service["streams"]],
        )
        for service in document["services"]
    }


@pytest.mark.parametrize(
    "options",
    [ONE, ONE + " -mpegts_flags system_b+latm -c:a:0 aac", SEVERAL, SEVERAL + " -mpegts_flags system_b"],
    ids=["one", "one-dvb", "several", "several-dvb"],
)
def test_a_stream_is_described_as_another_program_describes_it(board, tmp_path, options):
    path = tmp_path / "some.ts"
    subprocess.run(["ffmpeg", "-v", "error", *VIDEO, *AUDIO, *options.split(), str(path)], check=True)
    status, out, err = board.route("scan", "--file", path, "--json")
    assert (status, err) == (0, "")
    document = json.loads(out)
    assert scanned(document) == probed(path)
    assert [(table["pid"], table["names"]) for table in document["tables"]] == [(0, ["PAT"]), (0x11, ["SDT"])]

    # Every packet is counted once, and the rates are those of the multiplexer.
    pids = [row for service in document["services"] for row in (service["pmt"], *service["streams"])]
    pids += document["tables"] + document["null_packets"]
    packets = [packet.pid for packet in ts.packets_of(path.read_bytes())]
    assert {row["pid"]: row["packets"] for row in pids} == {pid: packets.count(pid) for pid in packets}
    if "-muxrate" in options:
        assert sum(row["bits_per_second"] for row in pids) == pytest.approx(5e6, rel=0.01)

    text = board.sh(f"zeb_route scan --file - <'{path}'")
    assert (text.status, text.err) == (0, "")
    for number, (name, provider, *_) in probed(path).items():
        assert f'service {number} "{name}" of "{provider}", PCR on 0x' in text.out


def test_what_is_no_transport_stream_is_refused(board, tmp_path):
    for content, reason in (
        (None, 'Unable to open file "{}": No such file or directory'),
        (b"", "{} holds 0 bytes, not even one TS packet of 188 bytes"),
        (bytes(1000), "The input is not a transport stream of 188-byte packets: byte 0 is 0x00, not the sync byte 0x47"),
    ):
        path = tmp_path / "some.ts"
        if content is not None:
            path.write_bytes(content)
        status, out, err = board.route("scan", "--file", path)
        assert (status, out) == (2, "")
        assert reason.format(path) in err and err.startswith("zeb_route: ")
    assert board.route("scan") == (2, "", "zeb_route: scan needs a TSI, or --file FILE; see `zeb_route scan --help`\n")
