#include "mkNodeItem.h"

#include "mkColumn.h"
#include "mkHostAccess.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeListWidget.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRenderAttributes.h"

#include <QIcon>

namespace {

QIcon clearButtonIcon()
{
    constexpr char normal[] = "General/DeleteOffNormal.svg";
    constexpr char disabled[] = "General/DeleteDisabled.svg";
    QIcon icon;
    for (const QIcon::State state : { QIcon::On, QIcon::Off }) {
        icon.addPixmap(mkIconManager::get(normal), QIcon::Normal, state);
        icon.addPixmap(mkIconManager::get(disabled), QIcon::Disabled, state);
        icon.addPixmap(mkIconManager::get(disabled), QIcon::Selected, state);
    }
    return icon;
}

QString nameOf(const osg::NodePtr &node)
{
    return QString::fromUtf8(mkNodeUtils::getName(node));
}

} // namespace

mkNodeItem::mkNodeItem(QTreeWidget *tree, const osg::NodePtr &node)
    : QTreeWidgetItem(tree, QTreeWidgetItem::Type)
    , nodeId(mkIdOf(node))
{
    if (const osg::NodePtr named = getNode(); named != osg::NullFC) {
        setData(mkColumn::Layer, Qt::DisplayRole, nameOf(named));
    }
}

mkNodeItem::mkNodeItem(const osg::NodePtr &node)
    : mkNodeItem(nullptr, node)
{}

mkNodeItem::mkNodeItem(const osg::NodePtr &node, const mkNodeItem &alike)
    : QTreeWidgetItem(alike)
    , nodeId(mkIdOf(node))
    , itemType(alike.itemType)
{
    setData(mkColumn::Layer, Qt::DisplayRole, nameOf(node));
}

void mkNodeItem::setItemType(ItemType type)
{
    itemType = type;
    setFlags(type == LayerRow ? flags() | Qt::ItemIsEditable : flags() & ~Qt::ItemIsEditable);
}

osg::NodePtr mkNodeItem::getNode() const
{
    return nodeId == 0 ? osg::NodePtr(osg::NullFC) : mkFindNode(nodeId);
}

unsigned mkNodeItem::getLayerIndex() const
{
    // indexOfTopLevelItem() would search all layers anew for each of their rows.
    const auto *const tree = qobject_cast<const mkNodeListWidget *>(treeWidget());
    return tree ? unsigned(tree->topLevelRow(parent() ? parent() : this)) : 0;
}

void mkNodeItem::updateAttributes(const osg::RaytracingGeoAttachmentPtr &attributes,
                                  const mkAttributeCells &cells)
{
    if (attributes == osg::NullFC || getNode() == osg::NullFC) {
        return;
    }
    for (const mkRenderAttribute &attribute : mkRenderAttributes) {
        const bool value = attribute.isOn(attributes);
        setData(attribute.column, Qt::DisplayRole, value ? cells.on : cells.off);
        setData(attribute.column, Qt::UserRole, QVariant(value));
    }
    updateOverrideMaterial(attributes, cells);
}

void mkNodeItem::updateOverrideMaterial(const osg::RaytracingGeoAttachmentPtr &attributes,
                                        const mkAttributeCells &cells)
{
    if (attributes == osg::NullFC) {
        return;
    }
    QVariant text = cells.empty;
    QVariant button = QIcon();
    const osg::MaterialPtr &material = attributes->getOverrideMaterial();
    if (material != osg::NullFC) {
        text = QString::fromUtf8(mkMaterials::getName(material));
        if (!cells.clearButton.isValid()) {
            cells.clearButton = clearButtonIcon();
        }
        button = cells.clearButton;
    }
    setData(mkColumn::OverrideMaterial, Qt::DisplayRole, text);
    setData(mkColumn::OverrideMaterial, Qt::DecorationRole, button);
}

void mkNodeItem::writeAttributes() const
{
    mkRenderAttributeFlags flags{};
    for (std::size_t i = 0; i < flags.size(); ++i) {
        flags[i] = data(mkRenderAttributes[i].column, Qt::UserRole).toBool();
    }
    const unsigned index = getLayerIndex();
    const osg::NodePtr node = getNode();
    mkStoreRenderAttributes(mkStore(), index, node, flags);
}

void mkNodeItem::commitLayerName() const
{
    if (isLayer()) {
        const unsigned index = getLayerIndex();
        const QByteArray name = data(mkColumn::Layer, Qt::DisplayRole).toString().toUtf8();
        mkStore()->setLayerName(index, name.toStdString());
    }
}

void mkNodeItem::activate() const
{
    const unsigned index = getLayerIndex();
    if (isNode()) {
        const osg::NodePtr node = getNode();
        mkStore()->activateNode(index, node);
    } else if (isLayer()) {
        mkStore()->activateLayer(index);
    }
}

void mkNodeItem::clearOverrideMaterial() const
{
    const unsigned index = getLayerIndex();
    const osg::NodePtr node = getNode();
    const osg::RaytracingGeoAttachmentPtr attributes = mkStore()->getAttributes(index, node);
    if (attributes != osg::NullFC) {
        attributes->setOverrideMaterial(osg::NullFC);
        attributes->setUseOverrideMaterial(false);
    }
}

QVariant mkNodeItem::data(int column, int role) const
{
    if (role == Qt::DecorationRole && column == mkColumn::Layer && isNode()) {
        if (const osg::NodePtr node = getNode(); node != osg::NullFC) {
            // The view is asking, in the middle of its rows.
            const mkNodeListWidget::RowsInUse inUse(qobject_cast<mkNodeListWidget *>(treeWidget()));
            try {
                return mkScenegraph::getNodeIcon(mkCoreOf(node), node, false);
            } catch (...) {
                mkReportFailure("mkNodeItem::data");
            }
        }
    }
    return QTreeWidgetItem::data(column, role);
}
