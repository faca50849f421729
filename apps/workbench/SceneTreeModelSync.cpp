#include "SceneTreeModel.h"

#include "mkKernel/mkScenegraph.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace {

/// Views relayout for each run of rows that is removed; past this many, all rows of the parent are
/// exchanged at once.
constexpr int maxRemovedRuns = 100;

} // namespace

void SceneTreeModel::reset()
{
    const osg::NodePtr root = mkScenegraph::getRoot();
    if (root && entries.value(0).children == std::vector<quint32>{ root->getId() }) {
        return;
    }
    setFilter(filter);
}

void SceneTreeModel::setFilter(NodeFilterPtr newFilter)
{
    beginResetModel();
    filter = std::move(newFilter);
    entries.clear();
    enterRoot();
    endResetModel();
}

std::vector<quint32> SceneTreeModel::childIds(quint32 id) const
{
    std::vector<quint32> ids;
    if (const osg::NodePtr node{ osg::FieldContainerFactory::the()->getContainer(id) }) {
        ids.reserve(filter ? 0 : node->getChildren().size());
        for (const osg::NodePtr &child : node->getChildren()) {
            if (isShown(child)) {
                ids.push_back(child->getId());
            }
        }
    }
    return ids;
}

void SceneTreeModel::enterRoot()
{
    Entry &top = entries[0];
    top.read = true;
    if (const osg::NodePtr root = mkScenegraph::getRoot()) {
        if (isShown(root)) {
            top.children = { root->getId() };
            entries[root->getId()] = Entry();
        }
    }
}

void SceneTreeModel::syncChildren(const QSet<quint32> &nodeIds)
{
    const QScopedValueRollback<bool> guard(following, true);
    // Removing comes first, under all parents: a node may have moved from one to another.
    std::vector<quint32> changed;
    QSet<quint32> seen;
    std::vector<quint32> pending(nodeIds.begin(), nodeIds.end());
    while (!pending.empty()) {
        const quint32 id = pending.back();
        pending.pop_back();
        const auto found = entries.constFind(id);
        if (found == entries.cend() || seen.contains(id)) {
            continue;
        }
        seen.insert(id);
        const std::vector<quint32> actual = childIds(id);
        if (!found->read) {
            // A view that has seen the row must learn whether it can be expanded now.
            if (actual.empty()) {
                Q_EMIT layoutAboutToBeChanged();
                Q_EMIT layoutChanged();
            }
            entries[id].read = true;
        }
        if (entries[id].children != actual) {
            removeMissing(id, actual);
            changed.push_back(id);
        }
        // Ids are used again: what looks like a child that stayed may be another node, and so may
        // everything below it.
        for (const quint32 child : entries[id].children) {
            if (entries[child].read) {
                pending.push_back(child);
            }
        }
    }
    for (const quint32 id : changed) {
        if (entries.contains(id)) {
            insertNew(id, childIds(id));
        }
    }
}

void SceneTreeModel::removeMissing(quint32 id, const std::vector<quint32> &actual)
{
    QHash<quint32, int> place;
    place.reserve(int(actual.size()));
    for (const quint32 child : actual) {
        place.insert(child, place.size());
    }
    // Rows stay as far as they are still in the order in which the nodes are.
    const std::vector<quint32> shown = entries[id].children;
    std::vector<bool> stays(shown.size());
    int last = -1;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const int now = place.value(shown[i], -1);
        stays[i] = now > last;
        last = std::max(last, now);
    }
    std::vector<std::pair<int, int>> runs;
    for (int i = 0; i < int(shown.size()); ++i) {
        if (stays[std::size_t(i)]) {
            continue;
        }
        if (!runs.empty() && runs.back().second == i - 1) {
            runs.back().second = i;
        } else {
            runs.emplace_back(i, i);
        }
    }
    if (runs.size() > maxRemovedRuns) {
        runs = { { 0, int(shown.size()) - 1 } };
    }
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        takeRowsOut(id, run->first, run->second);
    }
}

void SceneTreeModel::insertNew(quint32 id, const std::vector<quint32> &actual)
{
    entries[id].read = true;
    for (std::size_t i = 0; i < actual.size(); ++i) {
        const std::vector<quint32> &shown = entries[id].children;
        if (i < shown.size() && shown[i] == actual[i]) {
            continue;
        }
        std::size_t end = i + 1;
        while (end < actual.size() && (i >= shown.size() || actual[end] != shown[i])) {
            ++end;
        }
        putRowsIn(id, int(i),
                  { actual.begin() + std::ptrdiff_t(i), actual.begin() + std::ptrdiff_t(end) });
        i = end - 1;
    }
}

void SceneTreeModel::takeRowsOut(quint32 id, int first, int last)
{
    beginRemoveRows(indexOf(id), first, last);
    std::vector<quint32> &children = entries[id].children;
    std::vector<quint32> pending(children.begin() + first, children.begin() + last + 1);
    children.erase(children.begin() + first, children.begin() + last + 1);
    while (!pending.empty()) {
        const Entry gone = entries.take(pending.back());
        pending.pop_back();
        pending.insert(pending.end(), gone.children.begin(), gone.children.end());
    }
    renumber(id, first);
    endRemoveRows();
}

void SceneTreeModel::putRowsIn(quint32 id, int row, const std::vector<quint32> &ids)
{
    for (const quint32 child : ids) {
        // A node that moved here and whose old parent has not been looked at yet.
        const auto stale = entries.constFind(child);
        if (stale != entries.cend()) {
            takeRowsOut(stale->parent, stale->row, stale->row);
        }
    }
    beginInsertRows(indexOf(id), row, row + int(ids.size()) - 1);
    entries.reserve(entries.size() + int(ids.size()));
    std::vector<quint32> &children = entries[id].children;
    children.insert(children.begin() + row, ids.begin(), ids.end());
    for (const quint32 child : ids) {
        entries[child].parent = id;
    }
    renumber(id, row);
    endInsertRows();
}

void SceneTreeModel::renumber(quint32 id, int first)
{
    const std::vector<quint32> children = entries[id].children;
    for (int row = first; row < int(children.size()); ++row) {
        entries[children[std::size_t(row)]].row = row;
    }
}
