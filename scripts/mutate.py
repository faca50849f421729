"""The work of scripts/mutate, which see.

tests/mutations/NAME.txt lists faults of the plug-in's NAME.cpp, with empty lines between them: the
part of a line as it is ("- ", found exactly once), and as the fault makes it ("+ ").
"""

import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import time
from collections import namedtuple
from multiprocessing.pool import ThreadPool
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PLUGIN = Path("Plugins/Module/RenderLayer/mkRenderLayerModule")
PRESET = "release"
SECONDS_A_TEST = "120"
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
    """A built copy of the tree, and its tests, the likeliest to find the next fault first."""

    def __init__(self, directory):
        self.directory = directory
        self.build = directory / "build" / PRESET
        self.build.mkdir(parents=True, exist_ok=True)
        copy_tree(directory)
        launcher = "ccache" if shutil.which("ccache") else ""
        step = self.run(f"cd {directory} && cmake --preset {PRESET} -DBUILD_TESTING=ON "
                        f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher} && "
                        f"cmake --build --preset {PRESET}")
        if step.returncode != 0:
            sys.exit(step.stdout)
        self.commands = self.run("ninja -t commands mkRenderLayerModule").stdout.splitlines()
        # The last fault may still be in the library; it is never in the object files.
        self.run(self.commands[-1])
        listed = self.run(f"ctest --show-only=json-v1 -E '{NOT_ABOUT_THE_PLUGIN}'").stdout
        self.tests = json.loads(listed)["tests"]

    def run(self, command):
        return subprocess.run(command, shell=True, cwd=self.build, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)

    def faulty_library(self, number, mutation):
        """The plug-in with the fault, built by the commands of the faultless one; None if it does
        not compile."""
        original = self.directory / PLUGIN / mutation.file
        faulty = self.build / "faults" / str(number) / mutation.file
        faulty.parent.mkdir(parents=True, exist_ok=True)
        faulty.write_text(original.read_text().replace(mutation.old, mutation.new))
        compiling = next(line for line in self.commands if line.endswith(str(original)))
        linking = self.commands[-1]
        made, linked = (re.search(r" -o (\S+)", line)[1] for line in (compiling, linking))
        # What a fault no longer uses is no reason to refuse it.
        command = f"{compiling} && {linking}".replace(" -Werror", "")
        command = command.replace(str(original), str(faulty))
        command = command.replace(made, f"{faulty}.o").replace(f" {linked} ", f" {faulty}.so ")
        if self.run(command).returncode == 0:
            return f"{faulty}.so", self.build / linked
        return None

    def passes(self, test):
        settings = {entry["name"]: entry["value"] for entry in test["properties"]}
        return subprocess.run(
            ["env", *settings["ENVIRONMENT"], "RC_PARAMS=noshrink=1", "timeout", "-k", "5", SECONDS_A_TEST, *test["command"]],
            cwd=settings["WORKING_DIRECTORY"], stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, check=False).returncode == 0

    def check_tests(self):
        """All pass without a fault. The quickest are to come first."""
        times = {}
        for test in self.tests:
            start = time.monotonic()
            if not self.passes(test):
                sys.exit(f"{test['name']} fails without any fault")
            times[test["name"]] = time.monotonic() - start
        self.tests.sort(key=lambda test: times[test["name"]])

    def verdict(self, library):
        if not library:
            return "DOES NOT COMPILE"
        os.replace(*library)
        for test in self.tests:
            if not self.passes(test):
                self.tests.remove(test)
                self.tests.insert(0, test)
                return f"found by {test['name']}"
        return "MISSED"


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

    unknown = [mutation for mutation in mutations if f": {mutation}\n" not in known]
    with ThreadPool() as builders:
        libraries = [builders.apply_async(copy.faulty_library, entry) for entry in enumerate(unknown)]
        for mutation, library in zip(unknown, libraries):
            verdict = copy.verdict(library.get())
            print(f"{verdict}: {mutation}", flush=True)
            if verdict.startswith("found"):
                with verdicts.open("a") as file:
                    file.write(f"{verdict}: {mutation}\n")
    found = sum(f": {mutation}\n" in verdicts.read_text() for mutation in mutations)
    print(f"{found} of {len(mutations)} faults found")
    sys.exit(found < len(mutations) or stale > 0)


if __name__ == "__main__":
    # A debugger's look at each crash takes longer than all tests.
    os.environ["QTEST_DISABLE_STACK_DUMP"] = "1"
    main()
