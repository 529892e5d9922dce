"""Drives the real window through the accessibility tree, as a person with a screen reader would.

Every step polls with a deadline: the window answers a press about a tenth of a second later.
"""

import subprocess
import time

import pyatspi
from gi.repository import Gio, GLib


class Timeout(AssertionError):
    pass


def wait_for(what, probe, timeout=20.0, interval=0.05):
    """Calls probe() until it answers something true; answers that, or fails naming `what`."""
    deadline = time.monotonic() + timeout
    while True:
        try:
            found = probe()
        except Exception:  # the tree changes under us while widgets come and go
            found = None
        if found:
            return found
        if time.monotonic() > deadline:
            raise Timeout("gave up waiting for " + what)
        time.sleep(interval)


def accessibility_ready(timeout=30.0):
    """Starts the accessibility bus and its registry, and waits until the registry answers."""
    wait_for("the accessibility registry", lambda: pyatspi.Registry.getDesktop(0).childCount >= 0, timeout)
    session = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    wait_for("the accessibility bus's name on the session bus", lambda: session.call_sync(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
        GLib.Variant("(s)", ("org.a11y.Bus",)), GLib.VariantType("(b)"), Gio.DBusCallFlags.NONE, 5000,
        None).unpack()[0], timeout)


def application(name, timeout=30.0):
    def probe():
        desktop = pyatspi.Registry.getDesktop(0)
        for index in range(desktop.childCount):
            app = desktop.getChildAtIndex(index)
            if app is not None and app.name == name:
                return app
        return None

    return wait_for("the application " + name, probe, timeout)


def _showing(accessible):
    try:
        return accessible.getState().contains(pyatspi.STATE_SHOWING)
    except Exception:
        return False


def find(app, role, name=None, description=None, starts_with=None, timeout=20.0):
    """The first showing element of `role` whose name (or description) matches."""

    def matches(accessible):
        if accessible is None or accessible.getRole() != role or not _showing(accessible):
            return False
        if name is not None and accessible.name != name:
            return False
        if starts_with is not None and not (accessible.name or "").startswith(starts_with):
            return False
        if description is not None and accessible.description != description:
            return False
        return True

    label = name or starts_with or description or pyatspi.Accessible.getRoleName
    return wait_for("%s %r" % (role, label), lambda: pyatspi.findDescendant(app, matches), timeout)


def gone(app, role, name, timeout=20.0):
    def probe():
        found = pyatspi.findDescendant(
            app, lambda a: a is not None and a.getRole() == role and a.name == name and _showing(a))
        return found is None

    wait_for("%s %r to go" % (role, name), probe, timeout)


def press(accessible):
    action = accessible.queryAction()
    for index in range(action.nActions):
        if action.getName(index) in ("Press", "press", "click", "Toggle"):
            action.doAction(index)
            return
    action.doAction(0)


def click(accessible):
    """Clicks the middle of an element with the pointer, as a person would."""
    x, y, width, height = accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    subprocess.run(["xdotool", "mousemove", "--sync", str(x + width // 2), str(y + height // 2), "click", "1"],
                   check=True)


def choose(item):
    """Chooses a list item with a click."""
    click(item)


def type_into(accessible, text):
    accessible.queryEditableText().setTextContents(text)


def text_of(accessible):
    content = accessible.queryText()
    return content.getText(0, content.characterCount)


def key(window_id, keys):
    """Sends keys to the window with xdotool (there is no window manager: focus it first)."""
    subprocess.run(["xdotool", "windowfocus", "--sync", str(window_id)], check=True)
    subprocess.run(["xdotool", "key", "--window", str(window_id)] + keys.split(), check=True)


def visible_windows(name):
    """The ids of the mapped windows named `name`: none while the window is minimised."""
    result = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^" + name + "$"],
                            capture_output=True, text=True)
    return result.stdout.split()


def window_id(name, timeout=20.0):
    def probe():
        ids = visible_windows(name)
        return ids[-1] if ids else None

    return wait_for("the window " + name, probe, timeout)


def describe(app):
    """The showing lists and their items, for a failure message."""
    lines = []

    def walk(accessible, depth):
        try:
            if accessible.getRole() in (pyatspi.ROLE_LIST, pyatspi.ROLE_LIST_ITEM, pyatspi.ROLE_TABLE) and \
                    _showing(accessible):
                lines.append("  " * depth + accessible.getRoleName() + " " + repr(accessible.name))
            for index in range(accessible.childCount):
                walk(accessible.getChildAtIndex(index), depth + 1)
        except Exception:
            pass

    walk(app, 0)
    return "\n".join(lines)
