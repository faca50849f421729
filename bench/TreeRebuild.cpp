// Rebuilds, with and without a selection to restore, and the memory of the rows.

#include "TreeBench.h"

#include <QApplication>

#include <malloc.h>

#include <array>

namespace {

/// The one with the most small pieces first, before those of the others lie all over the heap.
constexpr std::array<TreeShape, 5> shapes{
    { { 10000, 10 }, { 10, 1000 }, { 100, 1000 }, { 1, 100000 }, { 1000, 100 } }
};

/// Seconds until the rows are laid out. A rebuild that makes a row current does that at once, the
/// others leave it to the next paint.
double laidOutSeconds(QTreeWidget *tree, const std::function<void()> &build)
{
    return secondsOf([&] {
        build();
        tree->visualItemRect(tree->topLevelItem(0));
    });
}

double heapBytes()
{
    malloc_trim(0);
    return double(mallinfo2().uordblks);
}

} // namespace

void TreeBench::compareRebuild(const char *name, const TreeShape &shape)
{
    host.open(shape);
    const auto against = [&](BareTree::Cells cells) {
        // From the first run on, both replace rows.
        bare.build(shape, host.nodeNames(), cells);
        const Comparison result = compare(
            shape.rows() > 20000 ? 5 : 25, [this] { return rebuildSeconds(); },
            [&] { return secondsOf([&] { bare.build(shape, host.nodeNames(), cells); }); });
        bare.clear();
        return result;
    };
    const Comparison result = against(BareTree::Written);
    QString note = result.spread;
    if (shape.content == TreeShape::Defaults && shape.expansion == TreeShape::Half) {
        note += QStringLiteral("; %1 of bare code that copies rows")
                    .arg(against(BareTree::Copied).ratio, 0, 'f', 2);
    }
    report.line(QLatin1String(name) + shape.name(), result.ratio, QStringLiteral("x_bare"), 1.10,
                note);
}

void TreeBench::rebuild()
{
    for (TreeShape shape : shapes) {
        for (const auto expansion :
             { TreeShape::Collapsed, TreeShape::Expanded, TreeShape::Half }) {
            shape.expansion = expansion;
            compareRebuild("rebuild/", shape);
        }
    }
    for (TreeShape shape : shapes) {
        shape.content = TreeShape::Varied;
        compareRebuild("rebuild_varied/", shape);
    }
}

void TreeBench::reportRestore(const QString &name, const TreeShape &shape, const Select &select,
                              double limit)
{
    // From the first run on, both replace rows.
    bare.build(shape, host.nodeNames());
    std::vector<double> plain;
    const Comparison result = compare(
        shape.rows() > 20000 ? 5 : 11,
        [&] {
            plain.push_back(rebuildSeconds());
            select(host.tree());
            return laidOutSeconds(host.tree(), [this] { host.tree()->rebuildTree(true); });
        },
        [&] {
            return laidOutSeconds(&bare, [&] {
                bare.build(shape, host.nodeNames());
                select(&bare);
            });
        });
    bare.clear();
    report.line(name, result.ratio, QStringLiteral("x_bare"), limit,
                QStringLiteral("%1; %2 ms, %3 of the panel's own rebuild")
                    .arg(result.spread)
                    .arg(result.subject * 1e3, 0, 'f', 1)
                    .arg(result.subject / median(plain), 0, 'f', 2));
}

void TreeBench::restore()
{
    const Select everything = [](QTreeWidget *tree) {
        selectNothing(tree);
        tree->setUpdatesEnabled(false);
        tree->selectAll();
        tree->setUpdatesEnabled(true);
    };
    const Select layers = [](QTreeWidget *tree) { selectLayerRows(tree, 1); };
    for (TreeShape shape : shapes) {
        host.open(shape);
        const QString name = QStringLiteral("restore/") + shape.name();
        reportRestore(name + QStringLiteral("/nothing"), shape, selectNothing, 1.0);
        reportRestore(name + QStringLiteral("/everything"), shape, everything, 1.0);
        reportRestore(name + QStringLiteral("/layers"), shape, layers, 1.0);
        // Last, for the many ranges leave the heap in pieces.
        reportRestore(name + QStringLiteral("/second_rows"), shape, everySecondNode(50000), 1.0);
        shape.content = TreeShape::Varied;
        host.open(shape);
        reportRestore(QStringLiteral("restore_varied/") + shape.name()
                          + QStringLiteral("/second_rows"),
                      shape, everySecondNode(50000), 1.5);
    }
}

void TreeBench::compareMemory(const char *name, const TreeShape &shape, BareTree::Cells cells)
{
    host.open(shape);
    host.tree()->clear();
    const double empty = heapBytes();
    host.tree()->rebuildTree(false);
    const double panel = heapBytes() - empty;
    const double bareEmpty = heapBytes();
    bare.build(shape, host.nodeNames(), cells);
    const double floor = heapBytes() - bareEmpty;
    bare.clear();
    report.line(QLatin1String(name), panel / floor, "x_bare", 1.05,
                QStringLiteral("%1 bytes a row").arg(panel / shape.rows(), 0, 'f', 0));
}

void TreeBench::memory()
{
    // The host's table of ids keeps the size that the largest scene gave it.
    TreeShape shape{ 100, 1000 };
    host.open(shape);
    host.close();
    QApplication::processEvents();
    const double closedBefore = heapBytes();
    compareMemory("memory/row", shape, BareTree::Written);
    compareMemory("memory/row_copied", shape, BareTree::Copied);
    shape.content = TreeShape::Varied;
    compareMemory("memory/row_varied", shape, BareTree::Written);

    host.open({ 10, 1000 });
    host.tree()->rebuildTree(true);
    const double before = heapBytes();
    for (int i = 0; i < 100; ++i) {
        host.tree()->rebuildTree(true);
    }
    report.line("memory/growth_over_100_rebuilds", (heapBytes() - before) / 1024, "KiB", 64);
    host.close();
    QApplication::processEvents();
    report.line("memory/left_after_closing", (heapBytes() - closedBefore) / 1024, "KiB", 256);
}
