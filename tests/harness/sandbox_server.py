"""Runs on a virtual board: executes commands that it reads from standard input.

One JSON object a line: {"argv": [...], "input": text or null, "timeout": seconds}; the answer, again one line, is
{"status": exit status or minus the signal's number, "out": text, "err": text}. Bytes that are no UTF-8 travel as
surrogate escapes. So one sandbox serves many commands, and each costs little more than its own process.
"""

import json
import os
import subprocess
import sys


def encode(text):
    return text.encode("utf-8", "surrogateescape")


def decode(data):
    return data.decode("utf-8", "surrogateescape")


def execute(request):
    given = request["input"]
    try:
        done = subprocess.run(
            [encode(word) for word in request["argv"]],
            input=None if given is None else encode(given),
            stdin=subprocess.DEVNULL if given is None else None,
            capture_output=True,
            timeout=request["timeout"],
        )
    except subprocess.TimeoutExpired as expired:
        return {"status": None, "out": decode(expired.stdout or b""), "err": decode(expired.stderr or b"")}
    except OSError as error:
        return {"status": 127, "out": "", "err": f"{error}\n"}
    return {"status": done.returncode, "out": decode(done.stdout), "err": decode(done.stderr)}


def main():
    # The answers' pipe must not leak into the commands.
    answers = os.fdopen(os.dup(1), "w")
    os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
    for line in sys.stdin:
        print(json.dumps(execute(json.loads(line))), file=answers, flush=True)


if __name__ == "__main__":
    main()
