#pragma once

#include <QPixmap>
#include <QTreeWidget>

#include <string>
#include <vector>

/// What a node row's cells show.
struct RowContent
{
    unsigned flags;    ///< bit i is the attribute of column i + 1
    int material = -1; ///< index into materialNames(); -1 for none
};

/// How many rows, which layers are expanded, and what the rows show.
struct TreeShape
{
    enum Expansion { Collapsed, Expanded, Half };
    enum Content {
        Defaults, ///< a new node's attributes in all rows
        Material, ///< the same, with the same override material
        Varied,   ///< no two rows alike
    };

    int layers;
    int nodes; ///< in each layer
    Expansion expansion = Expanded;
    Content content = Defaults;

    int rows() const { return layers * nodes; }
    bool isExpanded(int layer) const
    {
        return expansion == Expanded || (expansion == Half && layer % 2 == 0);
    }
    RowContent contentOf(int layer, int node) const;
    QString name() const;
};

/// The materials of every scene here.
const std::vector<std::string> &materialNames();

/// The floor: bare QTreeWidget code that ends in the cells, expansion and selection that the
/// panel shows, by the cheapest calls that exist. Names come as UTF-8, as the host has them.
class BareTree : public QTreeWidget
{
public:
    enum Cells {
        Written, ///< cell by cell, texts and icons looked up once
        Copied,  ///< rows copy one that was written before; all must be alike
    };

    BareTree();

    /// Replaces all rows; what rebuildTree() does.
    void build(const TreeShape &shape, const std::vector<std::string> &nodeNames,
               Cells cells = Written);
    /// An icon for node rows built from now on; null for none.
    void setNodeIcon(const QPixmap &icon) { nodeIcon = icon; }

private:
    QPixmap nodeIcon;
};

/// Selects every `step`-th node row of every layer, in one go.
void selectNodeRows(QTreeWidget *tree, int step);
/// Selects the first `count` rows that are `step` apart, over all layers.
void selectNodeRows(QTreeWidget *tree, int step, int count);
void selectNothing(QTreeWidget *tree);
/// Selects every `step`-th layer row.
void selectLayerRows(QTreeWidget *tree, int step);
