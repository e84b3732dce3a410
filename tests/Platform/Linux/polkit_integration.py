"""Authorization against a real polkit, in a private machine (mounts and processes) for each test.

Arguments: the probe, the test agent, the folder of the polkit module. Needs root
and polkit, pkexec and dbus-daemon; exits with 77 (skipped) and says so without them.
"""
import fcntl
import os
import pathlib
import pty
import select
import shutil
import subprocess
import sys
import termios
import time
import unittest

USER = 1000
INTERACTION = 1
POLICY = pathlib.Path(__file__).resolve().parents[3] / "Packaging/linux/com.quillmore.launcher.policy"
ACTIONS = pathlib.Path("/usr/share/polkit-1/actions")
POLKITD = "/usr/lib/polkit-1/polkitd"
OWN, EXEC = "com.quillmore.launcher.administer", "org.freedesktop.policykit.exec"
BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=/run/dbus/system_bus_socket</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><deny own="*"/><deny send_type="method_call"/>
<allow send_type="signal"/><allow send_requested_reply="true" send_type="method_return"/>
<allow send_requested_reply="true" send_type="error"/><allow receive_type="method_call"/>
<allow receive_type="method_return"/><allow receive_type="error"/><allow receive_type="signal"/>
<allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/></policy>
<includedir>/usr/share/dbus-1/system.d</includedir></busconfig>"""


# Administrators of the machine and their passwords.
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

    def __init__(self, rules, own_action=True, administrators=()):
        mount("tmpfs", "/run", "mode=755")
        for folder in ("/run/dbus", "/run/actions", "/run/polkit-1"):
            os.mkdir(folder)
        if not os.path.samefile("/run", "/var/run"):
            subprocess.run(["mount", "--bind", "/run", "/var/run"], check=True)
        for policy in ACTIONS.glob("*.policy"):
            shutil.copy(policy, "/run/actions")
        own = pathlib.Path("/run/actions") / POLICY.name
        own.unlink(missing_ok=True)
        if own_action:
            shutil.copy(POLICY, own)
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
    def __init__(self, user=USER, **options):
        # A session without a terminal, or pkexec would ask there.
        self.process = as_user(user, PROBE, MODULES, start_new_session=True, **options)

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


class Terminal:
    """A terminal with somebody at it; the probe on it is the leader of its session."""

    def __init__(self, starts_probe=True):
        self.here, self.there = pty.openpty()
        self.shown = ""
        self.before = self.modes()
        self.probe = Probe(preexec_fn=self.take) if starts_probe else None

    def take(self):
        fcntl.ioctl(self.there, termios.TIOCSCTTY, 0)

    def modes(self):
        return termios.tcgetattr(self.there)

    def echoes(self):
        return bool(self.modes()[3] & termios.ECHO)

    def wait_for(self, text):
        """Until the text is shown, after what was waited for before; what came is returned."""
        while text not in self.shown:
            if not select.select([self.here], [], [], 20)[0]:
                raise AssertionError(f"{text!r} did not come, only {self.shown!r}")
            self.shown += os.read(self.here, 4096).decode().replace("\r\n", "\n")
        came, self.shown = self.shown.split(text, 1)
        return came

    def rest(self):
        while select.select([self.here], [], [], 0)[0]:
            self.shown += os.read(self.here, 4096).decode().replace("\r\n", "\n")
        return self.shown

    def type(self, text):
        os.write(self.here, text.encode())

    def answer(self, *passwords):
        for password in passwords:
            self.wait_for("Password: ")
            self.type(password)

    def copy(self, *passwords):
        self.probe.begin("copy 1")
        self.answer(*passwords)
        return int(self.probe.line())


RIGHT = PASSWORDS["admin"] + "\n"


def children(process):
    listed = pathlib.Path(f"/proc/{process}/task").glob("*/children")
    return [int(word) for file in listed for word in file.read_text().split()]


class PolkitTest(unittest.TestCase):
    def test_granted_right_runs_the_tool_as_root_and_hands_out_its_output(self):
        Machine({OWN: "YES", EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("stream /usr/bin/id -u"), "0 0")
        self.assertEqual(probe.process.stdout.readline(), "\n")  # the line end that id wrote
        self.assertEqual(probe("wait"), "exit 0")

    def test_tool_that_fails_did_run_whatever_its_status(self):
        Machine({OWN: "YES", EXEC: "YES"})
        for status in (1, 126, 127):
            tool = pathlib.Path(f"/run/tool{status}")
            tool.write_text(f"#!/bin/sh\nexit {status}\n")
            tool.chmod(0o755)
            probe = Probe()
            self.assertEqual(probe.copy(), 0)
            self.assertEqual(probe(f"execute {tool}"), "0")
            self.assertEqual(probe("wait"), f"exit {status}")

    def test_success_does_not_wait_for_the_tool(self):
        Machine({OWN: "YES", EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /bin/sleep 1000"), "0")
        subprocess.run(["pkill", "-9", "-x", "sleep"], check=True)  # of this private process table
        self.assertEqual(probe("wait"), "signal 9")

    def test_denied_right_is_denied_and_does_not_execute(self):
        Machine({OWN: "NO", EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), -60005)
        self.assertEqual(probe("execute /usr/bin/id"), "-60005")

    def test_password_wanted_without_an_agent_is_no_interaction(self):
        Machine({OWN: "AUTH_ADMIN"})
        self.assertEqual(Probe().copy(), -60007)

    def test_password_wanted_without_permission_to_interact_is_no_interaction(self):
        Machine({OWN: "AUTH_ADMIN"})
        self.assertEqual(Probe().with_agent().copy(flags=0), -60007)

    def test_closed_dialog_is_cancelled_and_can_be_asked_again(self):
        Machine({OWN: "AUTH_ADMIN"})
        probe = Probe().with_agent()
        self.assertEqual(probe.copy(), -60006)
        self.assertEqual(probe.copy(), -60006)

    def test_policy_file_alone_wants_an_administrators_password(self):
        Machine({})
        self.assertEqual(Probe().copy(), -60007)

    def test_closed_dialog_of_pkexec_is_cancelled(self):
        Machine({OWN: "YES", EXEC: "AUTH_ADMIN"})
        probe = Probe().with_agent()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /usr/bin/id"), "-60006")

    def test_tool_that_pkexec_denies_or_misses_is_an_execute_failure(self):
        Machine({OWN: "YES", EXEC: "NO"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /usr/bin/id"), "-60031")
        self.assertEqual(probe("execute /nowhere/tool"), "-60031")

    def test_pkexec_takes_the_own_action_for_the_tool_of_the_bundle(self):
        Machine({OWN: "YES", EXEC: "NO"})
        tool = pathlib.Path("/run/root/Applications/Quillmore.app/Contents/Resources/updateqm")
        tool.parent.mkdir(parents=True)
        shutil.copy("/usr/bin/id", tool)
        overlay_root("/run/root/Applications", "/Applications")
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("stream /Applications/Quillmore.app/Contents/Resources/updateqm -u"), "0 0")

    def test_without_the_policy_file_the_general_action_is_asked(self):
        Machine({OWN: "NO", EXEC: "YES"}, own_action=False)
        self.assertEqual(Probe().copy(), 0)

    def test_without_the_policy_file_a_denial_of_the_general_action_counts(self):
        Machine({OWN: "YES", EXEC: "NO"}, own_action=False)
        self.assertEqual(Probe().copy(), -60005)

    def test_missing_polkit_is_an_internal_error(self):
        machine = Machine({OWN: "YES"})
        machine.stop(machine.polkitd)
        probe = Probe()
        self.assertEqual(probe.copy(), -60008)
        self.assertIn("org.freedesktop.PolicyKit1", probe.end()[0])

    def test_missing_bus_is_an_internal_error(self):
        machine = Machine({OWN: "YES"})
        machine.stop(machine.polkitd, machine.bus)
        probe = Probe()
        self.assertEqual(probe.copy(), -60008)
        self.assertIn("Could not connect", probe.end()[0])

    def test_bus_that_goes_away_between_questions_does_not_end_the_process(self):
        machine = Machine({OWN: "YES", EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        machine.stop(machine.polkitd, machine.bus)
        self.assertEqual(probe.copy(), -60008)
        self.assertEqual(probe("execute /usr/bin/id"), "-60031")
        self.assertEqual(probe.end()[1], 0)

    def test_bus_that_goes_away_under_the_dialog_does_not_end_the_process(self):
        machine = Machine({OWN: "AUTH_ADMIN"})
        probe = Probe()
        self.assertEqual(probe.copy(), -60007)
        self.assertEqual(probe("loop"), "runs")
        probe.with_agent("wait")
        print("copy 1", file=probe.process.stdin, flush=True)
        self.assertEqual(probe.agent.stdout.readline(), "asked\n")
        machine.stop(machine.bus)
        self.assertEqual(probe.process.stdout.readline(), "-60008\n")
        self.assertEqual(probe.end()[1], 0)

    def test_polkit_that_goes_away_under_the_dialog_is_an_internal_error(self):
        machine = Machine({OWN: "AUTH_ADMIN"})
        probe = Probe().with_agent("wait")
        print("copy 1", file=probe.process.stdin, flush=True)
        self.assertEqual(probe.agent.stdout.readline(), "asked\n")
        machine.stop(machine.polkitd)
        self.assertEqual(probe.process.stdout.readline(), "-60008\n")

    def test_question_is_answered_again_after_the_bus_came_back(self):
        machine = Machine({OWN: "YES"})
        machine.stop(machine.polkitd, machine.bus)
        probe = Probe()
        self.assertEqual(probe.copy(), -60008)
        os.unlink("/run/dbus/system_bus_socket")
        machine.start_bus()
        self.assertEqual(probe.copy(), 0)

    def test_polkit_and_glib_are_mapped_by_the_first_question_only(self):
        Machine({OWN: "YES"})
        probe = Probe()
        for library in ("libglib", "libgio", "polkit"):
            self.assertEqual(probe(f"mapped {library}"), "no")
        probe.copy()
        for library in ("libglib", "libgio", "polkit"):
            self.assertEqual(probe(f"mapped {library}"), "yes")

    def test_warnings_of_glib_are_not_fatal_even_when_the_environment_says_so(self):
        Machine({OWN: "YES"})
        probe = Probe()  # its environment has G_DEBUG=fatal-warnings
        probe.copy()
        self.assertEqual(probe("warn"), "warned")
        self.assertEqual(probe.end()[1], 0)

    def test_root_is_granted_without_polkit_and_without_the_module(self):
        machine = Machine({OWN: "NO", EXEC: "NO"})
        machine.stop(machine.polkitd, machine.bus)
        probe = Probe(user=0)
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /bin/true"), "0")
        self.assertEqual(probe("wait"), "exit 0")
        self.assertEqual(probe("mapped libglib"), "no")


class TerminalTest(unittest.TestCase):
    """Passwords that the program asks for itself, on its terminal."""

    def terminal(self, administrators=("admin",)):
        self.machine = Machine({OWN: "AUTH_ADMIN", EXEC: "AUTH_ADMIN"}, administrators=administrators)
        return Terminal()

    def expect_as_before(self, terminal):
        self.assertEqual(terminal.modes(), terminal.before)

    def test_right_password_is_granted_and_the_tool_runs_as_root_after_pkexecs_own_question(self):
        terminal = self.terminal()
        self.assertEqual(terminal.copy(RIGHT), 0)
        self.expect_as_before(terminal)
        terminal.probe.begin("stream /usr/bin/id -u")
        terminal.answer(RIGHT)
        self.assertEqual(terminal.probe.line(), "0 0")
        self.assertEqual(terminal.probe.line(), "")  # the line end that id wrote
        self.assertEqual(terminal.probe("wait"), "exit 0")
        self.expect_as_before(terminal)

    def test_question_says_why_and_whose_password_and_does_not_show_it(self):
        terminal = self.terminal()
        terminal.probe.begin("copy 1")
        self.assertEqual(terminal.wait_for("Password: "), "\nQuillmore needs administrator rights to "
                         "repair its installation\n  1) admin\n")
        self.assertFalse(terminal.echoes())
        terminal.type(RIGHT)
        self.assertEqual(terminal.probe.line(), "0")
        self.assertEqual(terminal.rest(), "\n")

    def test_terminal_is_the_questions_before_pam_asks(self):
        self.expect_hushed_before_pam_asks(self.terminal())

    def test_terminal_is_the_questions_before_pam_asks_the_chosen_administrator(self):
        self.expect_hushed_before_pam_asks(self.terminal(administrators=("admin", "other")), "1\n")

    def expect_hushed_before_pam_asks(self, terminal, choice=""):
        pathlib.Path("/etc/pam.d/polkit-1").write_text(GATED + PAM)
        os.mkfifo(GATE)
        terminal.probe.begin("copy 1")
        terminal.wait_for("> " if choice else "  1) admin\n")
        terminal.type(choice)
        with open(GATE, "w", encoding="utf-8"):  # once PAM has come to it
            self.assertFalse(terminal.echoes())
            terminal.type("too early\n")
        self.assertNotIn("early", terminal.wait_for("Password: "))
        terminal.type(RIGHT)
        self.assertEqual(terminal.probe.line(), "0")
        self.expect_as_before(terminal)

    def test_right_that_polkit_keeps_is_asked_for_once(self):
        Machine({OWN: "AUTH_ADMIN_KEEP", EXEC: "NO"}, administrators=("admin",))
        tool = pathlib.Path("/run/root/Applications/Quillmore.app/Contents/Resources/updateqm")
        tool.parent.mkdir(parents=True)
        shutil.copy("/usr/bin/id", tool)
        overlay_root("/run/root/Applications", "/Applications")
        terminal = Terminal()
        self.assertEqual(terminal.copy(RIGHT), 0)
        self.assertEqual(
            terminal.probe("stream /Applications/Quillmore.app/Contents/Resources/updateqm -u"), "0 0")
        self.assertEqual(terminal.rest(), "\n")

    def test_wrong_password_is_asked_for_again(self):
        terminal = self.terminal()
        self.assertEqual(terminal.copy("wrong\n", "wrong again\n", RIGHT), 0)
        self.expect_as_before(terminal)

    def test_third_wrong_password_is_a_denial(self):
        terminal = self.terminal()
        self.assertEqual(terminal.copy("wrong\n", "x\n", PASSWORDS["other"] + "\n"), -60005)
        self.expect_as_before(terminal)
        self.assertEqual(terminal.probe("execute /usr/bin/id"), "-60005")

    def test_end_of_input_and_nothing_typed_are_cancelled_and_can_be_asked_again(self):
        terminal = self.terminal()
        for way_out in ("\4", "\n", "begun\4\4"):
            self.assertEqual(terminal.copy(way_out), -60006)
            self.expect_as_before(terminal)
        self.assertEqual(terminal.copy(RIGHT), 0)

    def test_password_too_long_to_be_one_is_cancelled(self):
        terminal = self.terminal()
        self.assertEqual(terminal.copy("x" * 2000 + "\n"), -60006)
        self.expect_as_before(terminal)

    def test_end_of_input_at_pkexecs_question_is_cancelled(self):
        terminal = self.terminal()
        self.assertEqual(terminal.copy(RIGHT), 0)
        terminal.probe.begin("execute /usr/bin/id")
        terminal.answer("\4")
        self.assertEqual(terminal.probe.line(), "-60006")
        self.expect_as_before(terminal)

    def test_administrator_is_chosen_where_there_are_several(self):
        terminal = self.terminal(administrators=("admin", "other"))
        terminal.probe.begin("copy 1")
        self.assertIn("  1) admin (Return)\n  2) other\n", terminal.wait_for("> "))
        self.assertTrue(terminal.echoes())
        terminal.type("3\n")
        terminal.wait_for("> ")
        terminal.type("2\n")
        terminal.answer(PASSWORDS["other"] + "\n")
        self.assertEqual(terminal.probe.line(), "0")

    def test_return_chooses_the_likeliest_administrator_and_end_of_input_none(self):
        terminal = self.terminal(administrators=("other", "user", "admin"))
        terminal.probe.begin("copy 1")
        self.assertIn("  2) user (Return)\n", terminal.wait_for("> "))
        terminal.type("\4")
        self.assertEqual(terminal.probe.line(), "-60006")
        self.expect_as_before(terminal)
        terminal.probe.begin("copy 1")
        terminal.wait_for("> ")
        terminal.type("\n")
        terminal.answer("\4")
        self.assertEqual(terminal.probe.line(), "-60006")

    def test_what_was_typed_before_the_question_does_not_answer_it(self):
        terminal = self.terminal()
        terminal.type("\n" + RIGHT)
        self.assertEqual(terminal.copy(RIGHT), 0)

    def test_without_permission_to_interact_nothing_is_asked(self):
        terminal = self.terminal()
        self.assertEqual(terminal.probe.copy(flags=0), -60007)
        self.assertEqual(terminal.rest(), "")

    def test_without_a_terminal_nobody_can_be_asked(self):
        self.machine = Machine({OWN: "AUTH_ADMIN"}, administrators=("admin",))
        self.assertEqual(Probe().copy(), -60007)

    def test_job_in_the_background_does_not_ask(self):
        self.terminal()
        terminal = Terminal(starts_probe=False)
        shell = as_user(USER, "/bin/bash", "-c", 'set -m; "$0" "$1" & wait', PROBE, MODULES,
                        start_new_session=True, preexec_fn=terminal.take)
        print("copy 1", file=shell.stdin, flush=True)
        self.assertEqual(shell.stdout.readline(), "-60007\n")
        self.assertEqual(terminal.rest(), "")

    def test_agent_of_the_desktop_has_precedence(self):
        terminal = self.terminal()
        terminal.probe.with_agent()
        self.assertEqual(terminal.probe.copy(), -60006)
        self.assertEqual(terminal.rest(), "")

    def test_polkit_that_goes_away_under_the_question_is_an_internal_error(self):
        self.expect_question_to_end_without("polkitd")

    def test_bus_that_goes_away_under_the_question_is_an_internal_error(self):
        self.expect_question_to_end_without("bus")

    def expect_question_to_end_without(self, daemon):
        terminal = self.terminal()
        terminal.probe.begin("copy 1")
        terminal.wait_for("Password: ")
        self.machine.stop(getattr(self.machine, daemon))
        self.assertEqual(terminal.probe.line(), "-60008")
        self.expect_as_before(terminal)
        self.assertEqual(terminal.probe.end()[1], 0)

    def test_nothing_is_left_of_a_question_but_what_every_question_leaves(self):
        terminal = self.terminal()
        self.assertEqual(terminal.probe.copy(flags=0), -60007)
        before = self.expect_belongings(terminal)
        for passwords, status in ((["\4"], -60006), (["wrong\n", "\n"], -60006)):
            self.assertEqual(terminal.copy(*passwords), status)
            self.expect_belongings(terminal, before)
        self.assertEqual(terminal.copy(RIGHT), 0)
        terminal.probe.begin("execute /bin/true")
        terminal.answer(RIGHT)
        self.assertEqual(terminal.probe.line(), "0")
        self.assertEqual(terminal.probe("wait"), "exit 0")
        self.expect_belongings(terminal, before)

    def expect_belongings(self, terminal, expected=None):
        """Threads by name, open files and children of the probe once GLib's thread has closed the
        bus, which takes it a moment."""
        process = pathlib.Path(f"/proc/{terminal.probe.process.pid}")
        wait_until(lambda: not any("socket" in os.readlink(file) for file in process.glob("fd/*")))
        names = sorted((thread / "comm").read_text().strip() for thread in process.glob("task/*"))
        files = sorted(os.readlink(file).split(":")[0] for file in process.glob("fd/*"))
        found = names, files, children(terminal.probe.process.pid)
        self.assertEqual(found, expected or found)
        return found


def overlay_root(source, target):
    """Makes `target`, a folder of the root that may be missing there, show `source`."""
    if not os.path.isdir(target):
        # A root of its own for this machine: the real one's folders, and one more.
        mount("tmpfs", "/mnt", "mode=755")
        for entry in os.listdir("/"):
            if entry == "mnt" or entry == target.strip("/"):
                continue
            if os.path.islink("/" + entry):
                os.symlink(os.readlink("/" + entry), "/mnt/" + entry)
            elif os.path.isdir("/" + entry):
                os.mkdir("/mnt/" + entry)
                subprocess.run(["mount", "--rbind", "/" + entry, "/mnt/" + entry], check=True)
        os.mkdir("/mnt" + target)
        subprocess.run(["mount", "--bind", source, "/mnt" + target], check=True)
        os.chroot("/mnt")
        os.chdir("/")
    else:
        subprocess.run(["mount", "--bind", source, target], check=True)


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


def main():
    reason = missing()
    if reason:
        print("skipped:", reason)
        return 77
    names = [f"{tests.__name__}.{name}" for tests in (PolkitTest, TerminalTest)
             for name in unittest.TestLoader().getTestCaseNames(tests)]
    failed = 0
    for name in names:
        inner = subprocess.run(["unshare", "--mount", "--pid", "--ipc", "--fork", "--kill-child",
                                sys.executable, __file__, PROBE, AGENT, MODULES, name], timeout=60)
        failed += inner.returncode != 0
        print("ok    " if inner.returncode == 0 else "FAILED", name, flush=True)
    print(f"{len(names)} tests, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    PROBE, AGENT, MODULES = (os.path.abspath(argument) for argument in sys.argv[1:4])
    sys.exit(run_one(sys.argv[4]) if len(sys.argv) > 4 else main())
