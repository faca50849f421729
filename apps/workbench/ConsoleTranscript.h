#pragma once

#include <QPlainTextEdit>

#include <vector>

/// What a console has been told and has answered, its last lines. Lines come out in the colours of
/// the palette that is current then.
class ConsoleTranscript : public QPlainTextEdit
{
    Q_OBJECT

public:
    enum class Kind { Input, Output, Warning, Error };

    explicit ConsoleTranscript(QWidget *parent = nullptr);

    /// Shows the text in the next turn of the event loop, or at flush(). May be called on another
    /// thread while this one waits for it.
    void write(Kind kind, const QString &text);
    void flush();
    void empty();

private:
    struct Piece
    {
        Kind kind;
        QString text;
    };

    /// Printed but not shown yet.
    std::vector<Piece> pending;
    int pendingSize = 0;
    /// The last line is complete, though the next one has not begun.
    bool lineEnded = false;
};
