"""The system's log of the machine: updateqm leaves a line in it for each command."""
import os
import re
import socket
import threading

PLACE = "/dev/log"
LINE = re.compile(r'updateqm\[\d+\]: user \d+ command "(?P<word>[^"]*)" status (?P<status>\d+)')


class CommandLog(threading.Thread):
    def __init__(self):
        super().__init__(daemon=True)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(PLACE)
        os.chmod(PLACE, 0o666)
        self.words = []
        self.marks = 0
        self.changed = threading.Condition()
        self.start()

    def run(self):
        while True:
            line = self.socket.recv(65536).decode(errors="replace")
            found = LINE.search(line)
            with self.changed:
                if line == "mark":
                    self.marks += 1
                if found:
                    failed = found["status"] != "0"
                    self.words.append(found["word"] + (f'={found["status"]}' if failed else ""))
                self.changed.notify_all()

    def take(self):
        """What was logged before the call, since the last one."""
        with self.changed:
            wanted = self.marks + 1
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as writer:
            writer.sendto(b"mark", PLACE)
        with self.changed:
            self.changed.wait_for(lambda: self.marks >= wanted)
            words, self.words = self.words, []
        return words
