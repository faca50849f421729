#include "PanelModel.h"

#include "HostFixture.h"

#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QTreeWidgetItemIterator>

#include <algorithm>
#include <map>

namespace {

QString nameOf(const osg::MaterialPtr &material)
{
    return material ? QString(mkMaterials::getName(material)) : "Empty";
}

QString nameOf(const osg::Node *node)
{
    return QString::fromStdString(node->getName());
}

QString values(const PanelModel::Attributes &attributes)
{
    return attributes.flags + ' ' + nameOf(attributes.material);
}

QString uniqueName(const QString &name, const QStringList &taken)
{
    QString candidate = name;
    for (int number = 1; taken.contains(candidate); ++number) {
        candidate = name + QString::number(number);
    }
    return candidate;
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

int PanelModel::layerNamed(const QString &name) const
{
    const auto found = std::find_if(store.begin(), store.end(),
                                    [&](const Layer &layer) { return layer.name == name; });
    return found == store.end() ? -1 : int(found - store.begin());
}

osg::NodePtr PanelModel::resolve(int row) const
{
    return osg::NodePtr(osg::FieldContainerFactory::the()->getContainer(rows[row].id));
}

PanelModel::Member *PanelModel::member(int layer, const osg::Node *node)
{
    if (!node || layer >= store.size()) {
        return nullptr;
    }
    auto &all = store[layer].members;
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Member &other) { return other.node == node; });
    return found == all.end() ? nullptr : &*found;
}

PanelModel::Attributes *PanelModel::attributesOf(int row)
{
    Member *const found = member(rows[row].layer, resolve(row).get());
    return found && found->attributes ? &*found->attributes : nullptr;
}

PanelModel::Attributes *PanelModel::attributesAt(int row)
{
    const auto [layer, node] = std::pair(rows[row].layer, rows[row].node);
    if (!resolve(row) || layer >= store.size() || node >= store[layer].members.size()) {
        return nullptr;
    }
    auto &attributes = store[layer].members[node].attributes;
    return attributes ? &*attributes : nullptr;
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
    if (rows[row].layer < store.size()) {
        store[rows[row].layer].open = open;
    }
}

void PanelModel::createLayer(const QString &name)
{
    QStringList taken;
    for (const int layer : layerRows()) {
        taken += rows[layer].text;
    }
    store.push_back({ uniqueName(name.isEmpty() ? "Layer" : name, taken) });
    changed(false);
}

void PanelModel::commitText(int row, int column, const QString &text)
{
    // The other columns of a layer row are empty: any text is a change there.
    if (column == 0 && rows[row].text == text) {
        return;
    }
    if (column == 0) {
        rows[row].text = text;
    }
    const QString name = rows[row].text;
    int namesakes = -1;
    for (const int layer : layerRows()) {
        namesakes += rows[layer].text == name ? 1 : 0;
    }
    if (!name.isEmpty()) {
        warnings += namesakes;
        if (namesakes == 0 && rows[row].layer < store.size()) {
            store[rows[row].layer].name = name;
        }
    }
    rebuild(false);
}

void PanelModel::duplicateLayers()
{
    const Rows layers = selected(false);
    QStringList taken;
    for (const Layer &layer : store) {
        taken += layer.name;
    }
    for (const int row : layers) {
        taken += uniqueName(rows[row].text, taken);
        if (rows[row].layer < store.size()) {
            store.push_back(Layer(store[rows[row].layer]));
            store.back().name = taken.last();
        }
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
            rows[row].isNode() ? storeMoveNode(rows[row].layer, resolve(row).get(), by)
                               : storeMoveLayer(rows[row].layer, by);
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
        const int index = layerNamed(rows[row].text);
        if (index >= 0) {
            store.remove(index);
        }
    }
    if (!layers.empty()) {
        changed(true);
    }
}

void PanelModel::removeSelectedNodes()
{
    const Rows nodes = selected(true);
    for (const int row : nodes) {
        storeSubNode(rows[row].layer, resolve(row).get());
    }
    if (!nodes.empty()) {
        changed(false);
    }
}

void PanelModel::addNodes(const std::vector<osg::NodePtr> &nodes)
{
    bool any = false;
    for (const int layer : layerRows()) {
        const Rows inside = below(layer);
        if (rows[layer].selected || std::any_of(inside.begin(), inside.end(), [&](int row) {
                return isSelected(row);
            })) {
            any = true;
            for (const osg::NodePtr &node : nodes) {
                storeAddNode(rows[layer].layer, node.get());
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
        Attributes *const attributes = attributesOf(row);
        if (attributes && (rows[row].selected || rows[layerOf(row)].selected)) {
            attributes->flags = flags;
        }
    }
    changed(true);
}

void PanelModel::clearMaterials()
{
    const Rows nodes = selected(true);
    for (const int row : nodes) {
        if (Attributes *const attributes = attributesOf(row)) {
            attributes->material = osg::NullFC;
            attributes->flags[10] = '0';
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
    if (Attributes *const attributes = attributesOf(row)) {
        attributes->flags = rows[row].cells.left(11).replace(' ', '0');
    }
}

void PanelModel::clickClearButton(int row)
{
    if (Attributes *const attributes = attributesOf(row)) {
        attributes->material = osg::NullFC;
    }
    writeCells(row);
    if (const Attributes *const attributes = attributesAt(row)) {
        rows[row].cells = rows[row].cells.left(12) + nameOf(attributes->material);
    }
    modified = true;
}

void PanelModel::dropNodes(int row, const std::vector<osg::NodePtr> &nodes)
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
        storeAddNode(rows[row].layer, node.get());
    }
    rebuild(false);
}

void PanelModel::dropMaterial(int row, const osg::MaterialPtr &material)
{
    modified = true;
    Attributes *const attributes = rows[row].isNode() && material ? attributesAt(row) : nullptr;
    if (attributes) {
        attributes->material = material;
        rows[row].cells = values(*attributes);
    }
}

void PanelModel::cleanup()
{
    for (Layer &layer : store) {
        const auto gone = [](const Member &member) {
            return !mkScenegraph::isInScene(osg::NodePtr(member.node));
        };
        auto &all = layer.members;
        all.erase(std::remove_if(all.begin(), all.end(), gone), all.end());
    }
    rebuild(false);
}

void PanelModel::materialRenamed(const osg::MaterialPtr &material)
{
    for (const Layer &layer : qAsConst(store)) {
        for (const Member &member : layer.members) {
            if (member.attributes && member.attributes->material == material) {
                return rebuild(false);
            }
        }
    }
}

std::vector<osg::NodePtr> PanelModel::nodesOf(const Rows &order) const
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
    std::vector<osg::NodePtr> nodes;
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
        for (int i = 0; i < store.size(); ++i) {
            lives |= member(i, node.get()) != nullptr;
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
    for (int i = 0; i < store.size(); ++i) {
        rows.push_back({ i, -1, store[i].name, store[i].open });
        for (int j = 0; j < store[i].members.size(); ++j) {
            const auto &[node, attributes] = store[i].members[j];
            rows.push_back({ i, j, nameOf(node), false, node->getId(),
                             attributes ? values(*attributes) : QString(12, ' ') });
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

void PanelModel::storeAddNode(int layer, osg::Node *node)
{
    const bool takes = layer < store.size() && node && node != mkScenegraph::getRoot().get();
    if (takes && !member(layer, node)) {
        store[layer].members.push_back({ node });
    }
}

void PanelModel::storeSubNode(int layer, osg::Node *node)
{
    if (Member *const found = member(layer, node)) {
        store[layer].members.erase(found);
    }
}

void PanelModel::storeMoveLayer(int layer, int by)
{
    if (layer < store.size() && layer + by >= 0 && layer + by < store.size()) {
        std::swap(store[layer], store[layer + by]);
    }
}

void PanelModel::storeMoveNode(int layer, osg::Node *node, int by)
{
    if (Member *const found = member(layer, node)) {
        auto &all = store[layer].members;
        const auto other = found - all.data() + by;
        if (other >= 0 && other < all.size()) {
            std::swap(*found, all[int(other)]);
        }
    }
}

PanelModel PanelModel::read(const QTreeWidget *tree)
{
    PanelModel real;
    const osg::RenderLayersPtr content = mkScenegraph::getRenderLayer()->getAttachment();
    for (std::size_t i = 0; i < content->getLayers().size(); ++i) {
        const osg::RenderLayerPtr layer = content->getLayer(i);
        real.store.push_back({ QString::fromStdString(layer->getName()), layer->getState() != 0 });
        for (const osg::NodePtr &node : layer->getNodes()) {
            real.store.back().members.push_back({ node.get(), std::nullopt });
            if (const osg::RaytracingGeoAttachmentPtr found{ layer->findAttributes(node) }) {
                real.store.back().members.back().attributes = { HostFixture::values(found).left(11),
                                                                found->getOverrideMaterial() };
            }
        }
    }
    for (QTreeWidgetItemIterator it(const_cast<QTreeWidget *>(tree)); *it; ++it) {
        const bool isNode = (*it)->parent();
        if (*it == tree->currentItem()) {
            real.current = real.rows.size();
        }
        real.rows.push_back({ 0, isNode ? 0 : -1, (*it)->text(0), (*it)->isExpanded(), 0,
                              isNode ? HostFixture::cells(*it) : QString(), (*it)->isSelected() });
    }
    return real;
}

QString PanelModel::describe() const
{
    QString text = "store\n";
    for (const Layer &layer : store) {
        text += QString("  %1 %2\n").arg(layer.name, layer.open ? "open" : "closed");
        for (const Member &member : layer.members) {
            text += QString("    %1 #%2 ").arg(nameOf(member.node)).arg(member.node->getId());
            text += (member.attributes ? values(*member.attributes) : "none") + '\n';
        }
    }
    text += "rows\n";
    for (int i = 0; i < rows.size(); ++i) {
        const Row &row = rows[i];
        text += QString(row.selected ? "  x" : "  -") + (row.selected && i == current ? "*|" : " |")
                + row.text + '|'
                + (row.isNode() ? row.cells
                   : row.open   ? "open"
                                : "closed")
                + '\n';
    }
    return text;
}
