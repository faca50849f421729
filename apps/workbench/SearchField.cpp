#include "SearchField.h"

#include "mkIconManager/mkIconManager.h"

#include <QAction>
#include <QKeyEvent>
#include <QMenu>
#include <QRegularExpression>

SearchField::SearchField(QMenu *menu, QWidget *parent)
    : QLineEdit(parent)
{
    setClearButtonEnabled(true);
    // A file is dropped on the window, wherever that is.
    setAcceptDrops(false);
    QAction *const action = addAction(mkIconManager::getIcon(menu ? "SearchBy" : "Search", ""),
                                      LeadingPosition);
    if (menu) {
        menu->setParent(this, menu->windowFlags());
        action->setToolTip(menu->title());
        connect(action, &QAction::triggered, menu,
                [this, menu] { menu->popup(mapToGlobal(rect().bottomLeft())); });
    }
}

void SearchField::putWord(const QString &field, const QString &word)
{
    static const QString syntax = QStringLiteral(R"re(\s*\b%1("[^"]*"?|\S*))re");
    const QString rest = text().remove(
        QRegularExpression(syntax.arg(QRegularExpression::escape(field)),
                           QRegularExpression::CaseInsensitiveOption));
    const QString quoted = word.contains(QLatin1Char(' '))
                               ? QLatin1Char('"') + word + QLatin1Char('"')
                               : word;
    setText((rest + QLatin1Char(' ') + field + quoted).trimmed());
    setFocus();
}

void SearchField::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        if (!text().isEmpty()) {
            clear();
            return;
        }
        Q_EMIT left();
        return;
    case Qt::Key_Down:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        Q_EMIT left();
        return;
    default:
        QLineEdit::keyPressEvent(event);
    }
}
