#!/usr/bin/env python3
"""make_zip.py OUT [NAME CONTENT]...: writes a deflated zip archive with Python's zipfile.

A NAME ending in "/" becomes a directory entry (its CONTENT is ignored)."""
import sys
import zipfile

out, pairs = sys.argv[1], sys.argv[2:]
with zipfile.ZipFile(out, "w", compression=zipfile.ZIP_DEFLATED) as archive:
    for name, content in zip(pairs[::2], pairs[1::2]):
        if name.endswith("/"):
            archive.writestr(zipfile.ZipInfo(name), b"")
        else:
            archive.writestr(name, content.encode("utf-8"))
