// How the cost of each command grows with the tree.

#include "TreeBench.h"

#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"

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
        { "rebuild", selectNothing, [this] { return rebuildSeconds(); } },
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
        { "select_all", selectNothing, slot("clickedSelectAll") },
        { "context_menu", everyNode(), contextMenu() },
        { "message_after_reading", activatedScene(), messageAfterReading() },
        { "material_renamed", selectNothing, renameMaterial, TreeShape::Material },
        { "cleanup", selectNothing, slot("cleanup") },
        { "create_layer", selectNothing, slot("createLayer"), TreeShape::Defaults, true },
        { "rename_layer", selectNothing, rename, TreeShape::Defaults, true },
        { "duplicate_layers", halfOfLayers, slot("duplicateLayer"), TreeShape::Defaults, true },
        { "delete_layers", halfOfLayers, slot("deleteLayers"), TreeShape::Defaults, true },
        { "move_layers_up", halfOfLayers, slot("moveUpNode"), TreeShape::Defaults, true },
    };
    for (const Growth &one : cases) {
        reportGrowth(one);
    }
}
