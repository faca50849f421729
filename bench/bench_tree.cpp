// Speed and memory of the layer tree against bare Qt code in the same run.

#include "BareTree.h"
#include "BenchHost.h"
#include "Measure.h"

#include "mkColumn.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkRenderAttributes.h"
#include "mkRenderLayerModule.h"

#include <QApplication>
#include <QDataStream>
#include <QDialog>
#include <QDropEvent>
#include <QHeaderView>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTimer>

#include <malloc.h>

#include <algorithm>
#include <array>

namespace {

constexpr std::array<TreeShape, 5> shapes{
    { { 10, 1000 }, { 100, 1000 }, { 1, 100000 }, { 1000, 100 }, { 10000, 10 } }
};

/// Selects rows of a tree, bare or not.
using Select = std::function<void(QTreeWidget *)>;

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
    void scripting();
    void memory();
    void painting();
    void growth();

    double rebuildSeconds();
    void reportRestore(const QString &name, const TreeShape &shape, const Select &select);
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
    QPoint cellCentre(int node, int column) const;
    void sendMouse(QEvent::Type type, const QPoint &point);

    BenchHost host;
    BareTree bare;
    Report report;
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

Select everySecondNode(int count)
{
    return [count](QTreeWidget *tree) { selectNodeRows(tree, 2, count); };
}

Select everyNode()
{
    return [](QTreeWidget *tree) { selectNodeRows(tree, 1); };
}

Select nothing()
{
    return selectNothing;
}

double TreeBench::rebuildSeconds()
{
    return secondsOf([this] { host.tree()->rebuildTree(false); });
}

Timed TreeBench::slot(const char *name)
{
    return [this, name] { return secondsOf([&] { host.call(name); }); };
}

Timed TreeBench::applyAttributes()
{
    return [this] {
        // What counts begins when the user has pressed OK.
        double accepted = 0;
        QTimer::singleShot(0, qApp, [&accepted] {
            auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
            accepted = processorSeconds();
            dialog->accept();
        });
        host.call("applyAttributesToSelected");
        return processorSeconds() - accepted;
    };
}

Select TreeBench::emptiedLayers()
{
    return [this](QTreeWidget *tree) {
        for (int layer = 0; layer < tree->topLevelItemCount(); ++layer) {
            for (const mkNodePtr &node : host.nodes()) {
                BenchHost::store()->subNode(unsigned(layer), node.get());
            }
        }
        host.tree()->rebuildTree(false);
        mkSelectionManager::selectNodes(host.nodes());
        selectLayerRows(tree, 1);
    };
}

Select TreeBench::activatedScene()
{
    return [](QTreeWidget *tree) {
        selectNothing(tree);
        BenchHost::store()->activateLayer(0);
    };
}

Timed TreeBench::messageAfterReading()
{
    return [] {
        mkMessage message("sceneLoaded", mkMessage::SceneLoaded);
        return secondsOf([&] { mkController::sendMessage(message); });
    };
}

Timed TreeBench::contextMenu()
{
    return [this] {
        const QPoint point(40, 40);
        QWidget *const viewport = host.tree()->viewport();
        const double seconds = secondsOf([&] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, point, viewport->mapToGlobal(point));
            QApplication::sendEvent(viewport, &event);
        });
        host.tree()->popupMenu()->hide();
        return seconds;
    };
}

void TreeBench::reportCommand(const QString &name, const TreeShape &shape, const Select &select,
                              const Timed &work)
{
    constexpr int runs = 3;
    constexpr double limit = 2.5;
    std::vector<double> ratios;
    for (int run = 0; run < runs; ++run) {
        host.open(shape);
        const double plain = std::min(rebuildSeconds(), rebuildSeconds());
        select(host.tree());
        ratios.push_back(work() / plain);
    }
    std::sort(ratios.begin(), ratios.end());
    report.line(name, median(ratios), QStringLiteral("x_rebuild"), limit,
                QStringLiteral("%1..%2")
                    .arg(ratios.front(), 0, 'f', 2)
                    .arg(ratios.back(), 0, 'f', 2));
}

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

void TreeBench::reportRestore(const QString &name, const TreeShape &shape, const Select &select)
{
    // From the first run on, both replace rows.
    bare.build(shape, host.nodeNames());
    std::vector<double> bareTimes;
    const Comparison result = compare(
        shape.rows() > 20000 ? 5 : 11,
        [&] {
            select(host.tree());
            return laidOutSeconds(host.tree(), [this] { host.tree()->rebuildTree(true); });
        },
        [&] {
            bareTimes.push_back(
                laidOutSeconds(&bare, [&] { bare.build(shape, host.nodeNames()); }));
            selectNothing(host.tree());
            return laidOutSeconds(host.tree(), [this] { host.tree()->rebuildTree(false); });
        });
    bare.clear();
    report.line(name, result.ratio, QStringLiteral("x_rebuild"), 1.5,
                QStringLiteral("%1; %2 of a bare rebuild")
                    .arg(result.spread)
                    .arg(result.subject / median(bareTimes), 0, 'f', 2));
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
        reportRestore(name + QStringLiteral("/nothing"), shape, nothing());
        reportRestore(name + QStringLiteral("/everything"), shape, everything);
        reportRestore(name + QStringLiteral("/second_rows"), shape, everySecondNode(50000));
        reportRestore(name + QStringLiteral("/layers"), shape, layers);
        shape.content = TreeShape::Varied;
        host.open(shape);
        reportRestore(QStringLiteral("restore_varied/") + shape.name()
                          + QStringLiteral("/second_rows"),
                      shape, everySecondNode(50000));
    }
}

void TreeBench::commands()
{
    const TreeShape wide{ 100, 1000 };
    const TreeShape coated{ 100, 1000, TreeShape::Expanded, TreeShape::Material };
    const TreeShape many{ 10000, 10 };
    const Select thousandLayers = [](QTreeWidget *tree) { selectLayerRows(tree, 10); };

    reportCommand("apply_100000", wide, everyNode(), applyAttributes());
    reportCommand("clear_material_10000", coated, everySecondNode(10000),
                  slot("clearOverrideMaterial"));
    reportCommand("clear_material_100000", coated, everyNode(), slot("clearOverrideMaterial"));
    reportCommand("delete_nodes_10000", wide, everySecondNode(10000), slot("deleteNodes"));
    reportCommand("delete_nodes_50000", wide, everySecondNode(50000), slot("deleteNodes"));
    reportCommand("move_up_10000", wide, everySecondNode(10000), slot("moveUpNode"));
    reportCommand("activate_10000", wide, everySecondNode(10000),
                  [this] { return secondsOf([this] { host.tree()->activateSelected(); }); });
    reportCommand("delete_layers_1000", many, thousandLayers, slot("deleteLayers"));
    reportCommand("duplicate_layers_1000", many, thousandLayers, slot("duplicateLayer"));
    reportCommand("move_layers_up_1000", many, thousandLayers, slot("moveUpNode"));
    reportCommand("add_1000_nodes_to_10_layers", { 10, 1000 }, emptiedLayers(),
                  slot("addSelectedNodes"));
    reportCommand("message_after_reading", { 1, 100000 }, activatedScene(), messageAfterReading());
}

QPoint TreeBench::cellCentre(int node, int column) const
{
    QTreeWidget *const tree = host.tree();
    const QRect row = tree->visualItemRect(tree->topLevelItem(0)->child(node));
    return { tree->columnViewportPosition(column) + tree->columnWidth(column) / 2,
             row.center().y() };
}

void TreeBench::sendMouse(QEvent::Type type, const QPoint &point)
{
    QMouseEvent event(type, point, host.tree()->viewport()->mapToGlobal(point), Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(host.tree()->viewport(), &event);
}

double TreeBench::dropMaterialSeconds(const QPoint &point)
{
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream << mkdMaterial(QString::fromStdString(materialNames().front()));
    QMimeData data;
    data.setData(QStringLiteral("application/mosk-decoupled-materials"), payload);
    QWidget *const viewport = host.tree()->viewport();
    // Qt hands a drop only to a widget that a drag has entered.
    QDragEnterEvent enter(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &enter);
    QDropEvent drop(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    return secondsOf([&] { QApplication::sendEvent(viewport, &drop); });
}

void TreeBench::singleRows()
{
    const std::vector<TreeShape> sizes{ { 1, 1000 }, { 1, 10000 }, { 1, 100000 }, { 10000, 10 } };
    std::vector<std::array<double, 3>> milliseconds;
    for (const TreeShape &shape : sizes) {
        host.open(shape);
        QTreeWidget *const tree = host.tree();
        tree->header()->resizeSections(QHeaderView::ResizeToContents);
        tree->scrollToTop();
        QApplication::processEvents();
        const QPoint cell = cellCentre(2, 3);
        const QPoint materialCell = cellCentre(2, mkColumn::OverrideMaterial);
        const QPoint button(tree->columnViewportPosition(mkColumn::OverrideMaterial) + 10,
                            materialCell.y());
        const auto shown = [tree](int column) {
            return tree->topLevelItem(0)->child(2)->text(column);
        };
        // A gesture that misses its cell would be quick.
        const auto check = [&shown](int column, const QString &text) {
            if (shown(column) != text) {
                qFatal("column %d shows %s", column, qUtf8Printable(shown(column)));
            }
        };
        const Timed toggle = [&] {
            const QString other = shown(3) == QLatin1String("On") ? QStringLiteral("Off")
                                                                  : QStringLiteral("On");
            const double seconds = secondsOf([&] {
                sendMouse(QEvent::MouseButtonPress, cell);
                sendMouse(QEvent::MouseButtonRelease, cell);
                sendMouse(QEvent::MouseButtonDblClick, cell);
                sendMouse(QEvent::MouseButtonRelease, cell);
            });
            check(3, other);
            return seconds;
        };
        const Timed drop = [&] {
            const double seconds = dropMaterialSeconds(materialCell);
            check(mkColumn::OverrideMaterial, QString::fromStdString(materialNames().front()));
            return seconds;
        };
        const Timed clear = [&] {
            dropMaterialSeconds(materialCell);
            const double seconds = secondsOf([&] {
                sendMouse(QEvent::MouseButtonPress, button);
                sendMouse(QEvent::MouseButtonRelease, button);
            });
            check(mkColumn::OverrideMaterial, QStringLiteral("Empty"));
            return seconds;
        };
        milliseconds.push_back(
            { shortMilliseconds(toggle), shortMilliseconds(drop), shortMilliseconds(clear) });
    }
    const char *const names[] = { "toggle", "drop_material", "clear_button" };
    for (std::size_t i = 0; i < std::size(names); ++i) {
        std::vector<double> rows;
        std::vector<double> grown;
        for (std::size_t size = 0; size < sizes.size(); ++size) {
            report.line(QLatin1String(names[i]) + QLatin1Char('/') + sizes[size].name(),
                        milliseconds[size][i], QStringLiteral("ms"), 1.0);
            if (sizes[size].layers == 1) {
                rows.push_back(sizes[size].rows());
                grown.push_back(milliseconds[size][i]);
            }
        }
        report.line(QStringLiteral("growth/") + QLatin1String(names[i]),
                    growthExponent(rows, grown), "exponent", 0.15);
    }
}

void TreeBench::interaction()
{
    const TreeShape shape{ 100, 1000 };
    host.open(shape);
    bare.build(shape, host.nodeNames());
    bare.show();
    QApplication::processEvents();

    const auto selectAll = [](QTreeWidget *tree) {
        return [tree] {
            tree->clearSelection();
            QApplication::processEvents();
            return secondsOf([tree] { tree->selectAll(); });
        };
    };
    const auto controlA = [this] {
        host.tree()->clearSelection();
        QApplication::processEvents();
        return secondsOf([this] {
            QKeyEvent event(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier);
            QApplication::sendEvent(host.tree(), &event);
        });
    };
    const Comparison all = compare(3, controlA, selectAll(&bare));
    report.line("select_all_100000", all.ratio, "x_bare", 1.5, all.spread);

    // What bare Qt needs to open a menu that depends on the selection: ask for it, show the menu.
    selectNodeRows(host.tree(), 1);
    selectNodeRows(&bare, 1);
    QMenu bareMenu;
    for (int i = 0; i < 14; ++i) {
        bareMenu.addAction(QStringLiteral("Action %1").arg(i));
    }
    const QPoint point(40, 40);
    const Comparison menu = compare(9, contextMenu(), [&] {
        const double seconds = secondsOf([&] {
            bareMenu.setEnabled(!bare.selectedItems().isEmpty());
            bareMenu.popup(bare.viewport()->mapToGlobal(point));
        });
        bareMenu.hide();
        return seconds;
    });
    report.line("context_menu_100000_selected", menu.ratio, "x_bare", 1.5, menu.spread);
    bare.hide();
    bare.clear();
}

void TreeBench::scripting()
{
    // Each node that a script adds costs a rebuild by contract, so that cost must grow as a
    // rebuild of the layer does, and no faster.
    std::vector<double> sizes;
    std::vector<double> perNode;
    std::vector<double> rebuilds;
    QStringList costs;
    for (const int members : { 300, 600, 1200 }) {
        host.open({ 1, members });
        std::vector<double> runs;
        for (int run = 0; run < 15; ++run) {
            runs.push_back(rebuildSeconds());
        }
        for (const mkNodePtr &node : host.nodes()) {
            BenchHost::store()->subNode(0, node.get());
        }
        host.tree()->rebuildTree(false);
        const double seconds = secondsOf(
            [this] { mkRenderLayerModule::addNodesToRenderLayer(host.nodes(), "Layer0"); });
        sizes.push_back(members);
        rebuilds.push_back(median(runs));
        perNode.push_back(seconds / members);
        costs += QStringLiteral("%1 nodes: %2 ms a node, %3 ms a rebuild")
                     .arg(members)
                     .arg(perNode.back() * 1e3, 0, 'f', 2)
                     .arg(rebuilds.back() * 1e3, 0, 'f', 2);
    }
    report.line("script_add/growth_per_node", growthExponent(sizes, perNode), "exponent",
                growthExponent(sizes, rebuilds), costs.join(QStringLiteral("; ")));
}

double heapBytes()
{
    malloc_trim(0);
    return double(mallinfo2().uordblks);
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

void TreeBench::painting()
{
    const TreeShape shape{ 100, 1000 };
    host.open(shape);
    QTreeWidget *const tree = host.tree();
    const osg::NodePtr node = host.nodes().front().get();
    bare.setNodeIcon(mkScenegraph::getNodeIcon(node->getCore(), node, false));
    bare.resize(tree->size());
    bare.show();
    QApplication::processEvents();
    for (int column = 0; column < mkColumn::Count; ++column) {
        bare.setColumnWidth(column, tree->columnWidth(column));
    }
    const Comparison first = compare(
        9,
        [&] {
            host.tree()->rebuildTree(false);
            return secondsOf([&] { tree->viewport()->repaint(); });
        },
        [&] {
            bare.build(shape, host.nodeNames());
            return secondsOf([&] { bare.viewport()->repaint(); });
        });
    report.line("first_paint_100000", first.ratio, "x_bare", 1.2, first.spread);

    std::vector<double> pages;
    QScrollBar *const bar = tree->verticalScrollBar();
    for (int page = 0; page < 60; ++page) {
        pages.push_back(secondsOf([&] {
            bar->setValue(bar->value() + bar->pageStep());
            tree->viewport()->repaint();
        }));
    }
    report.line("page_scroll", median(pages) * 1e3, "ms", 16);
    bare.hide();
    bare.clear();
    bare.setNodeIcon(QPixmap());
}

void TreeBench::reportGrowth(const Growth &one)
{
    std::vector<double> sizes;
    std::vector<double> seconds;
    QStringList costs;
    for (const int size : { 100, 1000, 10000 }) {
        TreeShape shape = one.inLayers ? TreeShape{ size, 10 } : TreeShape{ 10, size };
        shape.content = one.content;
        std::vector<double> runs;
        for (int run = 0; run < (size == 100 ? 25 : size == 1000 ? 9 : 3); ++run) {
            host.open(shape);
            one.select(host.tree());
            coolCaches();
            runs.push_back(one.work());
        }
        sizes.push_back(shape.rows());
        seconds.push_back(median(runs));
        costs += QString::number(seconds.back() * 1e3, 'f', 2);
    }
    report.line(QStringLiteral("growth/") + QLatin1String(one.name), growthExponent(sizes, seconds),
                "exponent", 1.15, costs.join(QStringLiteral(", ")) + QStringLiteral(" ms"));
}

void TreeBench::growth()
{
    const Select half = [](QTreeWidget *tree) { selectNodeRows(tree, 2); };
    // Neither the first nor the last row of a layer is among these, so that all of them move.
    const Select third = [](QTreeWidget *tree) { selectNodeRows(tree, 3); };
    const Select allLayers = [](QTreeWidget *tree) { selectLayerRows(tree, 1); };
    const Select halfOfLayers = [](QTreeWidget *tree) { selectLayerRows(tree, 2); };
    const Timed rename = [this] {
        QTreeWidgetItem *const last = host.tree()->topLevelItem(host.tree()->topLevelItemCount()
                                                                - 1);
        return secondsOf([last] { last->setText(0, QStringLiteral("renamed")); });
    };
    const Timed renameMaterial = [] {
        mkMessage message("materialRenamed");
        message.set("material", osg::MaterialPtr(mkMaterials::getMaterials().front()));
        return secondsOf([&] { mkController::sendMessage(message); });
    };
    const Timed rebuildKeeping = [this] {
        return secondsOf([this] { host.tree()->rebuildTree(true); });
    };
    const Timed activate = [this] {
        return secondsOf([this] { host.tree()->activateSelected(); });
    };
    const Growth cases[] = {
        { "rebuild", nothing(), [this] { return rebuildSeconds(); } },
        { "rebuild_keeping_half", half, rebuildKeeping },
        { "delete_half", half, slot("deleteNodes") },
        { "move_up_third", third, slot("moveUpNode") },
        { "move_down_third", third, slot("moveDownNode") },
        { "clear_material_half", half, slot("clearOverrideMaterial"), TreeShape::Material },
        { "apply_all", everyNode(), applyAttributes() },
        { "select_nodes_half", half, slot("selectNodes") },
        { "activate_half", half, activate },
        { "activate_layers", allLayers, activate },
        { "add_selected_nodes", emptiedLayers(), slot("addSelectedNodes") },
        { "select_all", nothing(), slot("clickedSelectAll") },
        { "context_menu", everyNode(), contextMenu() },
        { "message_after_reading", activatedScene(), messageAfterReading() },
        { "material_renamed", nothing(), renameMaterial, TreeShape::Material },
        { "cleanup", nothing(), slot("cleanup") },
        { "create_layer", nothing(), slot("createLayer"), TreeShape::Defaults, true },
        { "rename_layer", nothing(), rename, TreeShape::Defaults, true },
        { "duplicate_layers", halfOfLayers, slot("duplicateLayer"), TreeShape::Defaults, true },
        { "delete_layers", halfOfLayers, slot("deleteLayers"), TreeShape::Defaults, true },
        { "move_layers_up", halfOfLayers, slot("moveUpNode"), TreeShape::Defaults, true },
    };
    for (const Growth &one : cases) {
        reportGrowth(one);
    }
}

int TreeBench::run(const QStringList &groups)
{
    const std::vector<std::pair<const char *, void (TreeBench::*)()>> all{
        { "rebuild", &TreeBench::rebuild },         { "restore", &TreeBench::restore },
        { "commands", &TreeBench::commands },       { "rows", &TreeBench::singleRows },
        { "interaction", &TreeBench::interaction }, { "scripting", &TreeBench::scripting },
        { "memory", &TreeBench::memory },           { "painting", &TreeBench::painting },
        { "growth", &TreeBench::growth },
    };
    for (const auto &[name, group] : all) {
        if (groups.isEmpty() || groups.contains(QLatin1String(name))) {
            (this->*group)();
        }
    }
    return report.overCount();
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // The offscreen platform complains about every window that is shown.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (!text.startsWith(QLatin1String("This plugin does not support"))) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(text));
        }
        if (type == QtFatalMsg) {
            std::abort();
        }
    });
    const QApplication application(argc, argv);
    TreeBench bench;
    return bench.run(QApplication::arguments().mid(1)) == 0 ? 0 : 1;
}
