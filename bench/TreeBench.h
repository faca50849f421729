#pragma once

#include "BareTree.h"
#include "BenchHost.h"
#include "Measure.h"

/// Selects rows of a tree, bare or not.
using Select = std::function<void(QTreeWidget *)>;

Select everySecondNode(int count);
Select everyNode();

/// The figures of the layer tree, group by group.
class TreeBench
{
public:
    /// Runs the groups whose name is in `groups`, or all; returns how many figures were over.
    int run(const QStringList &groups);

private:
    void rebuild();
    void restore();
    void commands();
    void singleRows();
    void interaction();
    void memory();
    void painting();
    void growth();

    double rebuildSeconds();
    void reportRestore(const QString &name, const TreeShape &shape, const Select &select,
                       double limit);
    void compareRebuild(const char *name, const TreeShape &shape);
    void compareMemory(const char *name, const TreeShape &shape, BareTree::Cells cells);
    /// The command's time as a ratio to the rebuild of the tree that it starts from.
    void reportCommand(const QString &name, const TreeShape &shape, const Select &select,
                       const Timed &work);
    /// A command whose cost is measured over trees of 1,000, 10,000 and 100,000 rows.
    struct Growth
    {
        const char *name;
        Select select;
        Timed work;
        TreeShape::Content content = TreeShape::Defaults;
        /// What grows is the number of layers, not of nodes in each.
        bool inLayers = false;
    };
    void reportGrowth(const Growth &one);

    Timed slot(const char *name);
    Timed applyAttributes();
    static Timed messageAfterReading();
    Timed contextMenu();
    /// All layers without nodes and selected, all scene nodes selected in the host.
    Select emptiedLayers();
    /// Every node carries attributes of its own.
    static Select activatedScene();
    double dropMaterialSeconds(const QPoint &point);

    BenchHost host;
    BareTree bare;
    Report report;
};
