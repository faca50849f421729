#pragma once

#include <QPixmap>
#include <QTreeWidget>

#include <string>
#include <vector>

/// How many rows, and which layers are expanded.
struct TreeShape
{
    enum Expansion { Collapsed, Expanded, Half };

    int layers;
    int nodes; ///< in each layer
    Expansion expansion = Expanded;

    int rows() const { return layers * nodes; }
    bool isExpanded(int layer) const
    {
        return expansion == Expanded || (expansion == Half && layer % 2 == 0);
    }
    QString name() const;
};

/// The floor: bare QTreeWidget code that ends in the cells, expansion and selection that the
/// panel shows, by the cheapest calls that exist. Names come as UTF-8, as the host has them.
class BareTree : public QTreeWidget
{
public:
    BareTree();

    /// Replaces all rows; what rebuildTree() does.
    void build(const TreeShape &shape, const std::vector<std::string> &nodeNames);
    /// An icon for node rows built from now on; null for none.
    void setNodeIcon(const QPixmap &icon) { nodeIcon = icon; }

private:
    /// A node row with all cells but its name.
    QTreeWidgetItem filledRow() const;

    QPixmap nodeIcon;
};

/// Selects every `step`-th node row of every layer, in one go.
void selectNodeRows(QTreeWidget *tree, int step);
/// Selects the first `count` rows that are `step` apart, over all layers.
void selectNodeRows(QTreeWidget *tree, int step, int count);
void selectNothing(QTreeWidget *tree);
/// Selects every `step`-th layer row.
void selectLayerRows(QTreeWidget *tree, int step);
