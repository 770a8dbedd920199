#!/usr/bin/env python3
"""make_archive.py OUT MEGABYTES: a voice archive of about MEGABYTES compressed megabytes.

The pack looks like a real one: voice/broker.hdr.asset, a few large data files and some small
ones, deflated by Python's zipfile at its default level. The data is half random and half
repetitive, so it deflates to about half its size, like recorded voice data does."""
import os
import random
import sys
import zipfile

out, megabytes = sys.argv[1], int(sys.argv[2])
rng = random.Random(7)
block = 1 << 20
phrases = b"".join(b"unit %d pitch %d duration %d\n" % (i, i * 7 % 300, i * 13 % 90) for i in range(40000))


def data_block():
    noise = rng.randbytes(block // 2)
    start = rng.randrange(len(phrases) - block // 2)
    return noise + phrases[start:start + block // 2]


target = megabytes << 20
with zipfile.ZipFile(out + ".tmp", "w", compression=zipfile.ZIP_DEFLATED) as archive:
    archive.writestr("voice/broker.hdr.asset", "<broker>\n<voice>Bench</voice>\n</broker>\n")
    for i in range(40):
        archive.writestr("voice/lexicon/part%02d.txt" % i, phrases[: 4096 * (i + 1)])
    part = 0
    while os.path.getsize(out + ".tmp") < target:
        with archive.open("voice/units%02d.dat" % part, "w") as entry:
            for _ in range(16):
                entry.write(data_block())
        archive.fp.flush()
        part += 1
os.replace(out + ".tmp", out)
