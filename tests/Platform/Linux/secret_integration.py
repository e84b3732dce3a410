"""Accounts against a real keyring on a bus of its own, made anew for each test.

Arguments: the probe, the folder of the secret module, the launcher's program. Needs dbus-daemon and
gnome-keyring-daemon; exits with 77 (skipped) and says so without them.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SECRETS = "org.freedesktop.secrets"
# No services that the bus could start by itself: what runs is what a test started.
BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:path={folder}/bus</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>"""
NOT_AVAILABLE, NOT_FOUND, DUPLICATE, LOCKED, INVALID = "-25291", "-25300", "-25299", "-25308", "-25304"


def wait_until(condition):
    end = time.monotonic() + 10
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("the session did not get ready")
        time.sleep(0.01)


class Session:
    """A bus, a home and a keyring."""

    def __init__(self, unlocked=True):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quillmore-secret-"))
        (self.folder / "run").mkdir(mode=0o700)
        (self.folder / "bus.conf").write_text(BUS_CONFIG.format(folder=self.folder))
        self.environment = {
            "PATH": "/usr/bin:/bin", "HOME": str(self.folder), "XDG_RUNTIME_DIR": str(self.folder / "run"),
            "XDG_DATA_HOME": str(self.folder / "data"), "G_DEBUG": "fatal-warnings",
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/bus"}
        self.processes = []
        self.start_bus()
        if unlocked:
            self.start_keyring()

    def start(self, *command, **options):
        process = subprocess.Popen([str(word) for word in command], cwd="/", **options)
        self.processes.append(process)
        return process

    def start_bus(self):
        (self.folder / "bus").unlink(missing_ok=True)
        self.bus = self.start("dbus-daemon", f"--config-file={self.folder}/bus.conf", "--nofork",
                              "--nopidfile", "--print-address", stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, env=self.environment)
        self.bus.stdout.readline()  # it listens

    def start_keyring(self, password="secret"):
        """Unlocked by the password, or with None as it is when nobody has unlocked it."""
        words = ["--components=secrets", "--foreground"] + (["--unlock"] if password else [])
        environment = {k: v for k, v in self.environment.items() if k != "G_DEBUG"}
        self.keyring = self.start("gnome-keyring-daemon", *words, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL, env=environment)
        self.keyring.stdin.write((password or "").encode())
        self.keyring.stdin.close()
        wait_until(lambda: "true" in self.send("org.freedesktop.DBus", "/", "org.freedesktop.DBus.NameHasOwner",
                                               f"string:{SECRETS}"))

    def kill_keyring(self):
        self.kill(self.keyring)

    def restart_keyring(self):
        self.kill_keyring()
        self.start_keyring()

    def send(self, destination, path, method, *arguments):
        return subprocess.run(["dbus-send", "--session", "--print-reply", f"--dest={destination}", path, method,
                               *arguments], env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True).stdout

    def lock(self):
        self.send(SECRETS, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service.Lock",
                  "array:objpath:/org/freedesktop/secrets/collection/login")

    def items(self, **attributes):
        words = ",".join(f"{key},{value}" for key, value in attributes.items())
        reply = self.send(SECRETS, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service.SearchItems",
                          f"dict:string:string:{words}")
        return reply.count("object path")

    def kill(self, process):
        process.kill()
        process.wait()

    def probe(self):
        return Probe(self)

    def end(self):
        for process in self.processes:
            self.kill(process)
            for stream in (process.stdin, process.stdout, process.stderr):
                if stream:
                    stream.close()
        shutil.rmtree(self.folder, ignore_errors=True)


class Probe:
    def __init__(self, session):
        self.process = session.start(PROBE, MODULES, session.folder / "settings", stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                     env=session.environment)
        self.log = ""

    def __call__(self, line):
        print(line, file=self.process.stdin, flush=True)
        return self.answer()

    def answer(self):
        """The next line that is not the log's."""
        while True:
            line = self.process.stdout.readline()
            if not re.match(r"\d{4}-\d\d-\d\d \d\d:", line):
                return line.rstrip("\n")
            self.log += line

    def stopping(self, line, *stops):
        """Answers the line. Each stop is a call of the keychain and what happens just before it."""
        self("stop " + " ".join(call for call, _ in stops))
        answer = self(line)
        for call, happens in stops:
            if answer != f"at {call}":
                raise AssertionError(f"not at {call}: {answer}")
            happens()
            answer = self("")
        return answer

    def end(self):
        """What it said of problems, and its exit status."""
        self.process.stdin.close()
        problems = self.process.stderr.read()
        return problems, self.process.wait()


class SecretTest(unittest.TestCase):
    def session(self, **options):
        session = Session(**options)
        self.addCleanup(session.end)
        return session

    def test_password_flags_and_key_live_in_one_item(self):
        session = self.session()
        probe = session.probe()
        self.assertEqual(probe("save jo pass/word 1"), "yes")
        self.assertEqual(probe("flag jo skipAuth 1"), "yes yes")
        self.assertEqual(probe("savekey jo the-key"), "yes")
        self.assertEqual(probe("get jo"), "pass/word kept")
        self.assertEqual(probe("getkey jo"), "the-key")
        self.assertEqual(probe("find ProductName jo"),
                         r'0 {"encryptionKey":"the-key","keepSignedIn":true,"password":"pass\/word","skipAuth":true}')
        self.assertEqual(session.items(service="ProductName", account="jo"), 1)

    def test_record_outlives_program_and_service(self):
        session = self.session()
        session.probe()("save jo pw")
        session.restart_keyring()
        self.assertEqual(session.probe()("get jo"), "pw")

    def test_accounts_are_told_apart(self):
        probe = self.session().probe()
        for user in ("jo", "al", "jo@example.com", "j\u00f6"):
            self.assertEqual(probe(f"save {user} of-{user}"), "yes")
        for user in ("jo", "al", "jo@example.com", "j\u00f6"):
            self.assertEqual(probe(f"find ProductName {user}").split(":")[1], f'"of-{user}"}}')

    def test_flags_are_set_read_and_removed(self):
        probe = self.session().probe()
        self.assertEqual(probe("flag jo f 1"), "no no")  # no record yet
        self.assertEqual(probe("get jo"), "(none)")
        probe("save jo pw")
        self.assertEqual(probe("flag jo f 0"), "yes no")
        self.assertEqual(probe("flag jo f 1"), "yes yes")
        self.assertEqual(probe("unflag jo f"), "done")
        self.assertEqual(probe("flag jo f"), "no no")

    def test_removed_record_is_gone(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw")
        self.assertEqual(probe("remove jo"), "yes")
        self.assertEqual(probe("find ProductName jo"), NOT_FOUND)
        self.assertEqual(probe("remove jo"), "no")
        self.assertEqual(session.items(service="ProductName", account="jo"), 0)

    def test_bare_password_becomes_a_record(self):
        probe = self.session().probe()
        self.assertEqual(probe("add ProductName jo bare-word"), "0")
        self.assertEqual(probe("get jo"), "bare-word kept")
        self.assertEqual(probe("find ProductName jo"), '0 {"keepSignedIn":true,"password":"bare-word"}')

    def test_item_of_the_older_service_moves(self):
        session = self.session()
        probe = session.probe()
        probe('add Quillmore jo {"password":"pw"}')
        self.assertEqual(probe("get jo"), "pw")
        self.assertEqual(probe("find Quillmore jo"), NOT_FOUND)
        self.assertEqual(probe("find ProductName jo"), '0 {"password":"pw"}')
        self.assertEqual(session.items(account="jo"), 1)

    def test_adding_never_replaces(self):
        session = self.session()
        probe = session.probe()
        self.assertEqual(probe("add S jo one"), "0")
        self.assertEqual(probe("add S jo two"), DUPLICATE)
        self.assertEqual(probe("find S jo"), "0 one")
        self.assertEqual(probe("modify three"), "0")
        self.assertEqual(probe("copy"), "0 three")
        self.assertEqual(session.items(service="S", account="jo"), 1)

    def test_item_that_went_is_invalid(self):
        session = self.session()
        probe = session.probe()
        probe("add S jo one")
        probe("find S jo")
        other = session.probe()
        other("find S jo")
        self.assertEqual(other("delete"), "0")
        for call in ("copy", "modify x", "delete"):
            self.assertEqual(probe(call), INVALID)
        self.assertEqual(probe("find S jo"), NOT_FOUND)

    def test_locked_keyring_is_neither_missing_nor_overwritten(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw 1")
        probe("savekey jo key")
        session.lock()
        self.assertEqual(probe("find ProductName jo"), LOCKED)
        self.assertEqual(probe("find ProductName unknown"), LOCKED)
        self.assertEqual(probe("add ProductName unknown x"), LOCKED)
        self.assertEqual(probe("get jo"), "(none)")
        self.assertEqual(probe("getkey jo"), "(none)")
        self.assertEqual(probe("save jo other"), "no")
        self.assertEqual(probe("savekey jo other"), "no")
        self.assertEqual(probe("remove jo"), "no")
        session.restart_keyring()
        self.assertEqual(probe("get jo"), "pw kept")
        self.assertEqual(probe("getkey jo"), "key")
        self.assertIn("Failed to write keychain item ( error = -25308 )", probe.log)

    def test_item_locked_after_it_was_found_is_kept(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw")
        self.assertTrue(probe("find ProductName jo").startswith("0 "))
        session.lock()
        for call in ("copy", "modify x", "delete"):
            self.assertEqual(probe(call), LOCKED)
        session.restart_keyring()
        self.assertEqual(probe("get jo"), "pw")

    # What cannot be read is discarded, and so is what a password cannot be saved to. The keyring must
    # be out of reach of that, even when it is back the moment after.

    def session_with_record(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw 1")
        probe("savekey jo key")
        return session, probe

    def assert_record_is_whole(self, probe):
        self.assertEqual(probe("get jo"), "pw kept")
        self.assertEqual(probe("getkey jo"), "key")

    def test_item_locked_before_it_is_read_is_not_discarded(self):
        session, probe = self.session_with_record()
        for line in ("get jo", "getkey jo"):
            answer = probe.stopping(line, ("copy", session.lock), ("find", lambda: None))
            self.assertEqual(answer, "(none)")
            session.restart_keyring()
        self.assertEqual(probe.log.count("Failed to read keychain item ( error = -25308 )"), 2)
        self.assert_record_is_whole(probe)

    def test_item_of_a_service_killed_before_it_is_read_is_not_discarded(self):
        session, probe = self.session_with_record()
        answer = probe.stopping("get jo", ("copy", session.kill_keyring), ("find", lambda: None))
        self.assertEqual(answer, "(none)")
        self.assertIn("Failed to read keychain item ( error = -25291 )", probe.log)
        session.start_keyring()
        self.assert_record_is_whole(probe)

    def test_item_that_could_not_be_read_stays_though_the_keyring_comes_back_at_once(self):
        session, probe = self.session_with_record()
        for hides in (session.lock, session.kill_keyring):
            answer = probe.stopping("get jo", ("copy", hides), ("find", session.restart_keyring))
            self.assertEqual(answer, "(none)")
            self.assert_record_is_whole(probe)

    def test_item_that_could_not_be_written_stays_though_the_keyring_comes_back_at_once(self):
        session, probe = self.session_with_record()
        for hides, status in ((session.lock, LOCKED), (session.kill_keyring, NOT_AVAILABLE)):
            answer = probe.stopping("save jo other", ("modify", hides), ("find", session.restart_keyring))
            self.assertEqual(answer, "no")
            self.assertIn(f"Failed to write keychain item ( error = {status} )", probe.log)
            self.assert_record_is_whole(probe)

    def test_record_that_could_not_be_read_is_not_written_anew_when_the_keyring_comes_back_at_once(self):
        session, probe = self.session_with_record()
        for line in ("save jo other", "savekey jo other"):
            for call in ("find", "copy"):
                for hides in (session.lock, session.kill_keyring):
                    answer = probe.stopping(line, (call, hides), ("find", session.restart_keyring))
                    self.assertEqual(answer, "no", line)
                    self.assert_record_is_whole(probe)

    def test_older_item_stays_when_the_keyring_goes_before_or_after_the_new_one_is_written(self):
        session = self.session()
        probe = session.probe()
        probe('add Quillmore jo {"password":"pw"}')
        for call in ("add", "delete"):
            self.assertEqual(probe.stopping("get jo", (call, session.kill_keyring)), "pw")
            session.start_keyring()
            self.assertEqual(probe("find Quillmore jo"), '0 {"password":"pw"}')
            probe("remove jo")

    def test_problems_and_log_name_neither_secrets_nor_accounts(self):
        session = self.session()
        probe = session.probe()
        probe("save some-account some-password 1")
        probe("savekey some-account some-key")
        probe("add ProductName other-account some-password")
        for hides in (session.lock, session.kill_keyring):
            for line, call in (("get some-account", "find"), ("get some-account", "copy"),
                               ("get other-account", "modify"), ("save some-account some-password", "modify"),
                               ("save new-account some-password", "add"), ("remove some-account", "delete")):
                probe.stopping(line, (call, hides))
                session.restart_keyring()
        problems, _ = probe.end()
        self.assertIn("locked", problems)
        self.assertIn(SECRETS, problems)
        self.assertIn("Failed to read", probe.log)
        self.assertIn("Failed to write", probe.log)
        for word in ("some-", "other-account", "new-account"):
            self.assertNotIn(word, problems + probe.log)

    def test_keyring_that_nobody_unlocked_is_locked(self):
        session = self.session()
        session.probe()("save jo pw")
        session.kill_keyring()
        session.start_keyring(password=None)
        probe = session.probe()
        self.assertEqual(probe("find ProductName jo"), LOCKED)
        self.assertEqual(probe("save jo other"), "no")

    def test_missing_service_is_not_available(self):
        session = self.session(unlocked=False)
        probe = session.probe()
        self.assertEqual(probe("find ProductName jo"), NOT_AVAILABLE)
        self.assertEqual(probe("add ProductName jo x"), NOT_AVAILABLE)
        self.assertEqual(probe("save jo pw"), "no")
        problems, status = probe.end()
        self.assertEqual(status, 0)
        self.assertIn(SECRETS, problems)

    def test_missing_bus_is_not_available(self):
        session = self.session(unlocked=False)
        session.kill(session.bus)
        probe = session.probe()
        self.assertEqual(probe("find ProductName jo"), NOT_AVAILABLE)
        problems, status = probe.end()
        self.assertEqual(status, 0)
        self.assertIn("Could not connect", problems)

    def test_service_killed_between_two_calls_loses_nothing(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw")
        probe("savekey jo key")
        self.assertTrue(probe("find ProductName jo").startswith("0 "))
        session.kill_keyring()
        for call in ("copy", "modify x", "delete"):
            self.assertEqual(probe(call), NOT_AVAILABLE)
        self.assertEqual(probe("get jo"), "(none)")
        self.assertEqual(probe("save jo other"), "no")
        session.start_keyring()
        self.assertEqual(probe("get jo"), "pw")
        self.assertEqual(probe("getkey jo"), "key")

    def test_service_restarted_between_two_calls_goes_unnoticed(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw")
        probe("find ProductName jo")
        session.restart_keyring()
        self.assertEqual(probe("copy"), '0 {"password":"pw"}')
        self.assertEqual(probe("modify new"), "0")
        self.assertEqual(probe("delete"), "0")

    def test_service_killed_while_it_is_asked_is_not_available(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw")
        os.kill(session.keyring.pid, 19)  # it takes the call and never answers
        print("find ProductName jo", file=probe.process.stdin, flush=True)
        session.kill_keyring()
        self.assertEqual(probe.answer(), NOT_AVAILABLE)

    def test_bus_that_goes_away_between_two_calls_does_not_end_the_process(self):
        session = self.session()
        probe = session.probe()
        probe("save jo pw")
        session.kill(session.bus)
        self.assertEqual(probe("get jo"), "(none)")
        session.kill_keyring()
        session.start_bus()
        session.start_keyring()
        self.assertEqual(probe("get jo"), "pw")
        self.assertEqual(probe.end()[1], 0)

    def test_nothing_is_mapped_before_the_first_secret_and_a_crypto_library_never(self):
        probe = self.session().probe()
        self.assertEqual(probe("brand"), "-1")  # through the users' settings
        for library in ("libsecret", "libglib", "libgio", "libgcrypt", "libcrypto", "libssl"):
            self.assertEqual(probe(f"mapped {library}"), "no", library)
        probe("save jo pw")
        for library in ("libsecret", "libglib"):
            self.assertEqual(probe(f"mapped {library}"), "yes", library)
        self.assertEqual(probe("mapped libcrypto"), "no")

    def test_launcher_links_neither_crypto_nor_secrets(self):
        linked = subprocess.run(["ldd", LAUNCHER], stdout=subprocess.PIPE, text=True, check=True).stdout
        self.assertIn("libc.so", linked)
        for library in ("libsecret", "libglib", "libgio", "libgcrypt", "libcrypto", "libssl"):
            self.assertNotIn(library, linked)

    def test_no_copy_of_a_password_stays_in_memory(self):
        session = self.session()
        probe = session.probe()
        self.assertEqual(probe("left jo"), "0")
        self.assertEqual(probe("left jo"), "0")
        for call in ("copy", "modify"):
            for hides in (session.lock, session.kill_keyring):
                self.assertEqual(probe.stopping("left jo", (call, hides)), "0 not read back")
                session.restart_keyring()


def main():
    for program in ("dbus-daemon", "dbus-send", "gnome-keyring-daemon"):
        if shutil.which(program) is None:
            print("skipped:", program, "is not installed")
            return 77
    result = unittest.main(argv=[sys.argv[0], *sys.argv[4:]], exit=False, verbosity=2).result
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    PROBE, MODULES, LAUNCHER = (os.path.abspath(argument) for argument in sys.argv[1:4])
    sys.exit(main())
