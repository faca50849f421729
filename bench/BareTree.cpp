#include "BareTree.h"

#include <QIcon>

#include <climits>

QString TreeShape::name() const
{
    static const char *const expansions[] = { "collapsed", "expanded", "half" };
    return QStringLiteral("%1x%2/%3")
        .arg(layers)
        .arg(nodes)
        .arg(QLatin1String(expansions[expansion]));
}

BareTree::BareTree()
{
    setColumnCount(13);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setAllColumnsShowFocus(true);
    resize(1400, 800);
}

QTreeWidgetItem BareTree::filledRow() const
{
    QTreeWidgetItem row;
    row.setData(0, Qt::DisplayRole, QString());
    if (!nodeIcon.isNull()) {
        row.setData(0, Qt::DecorationRole, nodeIcon);
    }
    for (int column = 1; column <= 11; ++column) {
        const bool on = column <= 10;
        row.setData(column, Qt::DisplayRole, on ? QStringLiteral("On") : QStringLiteral("Off"));
        row.setData(column, Qt::UserRole, on);
    }
    row.setData(12, Qt::DisplayRole, QStringLiteral("Empty"));
    row.setData(12, Qt::DecorationRole, QIcon());
    return row;
}

void BareTree::build(const TreeShape &shape, const std::vector<std::string> &nodeNames)
{
    // Copies share the cells of the row that they are made from: a third of the cost of writing
    // the same cells row by row.
    const QTreeWidgetItem filled = filledRow();

    clear();
    setUpdatesEnabled(false);
    blockSignals(true);
    QList<QTreeWidgetItem *> layers;
    for (int i = 0; i < shape.layers; ++i) {
        auto *const layer = new QTreeWidgetItem;
        layer->setData(0, Qt::DisplayRole, QStringLiteral("Layer%1").arg(i));
        QList<QTreeWidgetItem *> nodes;
        nodes.reserve(shape.nodes);
        for (int j = 0; j < shape.nodes; ++j) {
            auto *const node = new QTreeWidgetItem(filled);
            node->setData(0, Qt::DisplayRole, QString::fromStdString(nodeNames[std::size_t(j)]));
            nodes.append(node);
        }
        layer->addChildren(nodes);
        layers.append(layer);
    }
    addTopLevelItems(layers);
    for (int i = 0; i < shape.layers; ++i) {
        layers.at(i)->setExpanded(shape.isExpanded(i));
    }
    blockSignals(false);
    setUpdatesEnabled(true);
}

namespace {

void replaceSelection(QTreeWidget *tree, const QItemSelection &selection)
{
    // A visible tree looks for the place on screen of every range, which is quadratic. Whoever
    // selects here is only preparing.
    tree->setUpdatesEnabled(false);
    tree->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    tree->setUpdatesEnabled(true);
}

} // namespace

void selectNodeRows(QTreeWidget *tree, int step)
{
    selectNodeRows(tree, step, INT_MAX);
}

void selectNodeRows(QTreeWidget *tree, int step, int count)
{
    const QAbstractItemModel *const model = tree->model();
    const int lastColumn = model->columnCount() - 1;
    QItemSelection selection;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        const QModelIndex layer = model->index(i, 0);
        const int rows = model->rowCount(layer);
        if (step == 1 && rows > 0 && rows <= count) {
            selection.append(
                { model->index(0, 0, layer), model->index(rows - 1, lastColumn, layer) });
            count -= rows;
            continue;
        }
        for (int j = step > 1 ? 1 : 0; j < rows && count > 0; j += step, --count) {
            selection.append({ model->index(j, 0, layer), model->index(j, lastColumn, layer) });
        }
    }
    replaceSelection(tree, selection);
}

void selectNothing(QTreeWidget *tree)
{
    replaceSelection(tree, QItemSelection());
}

void selectLayerRows(QTreeWidget *tree, int step)
{
    const QAbstractItemModel *const model = tree->model();
    QItemSelection selection;
    for (int i = step > 1 ? 1 : 0; i < tree->topLevelItemCount(); i += step) {
        selection.append({ model->index(i, 0), model->index(i, model->columnCount() - 1) });
    }
    replaceSelection(tree, selection);
}
