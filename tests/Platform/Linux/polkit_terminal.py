"""Passwords that the program asks for itself, on its terminal, each test on a private machine
(polkit_machine.py)."""
import fcntl
import os
import pathlib
import pty
import select
import termios
import unittest

from polkit_machine import (EXEC, GATE, GATED, HELPERS, INSTALL, MODULES, PAM, PASSWORDS, PROBE,
                            ROOTS_HELPERS, USER, Machine, Probe, as_user, main, program, wait_until)


class Terminal:
    """A terminal with somebody at it; the probe on it is the leader of its session."""

    def __init__(self, starts_probe=True, helpers=HELPERS):
        self.here, self.there = pty.openpty()
        self.shown = ""
        self.before = self.modes()
        self.probe = Probe(preexec_fn=self.take, helpers=helpers) if starts_probe else None

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


class TerminalTest(unittest.TestCase):
    """Passwords that the program asks for itself, on its terminal."""

    def terminal(self, administrators=("admin",)):
        self.machine = Machine({EXEC: "AUTH_ADMIN"}, administrators=administrators)
        return Terminal()

    def expect_as_before(self, terminal):
        self.assertEqual(terminal.modes(), terminal.before)

    def test_right_password_is_asked_for_once_and_tools_run_as_root(self):
        terminal = self.terminal()
        self.assertEqual(terminal.copy(RIGHT), 0)
        self.expect_as_before(terminal)
        for _ in range(3):
            self.assertEqual(terminal.probe("stream /usr/bin/id -u"), "0 0")
            self.assertEqual(terminal.probe.line(), "")  # the line end that id wrote
            self.assertEqual(terminal.probe("wait"), "exit 0")
        self.assertEqual(terminal.rest(), "\n")

    def test_question_says_why_and_whose_password_and_does_not_show_it(self):
        terminal = self.terminal()
        terminal.probe("purpose install To_install_it.")
        terminal.probe.begin("copy 1")
        said = terminal.wait_for("Password: ")
        self.assertTrue(said.startswith("\nTo_install_it.\n"), said)
        self.assertIn(f"{HELPERS}/quillmore-install-components", said)
        self.assertTrue(said.endswith("\n  1) admin\n"), said)
        self.assertFalse(terminal.echoes())
        terminal.type(RIGHT)
        self.assertEqual(terminal.probe.line(), "0")
        self.assertEqual(terminal.rest(), "\n")

    def test_question_of_a_package_has_the_products_words_alone(self):
        Machine({EXEC: "NO", INSTALL: "AUTH_ADMIN"}, packaged=True, administrators=("admin",))
        terminal = Terminal(helpers=ROOTS_HELPERS)
        terminal.probe("purpose install To_install_it.")
        terminal.probe.begin("copy 1")
        self.assertEqual(terminal.wait_for("Password: "),
                         "\nQuillmore wants to install its components.\n  1) admin\n")
        terminal.type(RIGHT)
        self.assertEqual(terminal.probe.line(), "0")

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

    def test_interrupt_at_the_question_ends_the_launcher_and_leaves_no_program(self):
        terminal = self.terminal()
        terminal.probe.begin("copy 1")
        terminal.wait_for("Password: ")
        terminal.probe.process.kill()
        terminal.probe.process.wait()
        wait_until(lambda: program() == [])

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
        self.machine = Machine({EXEC: "AUTH_ADMIN"}, administrators=("admin",))
        self.assertEqual(Probe().copy(), -60007)

    def test_job_in_the_background_does_not_ask(self):
        self.terminal()
        terminal = Terminal(starts_probe=False)
        shell = as_user(USER, "/bin/bash", "-c", 'set -m; "$0" "$1" "$2" & wait', PROBE, MODULES, HELPERS,
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
        self.assertEqual(terminal.probe("execute /bin/true"), "0")
        self.assertEqual(terminal.probe("wait"), "exit 0")
        self.assertEqual(terminal.probe("free"), "freed")
        self.expect_belongings(terminal, before)

    def expect_belongings(self, terminal, expected=None):
        """Threads by name, open files and children of the probe once GLib's thread has closed the
        bus, which takes it a moment."""
        process = pathlib.Path(f"/proc/{terminal.probe.process.pid}")
        wait_until(lambda: not any("socket" in os.readlink(file) for file in process.glob("fd/*"))
                   and children(terminal.probe.process.pid) == [])
        # A set: GLib keeps more or fewer workers of one name at hand.
        names = {(thread / "comm").read_text().strip() for thread in process.glob("task/*")}
        files = sorted(os.readlink(file).split(":")[0] for file in process.glob("fd/*"))
        found = names, files, children(terminal.probe.process.pid)
        self.assertEqual(found, expected or found)
        return found


if __name__ == "__main__":
    main(TerminalTest)
