#include "HostWatch.h"

#include "HostFixture.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>

HostCalls::HostCalls()
{
    clear();
    otherHandler = qInstallMessageHandler(record);
    QLoggingCategory::setFilterRules(QStringLiteral("mk.host.debug=true"));
}

HostCalls::~HostCalls()
{
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(std::exchange(otherHandler, nullptr));
}

void HostCalls::record(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (qstrcmp(context.category, "mk.host") == 0) {
        all += text;
    } else if (otherHandler) {
        otherHandler(type, context, text);
    }
}

QStringList HostCalls::lines(const QStringList &names) const
{
    QStringList matching;
    for (const QString &line : qAsConst(all)) {
        const auto begins = [&line](const QString &name) { return line.startsWith(name); };
        if (names.isEmpty() || std::any_of(names.begin(), names.end(), begins)) {
            matching += line;
        }
    }
    return matching;
}

QString HostCalls::commands() const
{
    QStringList commands;
    for (QString line :
         lines({ "mkRenderLayer::", "mkController::", "mkSelectionManager::", "mkScopedUndo::",
                 "mkScenegraph::scrollToNodes", "mkNodeUtils::reset" })) {
        line.remove(0, line.indexOf("::") + 2).remove('"');
        if (line == "isEmpty()") {
            commands += "rebuild";
        } else if (!line.startsWith("get")) {
            commands += line;
        }
    }
    return commands.join(' ');
}

void Announcements::containerChanged(const osg::FieldContainerPtr &container,
                                     const osg::BitVector &which, osg::ChangeOrigin origin)
{
    if (container == watched) {
        const auto &told = list.getChanged();
        const bool good = origin == osg::ChangeOrigin::External && !told.empty()
                          && told.back() == osg::ChangeList::Entry(container, which);
        lines += HostFixture::values(watched) + ' ' + mkTrace::traceText(which) + (good ? "" : "?");
    }
}

ModalAnswers::ModalAnswers(std::function<void(QWidget *)> answer)
{
    timer.setInterval(5);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this, answer = std::move(answer)] {
        QWidget *const modal = QApplication::activeModalWidget();
        // What only shows progress, as on a busy machine, is no question.
        if (!modal || !modal->isVisible() || qobject_cast<QProgressDialog *>(modal)) {
            answered.clear();
        } else if (modal != answered) {
            answered = modal;
            ++opened;
            answer(modal);
        } else {
            // The answer has failed.
            modal->close();
        }
    });
    timer.start();
}

void ModalAnswers::agree(QWidget *modal)
{
    if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
        box->buttons().first()->click();
    } else {
        modal->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    }
}
