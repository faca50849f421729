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

void BareTree::build(const TreeShape &shape, const std::vector<std::string> &nodeNames)
{
    const QVariant on(QStringLiteral("On"));
    const QVariant off(QStringLiteral("Off"));
    const QVariant yes(true);
    const QVariant no(false);
    const QVariant empty(QStringLiteral("Empty"));
    const QVariant noIcon{ QIcon() };

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
            auto *const node = new QTreeWidgetItem;
            node->setData(0, Qt::DisplayRole, QString::fromStdString(nodeNames[std::size_t(j)]));
            if (!nodeIcon.isNull()) {
                node->setData(0, Qt::DecorationRole, nodeIcon);
            }
            for (int column = 1; column <= 10; ++column) {
                node->setData(column, Qt::DisplayRole, on);
                node->setData(column, Qt::UserRole, yes);
            }
            node->setData(11, Qt::DisplayRole, off);
            node->setData(11, Qt::UserRole, no);
            node->setData(12, Qt::DisplayRole, empty);
            node->setData(12, Qt::DecorationRole, noIcon);
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
    tree->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

void selectLayerRows(QTreeWidget *tree, int step)
{
    const QAbstractItemModel *const model = tree->model();
    QItemSelection selection;
    for (int i = step > 1 ? 1 : 0; i < tree->topLevelItemCount(); i += step) {
        selection.append({ model->index(i, 0), model->index(i, model->columnCount() - 1) });
    }
    tree->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}
