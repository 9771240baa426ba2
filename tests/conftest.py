import os

import pexpect
import pytest

from harness import board as boards


def pytest_configure(config):
    config.addinivalue_line("markers", "complaints(text, ...): the board may complain with lines that contain a text")
    for program in (boards.TOOL, boards.ROUTE, boards.MODEL, boards.SPI):
        if not os.access(program, os.X_OK):
            pytest.exit(f"{program} is not built; run scripts/test", returncode=2)


# What fails where the tool runs under qemu-user, by the start of the test's name, and why.
UNDER_QEMU = {
    "test_spi.py::": "it does not know the requests of spidev",
    "test_documents.py::test_commands_do_what_the_document_shows[spi.md]": "it does not know the requests of spidev",
    "test_board.py::test_unprivileged_user": "the board's SPI is a part of this test, and it knows no requests of spidev",
    "test_memory_commands.py::test_device_that_faults_under_an_access": "it does not deliver bus errors",
}


def pytest_collection_modifyitems(items):
    if "ZEB_UNDER_QEMU" not in os.environ:
        return
    for item in items:
        name = item.nodeid.removeprefix("tests/")
        for start, reason in UNDER_QEMU.items():
            if name.startswith(start):
                item.add_marker(pytest.mark.skip(reason=f"qemu-user: {reason}"))


def pytest_report_header():
    return f"tool: {boards.TOOL}"


def _lend(board, request):
    """Lends a board to a test, as after a reset. It must not complain, unless the test takes or allows complaints."""
    board.reset()
    yield board
    marker = request.node.get_closest_marker("complaints")
    if marker:
        board.reset()  # so that nothing more is found that the next test would have to answer for
    complaints = board.new_complaints()
    assert [line for line in complaints if not marker or not any(text in line for text in marker.args)] == []


@pytest.fixture(scope="session")
def _session_board(tmp_path_factory):
    board = boards.Board(tmp_path_factory.mktemp("board"))
    yield board
    board.close()


@pytest.fixture
def board(_session_board, request):
    """A board as after a reset; run() executes the tool on it, a few milliseconds each."""
    yield from _lend(_session_board, request)


@pytest.fixture(scope="session")
def _session_net_board(tmp_path_factory):
    board = boards.Board(tmp_path_factory.mktemp("net_board"), "--net")
    yield board
    board.close()


@pytest.fixture
def net_board(_session_net_board, request):
    """The same with a private network."""
    yield from _lend(_session_net_board, request)


@pytest.fixture
def terminal():
    """Starts commands on fresh boards with a pseudo-terminal before them, as at a person's desk."""
    running = []

    def start(*command):
        session = pexpect.spawn(
            str(boards.LAUNCHER),
            ["run", "--", *map(str, command)],
            env=boards.environment(),
            encoding="utf-8",
            timeout=boards.TIMEOUT,
            echo=False,
            preexec_fn=boards.heed_hang_up,
        )
        session.delaybeforesend = None
        running.append(session)
        return session

    yield start
    for session in running:
        session.close(force=True)
