"""The rig for attacks on the installed update tool. Each test is one class of attack and runs on a
private machine of its own (Packaging/sandbox) with the real set-user-ID tool; what is called "the
user" is a real unprivileged one (1000). A test says what must not be possible, does it, and looks.

A module calls `main()`; the rest is as in ../sandboxed.py.
"""
import hashlib
import os
import pathlib
import stat
import subprocess
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1]))
import sandboxed
from sandboxed import BUILD, SandboxedTest

SIGNPACKAGE = BUILD / "UpdateTool/signpackage"
KEY = BUILD / "keys/private.pem"
LONGEST = 120  # seconds; nothing comes near it unless it hangs

USER = 1000
HOME = "/home/user"
PRODUCT = "/Library/Application Support/Quillmore"
TOOL = f"{PRODUCT}/updateqm"
STAGING = ".quillmore-staging"
MENU_ITEMS = "/Library/Contextual Menu Items"
LOG = "/var/log/updateqm.log"
# The tool's own files come and go; everything else is looked at.
OWN_FILES = {f"{PRODUCT}/.updateqm.lock", LOG, f"{LOG}.1"}


class AttackTest(SandboxedTest):
    policy = "off"
    bundle = None

    def setUp(self):
        os.umask(0o022)
        os.chdir("/")
        self.install_tool()
        self.write(f"{HOME}/tool", "#!/bin/sh\necho 'Quillmore Limited 2.0'\n")
        self.sign(f"{HOME}/tool", "repairother", "tool")
        self.install = ("repairother", f"{HOME}/tool", f"{HOME}/tool.sig")
        self.before = self.state()

    # What the distributor and the machine's administrator do.

    def install_tool(self):
        """As a repair does it: the carried tool installs itself."""
        carried = BUILD / "UpdateTool/updateqm"
        signature = "/root/updateqm.sig"
        subprocess.run([SIGNPACKAGE, KEY, carried, signature, "repair", "updateqm"], check=True)
        subprocess.run([carried, "repair", signature], check=True)
        assert stat.S_IMODE(os.lstat(TOOL).st_mode) == 0o4755

    def sign(self, path, *purpose, key=KEY, signature=None):
        """PATH.sig and PATH.sig256, the user's like the package: nothing tells them from real ones."""
        signature = signature or f"{path}.sig"
        subprocess.run([SIGNPACKAGE, key, path, signature, *purpose], check=True)
        for made in (signature, f"{signature}256"):
            os.chown(made, USER, USER)
        return signature

    # What the user does.

    def write(self, path, content, mode=0o755):
        """A file of the user's."""
        if isinstance(content, str):
            content = content.encode()
        pathlib.Path(path).write_bytes(content)
        os.chmod(path, mode)
        os.chown(path, USER, USER)
        return path

    def folder(self, path):
        os.makedirs(path)
        os.chown(path, USER, USER)
        return path

    def as_user(self, *command, **options):
        """Runs to its end. An environment, open descriptors and so on are the user's choice."""
        return subprocess.run(command, **self._options(options), timeout=LONGEST)

    def start_as_user(self, *command, **options):
        started = subprocess.Popen(command, **self._options(options))
        self.addCleanup(started.wait)
        self.addCleanup(started.kill)
        return started

    @staticmethod
    def _options(options):
        defaults = dict(user=USER, group=USER, extra_groups=[], env={}, cwd=HOME, text=True, errors="replace",
                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        return {**defaults, **options}

    def tool(self, *arguments, **options):
        return self.as_user(TOOL, *arguments, **options)

    def fork_as_user(self, work):
        """A process of the user's that does `work` until the test ends."""
        process = os.fork()
        if process == 0:
            try:
                os.setgroups([])
                os.setgid(USER)
                os.setuid(USER)
                while True:
                    work()
            finally:
                os._exit(1)
        self.addCleanup(os.waitpid, process, 0)
        self.addCleanup(os.kill, process, 9)
        return process

    # What must be so afterwards.

    def expect_refused(self, *arguments, status=range(64, 79), because="", **options):
        """A clear line, a status of sysexits.h, and nothing changed."""
        finished = self.tool(*arguments, **options)
        self.assertIn(finished.returncode, status, finished.stderr)
        self.assertRegex(finished.stderr, r"\Aupdateqm: [^\n]{1,4000}\n\Z")
        self.assertIn(because, finished.stderr)
        self.expect_unchanged()

    def expect_installed(self, finished=None, content=None):
        """The tool of `self.install` and nothing else."""
        if finished is not None:
            self.assertEqual((finished.returncode, finished.stderr), (0, ""))
        after = self.state()
        added = {path for path in after if path not in self.before}
        self.assertEqual(added, {f"{PRODUCT}/tool"})
        self.assertEqual({path: seen for path, seen in after.items() if path not in added}, self.before)
        if content is not None:
            self.assertEqual(pathlib.Path(f"{PRODUCT}/tool").read_text(encoding="utf-8"), content)
        self.assertEqual(stat.S_IMODE(os.lstat(f"{PRODUCT}/tool").st_mode), 0o755)

    def expect_unchanged(self):
        self.assertEqual(self.state(), self.before)

    def expect_works_still(self):
        """Whatever was done to it, the next run does what it should."""
        self.expect_installed(self.tool(*self.install))

    def state(self, without=None):
        """All that could be noticed of what the tool could have changed. `without`: beginning of names that
        are not looked at, since another run is at work on them."""
        def is_looked_at(name):
            return without is None or not name.startswith(without)
        seen = {}
        for top in ("/Library", "/Applications", "/System", "/var/log", "/root", "/tmp"):
            volume = os.lstat(top).st_dev if os.path.isdir(top) else None
            for folder, names, files in os.walk(top):
                # The repository is mounted into the machine, perhaps below one of these.
                names[:] = [name for name in names if is_looked_at(name)
                            and os.lstat(os.path.join(folder, name)).st_dev == volume]
                for path in (os.path.join(folder, name) for name in names + files if is_looked_at(name)):
                    if path not in OWN_FILES:
                        seen[path] = _seen(path)
        return seen


def _seen(path):
    status = os.lstat(path)
    content = b""
    if stat.S_ISREG(status.st_mode):
        content = hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
    elif stat.S_ISLNK(status.st_mode):
        content = os.readlink(path)
    return stat.filemode(status.st_mode), status.st_uid, status.st_gid, content


def reason_to_skip():
    for path in (SIGNPACKAGE, BUILD / "UpdateTool/updateqm", KEY):
        if not path.exists():
            return f"{path} is not built"
    return sandboxed.reason_for_no_machine()


def main():
    sandboxed.main(reason_to_skip)
