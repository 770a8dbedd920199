#!/bin/sh
# The enhanced voices screen as a screen reader meets it: the real program on a virtual X server,
# with the accessibility bus, a private session bus (given by its configuration) and a loopback
# catalog. Usage: atspi_test.sh VELMORA SESSION_CONFIG
if [ -z "${ATSPI_INNER:-}" ]; then
  for tool in xvfb-run xauth dbus-run-session; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is missing"; exit 77; }
  done
  [ -x /usr/libexec/at-spi-bus-launcher ] || { echo "SKIP: at-spi2-core is missing"; exit 77; }
  /usr/bin/python3 -c 'import pyatspi' 2>/dev/null || { echo "SKIP: python3-pyatspi is missing"; exit 77; }
  # The accessibility bus's socket goes into a runtime folder of this run only; the session bus
  # keeps the environment it starts with, so it is made before.
  XDG_RUNTIME_DIR=$(mktemp -d) && chmod 700 "$XDG_RUNTIME_DIR" || exit 1
  export XDG_RUNTIME_DIR ATSPI_INNER=1 QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 QT_QUICK_BACKEND=software
  xvfb-run -a -s "-screen 0 1024x768x24 -nolisten tcp -noreset" \
    dbus-run-session --config-file="$2" -- "$0" "$@"
  status=$?
  rm -rf "$XDG_RUNTIME_DIR"
  exit $status
fi
exec /usr/bin/python3 "$(dirname "$0")/atspi_row_test.py" "$1"
