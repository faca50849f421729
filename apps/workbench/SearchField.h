#pragma once

#include <QLineEdit>

class QMenu;

/// A line to search with. Escape empties it, and leaves it when it is empty; Down and Return lead
/// to what was found.
class SearchField : public QLineEdit
{
    Q_OBJECT

public:
    /// `menu` offers words to search with, or is null.
    explicit SearchField(QMenu *menu, QWidget *parent = nullptr);

    /// Adds a word; one of the same field, such as "kind:", goes.
    void putWord(const QString &field, const QString &word);

Q_SIGNALS:
    void left();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};
