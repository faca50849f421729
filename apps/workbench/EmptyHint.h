#pragma once

#include <QLabel>

#include <functional>

class QAbstractItemView;

/// Says in the middle of an empty view what to do.
class EmptyHint : public QLabel
{
    Q_OBJECT

public:
    /// `text` is asked each time that rows came or went; empty hides the hint. The view becomes the
    /// parent.
    EmptyHint(QAbstractItemView *view, std::function<QString()> text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void refresh();

    std::function<QString()> currentText;
};
