#pragma once

#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <memory>

class ConsoleTranscript;
class QLabel;
class QPlainTextEdit;
class QToolButton;
class mkPythonSession;

/// A console to the host's Python: a transcript, and an input below it that takes one statement or
/// many lines. It also shows what scripts print, and keeps the windows alive while any statement
/// runs, so that it can be stopped; no second one is started meanwhile.
///
/// Return runs the input once it is complete, Shift+Return breaks the line; Up and Down go through
/// the history, Tab completes or indents, Ctrl+C stops a running statement or empties the input,
/// Ctrl+L empties the transcript, Ctrl+D says how to leave. The history is kept in the user's
/// settings.
class PythonConsole : public QWidget
{
    Q_OBJECT

public:
    explicit PythonConsole(QWidget *parent = nullptr);
    /// Not while a statement runs.
    ~PythonConsole() override;

    /// Connects to the interpreter. Until then, or when that does not run, the console takes no
    /// statements.
    void start();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    bool inputKey(int key, Qt::KeyboardModifiers modifiers);
    void submit();
    void breakLine();
    void completeOrIndent();
    bool goThroughHistory(int step);
    void interrupt();
    void fitInput();

    void refresh();
    void keepAlive();

    ConsoleTranscript *transcript;
    QPlainTextEdit *input;
    QLabel *prompt;
    QToolButton *stopButton;
    QStringList history;
    /// The place in the history, its end for what has not been submitted yet.
    int historyPlace = 0;
    QString draft;
    /// Runs out once no statement keeps it from doing so.
    QTimer idle;
    std::unique_ptr<mkPythonSession> session;
};
