"""Times commands as whole processes, with hyperfine."""

import json
import subprocess
import sys
import tempfile
from pathlib import Path


def times_of(command, runs, prefix, any_status=False, warmup=10):
    """Seconds of each run; hyperfine itself runs behind `prefix`."""
    with tempfile.NamedTemporaryFile(suffix=".json") as export:
        # No shell between: at a millisecond a run it would be half of what is measured.
        hyperfine = ["hyperfine", "--shell=none", "--style=none", f"--warmup={warmup}", f"--runs={runs}"]
        hyperfine += ["--ignore-failure"] * any_status
        argv = [*prefix, *hyperfine, "--export-json", export.name, " ".join(command)]
        done = subprocess.run(argv, capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"bench: cannot time {' '.join(command)}: {done.stderr.strip()}")
        return json.loads(Path(export.name).read_text())["results"][0]["times"]
