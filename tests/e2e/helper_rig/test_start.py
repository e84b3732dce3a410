"""Attacks through what a program inherits: arguments, environment, descriptors, limits, signals."""
import ctypes
import os
import pathlib
import resource
import signal
import subprocess

from attack import AttackTest, HOME, LOG, PRODUCT, TOOL, main

MARK = f"{HOME}/was-root"
# What runs when somebody loads it says so, if it could.
PLANTED = f"""
#include <unistd.h>
#include <fcntl.h>
__attribute__((constructor)) static void run(void) {{
    if (geteuid() == 0 || getuid() != geteuid()) close(open("{MARK}", O_CREAT | O_WRONLY, 0666));
}}
void gconv_init(void) {{ run(); }}
void OSSL_provider_init(void) {{ run(); }}
"""


class Environment(AttackTest):
    def plant(self):
        source = self.write(f"{HOME}/planted.c", PLANTED)
        library = f"{HOME}/planted.so"
        subprocess.run(["cc", "-shared", "-fPIC", "-o", library, source], check=True)
        return library

    def expect_no_use(self, **environment):
        """Neither loaded as root nor even opened: a FIFO would keep whoever opens it."""
        for command in ([], self.install):
            finished = self.tool(*command, env=environment)
            self.assertEqual((finished.returncode, finished.stderr), (0, ""))
        self.assertFalse(os.path.exists(MARK))
        self.expect_installed()

    def test_loader_variables_bring_no_code_in(self):
        library = self.plant()
        self.folder(f"{HOME}/lib")
        for name in ("libcrypto.so.3", "libz.so.1", "libminizip.so.1", "libc.so.6", "libstdc++.so.6",
                     "libcap-ng.so.0", "libseccomp.so.2"):
            os.symlink(library, f"{HOME}/lib/{name}")
        self.expect_no_use(LD_PRELOAD=library, LD_AUDIT=library, LD_LIBRARY_PATH=f"{HOME}/lib",
                           LD_DEBUG="all", LD_DEBUG_OUTPUT=f"{HOME}/debug",
                           LD_ORIGIN_PATH=HOME, LD_BIND_NOT="1", GLIBC_TUNABLES="glibc.malloc.check=3")
        self.assertEqual([name for name in os.listdir(HOME) if name.startswith("debug")], [])

    def test_libcrypto_variables_bring_no_code_in(self):
        library = self.plant()
        configuration = self.write(
            f"{HOME}/openssl.cnf", "openssl_conf = a\n[a]\nproviders = p\n[p]\nplanted = s\n[s]\n"
            f"module = {library}\nactivate = 1\n")
        self.expect_no_use(OPENSSL_CONF=configuration, OPENSSL_MODULES=HOME, OPENSSL_ENGINES=HOME,
                           OPENSSL_CONF_INCLUDE=HOME, SSL_CERT_DIR=HOME, SSLKEYLOGFILE=f"{HOME}/keys")
        self.assertFalse(os.path.exists(f"{HOME}/keys"))

    def test_locale_and_converter_variables_bring_no_code_in(self):
        library = self.plant()
        self.folder(f"{HOME}/gconv")
        os.symlink(library, f"{HOME}/gconv/PLANTED.so")
        self.write(f"{HOME}/gconv/gconv-modules", "module PLANTED// INTERNAL PLANTED 1\n"
                   "module INTERNAL PLANTED// PLANTED 1\n")
        self.expect_no_use(GCONV_PATH=f"{HOME}/gconv", CHARSET="PLANTED", LANG="xx_XX.PLANTED",
                           LC_ALL="xx_XX.PLANTED", LANGUAGE="xx", LOCPATH=f"{HOME}/gconv",
                           NLSPATH=f"{HOME}/gconv/%N", OUTPUT_CHARSET="PLANTED")

    def test_files_named_by_variables_are_not_opened(self):
        fifo = f"{HOME}/fifo"
        os.mkfifo(fifo)
        os.chown(fifo, 1000, 1000)
        names = ("TZ", "TZDIR", "LOCPATH", "GCONV_PATH", "OPENSSL_CONF", "HOSTALIASES", "RESOLV_HOST_CONF",
                 "MALLOC_TRACE", "TMPDIR", "HOME", "NLSPATH", "LOCALDOMAIN", "BASH_ENV", "ENV")
        self.expect_no_use(**{name: fifo for name in names})

    def test_shell_variables_change_nothing(self):
        self.write(f"{HOME}/sh", f"#!/bin/sh\ntouch {MARK}\n")
        for name in ("chmod", "cp", "installer", "mv"):
            os.symlink("sh", f"{HOME}/{name}")
        self.expect_no_use(PATH=f".:{HOME}", IFS="/", SHELL=f"{HOME}/sh", PS4=f"$(touch {MARK})")

    def test_huge_and_malformed_environments_change_nothing(self):
        self.expect_no_use(**{f"V{number}": "x" * 10_000 for number in range(100)})
        run_with(TOOL, list(self.install), [b"", b"=", b"PATH", b"PATH=", b"PATH=a", b"PATH=b", b"LD_PRELOAD"])
        self.expect_installed()


class Arguments(AttackTest):
    def test_no_arguments_at_all_install_nothing(self):
        self.assertIn(run_with(TOOL, None, []), (0, 64))
        self.expect_unchanged()

    def test_a_megabyte_of_arguments_is_refused_in_a_short_line(self):
        for arguments in ([*["x" * 100_000] * 10], [*["x"] * 100_000],
                          ["repaircore", "/" + "x" * 120_000], ["repairother", "/" + "y/" * 60_000, "/z"]):
            self.expect_refused(*arguments)

    def test_control_characters_forge_no_line_of_a_log(self):
        self.expect_refused("x\nupdateqm: all is well")
        self.expect_refused("repaircore", "/a\nupdateqm[1]: user 0 command \"repair\" status 0/Core.app")
        self.assertNotIn("\nupdateqm: all is well", pathlib.Path(LOG).read_text(encoding="utf-8"))

    def test_quotation_marks_forge_no_other_outcome(self):
        for words in (['repair" status 0 item "/x'], ['repaircore', '/x" status 0 item "/Core.app']):
            self.expect_refused(*words)
            line = pathlib.Path(LOG).read_text(encoding="utf-8").splitlines()[-1]
            self.assertRegex(line, r'user 1000 command "[^"]*" status (64|66)[ :]')

    def test_log_holds_nothing_that_a_terminal_would_obey(self):
        self.expect_refused("repaircore", "/\u009b2J\u202e\x7f/XCore.app")
        self.assertRegex(pathlib.Path(LOG).read_bytes(), rb"\A[ -~\n]+\Z")


class Descriptors(AttackTest):
    def test_closed_standard_descriptors_let_nothing_be_written_into_what_is_installed(self):
        for closed in ([0], [1], [2], [0, 1, 2]):
            def close(descriptors=closed):
                for descriptor in descriptors:
                    os.close(descriptor)
            self.tool(*self.install, preexec_fn=close)
            self.tool("unknown", preexec_fn=close)
            self.expect_installed()

    def test_inherited_descriptors_are_neither_used_nor_passed_on(self):
        held = [os.open(f"{HOME}/tool", os.O_RDONLY) for _ in range(200)]
        self.expect_installed(self.tool(*self.install, pass_fds=held))

    def test_odd_standard_descriptors_change_nothing(self):
        folder = os.open(HOME, os.O_RDONLY)
        for odd in (folder, os.open("/dev/full", os.O_RDWR), os.open("/dev/zero", os.O_RDONLY)):
            self.tool(*self.install, stdin=odd, stdout=odd, stderr=odd)
            self.tool("unknown", stdin=odd, stdout=odd, stderr=odd)
            self.tool(stdin=odd, stdout=odd, stderr=odd)
            self.expect_installed()

    def test_errors_are_written_with_the_callers_rights(self):
        """Seen by a set-user-ID bit that any writer but root takes away."""
        evil = self.write(f"{HOME}/evil", "#!/bin/sh\n")
        self.write(f"{HOME}/errors", "", 0o4755)
        for words in (["unknown"], ["repairother", evil, f"{HOME}/tool.sig"], ["repairpermissionsother", "none"]):
            os.chmod(f"{HOME}/errors", 0o4755)
            with open(f"{HOME}/errors", "ab") as errors:
                self.assertNotEqual(self.tool(*words, stderr=errors).returncode, 0)
            self.assertEqual(os.stat(f"{HOME}/errors").st_mode & 0o7777, 0o755, words)

    def test_reader_who_never_reads_holds_up_nobody_else(self):
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(writer, b"x" * 65536)
        os.set_blocking(writer, True)
        self.start_as_user(TOOL, "repairother", f"{HOME}/none", f"{HOME}/none", stderr=writer)
        self.expect_works_still()
        os.close(reader)
        os.close(writer)


def most_core():
    """The highest limit of core files that a user of this machine can have. That of the host stays where
    it was started by an ordinary user: the machine's root is not the host's."""
    try:
        resource.setrlimit(resource.RLIMIT_CORE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
    except (PermissionError, ValueError):
        pass
    most = resource.getrlimit(resource.RLIMIT_CORE)[1]
    return "unlimited" if most == resource.RLIM_INFINITY else most


class Limits(AttackTest):
    def expect_all_or_nothing(self, *limits, **options):
        """It works, or ends at once with nothing changed; the next run works anyway."""
        finished = self.as_user("prlimit", *[f"--{limit}:{limit.split('=')[1]}" for limit in limits],
                                TOOL, *self.install, **options)
        if finished.returncode == 0:
            self.expect_installed()
            os.unlink(f"{PRODUCT}/tool")
        self.assertNotIn(finished.returncode, (-signal.SIGXFSZ, -signal.SIGXCPU))
        self.expect_unchanged()
        return finished

    def expect_lifted_or_told(self, finished):
        """A machine may keep even root from lifting a limit."""
        if finished.returncode != 0:
            self.assertEqual(finished.returncode, 71)
            self.assertRegex(finished.stderr, r"\Aupdateqm: a limit is too low: raise it \(ulimit\): [a-z ]+\n\Z")

    def test_tiny_file_size_limit_cuts_nothing_off(self):
        for size in (0, 1, 100, 4096):
            self.expect_lifted_or_told(self.expect_all_or_nothing(f"fsize={size}"))

    def test_tiny_descriptor_limit_changes_nothing(self):
        for count in range(0, 12):
            self.expect_all_or_nothing(f"nofile={count}")

    def test_descriptors_above_a_lowered_limit_are_closed_too(self):
        high = [os.dup2(0, 500 + number) for number in range(300)]
        self.expect_lifted_or_told(self.expect_all_or_nothing("nofile=16", pass_fds=high))

    def test_tiny_memory_limits_change_nothing(self):
        for which in ("as", "data", "stack"):
            for size in (0, 1 << 16, 1 << 20, 1 << 22, 1 << 23, 1 << 24, 1 << 26):
                self.expect_all_or_nothing(f"{which}={size}")

    def test_other_tiny_limits_change_nothing(self):
        for which in ("cpu", "nproc", "memlock", "sigpending", "core", "rttime", "locks", "msgqueue"):
            self.expect_all_or_nothing(f"{which}=0")

    def test_no_core_file_is_ever_left(self):
        most = most_core()
        finished = self.as_user("prlimit", f"--core={most}:{most}", TOOL, "repaircore", "/x")
        self.assertEqual(finished.returncode, 64)
        self.assertEqual([name for name in os.listdir(HOME) if "core" in name], [])
        if most == 0:
            self.skipTest("the hard limit of core files is 0 and cannot be raised: tried with that one alone")


class Signals(AttackTest):
    def test_ignored_and_blocked_signals_change_nothing(self):
        def ignore():
            for number in set(signal.Signals) - {signal.SIGKILL, signal.SIGSTOP}:
                signal.signal(number, signal.SIG_IGN)
            signal.pthread_sigmask(signal.SIG_SETMASK, signal.valid_signals())
        self.expect_installed(self.tool(*self.install, preexec_fn=ignore))

    def test_pending_signals_and_timers_do_not_stop_a_run(self):
        def arm():
            signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGXFSZ, signal.SIGTERM, signal.SIGALRM})
            for number in (signal.SIGXFSZ, signal.SIGTERM):
                os.kill(os.getpid(), number)
            signal.setitimer(signal.ITIMER_REAL, 0.0005, 0.0005)
        self.expect_installed(self.tool(*self.install, preexec_fn=arm))

    def test_odd_umask_priority_and_working_folder_change_nothing(self):
        gone = self.folder(f"{HOME}/gone")

        def odd():
            os.umask(0)
            os.nice(19)
            os.chdir(gone)
            os.rmdir(gone)
        self.expect_installed(self.tool(*self.install, preexec_fn=odd, cwd=None))
        self.assertEqual(os.lstat(f"{PRODUCT}/.updateqm.lock").st_mode & 0o777, 0o600)


class Bit(AttackTest):
    def test_tool_without_new_privileges_says_so_and_changes_nothing(self):
        def forbid():
            ctypes.CDLL(None).prctl(38, 1, 0, 0, 0)  # PR_SET_NO_NEW_PRIVS
        self.expect_refused(*self.install, preexec_fn=forbid, because="set-user-ID")

    def test_copy_of_the_tool_is_nobodys_helper(self):
        subprocess.run(["cp", TOOL, f"{HOME}/updateqm"], check=True)
        finished = self.as_user(f"{HOME}/updateqm", *self.install)
        self.assertEqual(finished.returncode, 77)
        self.expect_unchanged()


def run_with(path, arguments, environment):
    """execve by hand, as the user, which lets argv be empty; the exit status."""
    process = os.fork()
    if process == 0:
        os.setgroups([])
        os.setgid(1000)
        os.setuid(1000)
        words = [] if arguments is None else [path.encode(), *[word.encode() for word in arguments]]
        argv = (ctypes.c_char_p * (len(words) + 1))(*words, None)
        environ = (ctypes.c_char_p * (len(environment) + 1))(*environment, None)
        ctypes.CDLL(None).execve(path.encode(), argv, environ)
        os._exit(127)
    return os.waitstatus_to_exitcode(os.waitpid(process, 0)[1])


if __name__ == "__main__":
    main()
