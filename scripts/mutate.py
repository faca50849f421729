"""The work of scripts/mutate, which see. Arguments: the tree's root, and a word or ""."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

PLUGIN = Path("Plugins/Module/RenderLayer/mkRenderLayerModule")
PRESET = "release"
SECONDS_A_TEST = "60"


def read_mutations(text):
    """Yields (file, old, new) for each block of the list."""
    for block in text.split("\n\n"):
        lines = [line for line in block.splitlines() if line and not line.startswith("#")]
        if lines:
            file, old, new = lines
            yield file, old[1:].strip(), new[1:].strip()


def copy_tree(root, copy):
    """Copies the tracked files that differ, so that only what changed is built again."""
    listed = subprocess.run(
        ["git", "-c", f"safe.directory={root}", "ls-files", "-z", "--cached", "--others",
         "--exclude-standard"],
        cwd=root, check=True, stdout=subprocess.PIPE, text=True,
    ).stdout
    for name in filter(None, listed.split("\0")):
        source, target = root / name, copy / name
        if not source.is_file():
            continue
        if target.exists() and target.read_bytes() == source.read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(source, target)


def run(copy, *command):
    return subprocess.run(command, cwd=copy, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, check=False)


def build(copy, *targets):
    return run(copy, "cmake", "--build", "--preset", PRESET, *targets)


def first_failure(copy):
    """The test that fails, or "" when all pass. Those of the program in a window are left out: they
    take as long as all others, and are not about the plug-in's details."""
    tests = run(copy, "ctest", "--preset", PRESET, "-E", "tst_program", "--stop-on-failure",
                "--timeout", SECONDS_A_TEST)
    if tests.returncode == 0:
        return ""
    failed = [line.split()[3] for line in tests.stdout.splitlines() if "***" in line]
    return failed[0] if failed else "?"


def main():
    root, word = Path(sys.argv[1]), sys.argv[2]
    copy = root / "build" / "mutate"
    copy_tree(root, copy)
    launcher = "ccache" if shutil.which("ccache") else ""
    for step in (run(copy, "cmake", "--preset", PRESET,
                     f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}"), build(copy)):
        if step.returncode != 0:
            sys.exit(step.stdout)
    failure = first_failure(copy)
    if failure:
        sys.exit(f"{failure} fails without any fault")

    found = []
    missed = []
    for file, old, new in read_mutations((root / "tests" / "mutations.txt").read_text()):
        title = f"{file}: {old}  ->  {new or 'nothing'}"
        if word not in title:
            continue
        path = copy / PLUGIN / file
        original = path.read_text()
        if original.count(old) != 1:
            verdict = "NOT FOUND ONCE"
        else:
            path.write_text(original.replace(old, new))
            if build(copy, "--target", "mkRenderLayerModule").returncode:
                verdict = "DOES NOT COMPILE"
            else:
                failure = first_failure(copy)
                verdict = f"found by {failure}" if failure else "MISSED"
            path.write_text(original)
        (missed if verdict.isupper() else found).append(title)
        print(f"{verdict}: {title}", flush=True)
    build(copy, "--target", "mkRenderLayerModule")
    print(f"{len(found)} of {len(found) + len(missed)} faults found")
    sys.exit(bool(missed))


if __name__ == "__main__":
    os.environ["QT_QPA_PLATFORM"] = "offscreen"
    main()
