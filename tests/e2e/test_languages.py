"""The launcher in German: its texts, and that everything still works when status words differ."""
import os

from expectations import ALL, INTEL, LauncherTest, answered, launching_core
from machine import BUNDLE, CONTEXT_MENU, FILE_SYSTEM, OVERLAY, PRODUCT
from sandboxed import main

FIXES = ["Fixes10_5"] if INTEL else []
GERMAN = ("-AppleLanguages", "(de)")
WINDOW = """
Quillmore
Quillmore muss Komponenten installieren oder reparieren, bevor es laufen kann. Möglicherweise werden Sie nach dem Kennwort eines Administrators gefragt.

Folgendes wird installiert:
 - das Dateisystem von Quillmore
 - die Hilfsprogramme von Quillmore
  1) Fortfahren (Return)
  2) Beenden
> """
PROGRESS = "\nDie Komponenten von Quillmore werden installiert ...\n"
FAILED = """
Die Installation ist fehlgeschlagen
Einige Komponenten von Quillmore konnten nicht installiert werden. Versuchen Sie es erneut, oder installieren Sie Quillmore neu.
  1) In Ordnung (Return)
> """
RUNS = """
Quillmore läuft bereits
Sie müssen Quillmore beenden, bevor Sie es erneut starten können.
  1) Beenden (Return)
> """
MOVE = """
In den Ordner "Programme" bewegen?
Auf Wunsch bewege ich mich selbst in den Ordner "Programme". Dazu wird das Kennwort eines Administrators benötigt.
  1) In den Ordner "Programme" bewegen (Return)
  2) Nicht bewegen
  s) [ ] Diese Meldung nicht mehr anzeigen
> """


class German(LauncherTest):
    def test_whole_repair_works_under_german_status_words(self):
        ended = self.machine.launch("-FileLogging", "verbose", answers="\n", LANG="de_DE.UTF-8")
        self.assertIn(answered(WINDOW) + PROGRESS, ended.output)
        self.assertEqual(ended.errors, "")
        self.expect_core_started(ended)
        self.expect_installed(*ALL, *FIXES)
        self.assertTrue(ended.output.endswith("\n".join([*launching_core(), ""])))
        again = self.machine.launch(*GERMAN)
        self.assertIn(RUNS, again.output)
        self.assertEqual(again.status, 0)


class GermanStatuses(LauncherTest):
    repaired = True

    def test_status_words_are_german(self):
        self.machine.set_system("10.6.8")
        os.chmod(f"{PRODUCT}/qmstatus", 0o775)
        self.machine.write_tool(f"{PRODUCT}/finderoverlaytool", "echo Limited 1.0.0.0\n", 0o4755)
        self.machine.edit_information(FILE_SYSTEM, CFBundleShortVersionString=None)
        self.machine.remove(OVERLAY)
        self.assertEqual(self.statuses(*GERMAN), {
            "QuillmoreCore": "In Ordnung", "updateqm": "In Ordnung",
            "qmstatus": "Falsche Zugriffsrechte", "finderoverlaytool": "Veraltet",
            "Mono": "In Ordnung", "QuillmoreFS": "Ungültig", "QuillmoreCM": "Nicht erforderlich",
            "QuillmoreOverlay": "Fehlt"})

    def test_only_what_is_wrong_is_repaired_and_failures_are_told_in_german(self):
        os.chmod(f"{PRODUCT}/qmstatus", 0o775)
        self.machine.edit_information(FILE_SYSTEM, CFBundleShortVersionString=None)
        self.machine.remove(CONTEXT_MENU)
        ended = self.machine.launch(*GERMAN, answers="\n\n2\n")
        self.assertEqual(ended.status, 0)
        self.assertIn(answered(FAILED) + answered(WINDOW, "2") + "(nrm) User chose to quit\n",
                      ended.output)
        self.assertEqual(self.machine.commands(), ["repair", "repairpermissionsother"])

    def test_language_that_is_not_carried_falls_back_to_english(self):
        self.machine.remove(CONTEXT_MENU)
        self.assertEqual(self.statuses("-AppleLanguages", "(fr, it)")["QuillmoreCM"], "Missing")

    def test_settings_of_the_user_name_the_language_too(self):
        self.machine.remove(CONTEXT_MENU)
        self.machine.write_settings(AppleLanguages=["fr", "de-CH", "en"])
        self.assertEqual(self.statuses()["QuillmoreCM"], "Fehlt")
        self.assertEqual(self.statuses("-AppleLanguages", "(en)")["QuillmoreCM"], "Missing")


class GermanMove(LauncherTest):
    repaired = True
    policy = "off"

    def test_offer_and_its_suppression_box_are_german(self):
        self.machine.make_users_folder("/home/user/Downloads")
        place = "/home/user/Downloads/Quillmore.app"
        self.machine.run_tool("cp", "-R", BUNDLE, place).check_returncode()
        ended = self.machine.launch(*GERMAN, answers="2\n", bundle=place)
        self.assertIn(MOVE, ended.output)
        self.expect_core_started(ended)


if __name__ == "__main__":
    main()
