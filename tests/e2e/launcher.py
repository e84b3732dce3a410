"""A launcher that runs on the machine: what its user sees of it and does to it."""
import fcntl
import os
import pty
import re
import signal
import subprocess
import termios
import threading
import time
import typing

USER = 1000
HOME = "/home/user"
ENVIRONMENT = {"PATH": "/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin", "HOME": HOME, "USER": "user",
               "LOGNAME": "user", "SHELL": "/bin/bash", "LANG": "en_US.UTF-8"}
# What every log line begins with: date and time, process, number, level and thread.
PREFIX = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{4} Quillmore\[(?P<process>\d+)\] "
                    r"(?P<tag>\((?:ERR|nrm|vrb|dtl)\)) \[0x[0-9a-f]+\] ")
# A wait that fails instead of hanging; nothing is ever slept through.
LONGEST = 60


def plain(text):
    """The text with what differs from run to run taken out of its log lines."""
    return PREFIX.sub(r"\g<tag> ", text)


class Ended(typing.NamedTuple):
    """How a launcher ended: exit status (-N for a signal), and all that it wrote."""

    status: int
    output: str  # the terminal, log prefixes shortened to the level
    errors: str  # standard error, likewise
    process: int


class Collector(threading.Thread):
    """Reads a stream to its end while others look at what came so far."""

    def __init__(self, descriptor):
        super().__init__(daemon=True)
        self.descriptor = descriptor
        self.bytes = b""
        self.ended = False
        self.changed = threading.Condition()
        self.start()

    def run(self):
        while True:
            try:
                piece = os.read(self.descriptor, 65536)
            except OSError:  # a terminal without a program
                piece = b""
            with self.changed:
                self.bytes += piece
                self.ended = not piece
                self.changed.notify_all()
            if not piece:
                os.close(self.descriptor)
                return

    def text(self):
        return plain(self.bytes.decode(errors="replace").replace("\r\n", "\n"))

    def wait_for(self, condition, what):
        deadline = time.monotonic() + LONGEST
        with self.changed:
            while not condition():
                if self.ended or not self.changed.wait(deadline - time.monotonic()):
                    raise AssertionError(f"{what} did not come; this came:\n{self.text()}")


class Launcher:
    """One run of the program, as the user of the machine."""

    def __init__(self, program, arguments=(), terminal=False, folder=HOME, **environment):
        output, errors = os.pipe(), os.pipe()
        self.terminal = None
        if terminal:
            self.terminal, inner = pty.openpty()
            os.close(output[0]), os.close(output[1])
            output, given = (os.dup(self.terminal), inner), inner
        else:
            given, self.input = os.pipe()
        self.process = subprocess.Popen(
            [program, *arguments], stdin=given, stdout=output[1], stderr=errors[1], cwd=folder,
            user=USER, group=USER, extra_groups=[], env={**ENVIRONMENT, **environment},
            start_new_session=True, preexec_fn=take_terminal if terminal else None)
        for descriptor in {given, output[1], errors[1]}:
            os.close(descriptor)
        if terminal:
            self.input = self.terminal
        self.output, self.errors = Collector(output[0]), Collector(errors[0])
        self.seen = 0

    @property
    def pid(self):
        return self.process.pid

    def wait_for(self, text):
        """Until the text is on the terminal, after what was waited for before."""
        self.output.wait_for(lambda: text in self.output.text()[self.seen:], repr(text))
        self.seen = self.output.text().index(text, self.seen) + len(text)

    def answer(self, text):
        os.write(self.input, text.encode())

    def close_input(self):
        if self.input is not None:
            os.close(self.input)
            self.input = None

    def send(self, number):
        self.process.send_signal(number)

    def has_taken(self, number):
        """Whether a signal that was sent is with the program, not waiting in the kernel."""
        with open(f"/proc/{self.pid}/status", encoding="utf-8") as file:
            waiting = [int(line.split()[1], 16) for line in file if line.startswith(("SigPnd", "ShdPnd"))]
        return not any(mask >> (number - 1) & 1 for mask in waiting)

    def end(self):
        """Waits for the end, which somebody asked for; the input stays as it is."""
        try:
            self.process.wait(LONGEST)
        except subprocess.TimeoutExpired as hang:
            self.process.kill()
            raise AssertionError(f"the launcher hangs; it wrote:\n{self.output.text()}") from hang
        if self.terminal is None:
            self.output.wait_for(lambda: self.output.ended, "the end of the output")
        self.errors.wait_for(lambda: self.errors.ended, "the end of the errors")
        self.close_input()
        return Ended(self.process.returncode, self.output.text(), self.errors.text(), self.pid)


def take_terminal():
    """In the child: its standard input becomes the terminal that sends it signals."""
    fcntl.ioctl(0, termios.TIOCSCTTY, 0)


def wait_until(condition, what):
    deadline = time.monotonic() + LONGEST
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"{what}: did not happen")
        time.sleep(0.005)


def end_process(pid, number=signal.SIGTERM):
    os.kill(pid, number)
    wait_until(lambda: not os.path.exists(f"/proc/{pid}"), f"the end of process {pid}")
