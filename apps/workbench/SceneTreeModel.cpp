#include "SceneTreeModel.h"

#include "SceneWatcher.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QDataStream>
#include <QFont>
#include <QGuiApplication>
#include <QIcon>
#include <QMimeData>
#include <QPalette>
#include <QScopedValueRollback>

#include <algorithm>

namespace {

/// Views relayout for each run of rows that is removed; past this many, all rows of the parent are
/// exchanged at once.
constexpr int maxRemovedRuns = 100;

osg::NodePtr nodeOf(quint32 id)
{
    return osg::NodePtr(osg::FieldContainerFactory::the()->getContainer(id));
}

std::vector<quint32> childIds(const osg::NodePtr &node)
{
    std::vector<quint32> ids;
    if (node) {
        for (const osg::NodePtr &child : node->getChildren()) {
            ids.push_back(child->getId());
        }
    }
    return ids;
}

bool isHidden(const osg::NodePtr &node)
{
    const auto attributes = mkNodeUtils::getRenderAttributes(node);
    return attributes && !attributes->getVisible();
}

bool isInALayer(const osg::NodePtr &node)
{
    const osg::RenderLayersPtr content = mkScenegraph::getRenderLayer()->getAttachment();
    const auto &layers = content->getLayers();
    return std::any_of(layers.begin(), layers.end(), [&node](const osg::FieldContainerPtr &entry) {
        const osg::RenderLayerPtr layer(entry);
        return layer && layer->contains(node);
    });
}

/// Faded icons could not be seen on the selection's colour.
QIcon nodeIcon(const osg::NodePtr &node)
{
    QIcon icon(mkScenegraph::getNodeIcon(node->getCore(), node, true));
    icon.addPixmap(mkScenegraph::getNodeIcon(node->getCore(), node, false), QIcon::Selected);
    return icon;
}

QString treeItemFormat()
{
    return QStringLiteral("application/mosk-tree-item");
}

} // namespace

SceneTreeModel::SceneTreeModel(SceneWatcher *watcher, QObject *parent)
    : QAbstractItemModel(parent)
{
    enterRoot();
    connect(watcher, &SceneWatcher::sceneReplaced, this, &SceneTreeModel::reset);
    connect(watcher, &SceneWatcher::childrenChanged, this, &SceneTreeModel::syncChildren);
}

osg::NodePtr SceneTreeModel::node(const QModelIndex &index) const
{
    return index.isValid() ? nodeOf(quint32(index.internalId())) : osg::NodePtr();
}

QModelIndex SceneTreeModel::indexOf(const osg::NodePtr &node)
{
    if (!mkScenegraph::isInScene(node)) {
        return {};
    }
    std::vector<quint32> path;
    for (osg::NodePtr above = node; above; above = above->getParent()) {
        path.push_back(above->getId());
    }
    for (auto id = path.rbegin(); id != path.rend() - 1; ++id) {
        const QModelIndex index = indexOf(*id);
        if (!index.isValid()) {
            return {};
        }
        fetchMore(index);
    }
    return indexOf(node->getId());
}

QModelIndex SceneTreeModel::indexOf(quint32 id) const
{
    const auto found = entries.constFind(id);
    return id == 0 || found == entries.cend() ? QModelIndex() : createIndex(found->row, 0, id);
}

QModelIndex SceneTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    const auto found = entries.constFind(quint32(parent.internalId()));
    if (found == entries.cend() || column != 0 || row < 0 || row >= int(found->children.size())) {
        return {};
    }
    return createIndex(row, 0, found->children[std::size_t(row)]);
}

QModelIndex SceneTreeModel::parent(const QModelIndex &index) const
{
    const auto found = entries.constFind(quint32(index.internalId()));
    return found == entries.cend() ? QModelIndex() : indexOf(found->parent);
}

int SceneTreeModel::rowCount(const QModelIndex &parent) const
{
    const auto found = entries.constFind(quint32(parent.internalId()));
    return found == entries.cend() ? 0 : int(found->children.size());
}

int SceneTreeModel::columnCount(const QModelIndex &) const
{
    return 1;
}

bool SceneTreeModel::hasChildren(const QModelIndex &parent) const
{
    return rowCount(parent) > 0 || hasUnreadChildren(parent);
}

bool SceneTreeModel::hasUnreadChildren(const QModelIndex &parent) const
{
    const auto found = entries.constFind(quint32(parent.internalId()));
    const osg::NodePtr shown = node(parent);
    return found != entries.cend() && !found->read && shown && !shown->getChildren().empty();
}

bool SceneTreeModel::canFetchMore(const QModelIndex &parent) const
{
    return !following && hasUnreadChildren(parent);
}

void SceneTreeModel::fetchMore(const QModelIndex &parent)
{
    if (canFetchMore(parent)) {
        insertNew(quint32(parent.internalId()), childIds(node(parent)));
    }
}

QVariant SceneTreeModel::data(const QModelIndex &index, int role) const
{
    const osg::NodePtr shown = node(index);
    if (!shown) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return QString::fromUtf8(mkNodeUtils::getName(shown));
    case Qt::DecorationRole:
        return nodeIcon(shown);
    case Qt::ForegroundRole:
        return isHidden(shown)
                   ? QGuiApplication::palette().brush(QPalette::Disabled, QPalette::Text)
                   : QVariant();
    case Qt::FontRole: {
        // The colour of a selected row is not ours.
        QFont font;
        font.setItalic(true);
        return isHidden(shown) ? font : QVariant();
    }
    case Qt::ToolTipRole:
        return QString::fromStdString(mkNodeUtils::getPath(shown))
               + (isHidden(shown) ? tr(" (hidden by its render attributes)") : QString());
    default:
        return {};
    }
}

bool SceneTreeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const osg::NodePtr shown = node(index);
    const std::string name = value.toString().toStdString();
    if (!shown || role != Qt::EditRole || name.empty() || name == shown->getName()) {
        return false;
    }
    shown->setName(name);
    mkController::setModified(1);
    Q_EMIT dataChanged(index, index);
    if (isInALayer(shown)) {
        mkMessage message("mkRenderLayerModuleUpdateLayers");
        mkController::sendMessage(message);
    }
    return true;
}

Qt::ItemFlags SceneTreeModel::flags(const QModelIndex &index) const
{
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled
                                 | Qt::ItemIsEditable
                           : Qt::NoItemFlags;
}

QStringList SceneTreeModel::mimeTypes() const
{
    return { treeItemFormat() };
}

QMimeData *SceneTreeModel::mimeData(const QModelIndexList &indexes) const
{
    if (indexes.isEmpty()) {
        return nullptr;
    }
    // Receivers take the nodes from the host's selection; the payload says how many there are.
    QByteArray payload;
    QDataStream(&payload, QIODevice::WriteOnly) << qint32(indexes.size()) << qint32(0);
    auto *const mime = new QMimeData;
    mime->setData(treeItemFormat(), payload);
    return mime;
}

Qt::DropActions SceneTreeModel::supportedDragActions() const
{
    return Qt::CopyAction;
}

void SceneTreeModel::reset()
{
    const osg::NodePtr root = mkScenegraph::getRoot();
    if (root && entries.value(0).children == std::vector<quint32>{ root->getId() }) {
        return;
    }
    beginResetModel();
    entries.clear();
    enterRoot();
    endResetModel();
}

void SceneTreeModel::enterRoot()
{
    Entry &top = entries[0];
    top.read = true;
    if (const osg::NodePtr root = mkScenegraph::getRoot()) {
        top.children = { root->getId() };
        entries[root->getId()] = Entry();
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
        const std::vector<quint32> actual = childIds(nodeOf(id));
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
            insertNew(id, childIds(nodeOf(id)));
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
