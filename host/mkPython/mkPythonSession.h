#pragma once

#include "mkHostExport.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

/// What is behind a Python console: runs what a user types in the scripts' namespace, by the rules
/// of Python's own interactive mode. While it lives, sys.stdout and sys.stderr hand it what is
/// printed: by the user's statements to the writer alone, by scripts also to the program's own
/// streams. The interpreter must be running; one session at a time.
class MK_HOST_API mkPythonSession
{
public:
    enum class Stream { Output, Errors };
    /// Called with what is printed, in pieces of any size; on the thread that prints, which may be
    /// one that a script started. The GUI thread does not run meanwhile.
    using Writer = std::function<void(Stream stream, const QString &text)>;

    explicit mkPythonSession(Writer writer);
    ~mkPythonSession();
    mkPythonSession(const mkPythonSession &) = delete;
    mkPythonSession &operator=(const mkPythonSession &) = delete;

    /// False when more lines must follow, as after "if x:".
    bool isComplete(const QString &source) const;
    /// Runs one or more statements; the values of expressions are printed. What goes wrong is
    /// printed too, SystemExit included: the program goes on. There is nothing to read: input()
    /// raises EOFError.
    void execute(const QString &source);
    /// What a dotted name may be completed to, each spelled out in full, with an opening bracket
    /// behind what can be called.
    QStringList complete(const QString &name) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
