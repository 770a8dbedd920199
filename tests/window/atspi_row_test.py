"""Presses an enhanced voice row through AT-SPI and follows its name: "Download ...", then
"Stop downloading ..." while the archive arrives, then "Remove ..." once it is installed; and
listens, as a screen reader does, to the notification that says the download started and the
voice was installed.

Usage: atspi_row_test.py VELMORA. Runs the program with a catalog served here on loopback and
its shared folder in a temporary folder; needs DISPLAY and the session bus set up by the caller.
"""

import hashlib
import http.server
import io
import os
import plistlib
import subprocess
import sys
import tempfile
import threading
import time
import zipfile

import pyatspi

ARCHIVE_HALF_DELAY = 1.0  # seconds the archive stalls half-way, so the download can be seen


def voice_archive():
    data = io.BytesIO()
    with zipfile.ZipFile(data, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("voice/broker.hdr.asset", "<broker>\n<voice>Samantha</voice>\n</broker>\n")
        archive.writestr("voice/voice.dat", os.urandom(200_000))
    return data.getvalue()


def catalog(base, archive):
    asset = {"Build": "10A403", "FormatVersion": "3", "Language": "en-US", "_IsZipStreamable": True,
             "_DownloadSize": len(archive), "_UnarchivedSize": 4 * len(archive), "_MasteredVersion": "5.0.1",
             "_Measurement": hashlib.sha1(archive).digest(), "__BaseURL": base, "__RelativePath": "samantha.zip"}
    return plistlib.dumps({"AssetType": "voices", "Assets": [asset]})


def serve(archive):
    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            body = catalog(f"http://127.0.0.1:{self.server.server_port}/", archive) \
                if self.path == "/catalog.xml" else archive
            self.send_response(200)
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            half = len(body) // 2 if self.path.endswith(".zip") else len(body)
            self.wfile.write(body[:half])
            self.wfile.flush()
            if half < len(body):
                time.sleep(ARCHIVE_HALF_DELAY)
                self.wfile.write(body[half:])

        def log_message(self, *args):
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


def poll(what, find, timeout=15.0):
    end = time.monotonic() + timeout
    while time.monotonic() < end:
        found = find()
        if found:
            return found
        time.sleep(0.05)
    sys.exit(f"FAIL: timed out waiting for {what}")


def application():
    return next((a for a in pyatspi.Registry.getDesktop(0) if a and a.name == "velmora"), None)


def button(prefix):
    app = application()
    return app and pyatspi.findDescendant(
        app, lambda a: a.getRoleName() == "push button" and a.name.startswith(prefix)
        and a.getState().contains(pyatspi.STATE_SHOWING), True)


def notification():
    app = application()
    return app and pyatspi.findDescendant(
        app, lambda a: a.getRoleName() == "notification" and a.getState().contains(pyatspi.STATE_SHOWING), True)


def heard(announcer, said, start):
    """The announcer's newest sentence, noted in `said` once, if it starts with `start`."""
    name = announcer.name
    if name and (not said or said[-1] != name):
        said.append(name)
    return name.startswith(start) and name


def press(element):
    action = element.queryAction()
    names = [action.getName(i) for i in range(action.nActions)]
    action.doAction(names.index("Press"))


def main():
    server = serve(voice_archive())
    with tempfile.TemporaryDirectory() as groups:
        environment = dict(os.environ, VELMORA_APP_GROUPS_ROOT=groups,
                           VELMORA_CATALOG_URL=f"http://127.0.0.1:{server.server_port}/catalog.xml")
        program = subprocess.Popen([sys.argv[1]], env=environment)
        try:
            press(poll("the Enhanced voices button", lambda: button("Enhanced voices")))
            row = poll("the row to download", lambda: button("Download Samantha, English (United States), "))
            assert row.childCount == 0, f"the row exposes {row.childCount} children"
            # The notification that has said the catalog was read says the rest.
            announcer = poll("the notification", notification)
            said = []
            press(row)
            poll("the downloading label", lambda: row.name.startswith(
                "Stop downloading Samantha, English (United States), ") and row.name)
            poll("the start said", lambda: heard(announcer, said, "Downloading Samantha, "))
            poll("the installed label", lambda: row.name.startswith(
                "Remove Samantha, English (United States), ") and row.name)
            poll("the install said", lambda: heard(announcer, said, "Samantha installed, "))
            print(f"ok: {row.name}; heard {said}")
        finally:
            program.terminate()
            program.wait(timeout=10)
            server.shutdown()


if __name__ == "__main__":
    main()
