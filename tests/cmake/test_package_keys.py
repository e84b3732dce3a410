"""Which keys a build takes, and what it says to the others."""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parent / "keys"
CMAKE = os.environ.get("CMAKE", "cmake")


def openssl(*arguments):
    return subprocess.run(["openssl", *map(str, arguments)], check=True, capture_output=True)


class Keys(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.keys = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.keys.cleanup)
        for name in ("ours", "other"):
            cls.pair(name, "genrsa", "2048")

    @classmethod
    def at(cls, name):
        return pathlib.Path(cls.keys.name) / name

    @classmethod
    def pair(cls, name, tool, *arguments):
        """NAME.pem and NAME.pub."""
        command, *options = arguments if tool == "genpkey" else (None, *arguments)
        if tool == "genpkey":
            openssl(tool, "-algorithm", command, *options, "-out", cls.at(f"{name}.pem"))
        else:
            openssl(tool, "-out", cls.at(f"{name}.pem"), *options)
        openssl("pkey", "-in", cls.at(f"{name}.pem"), "-pubout", "-out", cls.at(f"{name}.pub"))

    def setUp(self):
        build = tempfile.TemporaryDirectory()
        self.addCleanup(build.cleanup)
        self.build = pathlib.Path(build.name)

    def configure(self, public=None, private=None, *options):
        given = [f"-DQUILLMORE_PUBLIC_KEY_FILE={public}"] if public else []
        given += [f"-DQUILLMORE_PRIVATE_KEY_FILE={private}"] if private else []
        return subprocess.run([CMAKE, "-S", SOURCE, "-B", self.build, *given, *options], capture_output=True,
                              text=True, stdin=subprocess.DEVNULL)

    def header(self):
        return (self.build / "generated/PackagePublicKey.h").read_text()

    def expect_taken(self, *arguments):
        finished = self.configure(*arguments)
        self.assertEqual(finished.returncode, 0, finished.stderr)

    def expect_refused(self, sentence, public=None, private=None):
        finished = self.configure(public, private)
        self.assertNotEqual(finished.returncode, 0)
        said = re.sub(r"\s+", " ", finished.stderr)
        self.assertIn(sentence, said)
        self.assertEqual(said.count("CMake Error"), 1, said)
        self.assertFalse((self.build / "generated").exists())

    def test_public_key_becomes_part_of_the_program(self):
        self.expect_taken(self.at("ours.pub"))
        self.assertIn(self.at("ours.pub").read_text(), self.header())
        self.assertEqual((self.build / "private-key").read_text(), "")

    def test_pair_is_taken_whole(self):
        self.expect_taken(self.at("ours.pub"), self.at("ours.pem"))
        self.assertIn(self.at("ours.pub").read_text(), self.header())
        self.assertEqual((self.build / "private-key").read_text(), str(self.at("ours.pem")))

    def test_pair_is_made_once_when_none_is_given(self):
        self.expect_taken()
        made = (self.build / "keys/public.pem").read_text()
        self.expect_taken()
        self.assertIn(made, self.header())
        self.assertEqual(made, (self.build / "keys/public.pem").read_text())

    def test_second_signature_is_required_when_asked_for_and_not_else(self):
        self.expect_taken()
        self.assertIn("kRequireSha256 = false;", self.header())
        self.expect_taken(None, None, "-DQUILLMORE_REQUIRE_SHA256=ON")
        self.assertIn("kRequireSha256 = true;", self.header())

    def test_short_keys_are_refused(self):
        for size in (512, 1024, 2046):
            self.pair("short", "genrsa", size)
            self.expect_refused(f"has {size} bits, which is not safe; make one of 2048 bits or more.",
                                self.at("short.pub"))

    def test_private_key_in_place_of_the_public_one_is_refused(self):
        self.expect_refused("ours.pem is a private key, which must not be built into a program; give the public one"
                            " (openssl rsa -in", self.at("ours.pem"))

    def test_text_that_does_not_begin_with_a_public_key_is_refused(self):
        openssl("rsa", "-in", self.at("ours.pem"), "-RSAPublicKey_out", "-out", self.at("form.pub"))
        self.at("text").write_text("no key\n")
        self.at("second").write_text("-----BEGIN CERTIFICATE-----\n" + self.at("ours.pub").read_text())
        for name in ("form.pub", "text", "second"):
            self.expect_refused(f'{name} is no PEM text that begins with "BEGIN PUBLIC KEY"; make one with'
                                ' "openssl rsa -in PRIVATE -pubout".', self.at(name))

    def test_keys_of_other_kinds_are_refused(self):
        self.pair("elliptic", "genpkey", "EC", "-pkeyopt", "ec_paramgen_curve:P-256")
        self.pair("pss", "genpkey", "RSA-PSS", "-pkeyopt", "rsa_keygen_bits:2048")
        self.at("damaged.pub").write_text(self.at("ours.pub").read_text().replace("M", "N", 3))
        for name in ("elliptic", "pss", "damaged"):
            self.expect_refused(f"{name}.pub holds no RSA key that can be used without a pass phrase; make one with"
                                ' "openssl genrsa".', self.at(f"{name}.pub"))

    def test_missing_folders_and_pipes_are_refused(self):
        os.mkfifo(self.at("pipe"))
        self.addCleanup(os.unlink, self.at("pipe"))
        for path in (self.at("none"), self.at("."), self.at("pipe")):
            self.expect_refused("there is no file", path)
            self.expect_refused("there is no file", self.at("ours.pub"), path)

    def test_unreadable_key_is_refused(self):
        self.at("closed").write_text(self.at("ours.pub").read_text())
        self.at("closed").chmod(0)
        if os.access(self.at("closed"), os.R_OK):
            self.skipTest("this user can read every file")
        self.expect_refused("closed cannot be read; make it readable for whoever builds.", self.at("closed"))

    def test_private_key_of_another_pair_is_refused(self):
        self.expect_refused("other.pem is not the pair of", self.at("ours.pub"), self.at("other.pem"))

    def test_public_key_in_place_of_the_private_one_is_refused(self):
        self.expect_refused("ours.pub is a public key; give the private one, or leave it out.",
                            self.at("ours.pub"), self.at("ours.pub"))

    def test_private_key_with_a_pass_phrase_is_refused_and_not_asked_for(self):
        openssl("rsa", "-aes128", "-passout", "pass:x", "-in", self.at("ours.pem"), "-out", self.at("locked.pem"))
        self.expect_refused("locked.pem holds no RSA key that can be used without a pass phrase",
                            self.at("ours.pub"), self.at("locked.pem"))

    def test_private_key_alone_is_refused(self):
        self.expect_refused("its public half is missing; give it as QUILLMORE_PUBLIC_KEY_FILE.",
                            None, self.at("ours.pem"))


if __name__ == "__main__":
    unittest.main()
