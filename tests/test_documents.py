"""The documents: every command that they show does what they show.

In a block fenced as "console" a line that starts with "$ " is a command, with further lines as long as a line ends in a
backslash; what follows up to the next command is its output, standard error included. "..." in a line of output stands
for any text, and alone on a line for any lines; a rate "... Mbit/s" for any rate above zero, whatever its unit. A
comment "<!-- console" up to "-->" is such a block that the reader does not see: it brings the board into the state of
which the document speaks. The blocks run in order, in one shell, on one fresh board with a network. A command may fail
only where the document shows its status by "$ echo $?" next. The shell starts in a folder in which nothing may be left:
a document that writes files makes a folder of its own below "~".
"""

import re

import pytest

from harness.board import REPO, TIMEOUT, Board

DOCUMENTS = [REPO / "README.md", *sorted((REPO / "docs").glob("*.md"))]
FENCE = re.compile(r"^(?:```|<!-- )(\w*)\n(.*?)^(?:```|-->)$", re.MULTILINE | re.DOTALL)
RATE = "... Mbit/s"
ANY_RATE = r"(?!0\.00 )\d+\.\d\d [kMG]?bit/s"
SHOW_STATUS = "echo $?"
END = "\x1e"  # ends the output of a command, before and after its status


def commands_in(document):
    """(command, its output as shown) for all blocks of the document in order."""
    found = []
    for language, block in FENCE.findall(document.read_text()):
        if language != "console":
            continue
        assert block.startswith("$ "), f"{document.name}: a block starts without a command:\n{block}"
        for part in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
            command, output = re.match(r"((?:[^\n]*\\\n)*[^\n]*\n)(.*)", part, re.DOTALL).groups()
            found.append((command.rstrip("\n"), output))
    return found


def matches(shown, output):
    pattern = "".join(
        ".*"
        if part == "...\n"
        else re.escape(part).replace(re.escape(RATE), ANY_RATE).replace(r"\.\.\.", r"[^\n]*")
        for part in shown.splitlines(True)
    )
    return re.fullmatch(pattern, output, re.DOTALL) is not None


def transcript(commands, folder, board_folder):
    """[(output, status)] of the commands, run in one shell."""
    script = f"exec 2>&1; export HOME='{folder}/home' TMPDIR='{folder}'; mkdir ~ '{folder}/start'; cd '{folder}/start'\n"
    for command, _ in commands:
        script += f"{command}\nstatus=$?; printf '{END}%s{END}' $status; (exit $status)\n"
    board = Board(board_folder, "--net")
    parts = board.execute(["bash", "-c", script], timeout=3 * TIMEOUT).out.split(END)
    board.close()
    assert list((folder / "start").iterdir()) == [], "files that are not in a folder of the document's own"
    return list(zip(parts[::2], map(int, parts[1::2])))


@pytest.mark.parametrize("document", DOCUMENTS, ids=lambda document: document.name)
def test_commands_do_what_the_document_shows(document, tmp_path, tmp_path_factory):
    commands = commands_in(document)
    assert commands or document.name == "architecture.md", "a how-to page without a command"
    done = transcript(commands, tmp_path, tmp_path_factory.mktemp("board"))
    followers = [command for command, _ in commands[1:]] + [""]
    for (command, shown), (output, status), follower in zip(commands, done, followers):
        assert matches(shown, output), f"$ {command}\nshown:\n{shown}\nprinted:\n{output}"
        assert status == 0 or follower == SHOW_STATUS, f"$ {command}\nended with {status}:\n{output}"
    assert len(done) == len(commands), f"the shell ended within: {commands[len(done)][0]}"


def test_no_command_of_the_tool_escapes_the_test(board):
    """Each stands in a block that is run; in running text only commands that there are are named."""
    names = {entry.split("\n")[0] for entry in board.run("list").out.split("\n\n")[:-1]} | {"list", "help", "COMMAND"}
    for document in DOCUMENTS:
        for language, block in FENCE.findall(document.read_text()):
            assert language == "console" or not re.search(r"^(\$ .*|zeb_fpga_shell\b.*)$", block, re.MULTILINE), block
        prose = FENCE.sub("", document.read_text())
        for word in re.findall(r"`zeb_fpga_shell (\w+)", prose):
            assert word in names, f"{document.name}: {word}"


@pytest.mark.parametrize(
    "shown, output, same",
    [
        ("a\nb\n", "a\nb\n", True),
        ("a\nb\n", "a\n", False),
        ("", "a\n", False),
        ("got ... bytes\n", "got 12 bytes\n", True),
        ("got ... bytes\n", "got 12\n bytes\n", False),
        ("at ... Mbit/s\n", "at 996.95 kbit/s\n", True),
        ("at ... Mbit/s\n", "at 0.00 bit/s\n", False),
        ("a\n...\nc\n", "a\nb\nb\nc\n", True),
        ("a\n...\nc\n", "a\nb\n", False),
        ("a.c\n", "abc\n", False),
    ],
)
def test_comparison(shown, output, same):
    assert matches(shown, output) == same
