"""A Python console: what is typed runs in the scripts' namespace by the rules of interactive mode."""

import ast, builtins, code, io, os, rlcompleter, sys, traceback, warnings, __main__

LEAVING = 'exit() ends what is running, never the program. Close the window to leave the program.'

class Exit:
    def __repr__(self):
        return LEAVING

    def __call__(self, code=None):
        raise SystemExit(code)

class Output:
    def __init__(self, session, write, original):
        self._session, self._write = session, write
        self._original = original or open(os.devnull, 'w')

    def write(self, text):
        if not isinstance(text, str):
            raise TypeError(f'write() argument must be str, not {type(text).__name__}')
        self._write(text.encode('utf-8', 'backslashreplace').decode('utf-8'))
        if not self._session.executing:
            self._original.write(text)
        return len(text)

    def writelines(self, lines):
        for line in lines:
            self.write(line)

    # On a terminal help() would start a pager.
    def isatty(self):
        return False

    def __getattr__(self, name):
        return getattr(self._original, name)

class Input(io.TextIOBase):
    def readline(self, size=-1):
        raise EOFError('The Python console cannot ask for input.')

    read = readline

class Session(code.InteractiveInterpreter):
    name = '<console>'

    def __init__(self, write_output, write_errors, drop_own_frames):
        super().__init__(vars(__main__))
        self._drop_own_frames = drop_own_frames
        builtins.exit = builtins.quit = Exit()
        self.executing = False
        self._completer = rlcompleter.Completer(self.locals)
        self._originals = sys.stdout, sys.stderr
        self._streams = (Output(self, write_output, sys.stdout),
                         Output(self, write_errors, sys.stderr))
        sys.stdout, sys.stderr = self._streams

    def end(self):
        # Unless a script has put something else in their place.
        for name, stream, original in zip(('stdout', 'stderr'), self._streams, self._originals):
            if getattr(sys, name) is stream:
                setattr(sys, name, original)

    def is_complete(self, source):
        with warnings.catch_warnings():
            # They come when it is run.
            warnings.simplefilter('ignore')
            try:
                return self.compile(source, self.name, 'single') is not None
            except (OverflowError, SyntaxError, ValueError):
                pass
            # Wrong, or several statements, of which a last block ends with an empty line.
            try:
                block_is_open = source.split('\n')[-1][:1].isspace()
                return self.compile(source, self.name, 'exec') is not None and not block_is_open
            except (OverflowError, SyntaxError, ValueError):
                return True

    def showtraceback(self):
        error = sys.exc_info()[1]
        # The first frame is that of runcode().
        error.__traceback__ = error.__traceback__.tb_next
        self._drop_own_frames(error)
        sys.last_type, sys.last_value, sys.last_traceback = type(error), error, error.__traceback__
        if sys.excepthook is sys.__excepthook__:
            self.write(''.join(traceback.format_exception(error)))
        else:
            # Somebody else wants to show what went wrong.
            sys.excepthook(type(error), error, error.__traceback__)

    def execute(self, source):
        stdin, sys.stdin = sys.stdin, Input()
        self.executing = True
        try:
            statements = ast.Interactive(ast.parse(source, self.name).body)
            self.runcode(compile(statements, self.name, 'single'))
        except (OverflowError, SyntaxError, ValueError):
            self.showsyntaxerror(self.name)
        except SystemExit as stop:
            self.write(f'{stop!r}: {LEAVING}\n')
        finally:
            self.executing = False
            sys.stdin = stdin

    def complete(self, name):
        matches = []
        while (match := self._completer.complete(name, len(matches))) is not None:
            matches.append(match)
        return matches
