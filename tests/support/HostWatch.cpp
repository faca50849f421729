#include "HostWatch.h"

#include "HostFixture.h"

#include "mkUtils/mkLog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>

namespace {

QStringList &hostCalls()
{
    static QStringList lines;
    return lines;
}

QtMessageHandler previousHandler = nullptr;

void recordHostCall(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (qstrcmp(context.category, "mk.host") == 0) {
        hostCalls() += text;
    } else if (previousHandler) {
        previousHandler(type, context, text);
    }
}

} // namespace

HostCalls::HostCalls()
{
    clear();
    previousHandler = qInstallMessageHandler(recordHostCall);
    QLoggingCategory::setFilterRules(QStringLiteral("mk.host.debug=true"));
}

HostCalls::~HostCalls()
{
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(previousHandler);
    previousHandler = nullptr;
}

QStringList HostCalls::lines(const QStringList &names) const
{
    QStringList matching;
    for (const QString &line : qAsConst(hostCalls())) {
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

void HostCalls::clear()
{
    hostCalls().clear();
}

LogLines::LogLines()
    : listener(mkLog::addListener([this](mkLog::Severity, const QString &line) { lines += line; }))
{}

LogLines::~LogLines()
{
    mkLog::removeListener(listener);
}

Announcements::Announcements(const osg::RaytracingGeoAttachmentPtr &attributes)
    : watched(attributes)
{
    osg::WinThreadBase::setCurrentChangeList(&list);
}

Announcements::~Announcements()
{
    osg::WinThreadBase::setCurrentChangeList(nullptr);
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
