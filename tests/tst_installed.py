#!/usr/bin/python3
"""Tries an installation: the program, its plug-ins and desktop files, and building a plug-in with it.

MK_BUILD names the build to install from, MK_EXAMPLE the sources of a plug-in. With MK_PREFIX, what is
installed there is tried instead.
"""

import configparser
import os
import shutil
import subprocess
import tempfile
import unittest

PREFIX = os.environ.get("MK_PREFIX")
EXAMPLE = os.environ["MK_EXAMPLE"]


def run(*command, **environment):
    done = subprocess.run(command, env={**os.environ, **environment}, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        cls.prefix = PREFIX or cls.path("moved")
        if not PREFIX:
            run("cmake", "--install", os.environ["MK_BUILD"], "--prefix", cls.path("first"))
            os.rename(cls.path("first"), cls.prefix)

    @classmethod
    def path(cls, *names):
        return os.path.join(cls.folder, *names)

    def installed(self, *names):
        return os.path.join(self.prefix, *names)

    def workbench(self, script, *arguments, **environment):
        with open(self.path("script.py"), "w") as file:
            file.write(script)
        return run(self.installed("bin", "workbench"), "--batch", "--script", self.path("script.py"),
                   *arguments, self.installed("share", "mkHost", "scenes", "studio.gltf"),
                   **environment)

    def test_program_runs_where_it_was_moved(self):
        maps = self.workbench("createRenderLayer('Paint'); print(open('/proc/self/maps').read())")
        loaded = {line.split()[-1] for line in maps.stdout.splitlines() if "/libmkHost.so" in line}
        self.assertEqual([name.startswith(self.prefix + "/") for name in loaded], [True], loaded)

    def test_language_is_the_users(self):
        def first_line(*arguments, **environment):
            help_text = run(self.installed("bin", "workbench"), *arguments, "--help", **environment)
            return help_text.stdout.splitlines()[1]

        german = "Öffnet eine Szene neben den Panels der Plug-ins."
        english = "Opens a scene beside the panels of the plug-ins."
        for arguments, languages, line in (([], "de", german), ([], "cy:de", german),
                                           ([], "en:de", english), ([], "cy", english),
                                           (["--language", "de"], "en", german),
                                           (["--language=en"], "de", english)):
            with self.subTest(arguments=arguments, languages=languages):
                self.assertEqual(
                    first_line(*arguments, LANG="de_DE.UTF-8", LC_ALL="", LANGUAGE=languages), line)
        with self.assertRaisesRegex(AssertionError, "no texts in the language 'xx'"):
            run(self.installed("bin", "workbench"), "--batch", "--language", "xx")

    def test_desktop_finds_program_and_icons(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.installed("share", "applications", "mk-workbench.desktop"))
        entry = entry["Desktop Entry"]
        icons = self.installed("share", "icons", "hicolor", "scalable")
        for file in (self.installed("bin", entry["Exec"].split()[0]),
                     os.path.join(icons, "apps", entry["Icon"] + ".svg"),
                     os.path.join(icons, "mimetypes", "application-x-mkscene.svg")):
            self.assertTrue(os.path.isfile(file), file)
        shutil.copytree(self.installed("share", "mime"), self.path("mime"))
        run("update-mime-database", self.path("mime"))
        with open(self.path("mime", "globs")) as types:
            self.assertIn("application/x-mkscene:*.mkscene\n", types)
        self.assertIn("application/x-mkscene;", entry["MimeType"])

    def test_plugin_is_built_and_loaded(self):
        build = self.path("example")
        run("cmake", "-S", EXAMPLE, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", build)
        copies = self.path("copies")
        os.mkdir(copies)
        shutil.copy(os.path.join(build, "mkMaterialListModule.so"), copies)
        for arguments, path in ((["--plugins", build, "--plugins", build], ""),
                                (["--plugins", build, "--plugins", copies], ""),
                                (["--plugins", build], copies),
                                ([], f"{build}::{copies}")):
            with self.subTest(arguments=arguments, path=path):
                script = "print(materialNames()[0]); createRenderLayer('Paint')"
                done = self.workbench(script, *arguments, MK_PLUGIN_PATH=path)
                self.assertEqual(done.stdout, "car_paint_red\n", done.stderr)
                self.assertEqual("passed over" in done.stderr, copies in arguments + path.split(":"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
