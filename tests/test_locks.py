"""Commands that edit one table at the same time."""

import pytest

from harness.board import PIDLUT, without_places

EDITS = [  # a command that adds row `$1`, the one that lists the rows
    ("wrpidlut -t $1 -p 0x21 -C -f 255", "rpidlut -a"),
    ("wriplut -t $1 -i 239.1.1.$1 -p 1234", "riplut -a"),
    ("wrscmpidlut -s 1 -p $1", "rscmpidlut"),
    ("wrmcnotlut -m 239.1.1.$1", "rmcnotlut"),
    ("wrcammon -p $((32 + $1))", "rcammon"),
]


@pytest.mark.parametrize("edit, listing", EDITS, ids=[edit.split()[0] for edit, _ in EDITS])
def test_no_edit_is_lost(board, edit, listing):
    script = f"edit() {{ zeb_fpga_shell {edit} || exit 1; }}; for i in {{1..30}}; do edit $i & done; wait"
    assert board.sh(script) == (0, "", "")
    assert board.run(*listing.split()).out.count("\n") == 30


@pytest.mark.parametrize("device", ["zebtsif_pidlut", "zebtsif_iplut"])
def test_a_device_in_use_holds_up_editors_until_they_are_told_to_stop_but_no_reader(board, device):
    board.run("exptabs", "-f", board.folder / "tables")
    before = board.memory()
    result = board.sh(
        f"""exec 9</dev/{device} && flock 9 && zeb_fpga_shell exptabs -f {board.folder}/copy || exit
        zeb_fpga_shell imptabs -f {board.folder}/tables 9<&- & editor=$!
        until grep -q 'SigCgt:.*[2367abef]$' /proc/$editor/status; do :; done # from now on it heeds an interrupt
        kill -INT $editor; wait $editor"""
    )
    assert (result.status, result.out) == (255, "")
    error = f"Encountered an error: IOErrorr: File lock Error: Stopped while /dev/{device} was in use by "
    assert without_places(result.err).startswith(error)
    assert board.memory() == before


def test_a_killed_editor_leaves_no_lock(board):
    script = "flock /dev/zebtsif_pidlut sh -c 'kill -9 $PPID; kill -9 $$'; zeb_fpga_shell wrpidlut -t 3 -p 1 -O"
    assert board.sh(script).status == 0
    assert board.words(PIDLUT, 129, 1) == [1]
