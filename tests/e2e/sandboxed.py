"""Runs each test of a module on a private machine of its own (Packaging/sandbox), as its root.

A module calls `main()`. Outside, a SandboxedTest only starts a machine and waits for it; inside, the
same test is run for real; a MachineTest has `self.machine` for its verbs. QUILLMORE_BUILD names the build
folder (default: build/dev). Exit status 77: skipped, for the reason that is printed.
"""
import fcntl
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

from machine import Machine

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("QUILLMORE_BUILD", REPOSITORY / "build/dev")).resolve()
SANDBOX = REPOSITORY / "Packaging/sandbox"
BUNDLE = BUILD / "Quillmore.app"
REPAIRED = BUILD / "tests/e2e/repaired.tar"
# The system's own: what lies in a home folder cannot be seen on a machine.
PYTHON = "/usr/bin/python3"
INSIDE = "--inside"
KEEP_REPAIRED = "keep_repaired"
SKIPPED = 77
# A test that hangs is ended; none comes near it.
LONGEST = 300


class SandboxedTest(unittest.TestCase):
    """One test is one machine. A class says what its machines are like."""

    policy = "grant"  # what polkit answers, see Packaging/sandbox --help; "off" starts fastest
    system = "10.5.8"
    finder = False  # quitting it costs each repair of a root tool a second
    bundle = BUNDLE  # what is in /Applications; None: nothing

    def run(self, result=None):
        if INSIDE in sys.argv:
            return super().run(result)
        result.startTest(self)
        finished = run_in_machine(self, os.path.abspath(sys.argv[0]), INSIDE, self.id().split(".", 1)[1])
        if finished.returncode == 0:
            result.addSuccess(self)
        elif finished.returncode == SKIPPED:
            result.addSkip(self, finished.stdout.strip().splitlines()[-1])
        else:
            failure = AssertionError(f"status {finished.returncode}\n{finished.stdout}")
            result.addFailure(self, (AssertionError, failure, None))
        result.stopTest(self)
        return result


class MachineTest(SandboxedTest):
    """A test that says what happens to the machine, and looks at it, by the verbs of `machine`."""

    repaired = False  # False: nothing is installed. True: everything, as a repair leaves it.

    def run(self, result=None):
        if INSIDE in sys.argv:
            self.machine = Machine(BUILD)
        elif self.repaired:
            make_repaired_archive()
        return super().run(result)

    def setUp(self):
        if self.repaired:
            self.machine.restore(REPAIRED)


def run_in_machine(options, *command, output=subprocess.PIPE):
    finder = [] if options.finder else ["--no-finder"]
    bundle = ["--install-bundle", options.bundle] if options.bundle else []
    process = subprocess.Popen(
        [SANDBOX, "--build", BUILD, *bundle, "--policy", options.policy, "--system", options.system,
         *finder, "--root", "--", PYTHON, "-B", *command],
        env=dict(os.environ, QUILLMORE_BUILD=str(BUILD)), stdin=subprocess.DEVNULL, stdout=output,
        stderr=subprocess.STDOUT if output is subprocess.PIPE else None, text=True)
    try:
        text = process.communicate(timeout=LONGEST)[0]
    except subprocess.TimeoutExpired:
        process.terminate()  # and the machine goes with it
        text = f"ended after {LONGEST} seconds\n{process.communicate()[0]}"
    return subprocess.CompletedProcess(process.args, process.returncode, text)


def make_repaired_archive():
    """What the launcher's own repair leaves in /Library, made once a build and shared by all."""
    REPAIRED.parent.mkdir(parents=True, exist_ok=True)
    with open(REPAIRED.with_suffix(".lock"), "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        newest = max(path.stat().st_mtime for path in BUNDLE.rglob("*"))
        if REPAIRED.exists() and REPAIRED.stat().st_mtime > newest:
            return
        fresh = REPAIRED.with_suffix(".new")
        with open(fresh, "wb") as archive:
            run_in_machine(MachineTest, __file__, INSIDE, KEEP_REPAIRED,
                           output=archive).check_returncode()
        fresh.rename(REPAIRED)


def keep_repaired():
    """Inside: repairs a machine and writes the archive to standard output."""
    machine = Machine(BUILD)
    ended = machine.launch(answers="\n")
    if ended.status != 0:
        sys.exit(f"the repair ended with status {ended.status}\n{ended.output}\n{ended.errors}")
    machine.archive()


def reason_to_skip():
    if not BUNDLE.is_dir():
        return f"{BUNDLE} is not built"
    programs = (PYTHON, "/usr/lib/polkit-1/polkitd", "dbus-daemon", "pkexec", "setpriv", "unshare",
                "newuidmap")
    path = os.environ.get("PATH", "") + ":/usr/sbin:/sbin"
    for program in programs if os.geteuid() != 0 else programs[:-1]:
        if shutil.which(program, path=path) is None:
            return f"{program} is not installed (Packaging/setup)"
    return reason_for_no_machine()


def reason_for_no_machine():
    probe = subprocess.run([SANDBOX, "--build", BUILD, "--policy", "off", "--no-finder", "true"],
                           stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if probe.returncode != 0:
        return f"no private machine can be made here: {probe.stderr.strip()}"
    return None


def main(reason_to_skip=reason_to_skip):
    if INSIDE in sys.argv:
        loader = unittest.TestLoader()
        suite = loader.loadTestsFromName(sys.argv[-1], sys.modules["__main__"])
        result = unittest.TextTestRunner(stream=sys.stdout, verbosity=0).run(suite)
        if result.wasSuccessful() and result.skipped:
            print(result.skipped[0][1])
            sys.exit(SKIPPED)
        sys.exit(0 if result.wasSuccessful() and result.testsRun == 1 else 1)
    reason = reason_to_skip()
    if reason:
        print("skipped:", reason)
        sys.exit(SKIPPED)
    unittest.main(verbosity=2)


if __name__ == "__main__" and sys.argv[1:] == [INSIDE, KEEP_REPAIRED]:
    keep_repaired()
