#!/usr/bin/python3
"""Time from SPEAK to the first sample and from STOP to silence, through a private
speech-dispatcher server, for sd_velmora and Debian's sd_espeak-ng on the same texts.

Usage: speechd_bench.py MODULE WORK_DIR [RUNS]
Run inside a session bus that activates the reference provider (bench/speechd/run does).
Both modules play in silence: sd_velmora with its null output (real time), sd_espeak-ng through
the server's libao output with libao's null driver. Each module reports BEGIN when its first
samples go to its audio output, and STOP once the output is silenced; the client's clock sees
both through the server, as a screen reader does.
"""
import os
import pathlib
import queue
import shutil
import statistics
import subprocess
import sys
import time

import speechd

MODULE, WORK = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
RUNS = int(sys.argv[3]) if len(sys.argv) > 3 else 10
TEXTS = [
    ("label", "OK"),
    ("sentence", "The quick brown fox jumps over the lazy dog."),
    ("paragraph", "Speech synthesis turns written text into sound. A screen reader sends every "
                  "line, label and key to it, so the first sound must come quickly, and a key "
                  "press must silence it at once. This paragraph is long enough to be stopped "
                  "while it is being spoken."),
]
Kind = speechd.CallbackType


def start_server():
    shutil.rmtree(WORK, ignore_errors=True)
    (WORK / "conf" / "modules").mkdir(parents=True)
    (WORK / "log").mkdir()
    (WORK / "conf" / "speechd.conf").write_text(
        'AudioOutputMethod "libao"\n'
        f'AddModule "velmora" "{MODULE}" "velmora.conf"\n'
        'AddModule "espeak-ng" "sd_espeak-ng" "espeak-ng.conf"\n')
    (WORK / "conf" / "modules" / "velmora.conf").write_text('VelmoraAudioOutput "null"\n')
    (WORK / "conf" / "modules" / "espeak-ng.conf").write_text("")
    (WORK / ".libao").write_text("default_driver=null\n")
    env = dict(os.environ, HOME=str(WORK), XDG_CONFIG_HOME=str(WORK / "config"), XDG_RUNTIME_DIR=str(WORK))
    server = subprocess.Popen(["speech-dispatcher", "-s", "-t", "0", "-c", "unix_socket", "-S", str(WORK / "sock"),
                               "-C", str(WORK / "conf"), "-L", str(WORK / "log")],
                              env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while not (WORK / "sock").exists():
        time.sleep(0.05)
    return server


class Client:
    def __init__(self, module):
        self.ssip = speechd.SSIPClient("velmora-bench", address=f"unix_socket:{WORK / 'sock'}", autospawn=False)
        self.ssip.set_output_module(module)
        self.ssip.set_language("en-US")
        self.events = queue.Queue()

    def speak(self, text):
        self.events = queue.Queue()
        started = time.monotonic()
        self.ssip.speak(text, callback=lambda kind, index_mark=None: self.events.put((kind, time.monotonic())),
                        event_types=(Kind.BEGIN, Kind.END, Kind.CANCEL))
        return started

    def wait_for(self, *kinds):
        """The first of `kinds` to come, with its time; (None, nan) after 30 s without it."""
        try:
            while True:
                kind, at = self.events.get(timeout=30)
                if kind in kinds:
                    return kind, at
        except queue.Empty:
            return None, float("nan")


def first_sample_ms(client, text):
    started = client.speak(text)
    _, begun = client.wait_for(Kind.BEGIN)
    client.ssip.stop()
    client.wait_for(Kind.END, Kind.CANCEL)
    return (begun - started) * 1000


def stop_ms(client, text):
    client.speak(text)
    client.wait_for(Kind.BEGIN)
    time.sleep(0.3)
    stopped = time.monotonic()
    client.ssip.stop()
    kind, at = client.wait_for(Kind.END, Kind.CANCEL)
    return (at - stopped) * 1000 if kind == Kind.CANCEL else float("nan")


def median(values):
    """The median of the runs that completed (a missing event counts as none)."""
    done = [value for value in values if value == value]
    return statistics.median(done) if done else float("nan")


def main():
    server = start_server()
    try:
        rows = []
        for module in ("velmora", "espeak-ng"):
            client = Client(module)
            first_sample_ms(client, "Warm up.")
            for name, text in TEXTS:
                firsts = [first_sample_ms(client, text) for _ in range(RUNS)]
                rows.append((module, name, median(firsts)))
            stops = [stop_ms(client, TEXTS[2][1]) for _ in range(RUNS)]
            rows.append((module, "stop", median(stops)))
            client.ssip.close()
    finally:
        server.terminate()
        server.wait()
    print(f"{RUNS} runs each, medians, through speech-dispatcher {speechd_version()}")
    print(f"{'':40}{'sd_velmora':>14}{'sd_espeak-ng':>14}{'ratio':>8}")
    table = {(module, name): value for module, name, value in rows}
    for name in [name for name, _ in TEXTS] + ["stop"]:
        ours, theirs = table[("velmora", name)], table[("espeak-ng", name)]
        label = ("SPEAK to first sample, " + name) if name != "stop" else "STOP to silence"
        ratio = f"{ours / theirs:7.2f}x" if ours == ours and theirs == theirs else ""
        print(f"{label:40}{shown(ours):>14}{shown(theirs):>14}{ratio}")
    print("targets: first sample at most 1.2x sd_espeak-ng's; STOP to silence within 20 ms")


def shown(ms):
    """A median, or why there is none: every message had ended before the STOP came (libao's null
    driver plays a whole message at once)."""
    return f"{ms:.1f} ms" if ms == ms else "ended first"


def speechd_version():
    return subprocess.run(["speech-dispatcher", "-v"], capture_output=True, text=True).stdout.split("\n")[0].split()[-1]


main()
