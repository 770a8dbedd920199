#!/usr/bin/python3
"""Usage: atspi_test.py VELMORA SESSION_CONFIG. The enhanced voices screen as a screen reader meets
it, in the real program on a virtual X server with the accessibility bus, a private session bus and a
loopback catalog: a voice row pressed through AT-SPI is named "Download ...", "Stop downloading ...",
then "Remove ...", and the notification says the download started and the voice was installed."""

import hashlib
import http.server
import importlib.util
import io
import os
import plistlib
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import zipfile

pyatspi = importlib.import_module("pyatspi") if importlib.util.find_spec("pyatspi") else None

SAMANTHA = "Samantha, English (United States), "


def serve():
    """A loopback server of a catalog with one voice, whose archive stalls half-way."""
    data = io.BytesIO()
    with zipfile.ZipFile(data, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("voice/broker.hdr.asset", "<broker>\n<voice>Samantha</voice>\n</broker>\n")
        archive.writestr("voice/voice.dat", os.urandom(200_000))
    archive = data.getvalue()

    class Handler(http.server.BaseHTTPRequestHandler):
        log_message = lambda *args: None

        def do_GET(self):
            if self.path == "/catalog.xml":
                asset = {"Build": "10A403", "FormatVersion": "3", "Language": "en-US", "_IsZipStreamable": True,
                         "_DownloadSize": len(archive), "_UnarchivedSize": 4 * len(archive),
                         "_MasteredVersion": "5.0.1", "_Measurement": hashlib.sha1(archive).digest(),
                         "__BaseURL": f"http://127.0.0.1:{self.server.server_port}/", "__RelativePath": "samantha.zip"}
                body, half = plistlib.dumps({"AssetType": "voices", "Assets": [asset]}), None
            else:
                body, half = archive, len(archive) // 2
            self.send_response(200)
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body[:half])
            if half:
                self.wfile.flush()
                time.sleep(1.0)  # so that the download can be seen
                self.wfile.write(body[half:])

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


def poll(what, find, timeout=15.0):
    end = time.monotonic() + timeout
    while not (found := find()):
        if time.monotonic() > end:
            sys.exit(f"FAIL: timed out waiting for {what}")
        time.sleep(0.05)
    return found


def shown(role, prefix=""):
    """The program's showing element of the role whose name starts with `prefix`, else None."""
    app = next((a for a in pyatspi.Registry.getDesktop(0) if a and a.name == "velmora"), None)
    return app and pyatspi.findDescendant(app, lambda a: a.getRoleName() == role and a.name.startswith(prefix)
                                          and a.getState().contains(pyatspi.STATE_SHOWING), True)


def heard(announcer, said, start):
    """The announcer's newest sentence, noted in `said` once, if it starts with `start`."""
    name = announcer.name
    if name and name not in said[-1:]:
        said.append(name)
    return name.startswith(start) and name


def press(element):
    action = element.queryAction()
    action.doAction([action.getName(i) for i in range(action.nActions)].index("Press"))


def outer():
    """Runs this script again on a virtual X server and a session bus, with a runtime folder of its own."""
    missing = [tool for tool in ("xvfb-run", "xauth", "dbus-run-session", "/usr/libexec/at-spi-bus-launcher")
               if not shutil.which(tool)] + ([] if pyatspi else ["python3-pyatspi"])
    if missing:
        print("SKIP: missing " + ", ".join(missing))
        sys.exit(77)
    with tempfile.TemporaryDirectory() as runtime:
        environment = dict(os.environ, XDG_RUNTIME_DIR=runtime, ATSPI_INNER="1",
                           QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QUICK_BACKEND="software")
        sys.exit(subprocess.run(["xvfb-run", "-a", "-s", "-screen 0 1024x768x24 -nolisten tcp -noreset",
                                 "dbus-run-session", f"--config-file={sys.argv[2]}", "--", *sys.argv],
                                env=environment).returncode)


def main():
    if "ATSPI_INNER" not in os.environ:
        outer()
    server = serve()
    with tempfile.TemporaryDirectory() as groups:
        environment = dict(os.environ, VELMORA_APP_GROUPS_ROOT=groups,
                           VELMORA_CATALOG_URL=f"http://127.0.0.1:{server.server_port}/catalog.xml")
        program = subprocess.Popen([sys.argv[1]], env=environment)
        try:
            press(poll("the Enhanced voices button", lambda: shown("push button", "Enhanced voices")))
            row = poll("the row to download", lambda: shown("push button", "Download " + SAMANTHA))
            assert row.childCount == 0, f"the row exposes {row.childCount} children"
            # The notification that has said the catalog was read says the rest.
            announcer = poll("the notification", lambda: shown("notification"))
            said = []
            press(row)
            poll("the downloading label", lambda: row.name.startswith("Stop downloading " + SAMANTHA) and row.name)
            poll("the start said", lambda: heard(announcer, said, "Downloading Samantha, "))
            poll("the installed label", lambda: row.name.startswith("Remove " + SAMANTHA) and row.name)
            poll("the install said", lambda: heard(announcer, said, "Samantha installed, "))
            print(f"ok: {row.name}; heard {said}")
        finally:
            program.terminate()
            program.wait(timeout=10)
            server.shutdown()


if __name__ == "__main__":
    main()
