#include "PanelModel.h"

#include "HostFixture.h"

#include "mkKernel/mkController.h"

#include <QTest>
#include <QTreeWidgetItemIterator>

#include <algorithm>

namespace {

using Attributes = osg::RaytracingGeoAttachmentPtr;

QString uniqueName(const QString &name, const QStringList &taken)
{
    QString candidate = name;
    for (int number = 1; taken.contains(candidate); ++number) {
        candidate = name + QString::number(number);
    }
    return candidate;
}

Attributes attributesIn(const osg::RenderLayerPtr &layer, std::size_t node)
{
    const auto &all = layer->getAttributes();
    return Attributes(node < all.size() ? all[node] : osg::FieldContainerPtr());
}

void showFlag(QTreeWidgetItem *row, int column, bool on)
{
    row->setText(column, on ? "On" : "Off");
    row->setData(column, Qt::UserRole, on);
}

void showMaterial(QTreeWidgetItem *row, const Attributes &attributes)
{
    row->setText(12, HostFixture::values(attributes).mid(12));
    row->setIcon(12, attributes->getOverrideMaterial() ? QPixmap(1, 1) : QIcon());
}

/// Flags as HostFixture::cells() tells them.
void setFlags(const Attributes &attributes, const QString &flags)
{
    for (int column = 1; attributes && column <= 11; ++column) {
        HostFixture::flag(attributes, column) = flags[column - 1] == '1';
    }
}

void show(QTreeWidgetItem *row, const Attributes &attributes)
{
    for (int column = 1; column <= 11; ++column) {
        showFlag(row, column, HostFixture::flag(attributes, column));
    }
    showMaterial(row, attributes);
}

} // namespace

PanelModel::PanelModel()
{
    tree.setColumnCount(13);
    tree.setDragDropMode(QAbstractItemView::DropOnly);
    tree.setAllColumnsShowFocus(true);
    tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree.setSelectionBehavior(QAbstractItemView::SelectRows);
    // Off the screen, where it cannot take the focus: that would choose a current row, scrolling
    // open a closed layer.
    tree.setAttribute(Qt::WA_DontShowOnScreen);
    tree.setFocusPolicy(Qt::NoFocus);
    tree.setAutoScroll(false);
    tree.setUpdatesEnabled(false);
    tree.resize(1400, 500);
    tree.show();
}

PanelModel::Rows PanelModel::rows(const std::function<bool(Row)> &wanted)
{
    Rows found;
    for (QTreeWidgetItemIterator it(&tree); *it; ++it) {
        if (wanted(*it)) {
            found += *it;
        }
    }
    return found;
}

PanelModel::Row PanelModel::parentOf(Row row)
{
    return row->parent() ? row->parent() : row->treeWidget()->invisibleRootItem();
}

PanelModel::Row PanelModel::twin(Row row, const QTreeWidget &other)
{
    const Row parent = row && row->parent() ? twin(row->parent(), other)
                                            : other.invisibleRootItem();
    return row && parent ? parent->child(placeOf(row)) : nullptr;
}

PanelModel::Row PanelModel::current() const
{
    Row row = tree.currentItem();
    return row && row->isSelected() ? row : nullptr;
}

PanelModel::Rows PanelModel::selected(bool nodes)
{
    return rows([nodes](Row row) {
        return row->isSelected() && isVisible(row) && (row->parent() != nullptr) == nodes;
    });
}

osg::NodePtr PanelModel::resolve(Row row)
{
    const std::uint32_t id = row->data(0, Qt::UserRole).toUInt();
    return osg::NodePtr(osg::FieldContainerFactory::the()->getContainer(id));
}

Attributes PanelModel::attributesOf(Row row) const
{
    return store.getAttributes(indexOf(row), resolve(row));
}

Attributes PanelModel::attributesAt(Row row) const
{
    return resolve(row) && int(indexOf(row)) < layerCount()
               ? attributesIn(layer(int(indexOf(row))), std::size_t(placeOf(row)))
               : Attributes();
}

void PanelModel::changed(bool keepSelection)
{
    rebuild(keepSelection);
    modified = true;
}

void PanelModel::click(Row row, Qt::KeyboardModifiers modifiers)
{
    tree.scrollToItem(row);
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, modifiers,
                      tree.visualItemRect(row).center());
}

void PanelModel::select(Row row)
{
    tree.clearSelection();
    if (row) {
        // The modifier keys of the last event do not count.
        tree.setSelectionMode(QAbstractItemView::SingleSelection);
        tree.setCurrentItem(row);
        tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
        row->setSelected(true);
    }
}

void PanelModel::createLayer()
{
    QStringList taken;
    for (int i = 0; i < tree.topLevelItemCount(); ++i) {
        taken += tree.topLevelItem(i)->text(0);
    }
    store.addLayer(uniqueName("Layer", taken).toStdString());
    changed(false);
}

void PanelModel::commitName(Row row, const QString &name)
{
    if (row->text(0) == name) {
        return;
    }
    row->setText(0, name);
    const int namesakes = tree.findItems(name, Qt::MatchExactly | Qt::MatchCaseSensitive).size()
                          - 1;
    if (!name.isEmpty()) {
        warnings += namesakes;
        if (namesakes == 0) {
            store.setLayerName(indexOf(row), name.toStdString());
        }
    }
    rebuild(false);
}

void PanelModel::duplicateLayers()
{
    QStringList taken;
    for (int i = 0; i < layerCount(); ++i) {
        taken += layer(i)->getName().c_str();
    }
    const Rows layers = selected(false);
    for (const Row row : layers) {
        taken += uniqueName(row->text(0), taken);
        store.copyLayer(indexOf(row), taken.last().toStdString(), nullptr);
    }
    if (!layers.empty()) {
        changed(false);
    }
}

void PanelModel::move(int by)
{
    const Rows layers = selected(false);
    const Rows nodes = selected(true);
    const bool single = layers.size() + nodes.size() == 1;
    if (!layers.empty() && !nodes.empty()) {
        return;
    }
    // Rows of one parent move together, and only if none of them is at the end.
    QMap<Row, Rows> groups;
    for (const Row row : single ? tree.selectedItems().mid(0, 1) : layers + nodes) {
        Rows &group = groups[parentOf(row)];
        group.insert(by < 0 ? group.size() : 0, row);
    }
    bool moved = false;
    for (auto group = groups.begin(); group != groups.end(); ++group) {
        if (!single && !group.key()->child(placeOf(group->front()) + by)) {
            continue;
        }
        moved = true;
        for (const Row row : *group) {
            const unsigned layer = indexOf(row);
            if (row->parent()) {
                by < 0 ? store.moveUpNode(layer, resolve(row))
                       : store.moveDownNode(layer, resolve(row));
            } else {
                by < 0 ? store.moveUpLayer(layer) : store.moveDownLayer(layer);
            }
        }
    }
    if (moved) {
        rebuild(!single);
    }
}

void PanelModel::removeSelected()
{
    for (const bool isNode : { false, true }) {
        const Rows removed = selected(isNode);
        for (const Row row : removed) {
            isNode ? store.subNode(indexOf(row), resolve(row))
                   : store.subLayer(row->text(0).toStdString());
        }
        if (!removed.empty()) {
            changed(!isNode);
        }
    }
}

void PanelModel::applyAttributes(const QString &flags)
{
    for (const Row row :
         rows([](Row row) { return row->isSelected() || layerOf(row)->isSelected(); })) {
        setFlags(attributesOf(row), flags);
    }
    changed(true);
}

void PanelModel::toggleCell(Row row, int column)
{
    showFlag(row, column, !row->data(column, Qt::UserRole).toBool());
    setFlags(attributesOf(row), HostFixture::cells(row));
}

void PanelModel::clickClearButton(Row row)
{
    if (const Attributes attributes = attributesOf(row)) {
        attributes->setOverrideMaterial(osg::NullFC);
    }
    setFlags(attributesOf(row), HostFixture::cells(row));
    if (const Attributes attributes = attributesAt(row)) {
        showMaterial(row, attributes);
    }
    modified = true;
}

void PanelModel::dropNodes(Row row)
{
    modified = true;
    const std::vector<mkNodePtr> nodes = mkScenegraph::getSelectedRootNodes();
    if (row->parent()) {
        return;
    }
    if (nodes.size() == 1 && nodes.front().get() == mkScenegraph::getRoot()) {
        ++warnings;
        return;
    }
    for (const mkNodePtr &node : nodes) {
        // The model's store has another root than the scene, which refuses its own.
        if (node.get() != mkScenegraph::getRoot()) {
            store.addNode(indexOf(row), node.get());
        }
    }
    rebuild(false);
}

void PanelModel::dropMaterial(Row row, const osg::MaterialPtr &material)
{
    modified = true;
    const Attributes attributes = row->parent() && material ? attributesAt(row) : Attributes();
    if (attributes) {
        attributes->setOverrideMaterial(material);
        show(row, attributes);
    }
}

void PanelModel::activate()
{
    for (const Row row : tree.selectedItems()) {
        row->parent() ? store.activateNode(indexOf(row), resolve(row))
                      : store.activateLayer(indexOf(row));
    }
    mkController::updateRender(false);
}

void PanelModel::rebuild(bool keepSelection)
{
    ++rebuilds;
    // Nodes with the names of their layers; layers have no node.
    std::vector<std::pair<osg::NodePtr, QString>> remembered;
    const Rows kept = keepSelection ? selected(false) + selected(true)
                      : current()   ? Rows{ current() }
                                    : Rows();
    for (const Row row : kept) {
        const osg::NodePtr node = resolve(row);
        bool lives = mkScenegraph::isInScene(node);
        for (int i = 0; i < layerCount(); ++i) {
            lives |= node && layer(i)->contains(node);
        }
        if (lives) {
            remembered.emplace_back(node, layerOf(row)->text(0));
        } else if (keepSelection ? !row->parent() : !row->text(0).isEmpty()) {
            remembered.emplace_back(osg::NodePtr(), row->text(0));
        }
    }

    tree.clear();
    for (int i = 0; i < layerCount(); ++i) {
        auto *const top = new QTreeWidgetItem(&tree, { layer(i)->getName().c_str() });
        for (std::size_t j = 0; j < layer(i)->getNodes().size(); ++j) {
            const osg::NodePtr node = layer(i)->getNodes()[j];
            auto *const row = new QTreeWidgetItem(top, { node->getName().c_str() });
            row->setData(0, Qt::UserRole, node->getId());
            if (const Attributes attributes = attributesIn(layer(i), j)) {
                show(row, attributes);
            }
        }
        top->setExpanded(layer(i)->getState() != 0);
    }
    for (const Row row : rows([](Row) { return true; })) {
        const auto found = std::find(remembered.begin(), remembered.end(),
                                     std::pair(resolve(row), layerOf(row)->text(0)));
        if (found != remembered.end()) {
            remembered.erase(found);
            tree.selectedItems().empty() ? select(row) : row->setSelected(true);
        }
    }
}
