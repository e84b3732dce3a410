"""A core that runs already, of products with names of every kind."""
import os
import pathlib

import launcher
from expectations import LauncherTest
from machine import BUNDLE, RESOURCES
from sandboxed import main

LETTING = "(nrm) Letting other copy run, we will terminate"
NAMES = ["A", "Twelve Bytes", "x" * 60, "Schöne Äpfel & Birnen", '100% of "%@" it is $HOME']


class NamedProduct(LauncherTest):
    repaired = True
    policy = "off"
    product = "Quillmore"

    def name_product(self, name):
        """The bundle becomes that of another product."""
        for table in pathlib.Path(RESOURCES).glob("*.lproj/Localizable.strings"):
            escaped = name.replace("\\", "\\\\").replace('"', '\\"')
            text = table.read_text(encoding="utf-8")
            changed = text.replace(f'"ProductName" = "{self.product}";',
                                   f'"ProductName" = "{escaped}";')
            self.assertNotEqual(text, changed)
            table.write_text(changed, encoding="utf-8")
        core = f"{RESOURCES}/{name}Core.app"
        os.rename(f"{RESOURCES}/{self.product}Core.app", core)
        os.rename(f"{core}/Contents/MacOS/{self.product}Core", f"{core}/Contents/MacOS/{name}Core")
        self.machine.edit_information(core, CFBundleExecutable=f"{name}Core")
        self.machine.edit_catalogue(lambda items: items[0].update(Resource=f"{name}Core.app"))
        self.product = name

    def cores(self):
        program = f"{RESOURCES}/{self.product}Core.app/Contents/MacOS/{self.product}Core"
        return [int(folder.name) for folder in pathlib.Path("/proc").glob("[0-9]*")
                if self.program_of(folder) == program]

    @staticmethod
    def program_of(folder):
        try:
            return os.readlink(folder / "exe")
        except OSError:  # ended meanwhile, or one of the kernel's
            return None

    def test_a_second_start_finds_the_running_core_whatever_the_name(self):
        for name in NAMES:
            with self.subTest(name):
                self.name_product(name)
                first = self.machine.launch()
                self.assertIn("Will terminate now", first.output)
                running = self.cores()
                self.assertEqual(len(running), 1)
                second = self.machine.launch()
                self.assertEqual((second.status, second.errors), (0, ""))
                self.assertIn(LETTING + "\n", second.output)
                self.assertEqual(self.cores(), running)
                launcher.end_process(running[0])

    def test_the_log_says_when_the_processes_cannot_be_seen(self):
        self.machine.remove(f"{BUNDLE}/Contents/SharedSupport/bin/ps")
        ended = self.machine.launch(PATH="/nowhere")
        self.assertEqual(self.machine.log_problems(ended), [
            '(ERR) Cannot see whether "QuillmoreCore" is running: there is no program "ps"'])
        self.expect_core_started(ended)


if __name__ == "__main__":
    main()
