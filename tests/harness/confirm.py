"""confirm.py ACTION ARGUMENT...: runs zeb_route with the arguments in a shell on a terminal, and acts when it asks: types
ACTION, or signals zeb_route ("HUP"), closes the terminal ("close"), or kills the shell ("kill"). Exits as zeb_route."""

import ctypes
import os
import pty
import signal
import sys
from pathlib import Path

PR_SET_CHILD_SUBREAPER = 36

action, *arguments = sys.argv[1:]
ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1)  # who loses its shell is our child
shell, terminal = pty.fork()
if shell == 0:
    os.execvp("bash", ["bash", "-c", 'zeb_route "$@"; exit $?', "bash", *arguments])
shown = b""
while b"? yes" not in shown:
    shown += os.read(terminal, 1000)
route = int(Path(f"/proc/{shell}/task/{shell}/children").read_text())
if action == "close":
    os.close(terminal)
elif action == "kill":
    os.kill(shell, signal.SIGKILL)
elif hasattr(signal, f"SIG{action}"):
    os.kill(route, getattr(signal, f"SIG{action}"))
else:
    os.write(terminal, action.encode().decode("unicode_escape").encode())
statuses = {}
while len(statuses) < (2 if action in ("close", "kill") else 1):
    child, status = os.wait()
    statuses[child] = os.waitstatus_to_exitcode(status)
sys.exit(statuses.get(route, statuses.get(shell)))
