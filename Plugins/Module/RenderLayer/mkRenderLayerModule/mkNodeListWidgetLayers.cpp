// Commands on layers: create, rename, duplicate, delete, move, activate. Moves are of nodes as
// well.

#include "mkColumn.h"
#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QMessageBox>
#include <QSet>

#include <algorithm>

namespace {

std::vector<std::string> namesOfLayers()
{
    std::vector<std::string> names;
    const osg::RenderLayersPtr content = mkStore()->getAttachment();
    for (std::size_t i = 0; i < mkLayerCount(content); ++i) {
        if (const osg::RenderLayerPtr layer = mkLayerAt(content, i); layer != osg::NullFC) {
            names.push_back(layer->getName());
        }
    }
    return names;
}

std::string nameOf(const QTreeWidgetItem *layer)
{
    return layer->text(mkColumn::Layer).toUtf8().toStdString();
}

/// A row's move by one place, in the store's terms.
struct Step
{
    bool isLayer;
    unsigned layer;
    osg::NodePtr node;
};

void take(const Step &step, bool up)
{
    mkRenderLayer *const store = mkStore();
    if (step.isLayer) {
        up ? store->moveUpLayer(step.layer) : store->moveDownLayer(step.layer);
    } else {
        up ? store->moveUpNode(step.layer, step.node) : store->moveDownNode(step.layer, step.node);
    }
}

} // namespace

// cppcheck-suppress passedByValue ; the slot's signature is given
void mkNodeListWidget::createLayer(QString name) // NOLINT(performance-unnecessary-value-param)
try {
    addLayer(name);
} catch (...) {
    mkReportFailure("mkNodeListWidget::createLayer");
}

void mkNodeListWidget::addLayer(const QString &wanted)
{
    change(FitColumn | MarkModified, [this, name = wanted.isEmpty() ? tr("Layer") : wanted] {
        QSet<QString> taken;
        for (int i = 0; i < topLevelItemCount(); ++i) {
            taken.insert(topLevelItem(i)->text(mkColumn::Layer));
        }
        if (rebuildPending) {
            // The rows do not show every layer yet.
            for (const std::string &layer : namesOfLayers()) {
                taken.insert(QString::fromStdString(layer));
            }
        }
        QString candidate = name;
        for (int counter = 1; taken.contains(candidate); ++counter) {
            candidate = name + QString::number(counter);
        }
        mkStore()->addLayer(candidate.toUtf8().toStdString());
    });
}

void mkNodeListWidget::renameLayer()
{
    auto *const row = static_cast<mkNodeItem *>(currentItem());
    if (row && row->isSelected() && row->isLayer()) {
        editItem(row, mkColumn::Layer);
    }
}

void mkNodeListWidget::changedItem(QTreeWidgetItem *item, int)
{
    auto *const row = static_cast<mkNodeItem *>(item);
    if (!row || !row->isLayer()) {
        return;
    }
    // The edit is over. Closed now, its editor lives until the event loop below the view, which is
    // still at work with it; a rebuild under a warning would have it deleted by the warning's loop.
    suspendEdit();
    const QString name = row->text(mkColumn::Layer);
    int namesakes = 0;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        if (topLevelItem(i) != row && topLevelItem(i)->text(mkColumn::Layer) == name) {
            ++namesakes;
        }
    }
    // The host may close the panel meanwhile.
    const QPointer<mkNodeListWidget> self(this);
    for (int i = 0; i < namesakes; ++i) {
        QMessageBox::warning(nullptr, tr("Render Layer"),
                             tr("Name is not unique, please choose a different one."),
                             QMessageBox::Ok, QMessageBox::NoButton);
    }
    if (!self) {
        return;
    }
    run("mkNodeListWidget::changedItem", 0, [&] {
        // After a warning the row may be gone.
        if (!name.isEmpty() && namesakes == 0) {
            row->commitLayerName();
        }
        if (self) {
            fitFirstColumn();
        }
    });
}

void mkNodeListWidget::duplicateLayer()
{
    std::vector<std::pair<unsigned, std::string>> sources;
    for (const mkNodeItem *row : getSelectedLayerItems()) {
        sources.emplace_back(row->getLayerIndex(), nameOf(row));
    }
    if (sources.empty()) {
        return;
    }
    run("mkNodeListWidget::duplicateLayer", FitColumn | MarkModified, [&sources] {
        std::vector<std::string> taken = namesOfLayers();
        for (const auto &[index, name] : sources) {
            taken.push_back(mkNodeUtils::getUniqueName(name, taken));
            osg::RenderLayerPtr copy;
            mkStore()->copyLayer(index, taken.back(), &copy);
        }
    });
}

void mkNodeListWidget::deleteSelected()
{
    const QPointer<mkNodeListWidget> self(this);
    deleteLayers();
    if (self) {
        deleteNodes();
    }
}

QStringList mkNodeListWidget::getSelectedLayerNames() const
{
    QStringList names;
    for (const mkNodeItem *layer : getSelectedLayerItems()) {
        names += layer->text(mkColumn::Layer);
    }
    return names;
}

void mkNodeListWidget::deleteLayers()
{
    const QStringList names = getSelectedLayerNames();
    if (names.isEmpty()) {
        return;
    }
    run("mkNodeListWidget::deleteLayers", KeepSelection | MarkModified, [&names] {
        for (const QString &name : names) {
            mkStore()->subLayer(name.toUtf8().toStdString());
        }
    });
}

void mkNodeListWidget::moveUpNode()
{
    move("mkNodeListWidget::moveUpNode", Direction::Up);
}

void mkNodeListWidget::moveDownNode()
{
    move("mkNodeListWidget::moveDownNode", Direction::Down);
}

void mkNodeListWidget::move(const char *function, Direction direction)
{
    std::vector<Rows> groups;
    const std::size_t nodes = getSelectedNodeItemsByLayer(groups);
    const Rows layers = getSelectedLayerItems();
    const std::size_t total = nodes + layers.size();
    if (total == 0 || (nodes > 0 && !layers.empty())) {
        return;
    }
    if (total == 1) {
        groups = { { getFirstSelectedItem() } };
    } else if (!layers.empty()) {
        groups = { layers };
    }

    std::vector<Step> steps;
    const bool up = direction == Direction::Up;
    for (Rows &group : groups) {
        // A single row is not tested: the store refuses to move it past an end.
        if (total > 1 && !(up ? getPreviousSibling(group.front()) : getNextSibling(group.back()))) {
            continue;
        }
        // The row that moves into the gap goes first, so that the other indices stay valid.
        if (!up) {
            std::reverse(group.begin(), group.end());
        }
        for (const mkNodeItem *row : group) {
            steps.push_back({ row->isLayer(), row->getLayerIndex(), row->getNode() });
        }
    }
    if (steps.empty()) {
        return;
    }
    run(function, total > 1 ? KeepSelection : 0, [&steps, up] {
        for (const Step &step : steps) {
            take(step, up);
        }
    });
}

void mkNodeListWidget::activateSelected()
{
    const RowsInUse inUse(this);
    for (const mkNodeItem *row : selectedRows(true)) {
        if (inUse.areGone()) {
            break;
        }
        row->activate();
    }
    mkController::updateRender(false);
}
