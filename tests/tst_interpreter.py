#!/usr/bin/python3
"""Runs scripts with Python and with the workbench, and sees no difference.

MK_WORKBENCH names the program; MK_PYTHON the interpreter that it embeds. With --table the outputs and
statuses are printed side by side.
"""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor

PYTHON = [os.environ["MK_PYTHON"]]
WORKBENCH = [os.environ["MK_WORKBENCH"], "--batch", "--script"]
ENVIRONMENT = dict(os.environ, QT_QPA_PLATFORM="offscreen", LC_ALL="C.UTF-8", PYTHONDONTWRITEBYTECODE="1", QT_LOGGING_RULES="*.warning=false")
# It would hide what is done about buffers.
ENVIRONMENT.pop("PYTHONUNBUFFERED", None)
# A shell has what it starts in the background ignore Ctrl+C, and so would the scripts.
signal.signal(signal.SIGINT, signal.default_int_handler)

# Name, source, and what the script's arguments and standard output are, where they matter.
CASES = [
    ("exit with a number", "import sys; print('bye'); sys.exit(3)"),
    ("exit with a text", "raise SystemExit('no layer')"),
    ("exit with nothing", "print(1); exit_code = None; raise SystemExit(exit_code)"),
    ("exit beyond a byte", "raise SystemExit(259)"),
    ("exit beyond a word", "raise SystemExit(2 ** 80)"),
    ("wrong option", "import argparse; argparse.ArgumentParser('x').parse_args(['--wrong'])"),
    ("traceback", "def f():\n    return 1 / 0\n\nf()"),
    ("chained", "try:\n    {}['a']\nexcept KeyError as e:\n    raise ValueError('b') from e"),
    ("no syntax", "x = 1\nx ="),
    ("Ctrl+C", "import os, signal, time\nos.kill(os.getpid(), signal.SIGINT)\ntime.sleep(60)"),
    ("Ctrl+C in a child's wait",
     "import os, signal, subprocess, threading\n"
     "threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT)).start()\n"
     "try:\n    subprocess.run(['sleep', '60'])\nexcept KeyboardInterrupt:\n    print('interrupted')"),
    ("closed pipe",
     "import os\nread, write = os.pipe()\nos.close(read)\n"
     "try:\n    os.write(write, b'x')\nexcept BrokenPipeError as e:\n    print(e)"),
    ("closed socket",
     "import socket\na, b = socket.socketpair()\nb.close()\n"
     "try:\n    a.send(b'x')\nexcept BrokenPipeError as e:\n    print(e)"),
    ("file too large",
     "import resource, tempfile\nresource.setrlimit(resource.RLIMIT_FSIZE, (10 ** 6, 10 ** 6))\n"
     "try:\n    with tempfile.TemporaryFile() as f:\n        f.write(bytes(2 * 10 ** 6))\n"
     "except OSError as e:\n    print(e)"),
    ("a child dies of a closed pipe", "import subprocess\nprint(subprocess.run('yes | head -1', shell=True).returncode)"),
    ("full device", "print('lost')", [], "/dev/full"),
    ("full device and an exit", "import sys; print('lost'); sys.exit(3)", [], "/dev/full"),
    ("closed output", "import sys; print('x'); sys.stdout.close()"),
    ("no output", "import sys; print('x'); sys.stdout = None"),
    ("threads",
     "import threading, time\nfrom concurrent.futures import ThreadPoolExecutor\n"
     "def late(text, *before):\n"
     "    [thread.join() for thread in before]; time.sleep(0.2); print(text)\n"
     "thread = threading.Thread(target=late, args=['thread'])\nthread.start()\n"
     "pool = ThreadPoolExecutor(1)\npool.submit(late, 'pool', thread)\npool.submit(late, 'pool again')\n"
     "threading.Thread(target=time.sleep, args=[60], daemon=True).start()\nprint('end')"),
    ("threads and an exit",
     "import threading, time, sys\n"
     "threading.Thread(target=lambda: (time.sleep(0.2), print('late'))).start()\nsys.exit(4)"),
    ("at exit", "import atexit\natexit.register(print, 'last')\nprint('first')"),
    ("file left open",
     "f = open('left', 'w')\nf.write('x')\ndef g(): pass\nimport atexit, os\nprint(os.path.getsize('left'))"),
    ("names", "print(__name__, __file__, __doc__, [n for n in dir() if n.startswith('_')])"),
    ("main module", "import sys, pickle\nclass C: pass\nprint(sys.modules['__main__'].C is C, type(pickle.loads(pickle.dumps(C()))))"),
    ("surroundings", "import sys\nprint(sys.executable, sys.prefix, sys.path, sys.flags, sys.version)"),
    ("arguments", "import sys\nprint(sys.argv, len(sys.argv[2]))", ["--a b", b"\xff\xe4", "ä", ""]),
    ("module beside the target of a link", "import beside\nprint(beside.NAME, __file__)"),
    ("child of this interpreter",
     "import subprocess, sys\nprint(subprocess.check_output([sys.executable, '-c', 'import sys; print(sys.version)']))"),
    ("encoding", "# -*- coding: latin-1 -*-\nimport sys\nprint('\xe4', sys.stdout.encoding, sys.getfilesystemencoding())"),
    ("warning", "import warnings\nwarnings.warn('old')"),
    ("output is buffered", "import sys\nprint(sys.stdout.line_buffering, sys.stdout.isatty())"),
]


def run(program, source, arguments, output, directory):
    real = directory / "real"
    real.mkdir()
    (real / "beside.py").write_text("NAME = 'the one beside the target'")
    (real / "script.py").write_text(source, "latin-1" if "latin-1" in source else "utf-8")
    (directory / "script.py").symlink_to("real/script.py")
    separator = ["--"] if program is WORKBENCH and arguments else []
    with open(output, "wb") if output else tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as errors:
        status = subprocess.run([*program, "script.py", *separator, *arguments], cwd=directory, env=ENVIRONMENT,
                                stdin=subprocess.DEVNULL, stdout=out, stderr=errors, timeout=50).returncode
        texts = []
        for stream in (errors,) if output else (out, errors):
            stream.seek(0)
            texts.append(stream.read().decode("utf-8", "backslashreplace").replace(str(directory), "DIR"))
    left = directory / "left"
    return status, *texts, left.exists() and left.read_text()


def outcomes(case):
    name, source, arguments, output = (*case, [], None)[:4] if len(case) < 4 else case
    found = []
    for program in (PYTHON, WORKBENCH):
        with tempfile.TemporaryDirectory() as directory:
            found.append(run(program, source, arguments, output, pathlib.Path(directory)))
    return found


class Interpreter(unittest.TestCase):
    maxDiff = None

    def test_is_like_python(self):
        with ThreadPoolExecutor(3) as pool:
            for case, (wanted, found) in zip(CASES, pool.map(outcomes, CASES)):
                with self.subTest(case[0]):
                    self.assertEqual(found, wanted)

    def test_what_python_has_not(self):
        def workbench(script, *arguments):
            with tempfile.TemporaryDirectory() as directory:
                file = pathlib.Path(directory, "script.py")
                file.write_text(script)
                second = pathlib.Path(directory, "second.py")
                second.write_text("print('name' in dir(), 'createRenderLayer' in dir())")
                return subprocess.run([*WORKBENCH, file, *arguments, "--script", second], env=ENVIRONMENT, text=True,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=50)

        # Log lines and prints keep their order; scripts know nothing of each other.
        done = workbench("for name in range(3):\n    print(name)\n    mkHost.logInfo('log')")
        self.assertEqual((done.stdout, done.returncode), ("0\nlog\n1\nlog\n2\nlog\nFalse True\n", 0))
        # Nothing runs without the plug-ins that were asked for.
        done = workbench("print('ran')", "--plugins", "/no/such/directory")
        self.assertEqual(done.returncode, 1)
        self.assertIn("There is no plug-in directory '/no/such/directory'", done.stdout)
        self.assertNotIn("ran", done.stdout)

    def test_example_reads_what_it_saved(self):
        scenes = pathlib.Path(__file__).resolve().parent.parent / "scenes"
        with tempfile.TemporaryDirectory() as directory:
            file = pathlib.Path(directory, "studio.mkscene")
            pictures = pathlib.Path(directory, "pictures")
            done = subprocess.run([*WORKBENCH, scenes / "passes.py", "--render-layers", pictures, "--size", "32x18",
                                   "--samples", "1", scenes / "studio.gltf", "--", file], env=ENVIRONMENT,
                                  text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=50)
            files = [pictures / f"{layer}.png" for layer in ("Beauty", "Glass", "Shadows", "Clay")]
            self.assertEqual((done.stdout.splitlines(), done.returncode),
                             ([f"{file}: Beauty (44), Glass (5), Shadows (44), Clay (44)", *map(str, files)], 0))
            self.assertTrue(all(picture.read_bytes().startswith(b"\x89PNG") for picture in files))


if __name__ == "__main__":
    if "--table" in sys.argv:
        for case in CASES:
            for program, outcome in zip(("python", "workbench"), outcomes(case)):
                print(f"{case[0]:32} {program:10}", *outcome, sep=" | ")
    else:
        unittest.main(verbosity=2)
