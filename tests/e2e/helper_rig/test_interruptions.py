"""Attacks in time and on the machine: runs that are killed or stopped, runs at once, full and
read-only volumes, and a log that should grow without end."""
import os
import pathlib
import random
import shutil
import signal
import subprocess
import time

from attack import AttackTest, HOME, LOG, MENU_ITEMS, PRODUCT, STAGING, TOOL, main
from packages import plug_in

PLACE = f"{MENU_ITEMS}/A.plugin"


class Interrupted(AttackTest):
    """Old or new, never neither: a bundle of many files, so that there is much to interrupt."""

    ROUNDS = 30

    def setUp(self):
        super().setUp()
        self.commands = {}
        for age in ("old", "new"):
            more = [(f"A.plugin/{number}", age * 100) for number in range(60)]
            package = self.write(f"{HOME}/{age}.zip", plug_in(*more))
            self.sign(package, "repairzipitem", PLACE)
            self.commands[age] = ("repairzipitem", package, f"{package}.sig", PLACE)
        self.states = {}
        for age in ("new", "old"):
            self.assertEqual(self.tool(*self.commands[age]).returncode, 0)
            self.states[age] = self.state()

    def expect_old_or_new(self, running=None):
        """After a run that does nothing but what every run does first. One that still runs may be
        at the end of its work, which is to remove what it replaced."""
        self.assertNotEqual(self.tool("repairpermissionsother", "nothing").returncode, 0)
        runs_still = running is not None and running.poll() is None
        self.assertIn(self.state(without=".quillmore-old." if runs_still else None), self.states.values())

    def end_at_some_moment(self, number, sender):
        """`sender` sends `number` to a run at a moment that differs from round to round."""
        random.seed(number)
        started = time.monotonic()
        self.assertEqual(self.tool(*self.commands["old"]).returncode, 0)
        usual = time.monotonic() - started
        for turn in range(self.ROUNDS):
            age = ("new", "old")[turn % 2]
            running = self.start_as_user(TOOL, *self.commands[age])
            time.sleep(usual * 1.2 * random.random())
            sender(running)
            yield running
            self.expect_old_or_new(running)
        for age in ("new", "old"):
            self.assertEqual(self.tool(*self.commands[age]).returncode, 0)
            self.assertEqual(self.state(), self.states[age])

    def test_run_killed_at_any_moment_by_its_caller_leaves_old_or_new(self):
        def kill(running):
            self.as_user("kill", "-KILL", str(running.pid))
        for running in self.end_at_some_moment(signal.SIGKILL, kill):
            running.wait()

    def test_run_killed_at_any_moment_by_the_system_leaves_old_or_new(self):
        """As by its memory killer, which the caller may direct at the tool."""
        for running in self.end_at_some_moment(-signal.SIGKILL, lambda running: running.kill()):
            running.wait()

    def test_run_signalled_at_any_moment_is_finished_or_untouched(self):
        numbers = ("XFSZ", "XCPU", "TERM", "INT", "HUP", "QUIT", "PIPE", "ALRM", "USR1", "USR2", "TSTP", "IO", "VTALRM")

        def send(running):
            for name in numbers:
                self.as_user("kill", f"-{name}", str(running.pid))
        for running in self.end_at_some_moment(signal.SIGXFSZ, send):
            running.wait(timeout=60)

    def test_run_stopped_at_any_moment_keeps_nobody_waiting(self):
        stopped = []

        def stop(running):
            self.as_user("kill", "-STOP", str(running.pid))
            stopped.append(running)
        for _ in self.end_at_some_moment(signal.SIGSTOP, stop):
            pass
        for running in stopped:
            self.as_user("kill", "-CONT", str(running.pid))
            running.wait(timeout=60)
        self.expect_old_or_new()

    def test_terminals_stop_key_does_not_stop_a_run(self):
        for age in ("new", "old"):
            script = f"import os,pty\npty.spawn({[TOOL, *self.commands[age]]!r})\n"
            session = self.start_as_user("/usr/bin/python3", "-c", script, stdin=subprocess.PIPE)
            session.stdin.write("\x1a\x03\x1c")
            session.stdin.close()
            session.wait(timeout=60)
        self.expect_old_or_new()


class AtOnce(AttackTest):
    def test_two_callers_at_once_wait_for_each_other(self):
        for number in range(8):
            package = self.write(f"{HOME}/tool{number}", f"Quillmore Limited 1.{number}\n" * 10_000)
            self.sign(package, "repairother", f"tool{number}")
        running = [self.start_as_user(TOOL, "repairother", f"{HOME}/tool{number}", f"{HOME}/tool{number}.sig")
                   for number in range(8) for _ in range(4)]
        self.assertEqual([each.wait(timeout=60) for each in running], [0] * 32)
        after = self.state()
        self.assertEqual({path for path in after if path not in self.before},
                         {f"{PRODUCT}/tool{number}" for number in range(8)})
        for number in range(8):
            self.assertEqual(pathlib.Path(f"{PRODUCT}/tool{number}").read_bytes(),
                             pathlib.Path(f"{HOME}/tool{number}").read_bytes())

    def test_user_cannot_hold_the_lock(self):
        for command in (f"flock -n -x '{PRODUCT}/.updateqm.lock' sleep 60",
                        f"flock -n -s '{PRODUCT}/.updateqm.lock' sleep 60",
                        f"flock -x '{PRODUCT}' sleep 60"):
            self.start_as_user("/bin/sh", "-c", command)
        time.sleep(0.2)
        self.expect_works_still()

    def test_first_runs_at_once_on_a_bare_machine_leave_nothing_half_made(self):
        """Runs that fail take away what they made while others wait for it."""
        shutil.copy(TOOL, "/Library/updateqm")
        os.chmod("/Library/updateqm", 0o4755)
        shutil.rmtree("/Library/Application Support")
        package = self.write(f"{HOME}/a.zip", plug_in(("../x", "x")))
        self.sign(package, "repairzipitem", PLACE)
        self.before = self.state()
        running = [self.start_as_user("/Library/updateqm", "repairzipitem", package, f"{package}.sig", PLACE)
                   for _ in range(24)]
        self.assertEqual({each.wait(timeout=60) for each in running}, {65})
        # A folder made by one run and used by the next may stay: empty, and root's alone.
        support = "/Library/Application Support"
        for folder, folders, files in os.walk(support):
            self.assertEqual((files, os.stat(folder).st_uid, os.stat(folder).st_mode & 0o022), ([], 0, 0), folder)
        shutil.rmtree(support, ignore_errors=True)
        self.expect_unchanged()
        running = [self.start_as_user("/Library/updateqm", *self.install) for _ in range(24)]
        self.assertEqual({each.wait(timeout=60) for each in running}, {0})


class Volumes(AttackTest):
    def on_a_volume(self, options):
        """/Library on a small volume of its own, with what was in it."""
        shutil.copytree("/Library", "/run/library", symlinks=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tmpfs", "/Library"], check=True)
        shutil.copytree("/run/library", "/Library", symlinks=True, dirs_exist_ok=True)
        os.chmod(TOOL, 0o4755)
        self.before = self.state()

    def test_full_disk_changes_nothing(self):
        self.on_a_volume(f"size={os.stat(TOOL).st_size // 1024 + 400}k,mode=755")
        content = "Quillmore Limited 2.0\n" + "x" * (2 << 20)
        self.write(f"{HOME}/tool", content)
        self.sign(f"{HOME}/tool", "repairother", "tool")
        self.expect_refused(*self.install, because="No space left on device")
        filling = os.open("/Library/filling", os.O_WRONLY | os.O_CREAT)
        with self.assertRaises(OSError):  # to the last byte
            while True:
                os.write(filling, b"x" * 4096)
        os.close(filling)
        self.before = self.state()
        self.write(f"{HOME}/tool", "Quillmore Limited 2.0\n")
        self.sign(f"{HOME}/tool", "repairother", "tool")
        self.expect_refused(*self.install, because="No space left on device")
        os.unlink("/Library/filling")
        self.before.pop("/Library/filling")
        self.expect_works_still()

    def test_volume_without_inodes_changes_nothing(self):
        used = sum(len(names) + len(files) for _, names, files in os.walk("/Library"))
        self.on_a_volume(f"nr_inodes={used + 4},mode=755")
        self.expect_refused(*self.install, because="No space left on device")

    def test_read_only_target_changes_nothing(self):
        self.on_a_volume("mode=755")
        subprocess.run(["mount", "-o", "remount,ro", "/Library"], check=True)
        self.expect_refused(*self.install, because="Read-only file system")
        subprocess.run(["mount", "-o", "remount,rw", "/Library"], check=True)
        self.expect_works_still()

    def test_full_log_volume_stops_no_repair(self):
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4k,mode=755", "tmpfs", "/var/log"], check=True)
        pathlib.Path("/var/log/filling").write_bytes(b"x" * 4096)
        self.before = self.state()
        self.expect_works_still()


class AuditTrail(AttackTest):
    def test_every_run_leaves_its_caller_command_item_and_outcome(self):
        self.tool(*self.install)
        self.tool("repaircore", "/XCore.app")
        self.tool("secret-password", "hunter2")
        lines = pathlib.Path(LOG).read_text(encoding="utf-8").splitlines()[-3:]
        self.assertRegex(lines[0], r'^\S+Z updateqm\[\d+\]: user 1000 command "repairother" status 0 '
                         rf'item "{HOME}/tool" "{HOME}/tool.sig"$')
        self.assertRegex(lines[1], r'user 1000 command "repaircore" status 66 item "/XCore.app": cannot examine')
        self.assertIn("status 64", lines[2])
        self.assertNotIn("hunter2", "".join(lines))
        self.assertEqual(os.lstat(LOG).st_mode & 0o7777, 0o600)

    def test_log_does_not_grow_without_bound(self):
        word = "repaircore", "/" + "x" * 250 + "/" + "y" * 250
        for _ in range(600):
            self.tool(*word)
        self.assertTrue(os.path.exists(f"{LOG}.1"))
        pathlib.Path(LOG).write_bytes(b"x" * (300 << 10))
        for _ in range(20):
            self.tool(*word)
        self.assertLess(sum(os.path.getsize(path) for path in (LOG, f"{LOG}.1")), 600 << 10)
        self.assertEqual([name for name in os.listdir("/var/log") if "updateqm" in name and name not in
                          ("updateqm.log", "updateqm.log.1")], [])

    def test_user_can_neither_read_nor_empty_the_log(self):
        self.tool(*self.install)
        before = pathlib.Path(LOG).read_bytes()
        for command in (f"cat {LOG}", f": > {LOG}", f"echo x >> {LOG}", f"rm {LOG}", f"mv {LOG} {HOME}"):
            self.assertNotEqual(self.as_user("/bin/sh", "-c", command).returncode, 0)
        self.assertEqual(pathlib.Path(LOG).read_bytes(), before)


class Leftovers(AttackTest):
    def test_nobody_but_root_sees_what_is_being_staged(self):
        package = self.write(f"{HOME}/tool", b"Quillmore Limited 2.0\n".ljust(8 << 20))
        self.sign(package, "repairother", "tool")

        def look():
            for path in (f"{PRODUCT}/{STAGING}", f"{PRODUCT}/{STAGING}/tool"):
                try:
                    os.listdir(path)
                    open(f"{HOME}/seen", "w", encoding="ascii").close()
                except (PermissionError, FileNotFoundError, NotADirectoryError):
                    pass
        self.fork_as_user(look)
        for _ in range(20):
            self.assertEqual(self.tool(*self.install).returncode, 0)
        self.assertFalse(os.path.exists(f"{HOME}/seen"))

    def test_bit_given_back_only_to_what_got_it_by_a_signature(self):
        self.assertEqual(self.tool(*self.install).returncode, 0)
        for mode, owner in ((0o755, 0), (0o777, 0), (0o755, 1000)):
            os.chown(f"{PRODUCT}/tool", owner, owner)
            os.chmod(f"{PRODUCT}/tool", mode)
            self.before = self.state()
            self.expect_refused("repairpermissionsotherroot", "tool")
        self.sign(f"{HOME}/tool", "repairotherroot", "tool")
        self.assertEqual(self.tool("repairotherroot", *self.install[1:]).returncode, 0)
        os.chmod(f"{PRODUCT}/tool", 0o777)
        self.before = self.state()
        self.expect_refused("repairpermissionsotherroot", "tool", because="could be changed by others")


if __name__ == "__main__":
    main()
