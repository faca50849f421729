#include "PanelModel.h"

#include "HostFixture.h"

#include <QTreeWidgetItemIterator>

#include <algorithm>
#include <map>

namespace {

QString uniqueName(const QString &name, const QStringList &taken)
{
    QString candidate = name;
    for (int number = 1; taken.contains(candidate); ++number) {
        candidate = name + QString::number(number);
    }
    return candidate;
}

void setFlags(const osg::RaytracingGeoAttachmentPtr &attributes, const QString &flags)
{
    for (int column = 1; column <= 11; ++column) {
        HostFixture::flag(attributes, column) = flags[column - 1] == '1';
    }
}

osg::RaytracingGeoAttachmentPtr attributesIn(const osg::RenderLayerPtr &layer, int node)
{
    const auto &all = layer->getAttributes();
    return osg::RaytracingGeoAttachmentPtr(node < int(all.size()) ? all[std::size_t(node)]
                                                                  : osg::FieldContainerPtr());
}

QString describe(const mkRenderLayer &store)
{
    QString text = "store\n";
    for (std::size_t i = 0; i < store.getAttachment()->getLayers().size(); ++i) {
        const osg::RenderLayerPtr layer = store.getAttachment()->getLayer(i);
        text += QString("  %1 %2\n")
                    .arg(layer->getName().c_str(), layer->getState() ? "open" : "closed");
        for (std::size_t j = 0; j < layer->getNodes().size(); ++j) {
            const osg::NodePtr node = layer->getNodes()[j];
            text += QString("    %1 #%2 %3\n")
                        .arg(node->getName().c_str())
                        .arg(node->getId())
                        .arg(HostFixture::values(attributesIn(layer, int(j))));
        }
    }
    return text;
}

QString describe(const QVector<PanelModel::Row> &rows, int current)
{
    QString text = "rows\n";
    for (int i = 0; i < rows.size(); ++i) {
        const PanelModel::Row &row = rows[i];
        text += QString(row.selected ? "  x" : "  -") + (row.selected && i == current ? "*|" : " |")
                + row.text + '|'
                + (row.isNode() ? row.cells
                   : row.open   ? "open"
                                : "closed")
                + '\n';
    }
    return text;
}

} // namespace

PanelModel::Rows PanelModel::layerRows() const
{
    return where([this](int row) { return !rows[row].isNode(); });
}

PanelModel::Rows PanelModel::below(int layerRow) const
{
    return where([&](int row) { return rows[row].isNode() && layerOf(row) == layerRow; });
}

PanelModel::Rows PanelModel::visibleRows() const
{
    return where([this](int row) { return !rows[row].isNode() || rows[layerOf(row)].open; });
}

PanelModel::Rows PanelModel::selected(bool nodes) const
{
    return where([&](int row) {
        const bool visible = !nodes || rows[layerOf(row)].open;
        return rows[row].selected && rows[row].isNode() == nodes && visible;
    });
}

osg::NodePtr PanelModel::resolve(int row) const
{
    return osg::NodePtr(osg::FieldContainerFactory::the()->getContainer(rows[row].id));
}

osg::RaytracingGeoAttachmentPtr PanelModel::attributesOf(int row) const
{
    return store.getAttributes(unsigned(rows[row].layer), resolve(row));
}

osg::RaytracingGeoAttachmentPtr PanelModel::attributesAt(int row) const
{
    const auto [layer, node] = std::pair(rows[row].layer, rows[row].node);
    return resolve(row) && layer < layerCount()
               ? attributesIn(store.getAttachment()->getLayer(std::size_t(layer)), node)
               : osg::RaytracingGeoAttachmentPtr();
}

void PanelModel::changed(bool keepSelection)
{
    rebuild(keepSelection);
    modified = true;
}

void PanelModel::selectOnly(int row)
{
    for (Row &other : rows) {
        other.selected = false;
    }
    if (row >= 0) {
        rows[row].selected = true;
        current = row;
    }
}

void PanelModel::toggleSelection(int row)
{
    rows[row].selected ^= true;
    current = row;
}

void PanelModel::selectAll()
{
    selectOnly(-1);
    for (const int row : visibleRows()) {
        rows[row].selected = true;
    }
}

void PanelModel::setOpen(int row, bool open)
{
    rows[row].open = open;
    store.setCollapseState(unsigned(rows[row].layer), open);
}

void PanelModel::createLayer(const QString &name)
{
    QStringList taken;
    for (const int layer : layerRows()) {
        taken += rows[layer].text;
    }
    store.addLayer(uniqueName(name.isEmpty() ? "Layer" : name, taken).toStdString());
    changed(false);
}

void PanelModel::commitName(int row, const QString &name)
{
    if (rows[row].text == name) {
        return;
    }
    rows[row].text = name;
    int namesakes = -1;
    for (const int layer : layerRows()) {
        namesakes += rows[layer].text == name ? 1 : 0;
    }
    if (!name.isEmpty()) {
        warnings += namesakes;
        if (namesakes == 0) {
            store.setLayerName(unsigned(rows[row].layer), name.toStdString());
        }
    }
    rebuild(false);
}

void PanelModel::duplicateLayers()
{
    const Rows layers = selected(false);
    QStringList taken;
    for (int i = 0; i < layerCount(); ++i) {
        taken += store.getAttachment()->getLayer(std::size_t(i))->getName().c_str();
    }
    for (const int row : layers) {
        taken += uniqueName(rows[row].text, taken);
        osg::RenderLayerPtr copy;
        store.copyLayer(unsigned(rows[row].layer), taken.last().toStdString(), &copy);
    }
    if (!layers.empty()) {
        changed(false);
    }
}

void PanelModel::move(int by, const Rows &order)
{
    const Rows layers = selected(false);
    const Rows nodes = selected(true);
    if (layers.empty() == nodes.empty()) {
        return;
    }
    const Rows &moved = layers.empty() ? nodes : layers;
    // Rows of one parent move together, and only if none of them is at the end.
    std::map<int, Rows> groups;
    if (moved.size() == 1) {
        groups[0] = { order.front() };
    } else {
        const int layerCount = layerRows().size();
        for (const int row : moved) {
            groups[layers.empty() ? layerOf(row) : -1] += row;
        }
        for (auto group = groups.begin(); group != groups.end();) {
            const Row &outer = rows[by < 0 ? group->second.front() : group->second.back()];
            const int place = outer.isNode() ? outer.node : outer.layer;
            const int count = outer.isNode() ? below(group->first).size() : layerCount;
            group = place == (by < 0 ? 0 : count - 1) ? groups.erase(group) : std::next(group);
        }
    }
    for (auto &[parent, group] : groups) {
        if (by > 0) {
            std::reverse(group.begin(), group.end());
        }
        for (const int row : group) {
            const auto layer = unsigned(rows[row].layer);
            if (rows[row].isNode()) {
                by < 0 ? store.moveUpNode(layer, resolve(row))
                       : store.moveDownNode(layer, resolve(row));
            } else {
                by < 0 ? store.moveUpLayer(layer) : store.moveDownLayer(layer);
            }
        }
    }
    if (!groups.empty()) {
        rebuild(moved.size() >= 2);
    }
}

void PanelModel::removeSelectedLayers()
{
    const Rows layers = selected(false);
    for (const int row : layers) {
        store.subLayer(rows[row].text.toStdString());
    }
    if (!layers.empty()) {
        changed(true);
    }
}

void PanelModel::removeSelectedNodes()
{
    const Rows nodes = selected(true);
    for (const int row : nodes) {
        store.subNode(unsigned(rows[row].layer), resolve(row));
    }
    if (!nodes.empty()) {
        changed(false);
    }
}

void PanelModel::addNodes(const Nodes &nodes)
{
    bool any = false;
    for (const int layer : layerRows()) {
        const Rows inside = below(layer);
        if (rows[layer].selected || std::any_of(inside.begin(), inside.end(), [&](int row) {
                return isSelected(row);
            })) {
            any = true;
            for (const osg::NodePtr &node : nodes) {
                addTo(unsigned(rows[layer].layer), node);
            }
        }
    }
    if (any) {
        changed(false);
    }
}

void PanelModel::applyAttributes(const QString &flags)
{
    for (int row = 0; row < rows.size(); ++row) {
        const auto attributes = attributesOf(row);
        if (attributes && (rows[row].selected || rows[layerOf(row)].selected)) {
            setFlags(attributes, flags);
        }
    }
    changed(true);
}

void PanelModel::clearMaterials()
{
    const Rows nodes = selected(true);
    for (const int row : nodes) {
        if (const auto attributes = attributesOf(row)) {
            attributes->setOverrideMaterial(osg::NullFC);
            HostFixture::flag(attributes, 11) = false;
        }
    }
    if (!nodes.empty()) {
        changed(false);
    }
}

void PanelModel::toggleCell(int row, int column)
{
    QString &cells = rows[row].cells;
    cells[column - 1] = cells[column - 1] == '1' ? '0' : '1';
    writeCells(row);
}

void PanelModel::writeCells(int row)
{
    if (const auto attributes = attributesOf(row)) {
        setFlags(attributes, rows[row].cells);
    }
}

void PanelModel::clickClearButton(int row)
{
    if (const auto attributes = attributesOf(row)) {
        attributes->setOverrideMaterial(osg::NullFC);
    }
    writeCells(row);
    if (const auto attributes = attributesAt(row)) {
        rows[row].cells = rows[row].cells.left(12) + HostFixture::values(attributes).mid(12);
    }
    modified = true;
}

void PanelModel::dropNodes(int row, const Nodes &nodes)
{
    modified = true;
    if (rows[row].isNode()) {
        return;
    }
    if (nodes.size() == 1 && nodes.front() == mkScenegraph::getRoot()) {
        ++warnings;
        return;
    }
    for (const osg::NodePtr &node : nodes) {
        addTo(unsigned(rows[row].layer), node);
    }
    rebuild(false);
}

void PanelModel::dropMaterial(int row, const osg::MaterialPtr &material)
{
    modified = true;
    const auto attributes = rows[row].isNode() && material ? attributesAt(row)
                                                           : osg::RaytracingGeoAttachmentPtr();
    if (attributes) {
        attributes->setOverrideMaterial(material);
        rows[row].cells = HostFixture::values(attributes);
    }
}

PanelModel::Nodes PanelModel::nodesOf(const Rows &order) const
{
    const Rows layers = selected(false);
    Rows wanted;
    if (selected(true).size() + layers.size() < 2) {
        wanted = order.mid(0, 1);
    } else {
        std::copy_if(order.begin(), order.end(), std::back_inserter(wanted), [this](int row) {
            return rows[row].isNode() && rows[layerOf(row)].open && !rows[layerOf(row)].selected;
        });
        wanted += layers;
    }
    Nodes nodes;
    for (const int top : qAsConst(wanted)) {
        for (const int row : rows[top].isNode() ? Rows{ top } : below(top)) {
            const osg::NodePtr node = resolve(row);
            if (mkScenegraph::isInScene(node)
                && std::find(nodes.begin(), nodes.end(), node) == nodes.end()) {
                nodes.push_back(node);
            }
        }
    }
    return nodes;
}

void PanelModel::rebuild(bool keepSelection)
{
    ++rebuilds;
    QStringList layers;
    std::vector<std::pair<osg::NodePtr, QString>> nodes;
    const auto remember = [&](int row) {
        const osg::NodePtr node = resolve(row);
        bool lives = mkScenegraph::isInScene(node);
        for (int i = 0; i < layerCount(); ++i) {
            const auto &members = store.getAttachment()->getLayer(std::size_t(i))->getNodes();
            lives |= node && std::find(members.begin(), members.end(), node) != members.end();
        }
        if (lives) {
            nodes.emplace_back(node, rows[layerOf(row)].text);
        } else if (keepSelection ? !rows[row].isNode() : !rows[row].text.isEmpty()) {
            layers += rows[row].text;
        }
    };
    if (keepSelection) {
        const Rows all = selected(false) + selected(true);
        std::for_each(all.begin(), all.end(), remember);
    } else if (isSelected(current)) {
        remember(current);
    }

    rows.clear();
    current = -1;
    for (int i = 0; i < layerCount(); ++i) {
        const osg::RenderLayerPtr layer = store.getAttachment()->getLayer(std::size_t(i));
        rows.push_back({ i, -1, layer->getName().c_str(), layer->getState() != 0 });
        for (int j = 0; j < int(layer->getNodes().size()); ++j) {
            const osg::NodePtr node = layer->getNodes()[std::size_t(j)];
            const auto attributes = attributesIn(layer, j);
            rows.push_back({ i, j, node->getName().c_str(), false, node->getId(),
                             attributes ? HostFixture::values(attributes) : QString(12, ' ') });
        }
    }
    for (int row = 0; row < rows.size(); ++row) {
        const auto found = std::find(nodes.begin(), nodes.end(),
                                     std::pair(resolve(row), rows[layerOf(row)].text));
        if (rows[row].isNode() ? found != nodes.end() : layers.removeOne(rows[row].text)) {
            if (rows[row].isNode()) {
                nodes.erase(found);
            }
            rows[row].selected = true;
            current = current < 0 ? row : current;
        }
    }
}

QString PanelModel::describe() const
{
    return ::describe(store) + ::describe(rows, current);
}

QString PanelModel::describe(const QTreeWidget *tree)
{
    QVector<Row> rows;
    int current = -1;
    for (QTreeWidgetItemIterator it(const_cast<QTreeWidget *>(tree)); *it; ++it) {
        const bool isNode = (*it)->parent();
        current = *it == tree->currentItem() ? rows.size() : current;
        rows.push_back({ 0, isNode ? 0 : -1, (*it)->text(0), (*it)->isExpanded(), 0,
                         isNode ? HostFixture::cells(*it) : QString(), (*it)->isSelected() });
    }
    return ::describe(*HostFixture::store()) + ::describe(rows, current);
}
