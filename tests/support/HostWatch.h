#pragma once

#include "OSGSystem/ChangeList.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"
#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <functional>

/// Records the host calls made while it lives, one "name(arguments)" line each.
class HostCalls
{
public:
    HostCalls();
    ~HostCalls();

    /// The calls so far whose line starts with one of `names`; without names, all.
    QStringList lines(const QStringList &names = {}) const;
    /// What commands did to the store, the host's selection and the document, without class names
    /// and quotes: "addLayer(Layer) rebuild setModified(1)". A question whether the store is empty
    /// stands for the rebuild that begins with it.
    QString commands() const;
    static void clear() { all.clear(); }

private:
    static void record(QtMsgType type, const QMessageLogContext &context, const QString &text);
    static inline QStringList all;
    static inline QtMessageHandler otherHandler = nullptr;
};

/// Records the host's log while it lives.
class LogLines
{
public:
    ~LogLines() { mkLog::removeListener(listener); }
    QStringList lines;

private:
    int listener = mkLog::addListener([this](auto, const QString &line) { lines += line; });
};

/// Records how edits of these attributes are announced while it lives, which also collects changes.
/// Each announcement has the values at that time and the fields, "11111111110 red all", and "?"
/// when it is not from outside, or the change list has not been told before.
class Announcements : public osg::ChangeObserver
{
public:
    explicit Announcements(const osg::RaytracingGeoAttachmentPtr &attributes)
        : watched(attributes)
    {
        osg::WinThreadBase::setCurrentChangeList(&list);
    }
    ~Announcements() override { osg::WinThreadBase::setCurrentChangeList(nullptr); }
    void containerChanged(const osg::FieldContainerPtr &container, const osg::BitVector &which,
                          osg::ChangeOrigin origin) override;

    QStringList lines;
    osg::ChangeList list;

private:
    osg::RaytracingGeoAttachmentPtr watched;
};

/// Intercepts host calls while it lives.
class Interception
{
public:
    explicit Interception(const mkTrace::Interceptor &interceptor)
    {
        mkTrace::setInterceptor(interceptor);
    }
    ~Interception() { mkTrace::setInterceptor({}); }
    Q_DISABLE_COPY(Interception)
};

/// Answers modal dialogs: `answer` is called with each modal widget that opens while this lives,
/// `count` is how many there were. What an answer leaves open is closed.
class ModalAnswers
{
public:
    explicit ModalAnswers(std::function<void(QWidget *)> answer);
    int count() const { return opened; }
    /// An answer: the first button of a message box, or the OK of a dialog.
    static void agree(QWidget *modal);

private:
    QTimer timer;
    QPointer<QWidget> answered;
    int opened = 0;
};
