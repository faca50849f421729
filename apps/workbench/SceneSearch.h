#pragma once

#include "NodeFilter.h"
#include "NodePattern.h"

#include <QObject>
#include <QTimer>

/// Looks through the whole scene for nodes, a slice each turn of the event loop, so that typing
/// stays fluent however large the scene is.
class SceneSearch : public QObject
{
    Q_OBJECT

public:
    explicit SceneSearch(QObject *parent = nullptr);

    /// Begins anew.
    void start(const NodePattern &pattern);
    void stop();
    bool isRunning() const { return timer.isActive(); }

Q_SIGNALS:
    /// After each slice but the last.
    void progressed(int visited);
    void finished(const NodeFilterPtr &filter, int visited);

private:
    void searchSlice();
    void visit(const osg::NodePtr &node);

    QTimer timer;
    NodePattern pattern;
    std::vector<osg::NodePtr> pending;
    std::shared_ptr<NodeFilter> filter;
    int visited = 0;
};
