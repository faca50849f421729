#include "LogView.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QScrollBar>

#include <memory>

namespace {

constexpr int maxLines = 5000;

} // namespace

LogView::LogView(QWidget *parent)
    : QPlainTextEdit(parent)
    , listener(mkLog::addListener(
          [this](mkLog::Severity severity, const QString &line) { append(severity, line); }))
{
    setObjectName(QStringLiteral("log"));
    setReadOnly(true);
    setPlaceholderText(tr("What the host and scripts report appears here."));
    setMaximumBlockCount(maxLines);
    setLineWrapMode(NoWrap);
    setUndoRedoEnabled(false);
}

LogView::~LogView()
{
    mkLog::removeListener(listener);
}

QColor LogView::colorOf(mkLog::Severity severity, const QPalette &palette)
{
    const bool dark = palette.color(QPalette::Base).lightness() < 128;
    switch (severity) {
    case mkLog::Severity::Error:
        return dark ? QColor(255, 120, 110) : QColor(185, 20, 20);
    case mkLog::Severity::Warning:
        return dark ? QColor(240, 190, 90) : QColor(150, 90, 0);
    case mkLog::Severity::Info:
        break;
    }
    return palette.color(QPalette::Text);
}

void LogView::append(mkLog::Severity severity, const QString &line)
{
    QTextCharFormat format;
    format.setForeground(colorOf(severity, palette()));
    // Follows the end as long as the reader has not scrolled up.
    const bool atEnd = verticalScrollBar()->value() == verticalScrollBar()->maximum();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    if (!document()->isEmpty()) {
        cursor.insertBlock();
    }
    cursor.insertText(line, format);
    if (atEnd) {
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    }
}

void LogView::contextMenuEvent(QContextMenuEvent *event)
{
    const std::unique_ptr<QMenu> menu(createStandardContextMenu());
    menu->addSeparator();
    menu->addAction(tr("Clear"), this, &QPlainTextEdit::clear);
    menu->exec(event->globalPos());
}
