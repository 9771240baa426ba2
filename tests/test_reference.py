"""The manual page and the completion of bash, against what the tool says of each command on its own."""

import re
import subprocess
from typing import NamedTuple

import pytest

from harness.board import BUILD, TIMEOUT, TOOL, run_bare

MANUAL = BUILD / "util" / "fpga_shell" / "reference" / "man8" / "zeb_fpga_shell.8"
ROUTE_MANUAL = BUILD / "util" / "zeb_route" / "reference" / "man8" / "zeb_route.8"
COMPLETION = BUILD / "util" / "fpga_shell" / "reference" / "completion.bash"
OPTION = re.compile(r"^  (?:-(\w), |    )--(\w+)( arg)? +(.*)$")


class Option(NamedTuple):
    spellings: tuple
    takes_value: bool
    help: str


def one_line(text):
    return " ".join(text.split())


def option_from(match, continuation):
    short, name, argument, text = match.groups()
    spellings = (f"-{short}",) * bool(short) + (f"--{name}",)
    return Option(spellings, bool(argument), one_line(" ".join([text, *continuation])))


@pytest.fixture(scope="module")
def commands():
    """{name: (description, options)} from "list" and the help of each command."""
    found = {}
    for entry in run_bare(TOOL, "list").out.split("\n\n")[:-1]:
        name, description = entry.split("\n", 1)
        lines = run_bare(TOOL, name, "--help").out.removeprefix(description).splitlines()
        starts = [number for number, line in enumerate(lines) if OPTION.match(line)] + [len(lines)]
        found[name] = description, [
            option_from(OPTION.match(lines[first]), lines[first + 1 : last]) for first, last in zip(starts, starts[1:])
        ]
    assert len(found) > 40 and all(options[-1].spellings == ("-h", "--help") for _, options in found.values())
    return found


def mandoc(*options, page=MANUAL):
    return subprocess.run(["mandoc", *options, page], capture_output=True, text=True, timeout=TIMEOUT)


def test_manual_says_of_each_command_what_its_help_says(commands):
    shown = re.sub(".\b", "", mandoc("-T", "utf8", "-O", "width=400").stdout).replace("‐", "-").replace("−", "-")
    part = shown.split("\nCOMMANDS\n")[1].split("\nEXIT STATUS\n")[0]
    sections = re.split(r"^   (\w+)$", part, flags=re.MULTILINE)[1:]
    assert sections[::2] == list(commands)
    for name, text in zip(sections[::2], sections[1::2]):
        description, options = commands[name]
        expected = one_line(description)
        for option in options[:-1]:  # all but "help", of which the page speaks once
            expected += f" {', '.join(option.spellings)}{' VALUE' * option.takes_value} {option.help}"
        values = r"(?<=\w) (?:NUMBER\[,NUMBER\.\.\.\]|NUMBER|TEXT|PATH)(?=\s)"
        assert one_line(re.sub(values, " VALUE", text)) == expected, name


@pytest.mark.parametrize("page", [MANUAL, ROUTE_MANUAL], ids=lambda page: page.name)
def test_manual_is_well_formed(page):
    checked = mandoc("-T", "lint", "-W", "warning", page=page)
    assert (checked.returncode, checked.stdout) == (0, "")


@pytest.fixture(scope="module")
def complete(tmp_path_factory):
    """What bash offers for each of the given command lines; their last word is the one to be completed."""
    folder = tmp_path_factory.mktemp("completion")
    (folder / "film one.ts").touch()
    script = f"""
        . {COMPLETION}
        while read -r line; do
            # As bash splits it: "=" is a word of its own.
            read -ra COMP_WORDS <<<"${{line//=/ = }}"
            [[ $line == *' ' || $line == *= ]] && COMP_WORDS+=('')
            COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1))
            _zeb_fpga_shell
            printf '%s' "${{COMPREPLY[@]/%/$'\\t'}}"
            echo
        done
    """

    def run(*lines):
        text = "".join(f"zeb_fpga_shell {line}\n" for line in lines)
        # IFS as a terminal's reading line has it, the last blank included.
        done = run_bare("bash", "-c", script.replace("read -r line", "IFS= read -r line"), input=text, cwd=folder)
        assert (done.status, done.err) == (0, "")
        return [line.split("\t")[:-1] for line in done.out.splitlines()]

    return run


def test_completion_offers_every_command_and_its_options(commands, complete):
    offered = complete("", *(f"{name} -" for name in commands), "WrPidLut --p")
    assert set(offered[0]) == {"list", "help", "-h", "--help", "-I", "--interactive", *commands}
    for (name, (_, options)), words in zip(commands.items(), offered[1:]):
        assert words == [spelling for option in options for spelling in option.spellings], name
    assert offered[-1] == ["--pid", "--pididx"]


def test_completion_offers_options_only_where_no_value_is_due(commands, complete):
    cases = [
        (f"{name} {spelling} -", option.takes_value)
        for name, (_, options) in commands.items()
        for option in options
        for spelling in option.spellings
    ]
    offered = complete(*(line for line, _ in cases))
    assert [line for (line, takes_value), words in zip(cases, offered) if takes_value != (words == [])] == []


@pytest.mark.parametrize(
    "line, words",
    [
        ("read32 -d ", ["router", "tsio", "pktio", "film one.ts"]),
        ("read32 --device=r", ["router"]),
        ("wrtspackets --file ", ["film one.ts"]),
        ("wrtspackets -v ", ["trace", "debug", "info", "warning", "error", "critical"]),
        ("spiread --slave max", ["max2871", "max5868"]),
        ("nosuch -", []),
        ("wrpidlut -p ", []),
        ("wrpidlut -p 1 -", None),
    ],
)
def test_completion_of_values(commands, complete, line, words):
    expected = [spelling for option in commands["wrpidlut"][1] for spelling in option.spellings]
    assert complete(line) == [expected if words is None else words]
