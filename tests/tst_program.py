#!/usr/bin/python3
"""Runs the workbench in a real window, with the mouse and the keyboard of an X server of its own.

MK_WORKBENCH names the program, MK_SCENES the sample scenes. What the program did is read from its
exit status, its windows' titles and the host-call trace on its standard error.
"""

import os
import signal
import subprocess
import tempfile
import time
import unittest

from Xlib import X, XK, display
from Xlib.ext import xtest
from Xlib.protocol import event

STUDIO = os.path.join(os.environ["MK_SCENES"], "studio.gltf")
PATIENCE = 60

# Places in the main window, which fills the screen's width.
SCENE_ROW = (100, 108)
LAYER_ROW = (450, 80)
BELOW_THE_ROWS = (450, 400)


class Screen:
    def __init__(self):
        read_end, write_end = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1600x1000x24", "-nolisten", "tcp"],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            self.name = ":" + answer.readline().strip()
        self.display = display.Display(self.name)

    def close(self):
        self.display.close()
        self.server.terminate()
        self.server.wait()

    def _windows(self):
        name = self.display.intern_atom("_NET_WM_NAME")
        for window in self.display.screen().root.query_tree().children:
            try:
                if window.get_attributes().map_state == X.IsViewable:
                    yield window, window.get_full_text_property(name) or ""
            except Exception:  # It was closed meanwhile.
                continue

    def find(self, title):
        return next((window for window, name in self._windows() if name == title), None)

    def focus(self, window):
        window.set_input_focus(X.RevertToParent, X.CurrentTime)
        self.settle()

    def settle(self):
        self.display.sync()
        time.sleep(0.15)

    def type(self, *keys):
        for key in keys:
            codes = [self.display.keysym_to_keycode(XK.string_to_keysym(name)) for name in key.split("+")]
            for code in codes:
                xtest.fake_input(self.display, X.KeyPress, code)
            for code in reversed(codes):
                xtest.fake_input(self.display, X.KeyRelease, code)
            self.settle()

    def move(self, place):
        xtest.fake_input(self.display, X.MotionNotify, x=place[0], y=place[1])
        self.settle()

    def button(self, kind, number=1):
        xtest.fake_input(self.display, kind, number)
        self.settle()

    def click(self, place, number=1):
        self.move(place)
        self.button(X.ButtonPress, number)
        self.button(X.ButtonRelease, number)

    def drag(self, start, end):
        self.move(start)
        self.button(X.ButtonPress)
        for step in range(1, 6):
            self.move([a + (b - a) * step // 5 for a, b in zip(start, end)])
        self.button(X.ButtonRelease)

    def ask_to_close(self, window):
        """What a window manager does when its close button is pressed."""
        protocols, delete = (self.display.intern_atom(name) for name in ("WM_PROTOCOLS", "WM_DELETE_WINDOW"))
        window.send_event(event.ClientMessage(window=window, client_type=protocols,
                                              data=(32, [delete, X.CurrentTime, 0, 0, 0])))
        self.settle()


class Program(unittest.TestCase):
    def setUp(self):
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.errors = os.path.join(self.directory.name, "errors")

    def start(self, *arguments):
        # Neither the desktop's message bus nor its graphics driver is to have a part in it.
        environment = dict(os.environ, DISPLAY=self.screen.name, QT_QPA_PLATFORM="xcb",
                           DBUS_SESSION_BUS_ADDRESS="disabled:", QT_XCB_GL_INTEGRATION="none",
                           QT_LOGGING_RULES="mk.host.debug=true", XDG_CONFIG_HOME=self.directory.name,
                           XDG_RUNTIME_DIR=self.directory.name)
        with open(self.errors, "wb") as errors:
            self.process = subprocess.Popen([os.environ["MK_WORKBENCH"], *arguments], env=environment,
                                            stdout=errors, stderr=errors)
        self.addCleanup(self.process.wait)
        self.addCleanup(self.process.kill)

    def script(self, text):
        path = os.path.join(self.directory.name, "script.py")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path

    def said(self):
        with open(self.errors, encoding="utf-8") as file:
            return file.read()

    def wait_for(self, what, condition):
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            found = condition()
            if found:
                return found
            self.assertIsNone(self.process.poll(), self.said()[-2000:])
            time.sleep(0.05)
        self.fail(f"no {what}: {self.said()[-2000:]}")

    def window(self, title):
        window = self.wait_for(title, lambda: self.screen.find(title))
        self.screen.settle()
        self.screen.focus(window)
        return window

    def wait_for_call(self, call):
        self.wait_for(call, lambda: call in self.said())

    def status(self):
        return self.process.wait(PATIENCE)

    def open_with_layer(self):
        self.start("--script", self.script("createRenderLayer('Paint')"), STUDIO)
        window = self.window("studio.gltf* - Workbench")
        self.screen.click(LAYER_ROW)
        return window

    def quit_and_discard(self, window):
        self.screen.ask_to_close(window)
        self.window("Scene Modified")
        self.screen.type("Tab", "Return")
        self.assertEqual(self.status(), 0, self.said()[-2000:])

    def test_edits_and_asks_before_they_are_lost(self):
        self.start(STUDIO)
        window = self.window("studio.gltf - Workbench")
        self.screen.click(BELOW_THE_ROWS, 3)
        self.screen.type("Down", "Return")
        self.wait_for_call('mkRenderLayer::addLayer("Layer")')
        self.window("studio.gltf* - Workbench")
        self.screen.drag(SCENE_ROW, LAYER_ROW)
        self.wait_for_call('mkRenderLayer::addNode(0, "hull")')
        self.screen.ask_to_close(window)
        self.window("Scene Modified")
        self.screen.type("Escape")
        self.quit_and_discard(self.window("studio.gltf* - Workbench"))

    def test_closes_in_the_middle_of_a_rename(self):
        window = self.open_with_layer()
        self.screen.type("F2", "x")
        self.quit_and_discard(window)

    def open_dialog(self):
        window = self.open_with_layer()
        self.screen.click(LAYER_ROW, 3)
        self.screen.type(*["Down"] * 8, "Return")
        return window, self.window("Attributes")

    def test_closes_behind_open_dialog(self):
        window, dialog = self.open_dialog()
        self.screen.ask_to_close(window)
        self.assertIsNone(self.process.poll())
        self.screen.ask_to_close(dialog)
        self.wait_for("closed dialog", lambda: not self.screen.find("Attributes"))
        self.assertNotIn("setAttributes", self.said())
        self.quit_and_discard(window)

    def test_ends_when_terminated_with_open_dialog(self):
        self.open_dialog()
        self.process.terminate()
        self.assertEqual(self.status(), -signal.SIGTERM)

    def test_says_what_cannot_be_opened(self):
        self.start("missing.gltf")
        box = self.window("Open Scene")
        self.screen.ask_to_close(box)
        # Unchanged, it closes without a question.
        self.window("Workbench")
        self.screen.type("Control_L+q")
        self.assertEqual(self.status(), 0)
        self.assertIn("There is no such file.", self.said())

    def test_closes_while_a_script_runs(self):
        self.start("--script", self.script("print('started', flush=True)\nwhile True: pass"), STUDIO)
        window = self.window("studio.gltf - Workbench")
        self.wait_for("start", lambda: "started" in self.said())
        self.screen.ask_to_close(window)
        self.assertEqual(self.status(), 0)
        self.assertIn("\nKeyboardInterrupt\n", self.said())

    def test_endless_script_can_be_stopped(self):
        script = self.script("import time; print('started', flush=True); time.sleep(1000)")
        for how, status, last in ((signal.SIGINT, 1, "KeyboardInterrupt"),
                                  (signal.SIGTERM, -signal.SIGTERM, "started")):
            with self.subTest(how=how):
                self.start("--batch", "--script", script)
                self.wait_for("start", lambda: "started" in self.said())
                self.process.send_signal(how)
                self.assertEqual(self.status(), status)
                self.assertIn(f"\n{last}\n", self.said())


if __name__ == "__main__":
    unittest.main(verbosity=2)
