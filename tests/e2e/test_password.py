"""The launcher on a plain terminal, where nobody but itself asks for an administrator's password."""
import signal
import termios

from expectations import ALL, BUTTONS, FAILED, INTEL, LauncherTest, PROGRESS
from launcher import wait_until
from sandboxed import main

FIXES = ["Fixes10_5"] if INTEL else []
ADMIN = "UpdateToolManager:runUninstalledUpdateToolAsAdmin:"
RIGHT = "quillmore\n"
PASSWORD = "  1) admin\nPassword: "
QUESTION = "\nQuillmore wants to install its components.\n"


class PasswordTest(LauncherTest):
    policy = "password"

    def start(self):
        """A launcher whose "Continue" was pressed."""
        self.running = self.machine.start(terminal=True)
        self.before = self.modes()
        self.press_continue()
        return self.running

    def press_continue(self):
        self.running.wait_for(BUTTONS)
        self.running.answer("\n")
        self.running.wait_for(PROGRESS)

    def answer(self, *passwords):
        for password in passwords:
            self.running.wait_for("Password: ")
            self.running.answer(password)

    def modes(self):
        return termios.tcgetattr(self.running.terminal)

    def expect_terminal_as_before(self):
        self.assertEqual(self.modes(), self.before)

    def expect_repaired(self, errors=""):
        self.running.output.wait_for(lambda: "Will terminate now" in self.running.output.text(),
                                     "the end")
        self.expect_terminal_as_before()
        ended = self.running.end()
        self.assertEqual(ended.errors, errors)
        self.expect_core_started(ended)
        self.expect_installed(*ALL, *FIXES)
        self.assertNotIn(RIGHT.strip(), ended.output.replace("quillmore-install-components", ""))
        return ended

    def expect_failure(self, status):
        self.running.wait_for(FAILED)
        self.assertEqual(self.machine.log_problems()[-1],
                         f"(ERR) {ADMIN} AuthorizationCopyRights failed (OSStatus {status})")
        self.expect_installed()
        self.expect_terminal_as_before()


class EachTime(PasswordTest):
    """As polkit's own rules have it: nothing is kept."""

    def test_right_password_is_asked_for_once_and_installs_everything(self):
        self.start()
        self.answer(RIGHT)
        ended = self.expect_repaired()
        self.assertEqual(ended.output.count(PASSWORD), 1)
        self.assertIn(QUESTION, ended.output)
        self.assertIn("/Helpers/quillmore-install-components", ended.output)

    def test_wrong_password_is_asked_for_again(self):
        self.start()
        self.answer("wrong\n", RIGHT)
        ended = self.expect_repaired(
            "polkit-agent-helper-1: pam_authenticate failed: Authentication failure\n")
        # A wrong password takes PAM seconds: many figures of the progress sheet, were they drawn.
        self.assertEqual(ended.output.split("Password: ")[1], "\n")

    def test_wrong_passwords_fail_the_run_and_can_be_tried_again(self):
        running = self.start()
        self.answer("wrong\n", "admin\n", "Quillmore\n")
        self.expect_failure(-60005)
        running.answer("\n")
        self.press_continue()
        self.answer(RIGHT)
        running.wait_for("Will terminate now")
        self.expect_core_started(running.end())

    def test_no_password_fails_the_run_and_can_be_tried_again(self):
        running = self.start()
        for nothing in ("\4", "\n"):
            self.answer(nothing)
            self.expect_failure(-60006)
            running.answer("\n")
            self.press_continue()
        self.answer(RIGHT)
        running.wait_for("Will terminate now")
        self.expect_core_started(running.end())

    def test_interrupt_at_the_question_ends_the_launcher_and_the_terminal_echoes(self):
        running = self.start()
        self.answer("\3")
        self.assertEqual(self.ended_status(running), 128 + signal.SIGINT)
        self.expect_installed()
        self.expect_no_core()
        self.expect_no_program()

    def test_termination_at_the_question_ends_the_launcher_and_the_terminal_echoes(self):
        running = self.start()
        running.wait_for("Password: ")
        running.send(signal.SIGTERM)
        self.assertEqual(self.ended_status(running), 128 + signal.SIGTERM)
        self.expect_no_program()

    def test_launcher_killed_at_the_question_leaves_nobody_asking(self):
        running = self.start()
        running.wait_for("Password: ")
        running.send(signal.SIGKILL)
        running.process.wait(60)
        self.expect_no_program()
        self.expect_installed()

    def expect_no_program(self):
        for name in ("pkexec", "quillmore-insta"):
            wait_until(lambda: not self.machine.processes(name), f"the end of {name}")

    def ended_status(self, running):
        """The terminal is looked at while it is still there."""
        running.process.wait(60)
        self.expect_terminal_as_before()
        return running.end().status


class Once(PasswordTest):
    policy = "password-once"

    def test_password_that_polkit_keeps_is_asked_for_once(self):
        self.start()
        self.answer(RIGHT)
        self.assertEqual(self.expect_repaired().output.count(PASSWORD), 1)


class NobodyToAsk(PasswordTest):
    def test_without_a_terminal_the_run_fails(self):
        ended = self.machine.launch(answers="\n")
        self.assertEqual(ended.errors,
                         f"(ERR) {ADMIN} AuthorizationCopyRights failed (OSStatus -60007)\n")
        self.expect_installed()


if __name__ == "__main__":
    main()
