#!/usr/bin/python3
"""Loads the plug-in that was built in a tree with nothing of ours but the host, as the README says.

MK_SOURCES names the sources, MK_PLUGINS the folder of that plug-in, MK_WORKBENCH the program.
"""

import os
import subprocess
import tempfile
import unittest

SOURCES = os.environ["MK_SOURCES"]
PLUGINS = os.environ["MK_PLUGINS"]
RECIPE = os.path.join(SOURCES, "tests/foreign/CMakeLists.txt")


class Foreign(unittest.TestCase):
    def test_printed_recipe(self):
        with open(RECIPE) as recipe:
            with open(os.path.join(SOURCES, "README.md")) as readme:
                self.assertIn(f"```cmake\n{recipe.read()}```\n", readme.read())

    def test_loaded(self):
        with tempfile.NamedTemporaryFile("w", suffix=".py") as script:
            script.write("createRenderLayer('Paint'); activateRenderLayer('Paint')\n"
                         "print(open('/proc/self/maps').read())")
            script.flush()
            done = subprocess.run([os.environ["MK_WORKBENCH"], "--batch", "--script", script.name,
                                   "--plugins", PLUGINS], text=True, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertNotIn("Couldn't find", done.stdout)
        self.assertIn(os.path.join(PLUGINS, "mkRenderLayerModule.so"), done.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
