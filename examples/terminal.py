# SPDX-License-Identifier: MIT
"""What programs write to a terminal, for the examples' checks."""
import os
import pty
import subprocess


def run_on_terminal(command, timeout, **keywords):
    """Runs a command with a terminal as standard error, and as standard output unless that is a pipe. Gives its exit code,
    what it wrote to the terminal, and what it wrote to the pipe."""
    master, slave = pty.openpty()
    process = subprocess.Popen(command, **{"stdout": slave, "stderr": slave, **keywords})
    os.close(slave)
    shown = b""
    while True:
        try:
            piece = os.read(master, 4096)
        except OSError:
            break
        if not piece:
            break
        shown += piece
    os.close(master)
    output, _ = process.communicate(timeout=timeout)
    return process.returncode, shown.decode(), output
