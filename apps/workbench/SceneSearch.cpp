#include "SceneSearch.h"

#include "mkKernel/mkScenegraph.h"

#include <QElapsedTimer>

namespace {

/// Short enough to stay within one frame of the screen.
constexpr qint64 sliceMilliseconds = 12;
constexpr int nodesBetweenLooksAtClock = 256;

} // namespace

SceneSearch::SceneSearch(QObject *parent)
    : QObject(parent)
{
    timer.setInterval(0);
    connect(&timer, &QTimer::timeout, this, &SceneSearch::searchSlice);
}

void SceneSearch::start(const NodePattern &newPattern)
{
    pattern = newPattern;
    pending.clear();
    if (const osg::NodePtr root = mkScenegraph::getRoot()) {
        pending.push_back(root);
    }
    filter = std::make_shared<NodeFilter>();
    visited = 0;
    timer.start();
}

void SceneSearch::stop()
{
    timer.stop();
    pending.clear();
    filter.reset();
}

void SceneSearch::searchSlice()
{
    QElapsedTimer clock;
    clock.start();
    while (!pending.empty()) {
        const osg::NodePtr node = std::move(pending.back());
        pending.pop_back();
        visit(node);
        if (++visited % nodesBetweenLooksAtClock == 0 && clock.hasExpired(sliceMilliseconds)) {
            Q_EMIT progressed(visited);
            return;
        }
    }
    timer.stop();
    Q_EMIT finished(std::exchange(filter, nullptr), visited);
}

void SceneSearch::visit(const osg::NodePtr &node)
{
    pending.insert(pending.end(), node->getChildren().begin(), node->getChildren().end());
    if (!pattern.matches(node)) {
        return;
    }
    filter->matching.insert(node->getId());
    for (osg::NodePtr above = node; above && filter->shown.insert(above->getId());
         above = above->getParent()) {
    }
}
