#pragma once

#include <QObject>

/// Where nobody is there to answer, closes every modal dialog as soon as it opens, as if it had
/// been cancelled, and leaves what it said in the log. Works while it lives.
class UnattendedDialogs : public QObject
{
    Q_OBJECT

public:
    UnattendedDialogs();

    bool eventFilter(QObject *watched, QEvent *event) override;
};
