#include "mkSelectionMemory.h"

#include "mkColumn.h"
#include "mkHostAccess.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"

#include <QItemSelectionModel>
#include <QSignalBlocker>

#include <algorithm>

namespace {

/// Up to here each restored row is a range of its own, as if rows had been selected one by one:
/// what the user adds to the selection or takes from it then ends in the same order. Beyond,
/// neighbours share a range, for Qt looks through all ranges for every cell that it paints.
constexpr std::size_t mostSingleRows = 1000;

/// Takes one of the entries remembered under `key`; false when there is none left.
template <typename Key>
bool takeOne(QHash<Key, int> &remembered, const Key &key)
{
    const auto found = remembered.find(key);
    if (found == remembered.end()) {
        return false;
    }
    if (--found.value() == 0) {
        remembered.erase(found);
    }
    return true;
}

/// The cells of column 0. The tree marks a row as selected, or not, for every cell of it that it is
/// told of; one is enough.
QItemSelection firstCells(const QItemSelection &rows)
{
    QItemSelection cells;
    cells.reserve(rows.size());
    for (const QItemSelectionRange &range : rows) {
        const QModelIndex &first = range.topLeft();
        cells.append({ first, range.height() == 1 ? first : first.sibling(range.bottom(), 0) });
    }
    return cells;
}

} // namespace

struct mkSelectionMemory::Run
{
    QModelIndex layer;
    int first;
    int last;
};

mkSelectionMemory mkSelectionMemory::take(const mkNodeListWidget &tree, bool whole)
{
    mkSelectionMemory memory;
    if (whole) {
        QStringList layerNames;
        QStringList nodeLayerNames;
        std::vector<osg::NodePtr> nodes;
        tree.collectSelection(layerNames, nodes, nodeLayerNames);
        for (const QString &name : qAsConst(layerNames)) {
            ++memory.layers[name];
        }
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            memory.add(nodes[i], nodeLayerNames.at(int(i)));
        }
        return memory;
    }

    const auto *const row = static_cast<mkNodeItem *>(tree.currentItem());
    if (!row || !row->isSelected()) {
        return memory;
    }
    const QString name = row->text(mkColumn::Layer);
    if (const osg::NodePtr node = row->getNode(); node != osg::NullFC) {
        memory.add(node, row->parent() ? row->parent()->text(mkColumn::Layer) : QString());
    } else if (!name.isEmpty()) {
        memory.layers.insert(name, 1);
    }
    return memory;
}

void mkSelectionMemory::add(const osg::NodePtr &node, const QString &layerName)
{
    ++nodes[layerName][mkIdOf(node)];
    // Where a handle keeps its node alive, the id is not given out again during the rebuild.
    held.push_back(node);
}

std::vector<mkSelectionMemory::Run> mkSelectionMemory::takeMatches(const mkNodeListWidget &tree)
{
    std::vector<Run> runs;
    const auto add = [&runs](const QModelIndex &layer, int row) {
        if (runs.size() >= mostSingleRows && runs.back().layer == layer
            && runs.back().last + 1 == row) {
            runs.back().last = row;
        } else {
            runs.push_back({ layer, row, row });
        }
    };
    for (int i = 0; i < tree.topLevelItemCount() && !(layers.isEmpty() && nodes.isEmpty()); ++i) {
        const QTreeWidgetItem *const layer = tree.topLevelItem(i);
        const QString layerName = layer->text(mkColumn::Layer);
        if (takeOne(layers, layerName)) {
            add(QModelIndex(), i);
        }
        const auto wanted = nodes.find(layerName);
        if (wanted == nodes.end()) {
            continue;
        }
        const QModelIndex layerIndex = tree.model()->index(i, 0);
        for (int j = 0; j < layer->childCount() && !wanted->isEmpty(); ++j) {
            const auto *const row = static_cast<mkNodeItem *>(layer->child(j));
            if (takeOne(*wanted, row->getNodeId())) {
                add(layerIndex, j);
            }
        }
        // What this layer does not have may be in another one of the same name.
        if (wanted->isEmpty()) {
            nodes.erase(wanted);
        }
    }
    return runs;
}

void mkSelectionMemory::restore(mkNodeListWidget &tree)
{
    const std::vector<Run> runs = takeMatches(tree);
    if (runs.empty()) {
        return;
    }
    const QAbstractItemModel *const rows = tree.model();
    QItemSelection selection;
    for (const Run &run : runs) {
        selection.append({ rows->index(run.first, 0, run.layer),
                           rows->index(run.last, mkColumn::Count - 1, run.layer) });
    }
    const QItemSelection cells = firstCells(selection);
    const Run &first = runs.front();
    tree.makeCurrent(first.layer.isValid()
                         ? tree.topLevelItem(first.layer.row())->child(first.first)
                         : tree.topLevelItem(first.first));
    // To select row by row, or with the Rows flag, is quadratic. Two steps leave what the many
    // would: the last row is the one that a following Shift+click replaces. A row that is the only
    // one is selected twice, as it would be by becoming current first.
    QItemSelection last;
    last.append(selection.last());
    if (selection.size() > 1) {
        selection.removeLast();
    }
    QItemSelectionModel *const model = tree.selectionModel();
    {
        const QSignalBlocker blocker(model);
        model->clearSelection();
        model->select(selection, QItemSelectionModel::Select);
        model->select(last, QItemSelectionModel::Select);
    }
    Q_EMIT model->selectionChanged(cells, QItemSelection());
}

void mkSelectionMemory::deselectAll(QTreeWidget &tree)
{
    QItemSelectionModel *const model = tree.selectionModel();
    if (!model->hasSelection()) {
        return;
    }
    const QItemSelection cells = firstCells(model->selection());
    {
        const QSignalBlocker blocker(model);
        model->clearSelection();
    }
    // A view that may paint looks for the place on screen of every range, which is quadratic.
    const bool enabled = tree.updatesEnabled();
    tree.setUpdatesEnabled(false);
    Q_EMIT model->selectionChanged(QItemSelection(), cells);
    tree.setUpdatesEnabled(enabled);
}
