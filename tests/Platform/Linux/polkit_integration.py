"""Authorization against a real polkit, each test on a private machine (polkit_machine.py)."""
import os
import pathlib
import signal
import subprocess
import unittest

from polkit_machine import (EXEC, HELPERS, INSTALL, MOVE, PASSWORDS, ROOTS_HELPERS, Machine, Probe,
                            main, program, running, wait_until)


class PolkitTest(unittest.TestCase):
    def test_granted_right_runs_the_tool_as_root_and_hands_out_its_output(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("stream /usr/bin/id -u"), "0 0")
        self.assertEqual(probe.process.stdout.readline(), "\n")  # the line end that id wrote
        self.assertEqual(probe("wait"), "exit 0")

    def test_tool_that_fails_did_run_whatever_its_status(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        for status in (1, 126, 127):
            tool = pathlib.Path(f"/run/tool{status}")
            tool.write_text(f"#!/bin/sh\nexit {status}\n")
            tool.chmod(0o755)
            self.assertEqual(probe(f"execute {tool}"), "0")
            self.assertEqual(probe("wait"), f"exit {status}")

    def test_success_does_not_wait_for_the_tool(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /bin/sleep 1000"), "0")
        subprocess.run(["pkill", "-9", "-x", "sleep"], check=True)  # of this private process table
        self.assertEqual(probe("wait"), "signal 9")

    def test_denied_right_is_denied_and_does_not_execute(self):
        Machine({EXEC: "NO"})
        probe = Probe()
        self.assertEqual(probe.copy(), -60005)
        self.assertEqual(probe("execute /usr/bin/id"), "-60005")
        self.assertEqual(program(), [])

    def test_password_wanted_without_an_agent_is_no_interaction(self):
        Machine({EXEC: "AUTH_ADMIN"})
        self.assertEqual(Probe().copy(), -60007)

    def test_password_wanted_without_permission_to_interact_is_no_interaction(self):
        Machine({EXEC: "AUTH_ADMIN"})
        self.assertEqual(Probe().with_agent().copy(flags=0), -60007)

    def test_one_question_serves_all_that_is_executed_under_the_reference(self):
        probe = self.asking_probe([PASSWORDS["admin"]])
        self.assertEqual(probe.copy(), 0)
        for _ in range(3):
            self.assertEqual(probe("stream /usr/bin/id -u"), "0 0")
            self.assertEqual(probe.line(), "")
            self.assertEqual(probe("wait"), "exit 0")
        self.assertEqual(probe("execute /bin/rm -rf /nowhere/at/all"), "0")
        self.assertEqual(probe("wait"), "exit 1")
        self.assertEqual(self.questions(probe), 1)

    def test_question_names_the_program_that_says_what_it_is_for(self):
        probe = self.asking_probe([PASSWORDS["admin"]])
        self.assertEqual(probe("purpose install unused"), "set")
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe.agent.stdout.readline(), "asked\n")
        self.assertIn(f"{HELPERS}/quillmore-install-components", probe.agent.stdout.readline())

    def test_question_of_a_package_says_it_in_the_products_words(self):
        for purpose, action, words in (
                ("install", INSTALL, "Quillmore wants to install its components.\n"),
                ("move", MOVE, "Quillmore wants to move itself to the Applications folder.\n")):
            with self.subTest(purpose):
                Machine({EXEC: "NO", action: "AUTH_ADMIN"}, packaged=True, administrators=("admin",))
                probe = Probe(helpers=ROOTS_HELPERS).with_agent("answer", PASSWORDS["admin"])
                self.assertEqual(probe(f"purpose {purpose} unused"), "set")
                self.assertEqual(probe.copy(), 0)
                self.assertEqual(probe.agent.stdout.readline(), "asked\n")
                self.assertEqual(probe.agent.stdout.readline(), words)
                self.assertEqual(probe("stream /usr/bin/id -u"), "0 0")

    def test_policy_file_keeps_nothing_and_wants_a_password_each_time(self):
        Machine({EXEC: "NO"}, packaged=True, administrators=("admin",))
        probe = Probe(helpers=ROOTS_HELPERS).with_agent("answer", *[PASSWORDS["admin"]] * 2)
        probe("purpose install unused")
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("free"), "freed")
        probe("purpose install unused")
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(self.questions(probe), 2)

    def test_wrong_passwords_are_a_denial(self):
        probe = self.asking_probe(["wrong"])
        self.assertEqual(probe.copy(), -60005)
        self.assertEqual(probe("execute /usr/bin/id"), "-60005")

    def test_closed_dialog_is_cancelled_and_can_be_asked_again(self):
        Machine({EXEC: "AUTH_ADMIN"})
        probe = Probe().with_agent()
        self.assertEqual(probe.copy(), -60006)
        self.assertEqual(probe.copy(), -60006)
        self.assertEqual(program(), [])

    def asking_probe(self, passwords):
        Machine({EXEC: "AUTH_ADMIN"}, administrators=("admin",))
        return Probe().with_agent("answer", *passwords)

    def questions(self, probe):
        probe.agent.kill()
        return probe.agent.communicate()[0].count("asked\n")

    def test_agent_that_dies_under_the_question_is_no_grant(self):
        Machine({EXEC: "AUTH_ADMIN"})
        probe = self.begin_question()
        probe.agent.kill()
        self.assertIn(int(probe.line()), (-60005, -60006, -60007))
        self.assertEqual(program(), [])

    def test_launcher_killed_under_the_question_leaves_nobody_asking(self):
        Machine({EXEC: "AUTH_ADMIN"})
        probe = self.begin_question()
        probe.process.kill()
        probe.process.wait()
        wait_until(lambda: running("pkexec") == [])
        self.assertEqual(program(), [])

    def begin_question(self):
        probe = Probe().with_agent("wait")
        probe.begin("copy 1")
        self.assertEqual(probe.agent.stdout.readline(), "asked\n")
        return probe

    def test_program_ends_with_the_reference_and_with_the_launcher(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        for end in (lambda: probe("free"), probe.process.kill):
            self.assertEqual(probe.copy(), 0)
            self.assertEqual(len(program()), 1)
            end()
            wait_until(lambda: program() == [])

    def test_program_cannot_be_stopped_by_the_user(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        [number] = program()
        if os.fork() == 0:
            os.setresuid(1000, 1000, 1000)
            try:
                os.kill(number, signal.SIGSTOP)
            except PermissionError:
                os._exit(0)
            os._exit(1)
        self.assertEqual(os.wait()[1], 0)
        self.assertEqual(os.stat(f"/proc/{number}/mem").st_uid, 0)

    def test_program_that_died_is_a_failure_of_what_it_did(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /bin/sleep 1000"), "0")
        os.kill(program()[0], signal.SIGKILL)
        self.assertEqual(probe("wait"), "signal 9")
        self.assertEqual(probe("execute /usr/bin/id"), "-60031")

    def test_tool_that_is_missing_is_an_execute_failure(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /nowhere/tool"), "-60031")

    def test_program_that_is_missing_is_an_internal_error(self):
        Machine({EXEC: "YES"})
        probe = Probe(helpers="/nowhere")
        self.assertEqual(probe.copy(), -60008)
        self.assertIn("pkexec: ", probe.end()[0])

    def test_missing_polkit_is_an_internal_error(self):
        machine = Machine({EXEC: "YES"})
        machine.stop(machine.polkitd)
        probe = Probe()
        self.assertEqual(probe.copy(), -60008)
        self.assertIn("org.freedesktop.PolicyKit1", probe.end()[0])

    def test_polkit_that_does_not_answer_is_an_internal_error(self):
        machine = Machine({EXEC: "YES"})
        machine.polkitd.send_signal(signal.SIGSTOP)
        probe = Probe()
        self.assertEqual(probe.copy(), -60008)
        self.assertEqual(probe.end()[0], "polkit: it does not answer\n")

    def test_missing_bus_is_an_internal_error(self):
        machine = Machine({EXEC: "YES"})
        machine.stop(machine.polkitd, machine.bus)
        probe = Probe()
        self.assertEqual(probe.copy(), -60008)
        self.assertIn("Could not connect", probe.end()[0])

    def test_right_that_is_held_outlives_polkit_and_its_bus(self):
        machine = Machine({EXEC: "YES"})
        probe = Probe()
        self.assertEqual(probe.copy(), 0)
        machine.stop(machine.polkitd, machine.bus)
        self.assertEqual(probe("stream /usr/bin/id -u"), "0 0")
        self.assertEqual(probe.line(), "")
        self.assertEqual(probe("free"), "freed")
        self.assertEqual(probe.copy(), -60008)
        self.assertEqual(probe.end()[1], 0)

    def test_bus_that_goes_away_under_the_dialog_does_not_end_the_process(self):
        machine = Machine({EXEC: "AUTH_ADMIN"})
        probe = Probe()
        self.assertEqual(probe.copy(), -60007)
        self.assertEqual(probe("loop"), "runs")
        probe.with_agent("wait")
        probe.begin("copy 1")
        self.assertEqual(probe.agent.stdout.readline(), "asked\n")
        machine.stop(machine.bus)
        self.assertEqual(probe.line(), "-60008")
        self.assertEqual(probe.end()[1], 0)

    def test_polkit_that_goes_away_under_the_dialog_is_an_internal_error(self):
        machine = Machine({EXEC: "AUTH_ADMIN"})
        probe = self.begin_question()
        machine.stop(machine.polkitd)
        self.assertEqual(probe.line(), "-60008")

    def test_question_is_answered_again_after_the_bus_came_back(self):
        machine = Machine({EXEC: "YES"})
        machine.stop(machine.polkitd, machine.bus)
        probe = Probe()
        self.assertEqual(probe.copy(), -60008)
        os.unlink("/run/dbus/system_bus_socket")
        machine.start_bus()
        self.assertEqual(probe.copy(), 0)

    def test_polkit_and_glib_are_mapped_by_the_first_question_only(self):
        Machine({EXEC: "YES"})
        probe = Probe()
        for library in ("libglib", "libgio", "polkit"):
            self.assertEqual(probe(f"mapped {library}"), "no")
        probe.copy()
        for library in ("libglib", "libgio", "polkit"):
            self.assertEqual(probe(f"mapped {library}"), "yes")

    def test_warnings_of_glib_are_not_fatal_even_when_the_environment_says_so(self):
        Machine({EXEC: "YES"})
        probe = Probe()  # its environment has G_DEBUG=fatal-warnings
        probe.copy()
        self.assertEqual(probe("warn"), "warned")
        self.assertEqual(probe.end()[1], 0)

    def test_root_is_granted_without_polkit_and_without_the_module(self):
        machine = Machine({EXEC: "NO"})
        machine.stop(machine.polkitd, machine.bus)
        probe = Probe(user=0)
        self.assertEqual(probe.copy(), 0)
        self.assertEqual(probe("execute /bin/true"), "0")
        self.assertEqual(probe("wait"), "exit 0")
        self.assertEqual(probe("mapped libglib"), "no")


if __name__ == "__main__":
    main(PolkitTest)
