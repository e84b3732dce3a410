"""Attacks through packages and signatures: what is installed is what the distributor signed, for that
name and place, and nothing older. Where an archive is hostile it is signed, as if a packer had been
tricked: even then nothing lands elsewhere."""
import os
import pathlib
import re
import socket
import stat
import struct
import subprocess

from attack import AttackTest, HOME, KEY, MENU_ITEMS, PRODUCT, TOOL, main
from packages import INFO, cpio, file_system, information, plug_in, xar, xar_of, zipped

PLACE = f"{MENU_ITEMS}/A.plugin"
SHA1 = bytes.fromhex("3021300906052b0e03021a05000414")  # the digest's description, as it must be


def command(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, **options).stdout


class Signatures(AttackTest):
    def expect_signature_refused(self, content):
        self.write(f"{HOME}/tool.sig", content)
        self.expect_refused(*self.install, status=[65])

    @property
    def signature(self):
        return pathlib.Path(f"{HOME}/tool.sig").read_bytes()

    def test_signature_of_another_package_installs_nothing(self):
        self.write(f"{HOME}/other", "other")
        self.sign(f"{HOME}/other", "repairother", "tool")
        self.expect_refused("repairother", f"{HOME}/tool", f"{HOME}/other.sig", because="does not match")

    def test_signature_for_another_command_name_or_place_installs_nothing(self):
        self.expect_refused("repairotherroot", *self.install[1:], because="does not match")
        os.rename(f"{HOME}/tool", f"{HOME}/finderoverlaytool")
        for word in ("repairother", "repairotherroot"):
            self.expect_refused(word, f"{HOME}/finderoverlaytool", f"{HOME}/tool.sig", because="does not match")
        package = self.write(f"{HOME}/a.zip", plug_in())
        self.sign(package, "repairzipitem", PLACE)
        self.expect_refused("repairzipitem", package, f"{package}.sig", f"{PRODUCT}/A.plugin",
                            because="does not match")
        self.expect_refused("repairintel10_5", package, f"{package}.sig", because="does not match")
        self.expect_refused("repairpackage", package, because="does not match")
        self.expect_refused("applyfullupdate", package, f"{package}.sig", "/Applications/A.app",
                            because="does not match")

    def test_label_smuggled_into_a_package_changes_nothing(self):
        """Bytes that hold a label, signed for something harmless."""
        content = b"evil"
        label = b"Quillmore package 1\nrepairotherroot\ntool\n"
        self.write(f"{HOME}/x", label + content)
        self.sign(f"{HOME}/x", "repairother", "x", signature=f"{HOME}/tool.sig")
        self.write(f"{HOME}/tool", content)
        for word in ("repairother", "repairotherroot"):
            self.expect_refused(word, f"{HOME}/tool", f"{HOME}/tool.sig", because="does not match")

    def test_truncated_padded_and_empty_signatures_install_nothing(self):
        good = self.signature
        for content in (good[:-1], good[1:], good[:128], good + b"\0", b"\0" + good, good + good, good + b"\n",
                        b"", b"\0", bytes(256), b"\xff" * 256, good.hex().encode(), bytes(16384), bytes(20000)):
            self.expect_signature_refused(content)
        os.unlink(f"{HOME}/tool.sig")
        self.expect_refused(*self.install, status=[66])

    def test_every_changed_bit_of_a_signature_is_seen(self):
        good = self.signature
        for at in range(0, 256, 8):
            self.expect_signature_refused(good[:at] + bytes([good[at] ^ 1 << at // 8 % 8]) + good[at + 1:])

    def test_signature_plus_a_multiple_of_the_modulus_installs_nothing(self):
        modulus = int(command("openssl", "rsa", "-in", KEY, "-noout", "-modulus").split(b"=")[1], 16)
        larger = int.from_bytes(self.signature, "big") + modulus
        self.expect_signature_refused(larger.to_bytes(257, "big"))
        if larger < 1 << 2048:
            self.expect_signature_refused(larger.to_bytes(256, "big"))

    def test_lax_padding_installs_nothing(self):
        """Made with the true key: what a reader that skips the padding would take."""
        label = b"Quillmore package 1\nrepairother\ntool\n"
        package = label + pathlib.Path(f"{HOME}/tool").read_bytes()
        digest = command("openssl", "dgst", "-sha1", "-binary", input=package)
        right = SHA1 + digest

        def block(info, kind=b"\0\1", fill=b"\xff", after=b""):
            return kind + fill * (256 - 3 - len(info) - len(after)) + b"\0" + info + after
        no_parameters = bytes.fromhex("301f300706052b0e03021a0414") + digest
        long_length = bytes.fromhex("30813021") + SHA1[2:] + digest
        for padded in (block(right, after=b"x" * 100), block(right, after=b"\0"), block(right, kind=b"\0\2"),
                       block(right, fill=b"\xfe"), block(right, kind=b"\0\0", fill=b"\0"), block(digest),
                       block(no_parameters), block(long_length), b"\0\1\0" + right + b"x" * (253 - len(right)),
                       b"\0\1" + b"\xff" * 8 + b"\0" + right + b"x" * (245 - len(right))):
            self.assertEqual(len(padded), 256)
            self.expect_signature_refused(self._raw(padded))
        # The counterpart: made in this way a right one is right.
        self.write(f"{HOME}/tool.sig", self._raw(block(right)))
        self.expect_works_still()

    @staticmethod
    def _raw(block):
        """The key's bare operation, with no padding of its own."""
        text = command("openssl", "rsa", "-in", KEY, "-noout", "-text").decode()
        fields = dict(re.findall(r"^(\w+):\n((?:    [0-9a-f:]+\n)+)", text, re.MULTILINE))
        modulus, exponent = (int(re.sub(r"[\s:]", "", fields[name]), 16) for name in ("modulus", "privateExponent"))
        return pow(int.from_bytes(block, "big"), exponent, modulus).to_bytes(256, "big")

    def test_other_digests_install_nothing(self):
        package = b"Quillmore package 1\nrepairother\ntool\n" + pathlib.Path(f"{HOME}/tool").read_bytes()
        for digest in ("-sha256", "-md5", "-sha512"):
            self.expect_signature_refused(command("openssl", "dgst", digest, "-sign", KEY, input=package))
        plain = pathlib.Path(f"{HOME}/tool").read_bytes()
        self.expect_signature_refused(command("openssl", "dgst", "-sha1", "-sign", KEY, input=plain))

    def test_signature_of_another_key_installs_nothing(self):
        package = b"Quillmore package 1\nrepairother\ntool\n" + pathlib.Path(f"{HOME}/tool").read_bytes()
        for number, size in enumerate(("2048", "1024")):
            key = f"/root/{number}.pem"
            command("openssl", "genrsa", "-traditional", "-out", key, size)
            self.before = self.state()
            self.expect_signature_refused(command("openssl", "dgst", "-sha1", "-sign", key, input=package))
            self.write(f"{HOME}/tool.sig256", command("openssl", "dgst", "-sha256", "-sign", key, input=package))
            self.expect_refused(*self.install, because="does not match")

    def test_package_that_changes_between_its_two_readings_is_never_installed_changed(self):
        """It is digested in pieces first; what counts is what is in memory afterwards."""
        content = b"#!/bin/sh\n" + b"x" * (8 << 20)
        self.write(f"{HOME}/tool", content)
        self.sign(f"{HOME}/tool", "repairother", "tool")
        last = len(content) - 1
        descriptor = os.open(f"{HOME}/tool", os.O_RDWR)
        self.addCleanup(os.close, descriptor)

        def swap():
            os.pwrite(descriptor, b"y", last)
            os.pwrite(descriptor, b"x", last)
        self.fork_as_user(swap)
        for _ in range(60):
            finished = self.tool(*self.install)
            self.assertIn(finished.returncode, [0, 65], finished.stderr)
            if finished.returncode == 0:
                self.assertTrue(pathlib.Path(f"{PRODUCT}/tool").read_bytes() == content)
                os.unlink(f"{PRODUCT}/tool")
            self.expect_unchanged()

    def test_update_tool_in_other_hands_installs_nothing(self):
        self.expect_refused("repair", f"{HOME}/tool.sig", status=[77])
        self.expect_refused("repairpermissions", status=[77])


class SecondSignatures(AttackTest):
    """The signature over SHA-256 that lies beside the first: it can be taken away and nothing else."""
    second = f"{HOME}/tool.sig256"

    def setUp(self):
        super().setUp()
        self.good = pathlib.Path(self.second).read_bytes()

    def expect_second_refused(self, content, because="does not match"):
        self.write(self.second, content)
        self.expect_refused(*self.install, status=[65], because=because)

    def test_wrong_truncated_padded_and_empty_ones_install_nothing(self):
        first = pathlib.Path(f"{HOME}/tool.sig").read_bytes()
        for content in (first, self.good[:-1], self.good[1:], self.good + b"\0", b"\0" + self.good, bytes(256),
                        b"\xff" * 256, b"\0"):
            self.expect_second_refused(content)
        for at in range(0, 256, 16):
            self.expect_second_refused(self.good[:at] + bytes([self.good[at] ^ 1]) + self.good[at + 1:])
        self.expect_second_refused(b"", "is empty")

    def test_one_for_another_label_or_package_installs_nothing(self):
        for purpose in (("repairotherroot", "tool"), ("repairother", "other")):
            self.sign(f"{HOME}/tool", *purpose, signature=f"{HOME}/x.sig")
            self.expect_second_refused(pathlib.Path(f"{HOME}/x.sig256").read_bytes())
        self.write(f"{HOME}/other", "other")
        self.sign(f"{HOME}/other", "repairother", "tool")
        self.expect_second_refused(pathlib.Path(f"{HOME}/other.sig256").read_bytes())

    def test_one_does_not_stand_for_the_first(self):
        self.write(f"{HOME}/tool.sig", self.good)
        self.expect_refused(*self.install, status=[65], because="does not match")
        os.unlink(f"{HOME}/tool.sig")
        self.expect_refused(*self.install, status=[66])

    def test_links_are_not_followed_nor_passed_over(self):
        kept = f"{HOME}/kept"
        os.rename(self.second, kept)
        for target in (kept, "kept", "/root/updateqm.sig256", "nowhere", self.second):
            os.symlink(target, self.second)
            self.expect_refused(*self.install, status=[66], because="is a link")
            os.unlink(self.second)
        os.link(kept, self.second)
        self.expect_refused(*self.install, status=[66], because="has a second name")

    def test_pipes_folders_and_devices_are_neither_waited_for_nor_passed_over(self):
        os.unlink(self.second)
        os.mkfifo(self.second, 0o666)
        self.expect_refused(*self.install, status=[66], because="is not a regular file")
        os.unlink(self.second)
        self.folder(self.second)
        self.expect_refused(*self.install, status=[66], because="is not a regular file")
        os.rmdir(self.second)
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(self.second)
            self.expect_refused(*self.install, status=[66])

    def test_one_that_the_user_cannot_read_is_not_read_with_more_rights_nor_passed_over(self):
        self.write(self.second, self.good, mode=0o000)
        self.expect_refused(*self.install, status=[66], because="cannot open")
        os.chown(self.second, 0, 0)
        os.chmod(self.second, 0o600)
        self.expect_refused(*self.install, status=[66], because="cannot open")

    def test_huge_ones_are_refused_unread(self):
        for size in (16385, 1 << 40):
            self.write(self.second, b"")
            os.truncate(self.second, size)
            self.expect_refused(*self.install, status=[65], because="is too large")

    def test_one_that_comes_goes_and_changes_meanwhile_installs_the_signed_tool_or_nothing(self):
        def swap():
            for content in (self.good, b"x" * 256, self.good[:100]):
                pathlib.Path(f"{HOME}/next").write_bytes(content)
                os.rename(f"{HOME}/next", self.second)
                os.unlink(self.second)
        content = pathlib.Path(f"{HOME}/tool").read_text(encoding="utf-8")
        self.fork_as_user(swap)
        for _ in range(200):
            finished = self.tool(*self.install)
            if finished.returncode == 0:
                self.expect_installed(finished, content)
                os.unlink(f"{PRODUCT}/tool")
            else:
                self.assertIn(finished.returncode, [65, 66, 74], finished.stderr)
                self.expect_unchanged()


class Load(AttackTest):
    def memory_of(self, *arguments):
        """The most that the tool held, in bytes, and its status."""
        started = self.start_as_user(TOOL, *arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(started.pid, 0)
        started.returncode = os.waitstatus_to_exitcode(status)
        return usage.ru_maxrss * 1024, started.returncode

    def test_file_that_nobody_signed_is_never_held(self):
        signatures = {name: pathlib.Path(f"{HOME}/tool.{name}").read_bytes() for name in ("sig", "sig256")}
        self.write(f"{HOME}/tool", b"")
        os.truncate(f"{HOME}/tool", 1 << 30)
        for change in (lambda: None, lambda: self.write(f"{HOME}/tool.sig", signatures["sig"][:-1]),
                       lambda: os.unlink(f"{HOME}/tool.sig")):
            change()
            held, status = self.memory_of(*self.install)
            self.assertIn(status, [65, 66])
            self.assertLess(held, 64 << 20)
            self.expect_unchanged()


class Versions(AttackTest):
    """A signature is valid for ever; what it once signed must not come back."""

    def signed(self, name, content, *purpose):
        path = self.write(f"{HOME}/{name}", content)
        self.sign(path, *purpose)
        return path, f"{path}.sig"

    def test_older_tool_is_refused(self):
        self.assertEqual(self.tool(*self.install).returncode, 0)
        self.before = self.state()
        for version in ("1.9.9 (9999)", "1.0", "0.0", "none"):
            package = self.signed("tool", f"Quillmore Limited {version}\n", "repairother", "tool")
            self.expect_refused("repairother", *package, status=[65])

    def test_older_update_tool_is_refused_even_to_an_administrator(self):
        older = pathlib.Path("/root/older")
        tool = pathlib.Path(f"{PRODUCT}/updateqm").read_bytes()
        older.write_bytes(tool.replace(b"Limited 1.15.4 (1856)", b"Limited 1.15.3 (1856)"))
        self.assertNotEqual(older.read_bytes(), tool)
        older.chmod(0o755)
        self.sign(older, "repair", "updateqm")
        self.before = self.state()
        finished = subprocess.run([older, "repair", f"{older}.sig"], capture_output=True, text=True)
        self.assertEqual(finished.returncode, 65)
        self.assertIn("older than the installed one", finished.stderr)
        self.expect_unchanged()

    def test_older_bundle_fixes_application_or_file_system_is_refused(self):
        def fixes(version):
            return zipped(("A.bundle/", ""), ("A.bundle/Contents/", ""),
                          ("A.bundle/Contents/Info.plist", INFO.format(version)))
        application = "/Applications/A.app"
        for name, make, purpose, place in (
                ("a.zip", lambda version: plug_in(version=version), ("repairzipitem", PLACE), [PLACE]),
                ("f.zip", fixes, ("repairintel10_5", "Fixes10_5"), []),
                ("u.zip", lambda version: plug_in(version=version, name="A.app"),
                 ("applyfullupdate", application), [application]),
                ("a.pkg", lambda version: file_system(version=version), ("repairpackage",), [])):
            package = self.signed(name, make("2.0.0"), *purpose)
            words = purpose[:1] + (package[:1] if name == "a.pkg" else package)
            finished = self.tool(*words, *place)
            self.assertEqual((finished.returncode, finished.stderr), (0, ""))
            self.before = self.state()
            self.signed(name, make("1.9.9"), *purpose)
            self.expect_refused(*words, *place, status=[65], because="older than the installed one")


class ZipArchives(AttackTest):
    def expect_archive_refused(self, content, because=""):
        package = self.write(f"{HOME}/a.zip", content)
        self.sign(package, "repairzipitem", PLACE)
        self.expect_refused("repairzipitem", package, f"{package}.sig", PLACE, status=[65], because=because)

    def test_names_that_lead_elsewhere_are_refused(self):
        for name in ("../x", "A.plugin/../../x", "A.plugin/../x", "/etc/x", "/tmp/x", "A.plugin/./x", "A.plugin//x",
                     "A.plugin\\x", "..\\x", "A.plugin/..\\..\\x", "C:x", "A.plugin/" + "x" * 300,
                     "A.plugin/" + "d/" * 100,
                     "A.plugin/x\0y", "A.plugin/\x01", "A.plugin/\u00e9", "B.plugin/", ".hidden", ""):
            self.expect_archive_refused(plug_in((name, "x" if not name.endswith("/") else "")))

    def test_links_devices_and_odd_kinds_are_refused(self):
        for mode in (stat.S_IFLNK | 0o777, stat.S_IFCHR | 0o666, stat.S_IFBLK | 0o666, stat.S_IFIFO | 0o666,
                     stat.S_IFSOCK | 0o666, stat.S_IFDIR | 0o755):
            self.expect_archive_refused(plug_in(("A.plugin/x", "/etc", mode)), "neither a folder nor a plain file")

    def test_file_through_an_archived_link_is_refused(self):
        self.expect_archive_refused(plug_in(("A.plugin/x", "/root", stat.S_IFLNK | 0o777), ("A.plugin/x/y", "x")))

    def test_names_that_meet_are_refused(self):
        for name in ("A.plugin/Contents/Info.plist", "A.plugin/Contents/INFO.PLIST", "A.plugin/CONTENTS/", "a.plugin/"):
            self.expect_archive_refused(plug_in((name, "")))

    def test_set_user_id_bits_are_not_installed(self):
        package = self.write(f"{HOME}/a.zip", plug_in(("A.plugin/x", "x", stat.S_IFREG | 0o6777)))
        self.sign(package, "repairzipitem", PLACE)
        self.assertEqual(self.tool("repairzipitem", package, f"{package}.sig", PLACE).returncode, 0)
        self.assertEqual(stat.S_IMODE(os.lstat(f"{PLACE}/x").st_mode), 0o644)

    def test_archive_bombs_are_refused_before_they_grow(self):
        big = b"\0" * (128 << 20)
        self.expect_archive_refused(plug_in(("A.plugin/x", big)), "grows too much")
        honest = plug_in(("A.plugin/x", "x" * 1000))
        at = honest.rindex(b"PK\1\2")  # the directory's last entry
        self.expect_archive_refused(honest[:at + 24] + struct.pack("<I", 0xfffffff0) + honest[at + 28:])
        self.expect_archive_refused(honest[:at + 24] + struct.pack("<I", 10) + honest[at + 28:])

    def test_too_many_entries_are_refused(self):
        self.expect_archive_refused(plug_in(*[(f"A.plugin/{number}", "") for number in range(50_001)]),
                                    "too many entries")

    def test_damaged_archives_are_refused(self):
        good = plug_in(("A.plugin/x", os.urandom(1000)), )
        for at in range(0, len(good), max(1, len(good) // 60)):
            package = self.write(f"{HOME}/a.zip", good[:at])
            self.sign(package, "repairzipitem", PLACE) if at else None
            self.expect_refused("repairzipitem", package, f"{package}.sig", PLACE)


class InstallerPackages(AttackTest):
    def expect_package_refused(self, content, because=""):
        package = self.write(f"{HOME}/a.pkg", content)
        self.sign(package, "repairpackage")
        self.expect_refused("repairpackage", package, status=[65], because=because)

    def test_entries_that_lead_elsewhere_are_refused(self):
        for name in ("../x", "./A.fs/../../x", "/etc/x", "./A.fs/./x", "./A.fs//x", "A.fs\\x", "./B.fs", "./.hidden",
                     "./A.fs/none/x", "./A.fs/" + "x" * 300, "./A.fs/CONTENTS/x", "./A.fs/Contents/INFO.plist"):
            self.expect_package_refused(file_system((name, "x")))

    def test_links_that_lead_out_are_refused(self):
        for target in ("/etc", "..", "../../x", "Contents/../../x", "", "a//b", "a\0b"):
            self.expect_package_refused(file_system(("./A.fs/x", target, stat.S_IFLNK | 0o777)),
                                        "link inside the package")

    def test_file_through_an_archived_link_is_refused(self):
        self.expect_package_refused(file_system(("./A.fs/x", "Contents", stat.S_IFLNK | 0o777), ("./A.fs/x/y", "x")))

    def test_hard_links_devices_and_fifos_are_refused(self):
        self.expect_package_refused(file_system(("./A.fs/x", "x", stat.S_IFREG | 0o644, 2)))
        for kind in (stat.S_IFCHR, stat.S_IFBLK, stat.S_IFIFO, stat.S_IFSOCK):
            self.expect_package_refused(file_system(("./A.fs/x", "", kind | 0o666)))

    def test_other_places_are_refused(self):
        for place in ("/", "", "/etc", "/Library", "/Library/Filesystems/", "/Library/Filesystems/../../etc",
                      "/Library/StartupItems", "/System/Library/Extensions"):
            self.expect_package_refused(file_system(location=place), "may not be installed at")

    def test_payload_bomb_is_refused(self):
        self.expect_package_refused(file_system(("./A.fs/x", b"\0" * (128 << 20))), "grows too much")

    def test_package_of_two_minds_is_refused(self):
        """What is parsed is what was signed, and there is one way to read it."""
        payload, other = cpio(("./A.fs", None)), cpio(("./B.fs", None))
        for files in ((("PackageInfo", information()), ("Payload", payload), ("Payload", other)),
                      (("PackageInfo", information()), ("PackageInfo", information("/etc")), ("Payload", payload))):
            self.expect_package_refused(xar(*files), "two entries of one name")

    def test_changed_table_or_contents_of_a_signed_package_are_refused(self):
        good = file_system()
        package = self.write(f"{HOME}/a.pkg", good)
        self.sign(package, "repairpackage")
        for at in range(0, len(good), max(1, len(good) // 50)):
            self.write(package, good[:at] + bytes([good[at] ^ 0x20]) + good[at + 1:])
            self.expect_refused("repairpackage", package, because="does not match")
        for changed in (good + b"x", good[:-1], good + good):
            self.write(package, changed)
            self.expect_refused("repairpackage", package, because="does not match")

    def test_tables_that_point_elsewhere_are_refused(self):
        file = ('<file><name>{}</name><type>file</type><data><offset>{}</offset><length>{}</length>'
                '<size>{}</size></data></file>')
        for offset, length, size in ((-1, 10, 10), (1 << 63, 10, 10), (0, 1 << 62, 1 << 62), (5, (1 << 64) - 1, 1),
                                     (0, 10, 1 << 40), ("", "", ""), ("0x0", 10, 10), (0, 10, 9)):
            files = file.format("PackageInfo", 0, 0, 0) + file.format("Payload", offset, length, size)
            self.expect_package_refused(xar_of(f"<xar><toc>{files}</toc></xar>", b"x" * 100))
        for table in ("", "<xar/>", "<xar>" * 10_000, "<xar><toc>", '<!DOCTYPE x [<!ENTITY a "b">]><xar><toc/></xar>',
                      "<xar><toc>&a;</toc></xar>"):
            self.expect_package_refused(xar_of(table, b""))
        for header in (b"", b"xar!", b"xar!" + b"\xff" * 24, b"xar!" + bytes(24)):
            self.expect_package_refused(header + b"x" * 10)


if __name__ == "__main__":
    main()
