"""A display on the machine, with a window manager, a session bus and assistive technology: what is on
it, and what a user does there. It all ends with the machine."""
import contextlib
import json
import os
import pathlib
import re
import subprocess
import tempfile

import launcher
from launcher import wait_until

PYTHON = "/usr/bin/python3"
READER = pathlib.Path(__file__).with_name("window_reader.py")
FONTS = pathlib.Path("/usr/share/fonts/truetype/noto")
# Reading all the fonts of a system takes each program seconds, for there is no cache on a machine.
FONT_NAMES = [f"NotoSans{script}-{weight}.ttf" for script in ("", "Arabic", "Hebrew")
              for weight in ("Regular", "Bold")]
FONT_CONFIGURATION = """<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig>
  <dir>{folder}</dir>
  <cachedir>{folder}/cache</cachedir>
  <alias><family>sans-serif</family><prefer><family>Noto Sans</family></prefer></alias>
  <alias><family>sans</family><prefer><family>Noto Sans</family></prefer></alias>
</fontconfig>
"""
MANAGER_SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew></focus>
  <theme>
    <name>Quiet</name><titleLayout>NLC</titleLayout>
    <font place="ActiveWindow"><name>Noto Sans</name><size>10</size></font>
    <font place="InactiveWindow"><name>Noto Sans</name><size>10</size></font>
  </theme>
</openbox_config>
"""
MANAGER_THEME = """border.width: 1
padding.height: 6
padding.width: 8
window.client.padding.width: 0
window.handle.width: 0
window.active.border.color: #9aa0a6
window.inactive.border.color: #b8bcc0
window.active.title.bg: Flat Solid
window.active.title.bg.color: #e4e6e8
window.inactive.title.bg: Flat Solid
window.inactive.title.bg.color: #f0f1f2
window.active.label.bg: Parentrelative
window.inactive.label.bg: Parentrelative
window.active.label.text.color: #2b2f33
window.inactive.label.text.color: #8a8f94
window.*.button.*.bg: Parentrelative
window.active.button.*.image.color: #555a5f
window.inactive.button.*.image.color: #a0a4a8
window.label.text.justify: center
"""
PROGRAMS = ("Xvfb", "openbox", "xdotool", "wmctrl", "xprop", "xwininfo", "import", "dbus-daemon")
AS_USER = {"user": launcher.USER, "group": launcher.USER, "extra_groups": []}


class Display:
    """`environment` is what a program needs to appear here."""

    def __init__(self, size="1024x768"):
        os.makedirs("/tmp/.X11-unix", exist_ok=True)
        os.chmod("/tmp/.X11-unix", 0o1777)
        self.environment = {
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "XDG_RUNTIME_DIR": self._make_folder(),
            "XDG_CONFIG_HOME": self._make_folder(), "XDG_DATA_HOME": self._make_folder(),
            "FONTCONFIG_FILE": self._write_fonts()}
        self._write_manager_settings()
        self.server = self._start_server(size)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._start_bus()
        self._start("openbox", "--sm-disable")
        wait_until(lambda: "window manager" in self._properties_of_root(), "the window manager")

    @staticmethod
    def _make_folder():
        folder = tempfile.mkdtemp()
        os.chown(folder, launcher.USER, launcher.USER)
        return folder

    def _write_fonts(self):
        folder = pathlib.Path(self._make_folder())
        for name in FONT_NAMES:
            (folder / name).symlink_to(FONTS / name)
        (folder / "fonts.conf").write_text(FONT_CONFIGURATION.format(folder=folder), encoding="utf-8")
        return str(folder / "fonts.conf")

    def _write_manager_settings(self):
        settings = pathlib.Path(self.environment["XDG_CONFIG_HOME"]) / "openbox"
        theme = pathlib.Path(self.environment["XDG_DATA_HOME"]) / "themes/Quiet/openbox-3"
        for folder in (settings, theme):
            folder.mkdir(parents=True)
        (settings / "rc.xml").write_text(MANAGER_SETTINGS, encoding="utf-8")
        (theme / "themerc").write_text(MANAGER_THEME, encoding="utf-8")

    def _start(self, *command, stdout=subprocess.DEVNULL, **options):
        return subprocess.Popen(command, env={**launcher.ENVIRONMENT, **self.environment}, cwd="/tmp",
                                stdin=subprocess.DEVNULL, stdout=stdout, stderr=subprocess.DEVNULL,
                                **AS_USER, **options)

    def _start_server(self, size):
        ready, said = os.pipe()
        # Without -noreset it would start anew whenever a first, short client leaves.
        server = self._start("Xvfb", "-displayfd", str(said), "-noreset", "-screen", "0", f"{size}x24",
                             "-dpi", "96", "-nolisten", "tcp", pass_fds=[said])
        os.close(said)
        with os.fdopen(ready) as number:
            self.environment["DISPLAY"] = ":" + number.readline().strip()
        return server

    def _start_bus(self):
        self.bus = self._start("dbus-daemon", "--session", "--nofork", "--print-address",
                               stdout=subprocess.PIPE)
        return self.bus.stdout.readline().decode().strip()

    def _properties_of_root(self):
        found = self._run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK")
        return "window manager" if "window id" in found else ""

    def _run(self, *command, check=False):
        return subprocess.run(command, env={**launcher.ENVIRONMENT, **self.environment},
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True, check=check, timeout=launcher.LONGEST,
                              cwd="/tmp", **AS_USER).stdout

    def remove(self):
        """As when the user's session ends."""
        self.server.kill()
        self.server.wait()

    # What a user does.

    def press(self, *keys):
        """Keys go to the window that has the keyboard."""
        self._run("xdotool", "key", *keys, check=True)

    def click(self, window, x, y):
        self._run("xdotool", "mousemove", "--window", window, str(x), str(y), "click", "1", check=True)

    def close(self, window):
        """By the close box: the window manager asks the window to close."""
        self._run("wmctrl", "-i", "-c", window, check=True)

    # What a user sees.

    def window_ids(self):
        """The windows that the window manager knows, lowest first."""
        found = self._run("xprop", "-root", "_NET_CLIENT_LIST_STACKING")
        return re.findall(r"0x[0-9a-f]+", found)

    def is_above(self, window):
        return "_NET_WM_STATE_ABOVE" in self._run("xprop", "-id", window, "_NET_WM_STATE")

    def geometry(self, window):
        """x, y, width and height on the screen, without the frame."""
        found = dict(re.findall(r"(Absolute upper-left [XY]|Width|Height): +(-?\d+)",
                                self._run("xwininfo", "-id", window)))
        return tuple(int(value) for value in found.values())

    def outer_geometry(self, window):
        """The same with the frame that the window manager put around it."""
        x, y, width, height = self.geometry(window)
        found = self._run("xprop", "-id", window, "_NET_FRAME_EXTENTS").partition("=")[2]
        left, right, top, bottom = [int(value) for value in found.split(",")]
        return x - left, y - top, width + left + right, height + top + bottom

    def active_window(self):
        found = re.findall(r"0x[0-9a-f]+", self._run("xprop", "-root", "_NET_ACTIVE_WINDOW"))
        return found[0] if found else None

    def picture(self, path=None, window="root", *conversion):
        """A picture of the screen or of one window: its points as bytes, or a PNG file at the path."""
        target = "rgb:-" if path is None else f"png:{path}"
        taken = subprocess.run(["import", "-silent", "-window", window, *conversion, target], check=True,
                               env={**launcher.ENVIRONMENT, **self.environment}, stdout=subprocess.PIPE,
                               timeout=launcher.LONGEST)
        return taken.stdout

    def read(self):
        """The launcher's windows as assistive technology reads them, see window_reader.py."""
        with contextlib.suppress(json.JSONDecodeError):
            return json.loads(self._run(PYTHON, "-B", str(READER)))
        return []

    def wait_for(self, *texts):
        """Until all of the texts can be read; the windows as they are then."""
        found = []

        def all_there():
            found[:] = self.read()
            names = [node["name"] for node in flattened(found)]
            return all(text in names for text in texts)
        try:
            wait_until(all_there, f"{texts} on the display")
        except AssertionError as late:
            raise AssertionError(f"{late}; there is {json.dumps(found, indent=1)}") from late
        return found

    def wait_for_windows(self, count):
        try:
            wait_until(lambda: len(self.window_ids()) == count, f"{count} windows on the display")
        except AssertionError as late:
            raise AssertionError(f"{late}; there is\n{self._run('xwininfo', '-root', '-tree')}") from late
        return self.window_ids()


def flattened(nodes):
    for node in nodes:
        yield node
        yield from flattened(node["children"])
