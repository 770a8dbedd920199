#!/usr/bin/python3
"""Usage: speechd_test.py MODULE CLI PROVIDER_SERVICE SERVICE_DIR WORK_DIR. sd_velmora under a private
speech-dispatcher server (own configuration, socket and log folder; no sound server, so the module
plays in silence at real time), with the reference provider on this test's private session bus, whose
service file goes into SERVICE_DIR only once the module runs, as installing a voice provider does.
Last, the server runs from the user's settings alone, as velmora-cli system-voice enable leaves them."""
import os
import pathlib
import queue
import shutil
import subprocess
import sys
import time

import speechd

Event = speechd.CallbackType
MODULE, CLI, PROVIDER_SERVICE, SERVICE_DIR, WORK = map(pathlib.Path, sys.argv[1:6])
failures = []


def check(name, ok, detail=""):
    print(("ok   " if ok else "FAIL ") + name + ("" if ok else ": " + detail), flush=True)
    if not ok:
        failures.append(name)


USER_ENV = dict(os.environ, HOME=str(WORK), XDG_CONFIG_HOME=str(WORK / "config"), XDG_RUNTIME_DIR=str(WORK))


def start_server(own_config=True):
    """A server with a configuration folder of the test's own, or with the user's settings."""
    shutil.rmtree(WORK / "log", ignore_errors=True)
    (WORK / "sock").unlink(missing_ok=True)
    (WORK / "conf" / "modules").mkdir(parents=True, exist_ok=True)
    (WORK / "log").mkdir()
    (WORK / "conf" / "speechd.conf").write_text(
        f'LogLevel 5\nAddModule "velmora" "{MODULE}" "velmora.conf"\nDefaultModule velmora\n')
    (WORK / "conf" / "modules" / "velmora.conf").write_text('VelmoraAudioOutput "null"\n')
    server = subprocess.Popen(["speech-dispatcher", "-s", "-t", "0", "-c", "unix_socket", "-S", str(WORK / "sock"),
                               "-L", str(WORK / "log")] + (["-C", str(WORK / "conf")] if own_config else []),
                              env=USER_ENV, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    deadline = time.monotonic() + 20
    while not (WORK / "sock").exists() and time.monotonic() < deadline:
        time.sleep(0.05)
    return server


def spd_say(*args, module=("-o", "velmora")):
    env = dict(os.environ, SPEECHD_ADDRESS=f"unix_socket:{WORK / 'sock'}")
    return subprocess.run(["spd-say", *module, *args], env=env, capture_output=True, text=True, timeout=30)


def module_log():
    return (WORK / "log" / "velmora.log").read_text(errors="replace")


def last_voice():
    lines = [line for line in module_log().splitlines() if "sd_velmora: voice " in line]
    return lines[-1].split("sd_velmora: voice ", 1)[1] if lines else ""


def test_voice_installed_while_running():
    """The provider installed while the module runs; then spd-say's manual cases speak with its voices."""
    before = spd_say("-L").stdout
    check("no voices before a provider is installed", not before.strip().splitlines()[1:], before)
    shutil.copy(PROVIDER_SERVICE, SERVICE_DIR / PROVIDER_SERVICE.name)
    subprocess.run(["dbus-send", "--session", "--dest=org.freedesktop.DBus", "--type=method_call",
                    "/org/freedesktop/DBus", "org.freedesktop.DBus.ReloadConfig"], check=True)
    listing = spd_say("-L").stdout
    check("the provider's voices are listed once it is installed", "Samantha (iOS 4)" in listing, listing)
    check("the log says the voice list changed", "the voice list changed" in module_log(), module_log())
    first = [line for line in listing.splitlines()[1:] if line.strip()][0]
    check("Velmora's voices come first", "(iOS" in first or "(iPhone" in first, first)

    french_name = next((line.rsplit(" fr", 1)[0].strip() for line in listing.splitlines() if " fr" in line), "?")
    # name: spd-say arguments, then the language of the voice that must speak
    cases = [
        ("english by language",        ["-l", "en-US", "Hello"],                          "en"),
        ("french by language",         ["-l", "fr-FR", "Bonjour"],                        "fr"),
        ("french by name",             ["-y", french_name, "Bonjour"],                    "fr"),
        ("french female2",             ["-l", "fr-FR", "-t", "female2", "Bonjour"],       "fr"),
        ("bogus name falls back",      ["-l", "fr-FR", "-y", "bleaaaarg", "Bonjour"],     "fr"),
        ("a character",                ["-c", "a"],                                       ""),
        ("a key",                      ["-k", "ctrl_a"],                                  ""),
        ("fast, high and quiet",       ["-r", "80", "-p", "60", "-i", "-50", "Hello"],    ""),
    ]
    for name, args, language in cases:
        spd_say("-w", "-l", "en-US", "Hello")
        result = spd_say("-w", *args)
        voice = last_voice()
        check(f"spd-say {name}", result.returncode == 0 and f"({language}" in voice, f"{result} {voice}")


def test_client_events():
    """Marks in order, a stop, a pause at the next mark, as speech-dispatcher's Python client sees them."""
    ssip = speechd.SSIPClient("velmora-test", address=f"unix_socket:{WORK / 'sock'}", autospawn=False)
    ssip.set_output_module("velmora")
    ssip.set_data_mode(speechd.DataMode.SSML)
    events = queue.Queue()
    speak = lambda ssml: ssip.speak(ssml, callback=lambda kind, index_mark=None: events.put((kind, index_mark)))

    def until(last=(Event.END, Event.CANCEL), timeout=30):
        """The events of the message (marks by their names) up to one of the kinds `last`, or the timeout."""
        seen, deadline = [], time.monotonic() + timeout
        while time.monotonic() < deadline:
            try:
                kind, mark = events.get(timeout=0.5)
            except queue.Empty:
                continue
            seen.append(mark if kind == Event.INDEX_MARK else kind)
            if kind in last:
                return seen
        return seen + ["(no end)"]

    speak('<speak>One <mark name="m1"/>two <mark name="m2"/>three <mark name="m3"/></speak>')
    seen = until()
    check("three marks in order, then END", seen == [Event.BEGIN, "m1", "m2", "m3", Event.END], str(seen))

    speak("<speak>" + "This is a long message that is stopped. " * 20 + "</speak>")
    until([Event.BEGIN], timeout=20)
    time.sleep(0.5)
    ssip.stop()
    seen = until(timeout=5)
    check("STOP during a long message ends it with STOP", seen[-1:] == [Event.CANCEL], str(seen))

    speak('<speak>' + 'Words before the first mark. ' * 3 + '<mark name="p1"/>' + 'Words after it. ' * 10 +
          '<mark name="p2"/>The end.</speak>')
    events.get(timeout=20)  # BEGIN
    ssip.pause()
    seen = until([Event.PAUSE], timeout=20)
    # speech-dispatcher puts marks of its own into the text, keeps the one a pause stops at for
    # resuming, and tells the client PAUSE alone
    server_log = (WORK / "log" / "speech-dispatcher.log").read_text(errors="replace")
    before_pause = server_log[:server_log.find("704 PAUSE")].rsplit("701 BEGIN", 1)[-1]
    check("PAUSE ends the message at its next mark", seen == [Event.PAUSE] and "700 INDEX MARK" in before_pause
          and "700-p2" not in before_pause, f"{seen} {before_pause[-400:]}")
    ssip.cancel()
    ssip.close()


def test_system_voice_enable():
    user_file = WORK / "config" / "speech-dispatcher" / "speechd.conf"
    own = 'DefaultRate 20\nAddModule "espeak-ng" "sd_espeak-ng" "espeak-ng.conf"\n'
    cli = lambda verb: subprocess.run([CLI, "system-voice", verb], env=USER_ENV, capture_output=True, text=True)
    # with the user's file before (None: none), the server then loads both modules
    for name, before in (("without a file of the user's", None), ("with the user's own file", own)):
        shutil.rmtree(user_file.parent, ignore_errors=True)
        if before is not None:
            user_file.parent.mkdir(parents=True)
            user_file.write_text(before)
        enabled = cli("enable")
        server = start_server(own_config=False)
        try:
            listed = sorted(spd_say("-O", module=()).stdout.split()[2:])
            spoken = spd_say("-w", "Hello")
        finally:
            server.terminate()
            server.wait(timeout=10)
        check(f"enable {name}: the server loads the module", enabled.returncode == 0 and
              listed == ["espeak-ng", "velmora"], f"{enabled.stdout}{enabled.stderr} {listed}")
        check(f"enable {name}: the module speaks", spoken.returncode == 0 and "voice " in module_log(), module_log())
        check(f"enable {name}: status says so", "enabled for this user" in cli("status").stdout)
        cli("disable")
        after = user_file.read_text() if user_file.exists() else None
        check(f"disable {name}: the file is as before", after == before, repr(after))


def main():
    for leftover in SERVICE_DIR.glob("*.service"):
        leftover.unlink()
    shutil.rmtree(WORK, ignore_errors=True)
    server = start_server()
    try:
        test_voice_installed_while_running()
        test_client_events()
    finally:
        server.terminate()
        server.wait(timeout=10)
    test_system_voice_enable()
    if failures:
        print(module_log()[-4000:])
    return 1 if failures else 0


sys.exit(main())
