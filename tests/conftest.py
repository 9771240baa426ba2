import os

import pexpect
import pytest

from harness import board as boards


def pytest_configure():
    for program in (boards.TOOL, boards.MODEL, boards.SPI):
        if not os.access(program, os.X_OK):
            pytest.exit(f"{program} is not built; run scripts/test", returncode=2)


def pytest_report_header():
    return f"tool: {boards.TOOL}"


@pytest.fixture(scope="session")
def _session_board(tmp_path_factory):
    board = boards.Board(tmp_path_factory.mktemp("board"))
    yield board
    board.close()


@pytest.fixture
def board(_session_board):
    """A board as after a reset; run() executes the tool on it, a few milliseconds each. It must not complain, unless
    the test takes its complaints."""
    _session_board.reset()
    yield _session_board
    assert _session_board.new_complaints() == []


@pytest.fixture(scope="session")
def _session_net_board(tmp_path_factory):
    board = boards.Board(tmp_path_factory.mktemp("net_board"), "--net")
    yield board
    board.close()


@pytest.fixture
def net_board(_session_net_board):
    """The same with a private network."""
    _session_net_board.reset()
    yield _session_net_board
    assert _session_net_board.new_complaints() == []


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
        )
        session.delaybeforesend = None
        running.append(session)
        return session

    yield start
    for session in running:
        session.close(force=True)
