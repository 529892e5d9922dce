#!/usr/bin/env bash
# Runs the window's accessibility-driven tests under Xvfb (outside the bus, so bus services inherit
# its DISPLAY) and a private session bus, so nothing reaches the user's desktop.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
exec xvfb-run -a -s "-screen 0 1280x800x24 -nolisten tcp" \
  dbus-run-session -- /usr/bin/python3 "$here/window_tests.py" "$@"
