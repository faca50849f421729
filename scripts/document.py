"""Writes docs/scripting.md from the help texts of mkHost.

    build/release/bin/workbench --batch --script scripts/document.py [-- --check]

With --check nothing is written, and the status is 1 when the page is not up to date.
"""

import inspect
import pathlib
import re
import sys
import textwrap

import mkHost

PAGE = pathlib.Path(__file__).resolve().parent.parent / "docs" / "scripting.md"
NOTE = "<!-- Made by scripts/document.py from the texts that help(mkHost) shows: change those. -->"


def prose(text):
    """A help text as Markdown: lines that begin with "name:" become list items, indented blocks are code."""
    blocks = []
    for block in re.split(r"\n\s*\n", text.strip("\n")):
        if block.startswith("    "):
            blocks.append(f"```python\n{textwrap.dedent(block)}\n```")
            continue
        block = block.replace("*", r"\*")
        if re.match(r"\w+: ", block):
            items = re.sub(r"\n +", " ", block).split("\n")
            block = "\n".join(re.sub(r"^(\w+): ", r"- `\1`: ", item) for item in items)
        blocks.append(block)
    return "\n\n".join(blocks)


def describe(name):
    thing = getattr(mkHost, name)
    if inspect.isclass(thing):
        yield f"### {name}\n\n{prose(inspect.getdoc(thing))}\n"
        for member, value in sorted(vars(thing).items()):
            if isinstance(value, property):
                settable = "" if value.fset is None else " Can be set."
                yield f"- `{member}`: {value.__doc__.strip()}{settable}"
            elif not member.startswith("_") and callable(value):
                yield f"- `{member}()`: {value.__doc__.strip()}"
        yield ""
    else:
        try:
            signature = str(inspect.signature(thing))
        except ValueError:
            signature = "(…)"
        yield f"### {name}{signature}\n\n{prose(inspect.getdoc(thing))}\n"


def page():
    introduction = mkHost.__doc__.split("\n" + mkHost._SECTIONS[0][0] + "\n-")[0]
    yield f"{NOTE}\n\n# Scripting\n\n{prose(introduction)}\n"
    for title, text, names in mkHost._SECTIONS:
        yield f"## {title}\n\n{prose(text)}\n"
        for name in names.split():
            yield from describe(name)


text = "\n".join(page()).rstrip() + "\n"
if "--check" not in sys.argv:
    PAGE.write_text(text, encoding="utf-8")
elif PAGE.read_text(encoding="utf-8") != text:
    sys.exit(f"{PAGE} is not up to date: run {pathlib.Path(__file__).name}")
