#include "UnattendedDialogs.h"

#include "mkUtils/mkLog.h"

#include <QApplication>
#include <QEvent>
#include <QMessageBox>
#include <QTimer>

UnattendedDialogs::UnattendedDialogs()
{
    qApp->installEventFilter(this);
}

bool UnattendedDialogs::eventFilter(QObject *watched, QEvent *event)
{
    auto *const dialog = event->type() == QEvent::Show ? qobject_cast<QDialog *>(watched) : nullptr;
    if (dialog && dialog->isModal()) {
        const auto *const box = qobject_cast<QMessageBox *>(dialog);
        mkLog::warning("Dialog cancelled, as nobody is there to answer: %s: %s",
                       qUtf8Printable(dialog->windowTitle()),
                       box ? qUtf8Printable(box->text()) : "");
        QTimer::singleShot(0, dialog, &QDialog::reject);
    }
    return QObject::eventFilter(watched, event);
}
