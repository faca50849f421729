"""Runs script files as the python program does."""

import builtins
import contextlib
import gc
import io
import os
import sys
import types

OWN_FILES = ":/mkPython/"
names = {}


def keep_names(namespace):
    names.update((name, value) for name, value in namespace.items() if not name.startswith("__"))


def run_file(file, source, arguments):
    path = os.path.abspath(file)
    directory = os.path.dirname(os.path.realpath(file))
    module = types.ModuleType("__main__")
    vars(module).update(names, __file__=path, __cached__=None, __builtins__=builtins, __annotations__={})
    before = sys.argv, sys.modules["__main__"], set(sys.modules)
    sys.argv = [file, *arguments]
    sys.modules["__main__"] = module
    sys.path.insert(0, directory)
    try:
        exec(compile(source, path, "exec", dont_inherit=True), vars(module))
    finally:
        flush_files()
        sys.argv, sys.modules["__main__"], known = before
        if directory in sys.path:
            sys.path.remove(directory)
        forget_modules(directory, set(sys.modules) - known)


def flush_files():
    """Writes what files buffer: a collection of garbage may close them in an order that loses it."""
    for thing in gc.get_objects():
        if issubclass(type(thing), (io.TextIOWrapper, io.BufferedWriter, io.BufferedRandom)):
            with contextlib.suppress(Exception):
                thing.flush()


def forget_modules(directory, imported):
    """The next script may have another module of the same name beside it."""
    own = set()
    for name in imported:
        file = getattr(sys.modules[name], "__file__", None) or ""
        if file in (os.path.join(directory, name + ".py"), os.path.join(directory, name, "__init__.py")):
            own.add(name)
    for name in imported:
        if name.partition(".")[0] in own:
            del sys.modules[name]


def drop_own_frames(error):
    """Takes the host's own frames out of the tracebacks of an exception and of what led to it."""
    seen = set()
    while error is not None and id(error) not in seen:
        seen.add(id(error))
        kept = []
        place = error.__traceback__
        while place is not None:
            if not place.tb_frame.f_code.co_filename.startswith(OWN_FILES):
                kept.append(place)
            place = place.tb_next
        for place, following in zip(kept, [*kept[1:], None]):
            place.tb_next = following
        error.__traceback__ = kept[0] if kept else None
        error = error.__cause__ or error.__context__
