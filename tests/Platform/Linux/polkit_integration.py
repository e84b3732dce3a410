"""Authorization against a real polkit, each test on a private machine (polkit_machine.py)."""
import os
import pathlib
import shutil
import subprocess
import unittest

from polkit_machine import (EXEC, OWN, Machine, Probe, main, overlay_root)


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


if __name__ == "__main__":
    main(PolkitTest)
