"""The machine of a test, seen from inside and as its root: verbs for what happens to it, and what
can be seen afterwards. Nothing here outlives the machine."""
import contextlib
import fcntl
import hashlib
import os
import pathlib
import plistlib
import re
import shutil
import signal
import stat
import subprocess
import sys

import launcher
from commandlog import CommandLog

BUNDLE = "/Applications/Quillmore.app"
RESOURCES = f"{BUNDLE}/Contents/Resources"
PRODUCT = "/Library/Application Support/Quillmore"
UPDATE_TOOL = f"{PRODUCT}/updateqm"
FILE_SYSTEM = "/Library/Filesystems/QuillmoreFS.fs"
CONTEXT_MENU = "/Library/Contextual Menu Items/QuillmoreCM.plugin"
OVERLAY = "/Library/Application Support/SIMBL/Plugins/QuillmoreOverlay.bundle"
LOGS = f"{launcher.HOME}/Library/Logs/Quillmore/Quillmore"
SETTINGS = f"{launcher.HOME}/Library/Preferences/com.quillmore.launcher.plist"
SYSTEM_VERSION = "/System/Library/CoreServices/SystemVersion.plist"


def _bundle(path):
    return {path: "drwxr-xr-x", f"{path}/Contents": "drwxr-xr-x",
            f"{path}/Contents/Info.plist": "-rw-r--r--"}


# Each item of the sample catalogue, and the fixes: all that it leaves in /Library.
ITEMS = {
    "updateqm": {UPDATE_TOOL: "-rwsr-xr-x"},
    "qmstatus": {f"{PRODUCT}/qmstatus": "-rwxr-xr-x"},
    "finderoverlaytool": {f"{PRODUCT}/finderoverlaytool": "-rwsr-xr-x"},
    "QuillmoreFS": _bundle(FILE_SYSTEM),
    "QuillmoreCM": _bundle(CONTEXT_MENU),
    "QuillmoreOverlay": _bundle(OVERLAY),
    "Fixes10_5": {f"{PRODUCT}/Fixes10_5": "drwxr-xr-x",
                  **_bundle(f"{PRODUCT}/Fixes10_5/QuillmoreFixes.bundle")},
}
# Folders that may stand empty, and the update tool's own files.
FOLDERS = {f"/Library/{name}" for name in (
    "Logs", "Frameworks", "Filesystems", "Contextual Menu Items", "Application Support",
    "Application Support/Quillmore", "Application Support/SIMBL", "Application Support/SIMBL/Plugins")}
OWN_FILES = {f"{PRODUCT}/.updateqm.lock", f"{PRODUCT}/.receipts"}


class Machine:
    def __init__(self, build):
        os.umask(0o022)
        self.build = build
        self._log = CommandLog()

    # What a user does.

    def start(self, *arguments, bundle=BUNDLE, terminal=False, folder=launcher.HOME, **environment):
        """A launcher that is watched while it runs."""
        return launcher.Launcher(f"{bundle}/Contents/MacOS/Quillmore", arguments, terminal, folder,
                                 **environment)

    def launch(self, *arguments, answers="", **options):
        """A whole run: the answers are typed at once, and then there is no more input."""
        running = self.start(*arguments, **options)
        with contextlib.suppress(BrokenPipeError):  # it asked nothing
            running.answer(answers)
        running.close_input()
        return running.end()

    def run_tool(self, *command):
        """A command line by hand, as the user."""
        return subprocess.run(command, user=launcher.USER, group=launcher.USER, extra_groups=[],
                              env=launcher.ENVIRONMENT, cwd=launcher.HOME, capture_output=True,
                              stdin=subprocess.DEVNULL, text=True, timeout=launcher.LONGEST)

    def quit_core(self):
        for process in self.core():
            launcher.end_process(process)

    # What befalls the machine.

    def restore(self, archive):
        subprocess.run(["tar", "-C", "/", "-xpf", archive, "--numeric-owner"], check=True)

    def archive(self):
        """Writes /Library to standard output, for `restore`."""
        subprocess.run(["tar", "-C", "/", "-c", "--numeric-owner", "Library"], check=True,
                       stdout=sys.stdout)

    def remove(self, *paths):
        for path in paths:
            if os.path.isdir(path) and not os.path.islink(path):
                shutil.rmtree(path)
            elif os.path.lexists(path):
                os.unlink(path)

    def write_tool(self, path, script, mode=0o755):
        """A tool in place of the real one, root's like that."""
        self.remove(path)
        pathlib.Path(path).write_text("#!/bin/sh\n" + script, encoding="utf-8")
        os.chmod(path, mode)

    def flip_byte(self, path, at=-1):
        content = bytearray(pathlib.Path(path).read_bytes())
        content[at] ^= 1
        pathlib.Path(path).write_bytes(content)

    def edit(self, path, change):
        """`change` is given the property list of a file and changes it."""
        with open(path, "rb") as file:
            content = plistlib.load(file)
        change(content)
        with open(path, "wb") as file:
            plistlib.dump(content, file)

    def edit_information(self, bundle, **values):
        """Keys of a bundle's Info.plist; None takes one away."""
        def change(content):
            for key, value in values.items():
                content.pop(key, None)
                if value is not None:
                    content[key] = value
        self.edit(f"{bundle}/Contents/Info.plist", change)

    def edit_catalogue(self, change):
        self.edit(f"{RESOURCES}/RequiredItems.plist", lambda list_: change(list_["RequiredItems"]))

    def write_settings(self, **values):
        """The user's own settings of the launcher."""
        path = pathlib.Path(SETTINGS)
        self.make_users_folder(path.parent)
        path.write_bytes(plistlib.dumps(values))

    def make_users_folder(self, path):
        self.run_tool("mkdir", "-p", path).check_returncode()

    def set_system(self, version):
        self.edit(SYSTEM_VERSION, lambda content: content.update(ProductVersion=version))

    @contextlib.contextmanager
    def locked_installation(self):
        """As while another update tool installs: every command that installs waits."""
        with open(f"{PRODUCT}/.updateqm.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            yield

    # What can be seen.

    @property
    def version(self):
        with open(f"{BUNDLE}/Contents/Info.plist", "rb") as file:
            information = plistlib.load(file)
        return f'{information["CFBundleShortVersionString"]} ({information["CFBundleVersion"]})'

    def commands(self):
        """The command words that updateqm carried out since the last call, in order; one that
        failed has "=" and its status appended."""
        return self._log.take()

    def is_working_on(self, word):
        """Whether an update tool carries out the command and is past its very start."""
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            if _comm(folder) == "updateqm" and word in _text(folder / "cmdline").split("\0"):
                [ignored] = re.findall(r"SigIgn:\t(\w+)", _text(folder / "status"))
                return int(ignored, 16) >> (signal.SIGINT - 1) & 1 == 1
        return False

    def processes(self, name):
        return [int(folder.name) for folder in pathlib.Path("/proc").glob("[0-9]*")
                if _comm(folder) == name]

    def core(self):
        return self.processes("QuillmoreCore")

    def log_files(self):
        return sorted(pathlib.Path(LOGS).glob("*")) if os.path.isdir(LOGS) else []

    def log_lines(self, ended=None):
        """Lines of the log files without date and process; of one run, when it is given."""
        lines = []
        for file in self.log_files():
            for line in file.read_text(encoding="utf-8").split("\n"):
                prefix = launcher.PREFIX.match(line)
                if prefix and (ended is None or int(prefix["process"]) == ended.process):
                    lines.append(launcher.plain(line))
        return lines

    def log_problems(self, ended=None):
        return [line for line in self.log_lines(ended) if line.startswith("(ERR)")]

    def installed(self):
        """Every path in /Library with its mode; what is not root's has its owner appended."""
        return {path: mode for path, mode in _tree("/Library")
                if path not in OWN_FILES and (path not in FOLDERS or mode != "drwxr-xr-x")}

    def state(self, *paths):
        """All that could be noticed about what lies under the paths, to be compared later."""
        seen = {}
        for top in paths or ["/Library"]:
            for path, mode in _tree(top):
                if path in OWN_FILES:
                    continue
                content = pathlib.Path(path).read_bytes() if mode.startswith("-") else b""
                seen[path] = mode, hashlib.sha256(content).hexdigest()
        return seen

    def stamps(self, *paths):
        """The same at a glance: a file that was written, replaced or changed has another stamp."""
        seen = {}
        for top in paths:
            for path, mode in _tree(top):
                status = os.lstat(path)
                is_folder = stat.S_ISDIR(status.st_mode)
                # Every run that waits for nobody any more signs the lock's file.
                changed = 0 if path.endswith("/.updateqm.lock") else status.st_ctime_ns
                seen[path] = mode, () if is_folder else (status.st_ino, changed)
        return seen


def _text(path):
    try:
        return path.read_text(encoding="utf-8")
    except OSError:  # the process ended meanwhile
        return ""


def _comm(folder):
    return _text(folder / "comm").strip()


def _tree(top):
    volume = os.lstat(top).st_dev if os.path.isdir(top) else None
    for folder, names, files in os.walk(top):
        # The repository is mounted into the machine, perhaps below this folder.
        names[:] = [name for name in names if os.lstat(os.path.join(folder, name)).st_dev == volume]
        for name in sorted(names + files):
            path = os.path.join(folder, name)
            status = os.lstat(path)
            owner = "" if (status.st_uid, status.st_gid) == (0, 0) else f" {status.st_uid}:{status.st_gid}"
            yield path, stat.filemode(status.st_mode) + owner
