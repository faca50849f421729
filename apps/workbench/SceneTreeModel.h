#pragma once

#include "NodeFilter.h"
#include "OSGSystem/Node.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QSet>

#include <vector>

class SceneWatcher;

/// The open scene as a tree of nodes. It keeps only the ids of the nodes, so it keeps none of them
/// alive; names, icons and colours are looked up when they are shown. The children of a node are
/// read when somebody looks at them. With a filter only the nodes that it shows have rows.
class SceneTreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    explicit SceneTreeModel(SceneWatcher *watcher, QObject *parent = nullptr);

    /// Null for an invalid index and for a node that is gone.
    osg::NodePtr node(const QModelIndex &index) const;
    /// The node's row, after reading all levels above it; invalid when it is not in the scene.
    QModelIndex indexOf(const osg::NodePtr &node);
    /// Null shows all nodes.
    void setFilter(NodeFilterPtr filter);
    bool isFiltered() const { return filter != nullptr; }
    /// True for the nodes that a search has found, not for those above them.
    bool isMatching(const QModelIndex &index) const;
    /// True while rows come and go because the scene changed, not the user's mind.
    bool isFollowing() const { return following; }

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;
    QVariant data(const QModelIndex &index, int role) const override;
    /// Renames the node; an empty name is refused.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    Qt::DropActions supportedDragActions() const override;

private:
    /// A node that has a row. Entry 0, which is no node, is the invisible parent of the root.
    struct Entry
    {
        quint32 parent = 0;
        int row = 0;
        bool read = false;
        std::vector<quint32> children;
    };

    bool isShown(const osg::NodePtr &node) const
    {
        return !filter || filter->shown.contains(node->getId());
    }
    std::vector<quint32> childIds(quint32 id) const;
    bool hasUnreadChildren(const QModelIndex &parent) const;
    void reset();
    void enterRoot();
    void syncChildren(const QSet<quint32> &nodeIds);
    void removeMissing(quint32 id, const std::vector<quint32> &actual);
    void insertNew(quint32 id, const std::vector<quint32> &actual);
    void takeRowsOut(quint32 id, int first, int last);
    void putRowsIn(quint32 id, int row, const std::vector<quint32> &ids);
    void renumber(quint32 id, int first);
    QModelIndex indexOf(quint32 id) const;

    QHash<quint32, Entry> entries;
    NodeFilterPtr filter;
    bool following = false;
};
