#include "SceneTreeModel.h"

#include "NodeLooks.h"
#include "SceneEdits.h"
#include "SceneWatcher.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QDataStream>
#include <QFont>
#include <QMimeData>

#include <algorithm>

namespace {

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
    return index.isValid() ? osg::NodePtr(
               osg::FieldContainerFactory::the()->getContainer(quint32(index.internalId())))
                           : osg::NodePtr();
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

bool SceneTreeModel::isMatching(const QModelIndex &index) const
{
    return filter && filter->matching.contains(quint32(index.internalId()));
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
    const osg::NodePtr above = node(parent);
    if (found == entries.cend() || found->read || !above) {
        return false;
    }
    const std::vector<osg::NodePtr> &children = above->getChildren();
    return std::any_of(children.begin(), children.end(),
                       [this](const osg::NodePtr &child) { return isShown(child); });
}

bool SceneTreeModel::canFetchMore(const QModelIndex &parent) const
{
    return !following && hasUnreadChildren(parent);
}

void SceneTreeModel::fetchMore(const QModelIndex &parent)
{
    if (canFetchMore(parent)) {
        insertNew(quint32(parent.internalId()), childIds(quint32(parent.internalId())));
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
        return NodeLooks::icon(shown);
    case Qt::ForegroundRole:
        return NodeLooks::isHidden(shown) ? NodeLooks::fadedText() : QVariant();
    case Qt::FontRole: {
        // The colour of a selected row is not ours.
        QFont font;
        font.setItalic(NodeLooks::isHidden(shown));
        font.setBold(isMatching(index));
        return font.italic() || font.bold() ? font : QVariant();
    }
    case Qt::ToolTipRole:
        return NodeLooks::toolTip(shown);
    default:
        return {};
    }
}

bool SceneTreeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole
        || !SceneEdits::renameNode(node(index), value.toString().toStdString())) {
        return false;
    }
    Q_EMIT dataChanged(index, index);
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
