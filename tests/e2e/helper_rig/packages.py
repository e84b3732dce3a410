"""Packages made byte by byte, so that an attack can say in one what no packer would."""
import gzip
import io
import stat
import struct
import zipfile
import zlib

INFO = ('<?xml version="1.0"?><plist version="1.0"><dict><key>CFBundleShortVersionString</key>'
        "<string>{}</string><key>CFBundleVersion</key><string>1</string></dict></plist>")


def zipped(*entries, packed=True):
    """A ZIP archive of (name, content[, mode]) as they are."""
    output = io.BytesIO()
    with zipfile.ZipFile(output, "w", zipfile.ZIP_DEFLATED if packed else zipfile.ZIP_STORED) as archive:
        for name, content, *mode in entries:
            entry = zipfile.ZipInfo("x", (2010, 1, 1, 0, 0, 0))
            entry.filename = name  # the constructor would make it a sound one
            entry.create_system = 3
            kind = stat.S_IFDIR | 0o755 if name.endswith("/") else stat.S_IFREG | 0o644
            entry.external_attr = (mode[0] if mode else kind) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED if packed and content else zipfile.ZIP_STORED
            archive.writestr(entry, content)
    return output.getvalue()


def plug_in(*more, version="1.0.0", name="A.plugin"):
    return zipped((f"{name}/", ""), (f"{name}/Contents/", ""),
                  (f"{name}/Contents/Info.plist", INFO.format(version)), *more)


def cpio(*entries):
    """A payload of (name, content[, mode[, links]])."""
    output = b""
    for number, (name, content, *rest) in enumerate([*entries, ("TRAILER!!!", "", 0)]):
        mode = rest[0] if rest else stat.S_IFDIR | 0o755 if content is None else stat.S_IFREG | 0o644
        content = content.encode() if isinstance(content, str) else content or b""
        links = rest[1] if len(rest) > 1 else 1
        encoded = name.encode() + b"\0"
        output += b"070707%06o%06o%06o%06o%06o%06o%06o%011o%06o%011o" % (
            1, number, mode, 0, 0, links, 0, 0, len(encoded), len(content)) + encoded + content
    return gzip.compress(output)


def xar(*files):
    """A xar archive of (name, content)."""
    heap, table = b"", ""
    for number, (name, content) in enumerate(files):
        content = content.encode() if isinstance(content, str) else content
        table += (f'<file id="{number}"><name>{name}</name><type>file</type><data><offset>{len(heap)}</offset>'
                  f"<length>{len(content)}</length><size>{len(content)}</size>"
                  '<encoding style="application/octet-stream"/></data></file>')
        heap += content
    return xar_of(f'<?xml version="1.0"?><xar><toc>{table}</toc></xar>', heap)


def xar_of(table, heap):
    packed = zlib.compress(table.encode())
    return struct.pack(">4sHHQQI", b"xar!", 28, 1, len(packed), len(table.encode()), 0) + packed + heap


def information(location="/Library/Filesystems"):
    return f'<pkg-info format-version="2" install-location="{location}"/>'


def file_system(*more, version="1.0.0", location="/Library/Filesystems"):
    return xar(("PackageInfo", information(location)),
               ("Payload", cpio((".", None), ("./A.fs", None), ("./A.fs/Contents", None),
                                ("./A.fs/Contents/Info.plist", INFO.format(version)), *more)))
