#pragma once

#include "mkUtils/mkLog.h"

#include <QPlainTextEdit>

/// Shows the host's log, the last lines of it, from construction on.
class LogView : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit LogView(QWidget *parent = nullptr);
    ~LogView() override;

    /// The colour of a line, readable on light and on dark backgrounds.
    static QColor colorOf(mkLog::Severity severity, const QPalette &palette);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void append(mkLog::Severity severity, const QString &line);

    int listener;
};
