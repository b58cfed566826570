"""A pseudo-terminal for a program under test."""

import fcntl
import os
import pty
import struct
import subprocess
import termios
import tty
from concurrent.futures import ThreadPoolExecutor

# Written to the terminal when the program has ended. This side of the terminal stays open until then: Linux may drop
# output that is unread when the last program closes the terminal.
END = b"\0the program has ended\0"


class PseudoTerminal:
    """Records what one program writes. A size of 0 stands for a terminal that does not tell its size."""

    def __init__(self, columns=80, rows=24, pixels=(0, 0)):
        self.master, self.slave = pty.openpty()
        tty.setraw(self.slave)  # line feeds are passed on unchanged
        fcntl.ioctl(self.slave, termios.TIOCSWINSZ, struct.pack("4H", rows, columns, *pixels))

    def run(self, words, **surroundings):
        """Exit status, the output to the terminal, and standard error."""
        program = self.start(words, **surroundings)

        def messages():
            try:
                return program.communicate(timeout=60)[1]
            finally:
                program.kill()
                os.write(self.slave, END)

        with ThreadPoolExecutor(1) as pool:
            errors = pool.submit(messages)
            shown = bytearray()
            while not shown.endswith(END):
                shown += os.read(self.master, 65536)
        self.close()
        return program.returncode, bytes(shown.removesuffix(END)), errors.result()

    def start(self, words, stdin=subprocess.DEVNULL, **surroundings):
        return subprocess.Popen(words, stdin=stdin, stdout=self.slave, stderr=subprocess.PIPE, **surroundings)

    def close(self):
        os.close(self.master)
        os.close(self.slave)
