#!/usr/bin/python3
"""Builds the plug-in in a tree that has nothing of ours but the host, as the README says, and loads it.

MK_SOURCES names the sources, MK_FOLDER where to build, again only what changed since, MK_HOST the
host's library, MK_WORKBENCH the program, MK_LAUNCHER what starts the compiler, if anything.
"""

import os
import subprocess
import unittest

SOURCES = os.environ["MK_SOURCES"]
FOLDER = os.environ["MK_FOLDER"]
PLUGIN = os.path.join(SOURCES, "Plugins/Module/RenderLayer/mkRenderLayerModule")
RECIPE = os.path.join(SOURCES, "tests/foreign")


def run(*command):
    done = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


class Foreign(unittest.TestCase):
    def test_printed_recipe(self):
        with open(os.path.join(RECIPE, "CMakeLists.txt")) as recipe:
            with open(os.path.join(SOURCES, "README.md")) as readme:
                self.assertIn(f"```cmake\n{recipe.read()}```\n", readme.read())

    def test_built_and_loaded(self):
        os.makedirs(FOLDER, exist_ok=True)
        sdk = os.path.join(FOLDER, "include")
        if not os.path.lexists(sdk):
            os.symlink(os.path.join(SOURCES, "host"), sdk)
        build = os.path.join(FOLDER, "build")
        run("cmake", "-S", RECIPE, "-B", build, "-G", "Ninja", f"-DHOST_SDK={FOLDER}",
            f"-DHOST_SDK_LIBRARIES={os.environ['MK_HOST']}", f"-DPLUGIN_SOURCES={PLUGIN}",
            f"-DCMAKE_CXX_COMPILER_LAUNCHER={os.environ.get('MK_LAUNCHER', '')}")
        run("cmake", "--build", build, "--target", "mkRenderLayerModule")
        script = os.path.join(FOLDER, "script.py")
        with open(script, "w") as file:
            file.write("createRenderLayer('Paint'); activateRenderLayer('Paint')\n"
                       "print(open('/proc/self/maps').read())")
        plugins = os.path.join(build, "mkRenderLayerModule")
        output = run(os.environ["MK_WORKBENCH"], "--batch", "--script", script,
                     "--plugins", plugins)
        self.assertNotIn("Couldn't find", output)
        self.assertIn(os.path.join(plugins, "mkRenderLayerModule.so"), output)


if __name__ == "__main__":
    unittest.main(verbosity=2)
