#!/usr/bin/env python3
"""Writes the inputs that the fuzz targets begin with: sound ones, small, one of each kind."""
import pathlib
import plistlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/e2e/helper_rig"))
from packages import INFO, cpio, file_system, plug_in  # noqa: E402
import gzip  # noqa: E402

WORDS = {"repair": 1, "repairpermissions": 0, "repaircore": 1, "repairother": 2, "repairpermissionsother": 1,
         "repairpackage": 1, "repairotherroot": 2, "repairpermissionsotherroot": 1, "repairzipitem": 3,
         "repairintel10_5": 2, "applyfullupdate": 3, "fixmonokeypairs": 1}
PATHS = ["/home/tool", "/home/tool.sig", "/Library/Contextual Menu Items/A.plugin"]
TABLE = ('<xar><toc><file><name>PackageInfo</name><type>file</type><data><offset>0</offset><length>9</length>'
         "<size>9</size></data></file><file><name>Payload</name><type>file</type><data><offset>0</offset>"
         "<length>9</length><size>9</size></data></file></toc></xar>")


def seeds():
    for word, count in WORDS.items():
        yield "UpdateToolArgumentsFuzz", "\0".join([word, *PATHS[:count]]).encode()
    for path in ("/home/XCore.app", "/link/XCore.app", "/home/../home/XCore.app"):
        yield "UpdateToolArgumentsFuzz", f"repaircore\0{path}".encode()
    for first in (b"\0", b"\1"):
        yield "ZipArchiveFuzz", first + plug_in(("A.plugin/x", "contents"))
    payload = cpio((".", None), ("./A.fs", None), ("./A.fs/x", "contents"), ("./A.fs/l", "x", 0o120777))
    yield "FlatPackageFuzz", b"\0" + file_system(("./A.fs/x", "contents"))
    yield "FlatPackageFuzz", b"\1" + payload
    yield "FlatPackageFuzz", b"\2" + gzip.decompress(payload)
    yield "FlatPackageFuzz", b"\2" + newc()
    yield "FlatPackageFuzz", b"\3" + TABLE.encode()
    values = {"CFBundleShortVersionString": "1.2.3", "CFBundleVersion": "4", "list": ["x" * 20] * 20}
    for kind in (plistlib.FMT_XML, plistlib.FMT_BINARY):
        yield "InfoPropertyListFuzz", plistlib.dumps(values, fmt=kind)
        yield "PropertyListFuzz", plistlib.dumps(values, fmt=kind)
    yield "InfoPropertyListFuzz", INFO.format("1.2").encode()
    yield "InfoPropertyListFuzz", b"Quillmore Limited 1.15.4 (1856)"
    yield "StringTableFuzz", b'/* a */ "key" = "text\\n\\U00e4";\n// b\nplain = "x";\n'
    yield "JSONFuzz", rb'{"password":"p\/w\n","keepSignedIn":true,"skipAuth":false,"n":-7,"d":2.5}'
    yield "JSONFuzz", b'{"a": [1, -2.5e3, true, null, "x\\u00e4\\n"], "b": {}}'
    yield "FormatFuzz", b"%@ %d %5.2f %-10s %llx %% %c"


def newc():
    output = b""
    for name, content, mode in (("A.fs", b"", 0o040755), ("A.fs/x", b"contents", 0o100644), ("TRAILER!!!", b"", 0)):
        fields = [1, mode, 0, 0, 1, 0, len(content), 0, 0, 0, 0, len(name) + 1, 0]
        output += b"070701" + b"".join(b"%08x" % field for field in fields) + name.encode() + b"\0"
        output += bytes(-len(output) % 4)
        output += content + bytes(-len(content) % 4)
    return output


def main():
    folder = pathlib.Path(sys.argv[1])
    for number, (target, content) in enumerate(seeds()):
        (folder / target).mkdir(parents=True, exist_ok=True)
        (folder / target / f"seed{number:02}").write_bytes(content)
    (folder / "done").touch()


if __name__ == "__main__":
    main()
