"""The work of scripts/mutate, which see.

tests/mutations/NAME.txt lists faults of the plug-in's NAME.cpp, with empty lines between them: the
part of a line as it is ("- ", found exactly once), and as the fault makes it ("+ ").
"""

import argparse
import os
import shutil
import subprocess
import sys
import time
from collections import namedtuple
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PLUGIN = Path("Plugins/Module/RenderLayer/mkRenderLayerModule")
PRESET = "release"
SECONDS_A_TEST = "60"
# Tests that take long and are about other things.
NOT_ABOUT_THE_PLUGIN = "tst_(foreign|installed|ray|scenepane)"


class Mutation(namedtuple("Mutation", "file old new")):
    def __str__(self):
        return f"{self.file}: {self.old}  ->  {self.new or 'nothing'}"


def read_mutations(words):
    for path in sorted((ROOT / "tests" / "mutations").glob("*.txt")):
        for block in path.read_text().strip().split("\n\n"):
            old, new = block.splitlines()
            mutation = Mutation(path.stem + ".cpp", old[1:].strip(), new[1:].strip())
            if not words or any(word in str(mutation) for word in words):
                yield mutation


def reason_not_to_apply(mutation, before):
    path = ROOT / PLUGIN / mutation.file
    if mutation in before:
        return "is listed twice"
    if not path.exists():
        return "has no such file"
    count = path.read_text().count(mutation.old)
    return "" if count == 1 else f"stands there {count} times"


def applicable(words):
    """The mutations that apply, and how many do not, which it prints."""
    good, stale = [], 0
    for mutation in read_mutations(words):
        reason = reason_not_to_apply(mutation, good)
        if reason:
            print(f"{reason}: {mutation}", flush=True)
            stale += 1
        else:
            good.append(mutation)
    return good, stale


def copy_tree(copy):
    """Copies the files that differ, so that only what changed is built again, and deletes what is
    gone."""
    listed = subprocess.run(
        ["git", "-c", f"safe.directory={ROOT}", "ls-files", "-z", "--cached", "--others",
         "--exclude-standard"],
        cwd=ROOT, check=True, stdout=subprocess.PIPE, text=True,
    ).stdout
    names = {name for name in listed.split("\0") if name and (ROOT / name).is_file()}
    for name in names:
        source, target = ROOT / name, copy / name
        if not target.exists() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)
    for path in copy.rglob("*"):
        name = path.relative_to(copy)
        if path.is_file() and name.parts[0] not in ("build", "verdicts") and str(name) not in names:
            path.unlink()


class Copy:
    """The tree with the fault, and its tests, the likeliest to find the next one first."""

    def __init__(self, directory):
        self.directory = directory
        directory.mkdir(parents=True, exist_ok=True)
        copy_tree(directory)
        launcher = "ccache" if shutil.which("ccache") else ""
        for step in (self.run("cmake", "--preset", PRESET,
                              f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}"), self.build()):
            if step.returncode != 0:
                sys.exit(step.stdout)
        listed = self.run("ctest", "--preset", PRESET, "-N", "-E", NOT_ABOUT_THE_PLUGIN).stdout
        self.tests = [line.split(": ")[1].strip() for line in listed.splitlines()
                      if line.lstrip().startswith("Test ") and "#" in line]

    def run(self, *command):
        return subprocess.run(command, cwd=self.directory, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)

    def build(self, *targets):
        return self.run("cmake", "--build", "--preset", PRESET, *targets)

    def build_plugin(self):
        return self.build("--target", "mkRenderLayerModule").returncode == 0

    def passes(self, test):
        return self.run("ctest", "--preset", PRESET, "--timeout", SECONDS_A_TEST,
                        "-R", f"^{test}$").returncode == 0

    def check_tests(self):
        """All pass without a fault. The quickest are to come first."""
        times = {}
        for test in self.tests:
            start = time.monotonic()
            if not self.passes(test):
                sys.exit(f"{test} fails without any fault")
            times[test] = time.monotonic() - start
        self.tests.sort(key=times.get)

    def first_failure(self):
        for test in self.tests:
            if not self.passes(test):
                self.tests.remove(test)
                self.tests.insert(0, test)
                return test
        return ""

    def verdict(self, mutation):
        path = self.directory / PLUGIN / mutation.file
        original = path.read_text()
        path.write_text(original.replace(mutation.old, mutation.new))
        try:
            if not self.build_plugin():
                return "DOES NOT COMPILE"
            failure = self.first_failure()
            return f"found by {failure}" if failure else "MISSED"
        finally:
            path.write_text(original)


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--resume", action="store_true")
    parser.add_argument("--dir", type=Path, default=ROOT / "build" / "mutate")
    parser.add_argument("words", nargs="*")
    arguments = parser.parse_args()

    mutations, stale = applicable(arguments.words)
    print(f"{len(mutations)} faults apply, {stale} do not", flush=True)
    if arguments.check:
        sys.exit(stale > 0)

    copy = Copy(arguments.dir.resolve())
    verdicts = copy.directory / "verdicts"
    known = verdicts.read_text() if arguments.resume and verdicts.exists() else ""
    verdicts.write_text(known)
    copy.check_tests()

    for mutation in mutations:
        if f": {mutation}\n" in known:
            continue
        verdict = copy.verdict(mutation)
        print(f"{verdict}: {mutation}", flush=True)
        if verdict.startswith("found"):
            with verdicts.open("a") as file:
                file.write(f"{verdict}: {mutation}\n")
    copy.build_plugin()
    found = sum(f": {mutation}\n" in verdicts.read_text() for mutation in mutations)
    print(f"{found} of {len(mutations)} faults found")
    sys.exit(found < len(mutations) or stale > 0)


if __name__ == "__main__":
    os.environ["QT_QPA_PLATFORM"] = "offscreen"
    main()
