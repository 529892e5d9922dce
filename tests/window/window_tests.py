"""The window as a person uses it, through the accessibility tree, against the stand-in service.

Run by CTest under Xvfb and a private session bus (run_window_tests.sh):
    window_tests.py WINDOW DEVSERVER TOOLS [unittest arguments]
"""

import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import pyatspi

import atspi_driver as ui
from stand_in_service import StandInService

WINDOW = DEVSERVER = TOOLS = None
DEMO_EMAIL = "demo@brightloom.test"
DEMO_PASSWORD = "brightloom-demo"


class WindowTest(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.mkdtemp(prefix="brightloom-window-")
        self.addCleanup(shutil.rmtree, self.home, True)
        self.service = StandInService(DEVSERVER, os.path.join(self.home, "server"))
        self.addCleanup(self.service.stop)
        self.opened = os.path.join(self.home, "opened")
        self.env = self._environment()
        self.processes = []

    def _environment(self):
        env = dict(os.environ)
        runtime = os.path.join(self.home, "runtime")
        os.makedirs(runtime, mode=0o700)
        # The desktop's opener: records what the window asks it to open, in place of a browser.
        tools = os.path.join(self.home, "bin")
        os.makedirs(tools)
        opener = os.path.join(tools, "xdg-open")
        with open(opener, "w") as script:
            script.write('#!/bin/sh\nprintf "%%s\\n" "$1" >> "%s"\n' % self.opened)
        os.chmod(opener, 0o755)
        env.update({
            "HOME": self.home,
            "XDG_CONFIG_HOME": os.path.join(self.home, ".config"),
            "XDG_DATA_HOME": os.path.join(self.home, ".local/share"),
            "XDG_CACHE_HOME": os.path.join(self.home, ".cache"),
            "XDG_DOWNLOAD_DIR": os.path.join(self.home, "Downloads"),
            "XDG_RUNTIME_DIR": runtime,
            "PATH": tools + os.pathsep + env.get("PATH", ""),
            "BRIGHTLOOM_URL": self.service.base,
            "BRIGHTLOOM_CA_FILE": self.service.certificate,
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "QT_ACCESSIBILITY": "1",
            "GSETTINGS_BACKEND": "memory",
            "BRIGHTLOOM_APPEARANCE": "light",
        })
        env.pop("QT_QPA_PLATFORM", None)
        return env

    def window(self):
        """The running window's application in the tree; when it never shows, says why."""
        try:
            return ui.application("Brightloom")
        except ui.Timeout as timeout:
            states = ["exited with %s" % p.returncode if p.poll() is not None else "running" for p in self.processes]
            with open(os.path.join(self.home, "window.log"), errors="replace") as log:
                raise ui.Timeout("%s (window processes: %s)\nits log:\n%s" % (timeout, ", ".join(states),
                                                                              log.read()[-4000:])) from None

    def start_window(self, *arguments):
        log = open(os.path.join(self.home, "window.log"), "a")
        self.addCleanup(log.close)
        process = subprocess.Popen([WINDOW] + list(arguments), env=self.env, stdout=subprocess.DEVNULL, stderr=log)
        self.processes.append(process)
        self.addCleanup(self._stop, process)
        return process

    @staticmethod
    def _stop(process):
        if process.poll() is None:
            process.terminate()
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()

    def sign_in_with_password(self, app):
        ui.type_into(ui.find(app, pyatspi.ROLE_TEXT, name="Email"), DEMO_EMAIL)
        ui.type_into(ui.find(app, pyatspi.ROLE_PASSWORD_TEXT, name="Password"), DEMO_PASSWORD)
        ui.press(ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Sign in"))
        ui.find(app, pyatspi.ROLE_LIST_ITEM, name="My apps")

    def test_signing_in_with_the_password_shows_the_projects_and_signing_out_returns(self):
        self.start_window()
        app = self.window()
        self.sign_in_with_password(app)
        ui.find(app, pyatspi.ROLE_LIST_ITEM, name="Recipe Box")
        ui.find(app, pyatspi.ROLE_LIST_ITEM, name="Pomodoro Timer")
        ui.press(ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Sign out"))
        ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Sign in")
        ui.gone(app, pyatspi.ROLE_LIST_ITEM, name="My apps")

    def test_the_menu_bar_takes_the_window_to_my_apps(self):
        self.start_window()
        app = self.window()
        self.sign_in_with_password(app)
        bar = ui.find(app, pyatspi.ROLE_MENU_BAR, name="Menu bar")
        ui.press(ui.find(bar, pyatspi.ROLE_MENU_ITEM, name="Window"))
        ui.press(ui.find(app, pyatspi.ROLE_MENU_ITEM, name="My Apps"))
        ui.find(app, pyatspi.ROLE_LABEL, name="Every app you have built, with all of its versions.")

    def test_the_road_from_a_description_to_a_downloaded_app_in_my_apps(self):
        self.start_window()
        app = self.window()
        self.sign_in_with_password(app)
        ui.choose(ui.find(app, pyatspi.ROLE_LIST_ITEM, name="New app"))
        request = ui.find(app, pyatspi.ROLE_TEXT, name="Describe the Mac app you want\u2026")
        ui.type_into(request, "a notes app with tags and a dark mode")
        request.queryComponent().grabFocus()
        ui.key(ui.window_id("Brightloom"), "Return")
        # The conversation opens on the new project and shows the queued job with its counter.
        queued = ui.find(app, pyatspi.ROLE_LABEL, starts_with="Queued \u2014 waiting for the build machine\u2026")
        self.assertTrue(queued.name)
        # The build machine moves one step a call; the window polls and follows.
        download = None
        for _ in range(8):
            self.service.step()
            try:
                download = ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Download app (.dmg)", timeout=4)
                break
            except ui.Timeout:
                continue
        self.assertIsNotNone(download, "the ready build offers its disk image")
        ui.press(download)
        saved = ui.find(app, pyatspi.ROLE_LABEL, starts_with="Saved to ", timeout=30)
        folder = saved.name[len("Saved to "):]
        self.assertTrue(os.path.isdir(folder), folder)
        self.assertTrue(any(name.endswith(".dmg") for name in os.listdir(folder)), os.listdir(folder))
        ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Open .dmg")
        ui.choose(ui.find(app, pyatspi.ROLE_LIST_ITEM, name="My apps"))
        try:
            ui.wait_for("the app's row in My apps", lambda: pyatspi.findDescendant(
                app, lambda a: a is not None and a.getRole() == pyatspi.ROLE_LIST_ITEM and a.name == "Notes"
                and a.parent is not None and a.parent.name == "My apps"))
        except ui.Timeout:
            self.fail("no row for the app in My apps:\n" + ui.describe(app))
        ui.press(ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Sign out"))
        ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Sign in")

    def start_window_manager(self):
        """A small window manager on the test's display, so that a window can be minimised."""
        manager = subprocess.Popen(["openbox", "--sm-disable"], env=self.env, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(self._stop, manager)
        # Asking for the desktops fails until a manager that names them runs.
        ui.wait_for("the window manager", lambda: subprocess.run(
            ["xdotool", "get_num_desktops"], capture_output=True).returncode == 0)

    def built_apps(self):
        folder = os.path.join(self.home, "Downloads", "Brightloom")
        found = []
        for job in os.listdir(folder) if os.path.isdir(folder) else []:
            found += [os.path.join(folder, job, name) for name in os.listdir(os.path.join(folder, job))
                      if name.endswith(".app")]
        return found

    def test_a_minimised_window_goes_on_building_on_this_mac(self):
        self.env["BRIGHTLOOM_TOOLS_DIR"] = TOOLS
        self.start_window_manager()
        self.start_window()
        app = self.window()
        self.sign_in_with_password(app)
        ui.choose(ui.find(app, pyatspi.ROLE_LIST_ITEM, name="New app"))
        # "Compile on" is a group of radio buttons; choosing one through its action tells the screen.
        this_mac = ui.find(app, pyatspi.ROLE_RADIO_BUTTON, name="This Mac")
        ui.press(this_mac)
        ui.find(app, pyatspi.ROLE_LABEL, starts_with="The cloud writes the code. Your Mac compiles")
        self.assertTrue(this_mac.getState().contains(pyatspi.STATE_CHECKED))
        request = ui.find(app, pyatspi.ROLE_TEXT, name="Describe the Mac app you want\u2026")
        ui.type_into(request, "a pocket timer")
        request.queryComponent().grabFocus()
        window = ui.window_id("Brightloom")
        ui.key(window, "Return")
        ui.press(ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Compile on this Mac"))
        ui.find(app, pyatspi.ROLE_LABEL, starts_with="Queued \u2014 waiting for the build machine\u2026")

        subprocess.run(["xdotool", "windowminimize", "--sync", window], check=True)
        self.assertFalse(ui.visible_windows("Brightloom"), "the window is minimised")
        # The service writes the code while nobody looks; the minimised window follows and builds.
        apps = []
        for _ in range(12):
            self.service.step()
            try:
                apps = ui.wait_for("an app built on this machine", self.built_apps, timeout=3)
                break
            except ui.Timeout:
                continue
        self.assertTrue(apps, "the app was built while the window was minimised")
        self.assertFalse(ui.visible_windows("Brightloom"), "and it is still minimised")

        subprocess.run(["xdotool", "windowactivate", "--sync", window], check=True)
        saved = ui.find(app, pyatspi.ROLE_LABEL, starts_with="Compiled on this Mac. Saved to ", timeout=30)
        self.assertEqual(saved.name, "Compiled on this Mac. Saved to " + os.path.dirname(apps[0]))
        ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Show in Finder")

    def test_wrong_password_shows_the_services_message(self):
        self.start_window()
        app = self.window()
        ui.type_into(ui.find(app, pyatspi.ROLE_TEXT, name="Email"), DEMO_EMAIL)
        ui.type_into(ui.find(app, pyatspi.ROLE_PASSWORD_TEXT, name="Password"), "not the password")
        ui.press(ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Sign in"))
        error = ui.find(app, pyatspi.ROLE_LABEL, description="Sign-in error")
        self.assertEqual(error.name, "Invalid email or password")

    def test_browser_sign_in_reaches_the_running_window_through_a_second_start(self):
        self.start_window()
        app = self.window()
        ui.press(ui.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Continue with Google"))
        page = ui.wait_for("the sign-in page to be opened", lambda: os.path.exists(self.opened) and open(self.opened).read())
        self.assertEqual(page.strip(), self.service.base + "native-sign-in")
        callback = self.service.browser_sign_in(DEMO_EMAIL, DEMO_PASSWORD)
        self.assertTrue(callback.startswith("brightloom://callback?token="))
        second = self.start_window(callback)
        self.assertEqual(second.wait(timeout=30), 0)
        ui.find(app, pyatspi.ROLE_LIST_ITEM, name="Recipe Box")
        self.assertIsNone(self.processes[0].poll(), "the first window must keep running")


def setUpModule():
    # The window joins the accessibility bus only once that bus is there; it does not start it. The
    # first window of a run would otherwise race the bus and its registry starting up.
    ui.accessibility_ready()


def main():
    global WINDOW, DEVSERVER, TOOLS
    WINDOW, DEVSERVER, TOOLS = sys.argv[1], sys.argv[2], sys.argv[3]
    unittest.main(argv=[sys.argv[0]] + sys.argv[4:], verbosity=2)


if __name__ == "__main__":
    main()
