"""The command line itself: which command is meant, the list, what is said when there is none."""

import pytest


@pytest.mark.parametrize(
    "arguments, word",
    [([], ""), ([""], ""), (["nosuch"], "nosuch"), (["NoSuch", "-h"], "nosuch"), (["--version"], "--version")],
)
def test_unknown_command(board, arguments, word):
    before = board.memory()
    assert board.run(*arguments) == (255, "", f'Unknown command: "{word}". Exiting.\n')
    assert board.memory() == before


def test_list_and_help_show_every_command_in_order(board):
    shown = board.run("list")
    assert (shown.status, shown.err) == (0, "")
    for word in ["help", "-h", "--help", "LIST"]:
        assert board.run(word) == shown
    names = [entry.split("\n")[0] for entry in shown.out.split("\n\n")[:-1]]
    assert names == sorted(names) and len(names) == 47
    assert "\n\nexptabs\nExports the transport stream related tables fo the ZEB stream FPGA.\n\n" in shown.out
    assert (
        "\n\nrcammon\nReads out the contents of the CAM monitor configuration\n"
        "PID table and associated packet and error counters\n\n" in shown.out
    )


def test_every_listed_command_answers_for_itself(board):
    """Run with nothing but an option that none has, each says so, or why it cannot, and touches nothing."""
    before = board.memory()
    names = [entry.split("\n")[0] for entry in board.run("list").out.split("\n\n")[:-1]]
    for name in names:
        result = board.run(name, "--no-such-option")
        assert (result.status, result.out) == (255, ""), name
        assert "Unknown command" not in result.err and result.err.endswith("\n"), name
    assert board.memory() == before
