"""Takes pictures of the launcher's windows in each state, on private machines, for the documents.

usage: window_pictures.py FOLDER    QUILLMORE_BUILD names the build folder (default: build/dev)
"""
import io
import os
import pathlib
import shutil
import sys
import tarfile

from launcher import wait_until
from machine import Machine, RESOURCES
from sandboxed import BUILD, INSIDE, MachineTest, REPAIRED, make_repaired_archive, run_in_machine
from window_display import Display

SAMPLES = pathlib.Path(__file__).with_name("samples")
DARK = """[Appearance]
color_scheme_path=/usr/share/qt6ct/colors/darker.conf
custom_palette=true
style=Fusion

[Fonts]
fixed="Noto Sans,9,-1,5,400,0,0,0,0,0,0,0,0,0,0,1"
general="Noto Sans,9,-1,5,400,0,0,0,0,0,0,0,0,0,0,1"
"""


class Photographer:
    """Inside a machine; keeps the pictures as (name, bytes)."""

    def __init__(self):
        self.machine, self.display = Machine(BUILD), Display("1600x1200")
        self.pictures = []

    def start(self, *arguments, **environment):
        return self.machine.start(*arguments, **{**self.display.environment, **environment})

    def wait_for_windows(self, count):
        """Their number and all that is in the last one drawn: two pictures that are the same."""
        self.display.wait_for_windows(count)
        wait_until(lambda: self.display.active_window() == self.display.window_ids()[-1], "an active window")

    def take(self, name):
        """The lowest window with what lies over it, cut out of the screen."""
        x, y, width, height = self.display.outer_geometry(self.display.window_ids()[0])
        path = f"/tmp/{name}.png"
        self.display.picture(path, "root", "-crop", f"{width}x{height}+{x}+{y}", "+repage", "-strip")
        self.pictures.append((f"{name}.png", pathlib.Path(path).read_bytes()))

    def take_check(self, name, *arguments, **environment):
        running = self.start(*arguments, **environment)
        self.wait_for_windows(1)
        self.wait_until_still()
        self.take(name)
        running.process.kill()
        running.process.wait()
        self.display.wait_for_windows(0)

    def wait_until_still(self):
        seen = []

        def still():
            seen.append(self.display.picture())
            return len(seen) > 2 and seen[-1] == seen[-3]
        wait_until(still, "a picture that stays")

    def take_all(self):
        self.take_check("check-window")
        self.take_check("check-window-german", "-AppleLanguages", "(de)")
        shutil.copytree(SAMPLES / "ar.lproj", f"{RESOURCES}/ar.lproj")
        self.take_check("check-window-right-to-left", "-AppleLanguages", "(ar)")
        self.take_check("check-window-double-density", QT_SCALE_FACTOR="2")
        settings = pathlib.Path(self.display.environment["XDG_CONFIG_HOME"]) / "qt6ct"
        settings.mkdir()
        (settings / "qt6ct.conf").write_text(DARK, encoding="utf-8")
        self.take_check("check-window-dark", QT_QPA_PLATFORMTHEME="qt6ct")
        self.take_repair()
        self.take_second_start()

    def take_repair(self):
        payload = f"{RESOURCES}/QuillmoreFS.pkg"
        self.machine.flip_byte(payload)
        running = self.start()
        self.wait_for_windows(1)
        self.display.press("Return")
        self.display.wait_for("Installing the components of Quillmore...")
        self.wait_for_windows(2)
        self.take("progress")
        self.display.wait_for("The installation failed")
        self.wait_for_windows(2)
        self.wait_until_still()
        self.take("failed")
        running.process.kill()
        self.display.wait_for_windows(0)
        self.machine.flip_byte(payload)

    def take_second_start(self):
        self.machine.restore(REPAIRED)
        self.machine.launch()
        running = self.start()
        self.wait_for_windows(1)
        self.wait_until_still()
        self.take("already-running")
        self.display.press("Return")
        running.end()


def inside():
    photographer = Photographer()
    photographer.take_all()
    with tarfile.open(fileobj=sys.stdout.buffer, mode="w|") as archive:
        for name, content in photographer.pictures:
            entry = tarfile.TarInfo(name)
            entry.size = len(content)
            archive.addfile(entry, io.BytesIO(content))


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    make_repaired_archive()
    archive = BUILD / "pictures.tar"
    with open(archive, "wb") as file:
        run_in_machine(MachineTest, os.path.abspath(__file__), INSIDE, output=file).check_returncode()
    with tarfile.open(archive) as pictures:
        for entry in pictures:
            (folder / entry.name).write_bytes(pictures.extractfile(entry).read())
            print(folder / entry.name)
    archive.unlink()


if __name__ == "__main__":
    inside() if INSIDE in sys.argv else main()
