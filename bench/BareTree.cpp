#include "BareTree.h"

#include <QIcon>

#include <array>
#include <climits>

QString TreeShape::name() const
{
    static const char *const expansions[] = { "collapsed", "expanded", "half" };
    return QStringLiteral("%1x%2/%3")
        .arg(layers)
        .arg(nodes)
        .arg(QLatin1String(expansions[expansion]));
}

RowContent TreeShape::contentOf(int layer, int node) const
{
    constexpr unsigned flagCount = 11;
    if (content == Varied) {
        const unsigned row = unsigned(layer) * unsigned(nodes) + unsigned(node);
        return { row & ((1U << flagCount) - 1), int(row >> flagCount) };
    }
    constexpr unsigned allButUseOverrideMaterial = (1U << (flagCount - 1)) - 1;
    return { allButUseOverrideMaterial, content == Material ? 0 : -1 };
}

const std::vector<std::string> &materialNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (int i = 0; i < 64; ++i) {
            all.push_back("clay_" + std::to_string(i));
        }
        return all;
    }();
    return names;
}

BareTree::BareTree()
{
    setColumnCount(13);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setAllColumnsShowFocus(true);
    resize(1400, 800);
}

namespace {

/// Writes the cells of node rows but the names.
class CellWriter
{
public:
    explicit CellWriter(const QPixmap &icon)
        : nodeIcon(icon.isNull() ? QVariant() : QVariant(icon))
    {
        QPixmap cross(16, 16);
        cross.fill(Qt::red);
        button = QIcon(cross);
        for (const std::string &name : materialNames()) {
            materials.emplace_back(QString::fromStdString(name));
        }
    }

    void write(QTreeWidgetItem &row, const RowContent &content) const
    {
        if (nodeIcon.isValid()) {
            row.setData(0, Qt::DecorationRole, nodeIcon);
        }
        for (int column = 1; column <= 11; ++column) {
            const auto value = std::size_t(content.flags >> (column - 1) & 1);
            row.setData(column, Qt::DisplayRole, texts[value]);
            row.setData(column, Qt::UserRole, values[value]);
        }
        const bool hasMaterial = content.material >= 0;
        row.setData(12, Qt::DisplayRole,
                    hasMaterial ? materials[std::size_t(content.material)] : empty);
        row.setData(12, Qt::DecorationRole, hasMaterial ? button : noIcon);
    }

private:
    QVariant nodeIcon;
    QVariant button;
    std::vector<QVariant> materials;
    std::array<QVariant, 2> texts{ QStringLiteral("Off"), QStringLiteral("On") };
    std::array<QVariant, 2> values{ false, true };
    QVariant empty = QStringLiteral("Empty");
    QVariant noIcon = QIcon();
};

} // namespace

void BareTree::build(const TreeShape &shape, const std::vector<std::string> &nodeNames, Cells cells)
{
    clear();
    setUpdatesEnabled(false);
    blockSignals(true);
    const CellWriter writer(nodeIcon);
    QTreeWidgetItem original;
    original.setData(0, Qt::DisplayRole, QString());
    writer.write(original, shape.contentOf(0, 0));
    QList<QTreeWidgetItem *> layers;
    for (int i = 0; i < shape.layers; ++i) {
        auto *const layer = new QTreeWidgetItem;
        layer->setData(0, Qt::DisplayRole, QStringLiteral("Layer%1").arg(i));
        QList<QTreeWidgetItem *> nodes;
        nodes.reserve(shape.nodes);
        for (int j = 0; j < shape.nodes; ++j) {
            auto *const node = cells == Copied ? new QTreeWidgetItem(original)
                                               : new QTreeWidgetItem;
            node->setData(0, Qt::DisplayRole, QString::fromStdString(nodeNames[std::size_t(j)]));
            if (cells == Written) {
                writer.write(*node, shape.contentOf(i, j));
            }
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
