#!/usr/bin/env python3
"""Writes the fuzz targets' seeds into FOLDER/zip, FOLDER/stream and FOLDER/catalog: the shapes
the tests build as fixtures (voice-pack archives, stored and deflated entries, folders, framed and
raw audio streams with events, catalogs with usable and unusable assets)."""
import io
import pathlib
import plistlib
import struct
import sys
import zipfile


def zip_bytes(entries, method=zipfile.ZIP_DEFLATED):
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", method) as archive:
        for name, data in entries:
            if name.endswith("/"):
                archive.writestr(zipfile.ZipInfo(name), b"")
            else:
                archive.writestr(name, data)
    return buffer.getvalue()


def zip_seeds():
    header = b"voice=Daniel\ngender=male\n"
    pattern = bytes((i * 7 + i // 13) & 0xFF for i in range(3000))
    return {
        "voice-pack": zip_bytes([("en_GB/", b""), ("en_GB/broker.hdr.asset", header),
                                 ("en_GB/voice.dat", pattern)]),
        "stored": zip_bytes([("a.txt", b"hello"), ("b/c.txt", b"world" * 40)], zipfile.ZIP_STORED),
        "deflated": zip_bytes([("text.txt", b"the quick brown fox " * 200), ("empty", b"")]),
        "names": zip_bytes([("caf\u00e9/na\u00efve.txt", b"x"), ("def/", b""), ("def/jkl", b"y")]),
        "two-headers": zip_bytes([("b/broker.hdr.asset", header), ("a/broker.hdr.asset", header)]),
        "empty": zip_bytes([]),
    }


def chunk_audio(samples):
    return b"\x01" + struct.pack("=I", len(samples)) + samples


def chunk_event(name):
    return b"\x02\x01" + struct.pack("=III", 4, 9, len(name)) + name


def stream_seeds():
    # First byte: the format (0 framed S16LE mono, 1 framed F32LE stereo, 2 raw S16LE mono,
    # 3 raw F32LE six channels); second: the size of the reads.
    s16 = struct.pack("<6h", 0, 1, -1, 32767, -32768, 16384)
    f32 = struct.pack("<4f", 0.5, -1.5, 0.125, 1.0)
    framed = b"0.01" + chunk_event(b"word") + chunk_audio(s16) + chunk_event(b"") + chunk_audio(b"")
    return {
        "framed-s16": b"\x00\x03" + framed,
        "framed-f32": b"\x01\x07" + b"0.01" + chunk_audio(f32) + chunk_event(b"mark"),
        "framed-split-sample": b"\x00\x01" + b"0.01" + chunk_audio(b"\x00") + chunk_event(b"m") + chunk_audio(b"\x40"),
        "framed-huge-length": b"\x00\x3f" + b"0.01\x01" + struct.pack("=I", 0xFFFFFFFE) + s16,
        "raw-s16": b"\x02\x05" + s16,
        "raw-f32": b"\x03\x0b" + f32 * 3,
    }


def asset(format_version, language, **changes):
    entry = {
        "Build": "10A403", "_IsZipStreamable": True, "FormatVersion": format_version,
        "Language": language, "_DownloadSize": 1000, "_MasteredVersion": "5.0.1",
        "_UnarchivedSize": 4000, "_Measurement": b"\x5a" * 20,
        "__BaseURL": "https://example.invalid/voices/", "__RelativePath": language + ".zip",
    }
    entry.update(changes)
    return {key: value for key, value in entry.items() if value is not None}


def catalog_seeds():
    assets = [asset("3", "en-US"), asset("4", "de-DE", _DownloadSize=2.5e9), asset("5", "fr-FR"),
              asset("9", "it-IT"), asset("3", "en/US"), asset("4", "es-ES", __BaseURL=None)]
    catalog = {"AssetType": "voices", "Assets": assets, "Signature": b"\x00\x01\x02"}
    return {
        "xml": plistlib.dumps(catalog, fmt=plistlib.FMT_XML),
        "binary": plistlib.dumps(catalog, fmt=plistlib.FMT_BINARY),
        "no-assets": plistlib.dumps({"AssetType": "voices"}, fmt=plistlib.FMT_XML),
    }


def main():
    top = pathlib.Path(sys.argv[1])
    for kind, seeds in (("zip", zip_seeds()), ("stream", stream_seeds()), ("catalog", catalog_seeds())):
        folder = top / kind
        folder.mkdir(parents=True, exist_ok=True)
        for name, data in seeds.items():
            (folder / name).write_bytes(data)


if __name__ == "__main__":
    main()
