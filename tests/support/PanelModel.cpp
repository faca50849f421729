#include "PanelModel.h"

#include "HostFixture.h"

#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QIcon>

#include <algorithm>
#include <map>

namespace {

constexpr int materialColumn = 12;

QString nameOf(const osg::Node *node)
{
    return QString::fromStdString(node->getName());
}

QString onOff(bool on)
{
    return on ? QStringLiteral("On") : QStringLiteral("Off");
}

QString describeMember(const osg::Node *node, const QString &values)
{
    return QStringLiteral("    %1 #%2 %3\n").arg(nameOf(node)).arg(node->getId()).arg(values);
}

QString describeLayer(const QString &name, bool expanded)
{
    return QStringLiteral("  %1 %2\n").arg(name, expanded ? "open" : "closed");
}

QString describeRow(const QString &text, const QStringList &cells, bool selected, bool current)
{
    return QStringLiteral("  %1%2|%3|%4\n")
        .arg(selected ? "x" : "-", current && selected ? "*" : " ", text, cells.join(' '));
}

} // namespace

const PanelModel::Row *PanelModel::row(Position position) const
{
    if (position.layer < 0 || position.layer >= int(rows.size())) {
        return nullptr;
    }
    const Row &layer = rows[std::size_t(position.layer)];
    return position.isNode() ? &layer.nodes[std::size_t(position.node)] : &layer;
}

PanelModel::Row *PanelModel::row(Position position)
{
    return const_cast<Row *>(qAsConst(*this).row(position));
}

bool PanelModel::isSelected(Position position) const
{
    const Row *const found = row(position);
    return found && found->selected;
}

bool PanelModel::isVisible(Position position) const
{
    return !position.isNode() || row({ position.layer })->expanded;
}

PanelModel::Positions PanelModel::visibleRows() const
{
    Positions visible;
    for (int i = 0; i < int(rows.size()); ++i) {
        visible.push_back({ i });
        for (int j = 0; rows[std::size_t(i)].expanded && j < int(rows[std::size_t(i)].nodes.size());
             ++j) {
            visible.push_back({ i, j });
        }
    }
    return visible;
}

int PanelModel::layerNamed(const QString &name) const
{
    const auto found = std::find_if(store.begin(), store.end(),
                                    [&](const Layer &layer) { return layer.name == name; });
    return found == store.end() ? -1 : int(found - store.begin());
}

osg::NodePtr PanelModel::resolve(Position position) const
{
    return osg::NodePtr(osg::FieldContainerFactory::the()->getContainer(row(position)->id));
}

bool PanelModel::isAlive(const osg::NodePtr &node) const
{
    return mkScenegraph::isInScene(node)
           || std::any_of(store.begin(), store.end(), [&](const Layer &layer) {
                  return std::any_of(layer.members.begin(), layer.members.end(),
                                     [&](const Member &other) { return other.node == node.get(); });
              });
}

void PanelModel::selectOnly(Position position)
{
    for (Row &layer : rows) {
        layer.selected = false;
        for (Row &node : layer.nodes) {
            node.selected = false;
        }
    }
    if (Row *const only = row(position)) {
        only->selected = true;
        current = position;
    }
}

void PanelModel::click(Position position)
{
    selectOnly(position);
}

void PanelModel::toggleSelection(Position position)
{
    row(position)->selected ^= true;
    current = position;
}

void PanelModel::selectAll()
{
    if (rows.empty()) {
        return;
    }
    const Position before = current;
    selectOnly({});
    for (const Position position : visibleRows()) {
        row(position)->selected = true;
    }
    current = before;
}

void PanelModel::setExpanded(int layer, bool expanded)
{
    rows[std::size_t(layer)].expanded = expanded;
    if (layer < int(store.size())) {
        store[std::size_t(layer)].state = expanded ? 1 : 0;
    }
}

void PanelModel::createLayer(const QString &name)
{
    const QString base = name.isEmpty() ? QStringLiteral("Layer") : name;
    QStringList taken;
    for (const Row &layer : rows) {
        taken += layer.text;
    }
    store.push_back({ uniqueName(base, taken), 0, {} });
    rebuild(false);
    modified = true;
}

void PanelModel::commitText(Position position, int column, const QString &text)
{
    Row &edited = *row(position);
    // The other columns of a layer row are empty: any text is a change there.
    if (column == 0 && edited.text == text) {
        return;
    }
    if (column == 0) {
        edited.text = text;
    }
    int namesakes = 0;
    for (const Row &layer : rows) {
        namesakes += &layer != &edited && layer.text == edited.text ? 1 : 0;
    }
    warnings += edited.text.isEmpty() ? 0 : namesakes;
    if (!edited.text.isEmpty() && namesakes == 0 && position.layer < int(store.size())) {
        store[std::size_t(position.layer)].name = edited.text;
    }
    rebuild(false);
}

PanelModel::Positions PanelModel::selectedLayers() const
{
    Positions selected;
    for (int i = 0; i < int(rows.size()); ++i) {
        if (isSelected({ i })) {
            selected.push_back({ i });
        }
    }
    return selected;
}

PanelModel::Positions PanelModel::selectedVisibleNodes() const
{
    Positions selected;
    for (const Position position : visibleRows()) {
        if (position.isNode() && isSelected(position)) {
            selected.push_back(position);
        }
    }
    return selected;
}

void PanelModel::duplicateLayers()
{
    const Positions selected = selectedLayers();
    if (selected.empty()) {
        return;
    }
    QStringList taken;
    for (const Layer &layer : store) {
        taken += layer.name;
    }
    for (const Position position : selected) {
        taken += uniqueName(row(position)->text, taken);
        if (position.layer < int(store.size())) {
            Layer copy = store[std::size_t(position.layer)];
            copy.name = taken.last();
            store.push_back(copy);
        }
    }
    rebuild(false);
    modified = true;
}

void PanelModel::move(Direction direction, const Positions &order)
{
    const bool up = direction == Direction::Up;
    Positions layers = selectedLayers();
    Positions nodes = selectedVisibleNodes();
    const std::size_t total = layers.size() + nodes.size();
    if (total == 0 || (!layers.empty() && !nodes.empty())) {
        return;
    }
    const auto moveInStore = [&](Position position) {
        if (position.isNode()) {
            storeMoveNode(position.layer, resolve(position).get(), direction);
        } else {
            storeMoveLayer(position.layer, direction);
        }
    };
    if (total == 1) {
        moveInStore(order.front());
    } else if (!layers.empty()) {
        if (up ? layers.front().layer == 0 : layers.back().layer + 1 == int(rows.size())) {
            return;
        }
        if (!up) {
            std::reverse(layers.begin(), layers.end());
        }
        std::for_each(layers.begin(), layers.end(), moveInStore);
    } else {
        std::map<int, Positions> groups;
        for (const Position position : nodes) {
            groups[position.layer].push_back(position);
        }
        bool moved = false;
        for (auto &[layer, group] : groups) {
            const int last = int(rows[std::size_t(layer)].nodes.size()) - 1;
            if (up ? group.front().node == 0 : group.back().node == last) {
                continue;
            }
            if (!up) {
                std::reverse(group.begin(), group.end());
            }
            std::for_each(group.begin(), group.end(), moveInStore);
            moved = true;
        }
        if (!moved) {
            return;
        }
    }
    rebuild(total >= 2);
}

void PanelModel::removeSelectedLayers()
{
    const Positions layers = selectedLayers();
    if (!layers.empty()) {
        for (const Position position : layers) {
            const int index = layerNamed(row(position)->text);
            if (index >= 0) {
                store.erase(store.begin() + index);
            }
        }
        rebuild(true);
        modified = true;
    }
}

void PanelModel::removeSelectedNodes()
{
    const Positions nodes = selectedVisibleNodes();
    if (!nodes.empty()) {
        for (const Position position : nodes) {
            storeSubNode(position.layer, resolve(position).get());
        }
        rebuild(false);
        modified = true;
    }
}

void PanelModel::addNodes(const std::vector<osg::NodePtr> &nodes)
{
    bool any = false;
    for (int i = 0; i < int(rows.size()); ++i) {
        const Row &layer = rows[std::size_t(i)];
        const bool target = layer.selected
                            || std::any_of(layer.nodes.begin(), layer.nodes.end(),
                                           [](const Row &node) { return node.selected; });
        for (const osg::NodePtr &node : nodes) {
            if (target) {
                storeAddNode(i, node.get());
            }
        }
        any |= target;
    }
    if (any) {
        rebuild(false);
        modified = true;
    }
}

void PanelModel::applyAttributes(const Flags &flags)
{
    for (int i = 0; i < int(rows.size()); ++i) {
        for (int j = 0; j < int(rows[std::size_t(i)].nodes.size()); ++j) {
            if (isSelected({ i }) || isSelected({ i, j })) {
                if (auto *const attributes = attributesOf(i, resolve({ i, j }))) {
                    (*attributes)->flags = flags;
                }
            }
        }
    }
    rebuild(true);
    modified = true;
}

void PanelModel::clearMaterials()
{
    const Positions nodes = selectedVisibleNodes();
    for (const Position position : nodes) {
        if (auto *const attributes = attributesOf(position.layer, resolve(position))) {
            (*attributes)->material = osg::NullFC;
            (*attributes)->flags.back() = false;
        }
    }
    if (!nodes.empty()) {
        rebuild(false);
        modified = true;
    }
}

void PanelModel::toggleCell(Position position, int column)
{
    QString &cell = row(position)->cells[std::size_t(column - 1)];
    cell = onOff(cell != onOff(true));
    writeCells(position);
}

void PanelModel::writeCells(Position position)
{
    if (auto *const attributes = attributesOf(position.layer, resolve(position))) {
        for (std::size_t i = 0; i < (*attributes)->flags.size(); ++i) {
            (*attributes)->flags[i] = row(position)->cells[i] == onOff(true);
        }
    }
}

void PanelModel::clickClearButton(Position position)
{
    if (auto *const attributes = attributesOf(position.layer, resolve(position))) {
        (*attributes)->material = osg::NullFC;
    }
    writeCells(position);
    if (auto *const attributes = attributesOfRow(position)) {
        const osg::MaterialPtr material = (*attributes)->material;
        row(position)->cells[materialColumn - 1] = material
                                                       ? QString::fromStdString(material->getName())
                                                       : QStringLiteral("Empty");
    }
    modified = true;
}

void PanelModel::dropNodes(Position position, const std::vector<osg::NodePtr> &nodes, bool onlyRoot)
{
    modified = true;
    if (position.isNode()) {
        return;
    }
    if (onlyRoot) {
        ++warnings;
        return;
    }
    for (const osg::NodePtr &node : nodes) {
        storeAddNode(position.layer, node.get());
    }
    rebuild(false);
}

void PanelModel::dropMaterial(Position position, const osg::MaterialPtr &material)
{
    modified = true;
    auto *const attributes = position.isNode() && material ? attributesOfRow(position) : nullptr;
    if (attributes) {
        (*attributes)->material = material;
        fillCells(*row(position), *attributes);
    }
}

void PanelModel::cleanup()
{
    for (Layer &layer : store) {
        auto &all = layer.members;
        all.erase(std::remove_if(all.begin(), all.end(),
                                 [](const Member &other) {
                                     return !mkScenegraph::isInScene(osg::NodePtr(other.node));
                                 }),
                  all.end());
    }
    rebuild(false);
}

void PanelModel::materialRenamed(const osg::MaterialPtr &material)
{
    const auto uses = [&](const Member &other) {
        return other.attributes && other.attributes->material == material;
    };
    const bool used = std::any_of(store.begin(), store.end(), [&](const Layer &layer) {
        return std::any_of(layer.members.begin(), layer.members.end(), uses);
    });
    if (used) {
        rebuild(false);
    }
}

std::vector<osg::Node *> PanelModel::nodesToSelect(const Positions &order) const
{
    std::vector<osg::Node *> nodes;
    const auto add = [&](Position position) {
        const osg::NodePtr node = resolve(position);
        const bool known = std::find(nodes.begin(), nodes.end(), node.get()) != nodes.end();
        if (!known && mkScenegraph::isInScene(node)) {
            nodes.push_back(node.get());
        }
    };
    const auto addBelow = [&](int layer) {
        for (int j = 0; j < int(rows[std::size_t(layer)].nodes.size()); ++j) {
            add({ layer, j });
        }
    };
    const Positions layers = selectedLayers();
    if (layers.size() + selectedVisibleNodes().size() < 2) {
        const Position first = order.front();
        if (first.isNode()) {
            add(first);
        } else {
            addBelow(first.layer);
        }
        return nodes;
    }
    for (const Position position : order) {
        if (position.isNode() && isVisible(position) && !isSelected({ position.layer })) {
            add(position);
        }
    }
    for (const Position position : layers) {
        addBelow(position.layer);
    }
    return nodes;
}

std::vector<std::pair<int, osg::Node *>> PanelModel::activations(const Positions &order) const
{
    std::vector<std::pair<int, osg::Node *>> entries;
    for (const Position position : order) {
        if (position.isNode()) {
            entries.emplace_back(position.layer, resolve(position).get());
        } else if (position.layer < int(store.size())) {
            for (const Member &other : store[std::size_t(position.layer)].members) {
                entries.emplace_back(position.layer, other.node);
            }
        }
    }
    return entries;
}

PanelModel::Positions PanelModel::rowsNamed(const QString &text) const
{
    Positions found;
    for (int i = 0; i < int(rows.size()); ++i) {
        for (int j = -1; j < int(rows[std::size_t(i)].nodes.size()); ++j) {
            if (row({ i, j })->text == text) {
                found.push_back({ i, j });
            }
        }
    }
    return found;
}

void PanelModel::rebuild(bool keepSelection)
{
    ++rebuilds;
    QStringList layers;
    std::vector<std::pair<osg::NodePtr, QString>> nodes;
    const auto living = [this](Position position) {
        const osg::NodePtr node = resolve(position);
        return isAlive(node) ? node : osg::NodePtr();
    };
    if (keepSelection) {
        for (const Position position : selectedLayers()) {
            layers += row(position)->text;
        }
        for (const Position position : selectedVisibleNodes()) {
            nodes.emplace_back(living(position), row({ position.layer })->text);
        }
    } else if (isSelected(current)) {
        if (const osg::NodePtr node = living(current)) {
            nodes.emplace_back(node, row({ current.layer })->text);
        } else if (!row(current)->text.isEmpty()) {
            layers += row(current)->text;
        }
    }

    rows.clear();
    current = {};
    for (const Layer &layer : store) {
        Row layerRow;
        layerRow.text = layer.name;
        layerRow.expanded = layer.state != 0;
        for (const Member &other : layer.members) {
            Row nodeRow;
            nodeRow.text = nameOf(other.node);
            nodeRow.id = other.node->getId();
            fillCells(nodeRow, other.attributes);
            layerRow.nodes.push_back(nodeRow);
        }
        rows.push_back(layerRow);
    }

    const auto restore = [this](Position position) {
        row(position)->selected = true;
        if (current.layer < 0) {
            current = position;
        }
    };
    for (int i = 0; i < int(rows.size()); ++i) {
        if (layers.removeOne(rows[std::size_t(i)].text)) {
            restore({ i });
        }
        for (int j = 0; j < int(rows[std::size_t(i)].nodes.size()); ++j) {
            const auto key = std::make_pair(resolve({ i, j }), rows[std::size_t(i)].text);
            const auto found = std::find(nodes.begin(), nodes.end(), key);
            if (found != nodes.end()) {
                nodes.erase(found);
                restore({ i, j });
            }
        }
    }
}

void PanelModel::storeAddNode(int layer, osg::Node *node)
{
    const bool refused = layer >= int(store.size()) || !node
                         || node == mkScenegraph::getRoot().get() || member(layer, node);
    if (!refused) {
        store[std::size_t(layer)].members.push_back({ node, Attributes() });
    }
}

void PanelModel::storeSubNode(int layer, osg::Node *node)
{
    if (Member *const found = member(layer, node)) {
        auto &all = store[std::size_t(layer)].members;
        all.erase(all.begin() + (found - all.data()));
    }
}

void PanelModel::storeMoveLayer(int layer, Direction direction)
{
    const int other = layer + int(direction);
    if (layer < int(store.size()) && other >= 0 && other < int(store.size())) {
        std::swap(store[std::size_t(layer)], store[std::size_t(other)]);
    }
}

void PanelModel::storeMoveNode(int layer, osg::Node *node, Direction direction)
{
    if (Member *const found = member(layer, node)) {
        auto &all = store[std::size_t(layer)].members;
        const auto other = found - all.data() + int(direction);
        if (other >= 0 && other < std::ptrdiff_t(all.size())) {
            std::swap(*found, all[std::size_t(other)]);
        }
    }
}

QString PanelModel::uniqueName(const QString &name, const QStringList &taken)
{
    QString candidate = name;
    for (int number = 1; taken.contains(candidate); ++number) {
        candidate = name + QString::number(number);
    }
    return candidate;
}

PanelModel::Member *PanelModel::member(int layer, const osg::Node *node)
{
    if (!node || layer >= int(store.size())) {
        return nullptr;
    }
    auto &all = store[std::size_t(layer)].members;
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Member &other) { return other.node == node; });
    return found == all.end() ? nullptr : &*found;
}

std::optional<PanelModel::Attributes> *PanelModel::attributesOf(int layer, const osg::NodePtr &node)
{
    Member *const found = member(layer, node.get());
    return found && found->attributes ? &found->attributes : nullptr;
}

std::optional<PanelModel::Attributes> *PanelModel::attributesOfRow(Position position)
{
    if (!resolve(position) || position.layer >= int(store.size())) {
        return nullptr;
    }
    auto &all = store[std::size_t(position.layer)].members;
    const auto index = std::size_t(position.node);
    return index < all.size() && all[index].attributes ? &all[index].attributes : nullptr;
}

void PanelModel::fillCells(Row &row, const std::optional<Attributes> &attributes)
{
    if (!attributes) {
        return;
    }
    for (std::size_t i = 0; i < attributes->flags.size(); ++i) {
        row.cells[i] = onOff(attributes->flags[i]);
    }
    row.cells[materialColumn - 1] = attributes->material
                                        ? QString::fromStdString(attributes->material->getName())
                                        : QStringLiteral("Empty");
}

QString PanelModel::values(const std::optional<Attributes> &attributes)
{
    if (!attributes) {
        return QStringLiteral("none");
    }
    QString text;
    for (const bool flag : attributes->flags) {
        text += flag ? '1' : '0';
    }
    return text + ' '
           + (attributes->material ? mkMaterials::getName(attributes->material) : "Empty");
}

QString PanelModel::describe() const
{
    QString text = QStringLiteral("store\n");
    for (const Layer &layer : store) {
        text += describeLayer(layer.name, layer.state != 0);
        for (const Member &other : layer.members) {
            text += describeMember(other.node, values(other.attributes));
        }
    }
    text += QStringLiteral("rows\n");
    for (int i = 0; i < int(rows.size()); ++i) {
        const Row &layer = rows[std::size_t(i)];
        text += describeRow(layer.text, { layer.expanded ? "open" : "closed" }, layer.selected,
                            current == Position{ i });
        for (int j = 0; j < int(layer.nodes.size()); ++j) {
            const Row &node = layer.nodes[std::size_t(j)];
            QStringList cells;
            for (const QString &cell : node.cells) {
                cells += cell;
            }
            text += describeRow(node.text, cells, node.selected, current == Position{ i, j });
        }
    }
    return text;
}

QString PanelModel::describe(const QTreeWidget *tree)
{
    QString text = QStringLiteral("store\n");
    const osg::RenderLayersPtr content = mkScenegraph::getRenderLayer()->getAttachment();
    for (std::size_t i = 0; i < content->getLayers().size(); ++i) {
        const osg::RenderLayerPtr layer = content->getLayer(i);
        text += describeLayer(QString::fromStdString(layer->getName()), layer->getState() != 0);
        for (const osg::NodePtr &node : layer->getNodes()) {
            const osg::RaytracingGeoAttachmentPtr attributes(layer->findAttributes(node));
            text += describeMember(node.get(), HostFixture::values(attributes));
        }
    }
    text += QStringLiteral("rows\n");
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *const layer = tree->topLevelItem(i);
        text += describeRow(layer->text(0), { layer->isExpanded() ? "open" : "closed" },
                            layer->isSelected(), layer == tree->currentItem());
        for (int j = 0; j < layer->childCount(); ++j) {
            const QTreeWidgetItem *const node = layer->child(j);
            QStringList cells;
            for (int column = 1; column <= materialColumn; ++column) {
                cells += node->text(column);
                // What the eye does not see must agree with it.
                const bool agrees =
                    column < materialColumn
                        ? node->data(column, Qt::UserRole).toBool() == (cells.last() == "On")
                        : node->data(column, Qt::DecorationRole).value<QIcon>().isNull()
                              == (cells.last().isEmpty() || cells.last() == "Empty");
                cells.last() += agrees ? "" : "!";
            }
            text += describeRow(node->text(0), cells, node->isSelected(),
                                node == tree->currentItem());
        }
    }
    return text;
}
