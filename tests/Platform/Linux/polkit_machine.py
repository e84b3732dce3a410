"""A private machine (mounts and processes) with a real bus and polkit for each test, and a probe that asks
for administrator rights on it. A module calls `main()`.

Arguments: the probe, the test agent, the folders of the polkit module and of the privileged program. Needs root and polkit, pkexec and
dbus-daemon; exits with 77 (skipped) and says so without them.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import time
import unittest

PROBE, AGENT, MODULES, HELPERS = (os.path.abspath(argument) for argument in sys.argv[1:5])

USER = 1000
INTERACTION = 1
POLICY = pathlib.Path(__file__).resolve().parents[3] / "Packaging/linux/com.quillmore.launcher.policy"
ACTIONS = pathlib.Path("/usr/share/polkit-1/actions")
POLKITD = "/usr/lib/polkit-1/polkitd"
EXEC = "org.freedesktop.policykit.exec"
INSTALL, MOVE = "com.quillmore.launcher.install-components", "com.quillmore.launcher.move-to-applications"
# Where the policy file says that the programs are, and where they are on these machines.
PACKAGED, ROOTS_HELPERS = "/usr/lib/quillmore/Quillmore.app/Contents/Helpers", "/run/helpers"
BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=/run/dbus/system_bus_socket</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><deny own="*"/><deny send_type="method_call"/>
<allow send_type="signal"/><allow send_requested_reply="true" send_type="method_return"/>
<allow send_requested_reply="true" send_type="error"/><allow receive_type="method_call"/>
<allow receive_type="method_return"/><allow receive_type="error"/><allow receive_type="signal"/>
<allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/></policy>
<includedir>/usr/share/dbus-1/system.d</includedir></busconfig>"""



PASSWORDS = {"admin": "open sesame", "other": "shibboleth"}
ACCOUNTS = {"user": USER, "admin": 1001, "other": 1002}
# PAM that waits until somebody opens the gate before it asks.
GATE = pathlib.Path("/run/gate")
GATED = f"auth required pam_exec.so quiet /bin/cat {GATE}\n"
PAM = "auth required pam_unix.so nodelay\naccount required pam_unix.so\nsession required pam_permit.so\n"


def mount(kind, target, options):
    subprocess.run(["mount", "-t", kind, "-o", options, kind, target], check=True)


class Machine:
    """This process in mounts of its own (the process table was made private when it was started)."""

    def __init__(self, rules, packaged=False, administrators=()):
        mount("tmpfs", "/run", "mode=755")
        for folder in ("/run/dbus", "/run/actions", "/run/polkit-1"):
            os.mkdir(folder)
        if not os.path.samefile("/run", "/var/run"):
            subprocess.run(["mount", "--bind", "/run", "/var/run"], check=True)
        for policy in ACTIONS.glob("*.policy"):
            shutil.copy(policy, "/run/actions")
        own = pathlib.Path("/run/actions") / POLICY.name
        own.unlink(missing_ok=True)
        if packaged:
            own.write_text(POLICY.read_text(encoding="utf-8").replace(PACKAGED, ROOTS_HELPERS),
                           encoding="utf-8")
            shutil.copytree(HELPERS, ROOTS_HELPERS)
        subprocess.run(["mount", "--bind", "/run/actions", str(ACTIONS)], check=True)
        mount("tmpfs", "/etc/polkit-1/rules.d", "mode=755")
        lines = "".join(f'if (action.id == "{a}") return polkit.Result.{r};' for a, r in rules.items())
        users = ", ".join(f'"unix-user:{name}"' for name in administrators)
        pathlib.Path("/etc/polkit-1/rules.d/10-test.rules").write_text(
            "polkit.addRule(function(action, subject) {%s});"
            "polkit.addAdminRule(function(action, subject) {return [%s];});" % (lines, users))
        if administrators:
            self.write_accounts()
        self.start_bus()

    @staticmethod
    def write_accounts():
        """Accounts of the machine's own, and the plain password check without its delays."""
        lines = {"passwd": "", "group": "", "shadow": ""}
        for file in ("passwd", "group"):
            known = pathlib.Path("/etc", file).read_text().splitlines(keepends=True)
            lines[file] = "".join(line for line in known if line.split(":")[0] not in ACCOUNTS
                                  and int(line.split(":")[2]) not in ACCOUNTS.values())
        for name, number in ACCOUNTS.items():
            secret = subprocess.run(["openssl", "passwd", "-6", "-stdin"], text=True, check=True,
                                    input=PASSWORDS[name], stdout=subprocess.PIPE
                                    ).stdout.strip() if name in PASSWORDS else "!"
            lines["passwd"] += f"{name}:x:{number}:{number}::/:/bin/sh\n"
            lines["group"] += f"{name}:x:{number}:\n"
            lines["shadow"] += f"{name}:{secret}:19000:0:99999:7:::\n"
        for file, text in lines.items():
            private = pathlib.Path("/run", file)
            private.write_text(text)
            private.chmod(0o600 if file == "shadow" else 0o644)
            subprocess.run(["mount", "--bind", private, f"/etc/{file}"], check=True)
        mount("tmpfs", "/etc/pam.d", "mode=755")
        pathlib.Path("/etc/pam.d/polkit-1").write_text(PAM)

    def start_bus(self):
        pathlib.Path("/run/bus.conf").write_text(BUS_CONFIG)
        # The address appears when the socket listens; dbus-daemon says so on its standard output.
        self.bus = subprocess.Popen(["dbus-daemon", "--config-file=/run/bus.conf", "--nofork",
                                     "--nopidfile", "--print-address"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.bus.stdout.readline()
        self.polkitd = subprocess.Popen([POLKITD, "--no-debug"], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        wait_until(lambda: b"true" in subprocess.run(
            ["dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.DBus", "/",
             "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.PolicyKit1"],
            stdout=subprocess.PIPE).stdout)

    def stop(self, *daemons):
        for daemon in daemons:
            daemon.kill()
            daemon.wait()


def wait_until(condition):
    end = time.monotonic() + 10
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("the machine did not get ready")
        time.sleep(0.01)


def as_user(user, *command, **options):
    return subprocess.Popen([str(word) for word in command], user=user, group=user, extra_groups=[],
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                            cwd="/", env={"PATH": "/usr/bin:/bin", "G_DEBUG": "fatal-warnings"}, **options)


class Probe:
    def __init__(self, user=USER, helpers=HELPERS, **options):
        # A session without a terminal, or it would ask there.
        self.process = as_user(user, PROBE, MODULES, helpers, start_new_session=True, **options)

    def __call__(self, line):
        self.begin(line)
        return self.line()

    def begin(self, line):
        print(line, file=self.process.stdin, flush=True)

    def line(self):
        return self.process.stdout.readline().rstrip("\n")

    def copy(self, flags=INTERACTION):
        return int(self(f"copy {flags}"))

    def end(self):
        """Standard error and the exit status."""
        problems = self.process.communicate()[1]
        return problems, self.process.returncode

    def with_agent(self, *mode):
        self.agent = as_user(USER, AGENT, self.process.pid, *mode)
        assert self.agent.stdout.readline() == "ready\n", self.agent.stderr.read()
        return self


def running(name):
    """The processes whose name begins so, by number; not those that have ended."""
    return [int(folder.name) for folder in pathlib.Path("/proc").glob("[0-9]*")
            if begins_so_and_runs(folder, name)]


def begins_so_and_runs(process, name):
    try:
        command, state = (process / "stat").read_text().split("(", 1)[1].rsplit(") ", 1)
    except OSError:
        return False
    return command.startswith(name) and not state.startswith("Z")


def program():
    """The privileged programs that run."""
    return running("quillmore-")


def run_one(name):
    """Body of the inner process: one test in the private machine."""
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)
    mount("proc", "/proc", "nosuid,nodev,noexec")
    result = unittest.TextTestRunner(stream=open(os.devnull, "w")).run(
        unittest.TestLoader().loadTestsFromName(name, sys.modules["__main__"]))
    for _, text in result.errors + result.failures:
        print(text, file=sys.stderr)
    return 0 if result.wasSuccessful() else 1


def missing():
    if os.geteuid() != 0:
        return "needs root for a private machine with set-user-ID programs"
    for program in ("/usr/bin/pkexec", POLKITD, shutil.which("dbus-daemon"), shutil.which("unshare")):
        if program is None or not os.path.exists(program):
            return f"{program or 'dbus-daemon or unshare'} is not installed"
    return None


def main(tests):
    """Runs the tests of the class, or the one that the last argument names in its machine."""
    if len(sys.argv) > 5:
        sys.exit(run_one(sys.argv[5]))
    reason = missing()
    if reason:
        print("skipped:", reason)
        sys.exit(77)
    names = [f"{tests.__name__}.{name}" for name in unittest.TestLoader().getTestCaseNames(tests)]
    failed = 0
    for name in names:
        inner = subprocess.run(["unshare", "--mount", "--pid", "--ipc", "--fork", "--kill-child",
                                sys.executable, os.path.abspath(sys.argv[0]), PROBE, AGENT, MODULES,
                                HELPERS, name], timeout=60)
        failed += inner.returncode != 0
        print("ok    " if inner.returncode == 0 else "FAILED", name, flush=True)
    print(f"{len(names)} tests, {failed} failed")
    sys.exit(1 if failed else 0)
