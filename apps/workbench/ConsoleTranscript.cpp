#include "ConsoleTranscript.h"

#include "LogView.h"

#include <QRegularExpression>
#include <QScrollBar>
#include <QTextCursor>

#include <utility>

namespace {

constexpr int maxLines = 10000;
/// Of what is printed between two looks at it, only the end is shown.
constexpr int maxPendingSize = 200000;

} // namespace

ConsoleTranscript::ConsoleTranscript(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setMaximumBlockCount(maxLines);
    // Follows the end, also when its own size changes, as long as the reader has not scrolled up.
    QScrollBar *const bar = verticalScrollBar();
    connect(bar, &QScrollBar::rangeChanged, this, [bar, end = 0](int, int newEnd) mutable {
        if (bar->value() >= std::exchange(end, newEnd)) {
            bar->setValue(newEnd);
        }
    });
}

void ConsoleTranscript::write(Kind kind, const QString &text)
{
    if (pending.empty()) {
        QMetaObject::invokeMethod(this, &ConsoleTranscript::flush, Qt::QueuedConnection);
    }
    if (!pending.empty() && pending.back().kind == kind) {
        pending.back().text += text;
    } else {
        pending.push_back({ kind, text });
    }
    pendingSize += text.size();
    if (pendingSize > 2 * maxPendingSize) {
        auto first = pending.begin();
        for (; pendingSize - first->text.size() >= maxPendingSize; ++first) {
            pendingSize -= first->text.size();
        }
        pending.erase(pending.begin(), first);
        pending.front().text.remove(0, pendingSize - maxPendingSize);
        pendingSize = maxPendingSize;
    }
}

void ConsoleTranscript::flush()
{
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    for (Piece &piece : std::exchange(pending, {})) {
        // Laying out very long lines takes seconds.
        static const QRegularExpression longLine(QStringLiteral("([^\\n]{2000})(?=[^\\n])"));
        piece.text.replace(longLine, QStringLiteral("\\1\n"));
        QTextCharFormat format;
        if (piece.kind == Kind::Input) {
            format.setFontWeight(QFont::Bold);
            lineEnded = lineEnded || !cursor.atBlockStart();
        } else if (piece.kind != Kind::Output) {
            format.setForeground(LogView::colorOf(piece.kind == Kind::Error
                                                      ? mkLog::Severity::Error
                                                      : mkLog::Severity::Warning,
                                                  palette()));
        }
        // The last line ends when the next one begins: no empty one stands above the prompt.
        if (std::exchange(lineEnded, piece.text.endsWith(QLatin1Char('\n')))) {
            cursor.insertBlock();
        }
        if (lineEnded) {
            piece.text.chop(1);
        }
        cursor.insertText(piece.text, format);
    }
    cursor.endEditBlock();
    pendingSize = 0;
}

void ConsoleTranscript::empty()
{
    clear();
    lineEnded = false;
}
