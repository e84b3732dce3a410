"""Attacks on everybody else: runs that their callers stop or slow down, so that others wait."""
import fcntl
import os
import pathlib
import resource
import signal
import time

from attack import AttackTest, HOME, LOG, MENU_ITEMS, PRODUCT, STAGING, TOOL, main
from packages import plug_in


class Waiting(AttackTest):
    def held_up(self, path, *command, through=(), **options):
        """A run that waits for a lock which the test holds, and the file that holds it."""
        held = open(path, "w" if path != LOG else "a", encoding="ascii")
        os.chmod(path, 0o600)
        fcntl.flock(held, fcntl.LOCK_EX)
        self.addCleanup(held.close)
        running = self.start_as_user(*through, TOOL, *command, **options)
        self.until(lambda: self.waits(running.pid))
        return running, held

    @staticmethod
    def waits(process):
        with open("/proc/locks", encoding="ascii") as locks:
            return any("-> FLOCK" in line and line.split()[5] == str(process) for line in locks)

    def until(self, condition):
        for _ in range(6000):
            if condition():
                return
            time.sleep(0.01)
        self.fail("it never came to that")

    def expect_out_of_reach(self, running):
        for name in ("STOP", "KILL", "TERM"):
            self.assertNotEqual(self.as_user("kill", f"-{name}", str(running.pid)).returncode, 0)

    def test_run_at_the_logs_lock_cannot_be_stopped(self):
        """Whoever holds that lock keeps every other run waiting, also the ones that are refused."""
        self.tool(*self.install)
        running, held = self.held_up(LOG, "repaircore", "/x")
        self.expect_out_of_reach(running)
        held.close()
        self.assertEqual(running.wait(timeout=60), 64)

    def test_run_at_the_products_lock_cannot_be_stopped(self):
        running, held = self.held_up(f"{PRODUCT}/.updateqm.lock", *self.install)
        self.expect_out_of_reach(running)
        held.close()
        self.assertEqual(running.wait(timeout=60), 0)
        self.expect_installed()

    def test_run_that_its_caller_slows_down_is_an_ordinary_one_when_others_wait_for_it(self):
        def slow():
            os.nice(19)
            os.sched_setaffinity(0, [sorted(os.sched_getaffinity(0))[0]])
            os.sched_setscheduler(0, os.SCHED_BATCH, os.sched_param(0))
        running, held = self.held_up(f"{PRODUCT}/.updateqm.lock", *self.install, preexec_fn=slow)
        if self.root_may_raise_priorities():
            self.assertEqual(os.getpriority(os.PRIO_PROCESS, running.pid), 0)
        self.assertEqual(os.sched_getscheduler(running.pid), os.SCHED_OTHER)
        self.assertEqual(os.sched_getaffinity(running.pid), os.sched_getaffinity(0))
        for command in (("renice", "-n", "19", "-p"), ("chrt", "--idle", "-p", "0"), ("taskset", "-p", "1")):
            self.assertNotEqual(self.as_user(*command, str(running.pid)).returncode, 0)
        held.close()
        self.assertEqual(running.wait(timeout=60), 0)

    def test_run_that_others_wait_for_has_no_more_rights_than_it_needs(self):
        """Nor does the caller have the memory killer choose it, when it does not forbid that itself."""
        running, held = self.held_up(f"{PRODUCT}/.updateqm.lock", *self.install,
                                     through=("choom", "-n", "1000", "--"))
        status = dict(line.split(":\t", 1) for line in
                      pathlib.Path(f"/proc/{running.pid}/status").read_text(encoding="ascii").splitlines() if ":\t" in line)
        needed = sum(1 << number for number in (0, 1, 3, 4, 5, 6, 7, 23, 24))
        for which in ("CapPrm", "CapEff", "CapBnd", "CapInh", "CapAmb"):
            self.assertEqual(int(status[which], 16) & ~needed, 0, which)
        self.assertEqual((status["NoNewPrivs"], status["Seccomp"]), ("1", "2"))
        if self.root_may_raise_priorities():
            self.assertEqual(pathlib.Path(f"/proc/{running.pid}/oom_score_adj").read_text(encoding="ascii"), "0\n")
        held.close()
        self.assertEqual(running.wait(timeout=60), 0)

    @staticmethod
    def root_may_raise_priorities():
        """Not in a user namespace."""
        try:
            os.setpriority(os.PRIO_PROCESS, 0, -1)
        except PermissionError:
            return False
        os.setpriority(os.PRIO_PROCESS, 0, 0)
        return True

    def test_holder_that_somebody_froze_is_ended_by_the_next_run(self):
        """As a control group does it. Its time is up, says the clock of the one who waits."""
        place = f"{MENU_ITEMS}/A.plugin"
        package = self.write(f"{HOME}/a.zip", plug_in(*[(f"A.plugin/{number}", "x" * 1000) for number in range(3000)]))
        self.sign(package, "repairzipitem", place)
        frozen = self.start_as_user(TOOL, "repairzipitem", package, f"{package}.sig", place)
        self.until(lambda: os.path.exists(f"{MENU_ITEMS}/{STAGING}/A.plugin/10"))
        frozen.send_signal(signal.SIGSTOP)
        self.assertIsNone(frozen.poll())
        with open(f"{PRODUCT}/.updateqm.lock", "r+", encoding="ascii") as lock:
            record = lock.read().split()
            self.assertEqual(record[0], str(frozen.pid))
            lock.seek(0)
            lock.write(f"{record[0]} {record[1]} {int(record[2]) - 601}".ljust(96))
        self.assertEqual(self.tool(*self.install).returncode, 0)
        self.assertEqual(frozen.wait(timeout=60), -signal.SIGKILL)
        self.assertFalse(os.path.exists(MENU_ITEMS))
        self.expect_installed()

    def test_limits_of_its_caller_do_not_end_a_run_that_others_wait_for(self):
        tiny = (resource.RLIMIT_STACK, 1 << 18), (resource.RLIMIT_FSIZE, 0), (resource.RLIMIT_CPU, 1)

        def lower():
            for which, size in tiny:
                resource.setrlimit(which, (size, resource.getrlimit(which)[1]))
        running, held = self.held_up(f"{PRODUCT}/.updateqm.lock", *self.install, preexec_fn=lower)
        for which, _ in tiny:
            self.assertGreaterEqual(resource.prlimit(running.pid, which)[0] % (1 << 64), 8 << 20, which)
        held.close()
        self.assertEqual(running.wait(timeout=60), 0)


if __name__ == "__main__":
    main()
