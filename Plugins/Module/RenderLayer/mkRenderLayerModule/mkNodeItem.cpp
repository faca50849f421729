#include "mkNodeItem.h"

#include "mkEndEdit.h"
#include "mkHostAccess.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeListWidget.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRenderAttributes.h"

#include <QCoreApplication>

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

quint32 idOf(const osg::NodePtr &node)
{
    return node ? node->getId() : 0;
}

QString nameOf(const osg::NodePtr &node)
{
    return QString::fromUtf8(mkNodeUtils::getName(node));
}

} // namespace

mkAttributeCells::mkAttributeCells()
    : onText(QCoreApplication::translate("RenderLayer", "On"))
    , offText(QCoreApplication::translate("RenderLayer", "Off"))
    , yes(true)
    , no(false)
    , empty(QCoreApplication::translate("mkNodeItem", "Empty"))
    , none(QVariant::fromValue(QIcon()))
{}

const QVariant &mkAttributeCells::clearButton()
{
    if (!button.isValid()) {
        button = clearButtonIcon();
    }
    return button;
}

const QVariant &mkAttributeCells::nameOf(const osg::MaterialPtr &material)
{
    QVariant &name = materialNames[material->getId()];
    if (!name.isValid()) {
        name = QString::fromUtf8(mkMaterials::getName(material));
    }
    return name;
}

mkNodeItem::mkNodeItem(QTreeWidget *tree, const osg::NodePtr &node)
    : QTreeWidgetItem(tree, QTreeWidgetItem::Type)
    , nodeId(idOf(node))
{
    if (node) {
        setData(mkColumn::Layer, Qt::DisplayRole, nameOf(node));
    }
}

mkNodeItem::mkNodeItem(const osg::NodePtr &node)
    : mkNodeItem(nullptr, node)
{}

mkNodeItem::mkNodeItem(const osg::NodePtr &node, const mkNodeItem &alike)
    : QTreeWidgetItem(alike)
    , nodeId(idOf(node))
    , itemType(alike.itemType)
{
    setData(mkColumn::Layer, Qt::DisplayRole, nameOf(node));
}

mkNodeItem::~mkNodeItem() = default;

void mkNodeItem::setItemType(ItemType type)
{
    itemType = type;
    setFlags(type == LayerRow ? flags() | Qt::ItemIsEditable : flags() & ~Qt::ItemIsEditable);
}

osg::NodePtr mkNodeItem::getNode() const
{
    return osg::NodePtr(osg::FieldContainerFactory::the()->getContainer(nodeId));
}

unsigned mkNodeItem::getLayerIndex() const
{
    const QTreeWidgetItem *const layerRow = parent() ? parent() : this;
    if (const auto *const layers = qobject_cast<const mkNodeListWidget *>(treeWidget())) {
        return unsigned(layers->topLevelRow(layerRow));
    }
    return treeWidget() ? unsigned(
               treeWidget()->indexOfTopLevelItem(const_cast<QTreeWidgetItem *>(layerRow)))
                        : 0;
}

void mkNodeItem::updateAttributes(const osg::RaytracingGeoAttachmentPtr &attributes)
{
    mkAttributeCells cells;
    updateAttributes(attributes, cells);
}

void mkNodeItem::updateAttributes(const osg::RaytracingGeoAttachmentPtr &attributes,
                                  mkAttributeCells &cells)
{
    if (!attributes || !getNode()) {
        return;
    }
    for (const mkRenderAttribute &attribute : mkRenderAttributes) {
        const bool value = ((*attributes).*attribute.get)();
        setData(attribute.column, Qt::DisplayRole, cells.text(value));
        setData(attribute.column, Qt::UserRole, cells.value(value));
    }
    updateOverrideMaterial(attributes, cells);
}

void mkNodeItem::updateOverrideMaterial(const osg::RaytracingGeoAttachmentPtr &attributes)
{
    mkAttributeCells cells;
    updateOverrideMaterial(attributes, cells);
}

void mkNodeItem::updateOverrideMaterial(const osg::RaytracingGeoAttachmentPtr &attributes,
                                        mkAttributeCells &cells)
{
    if (!attributes) {
        return;
    }
    const osg::MaterialPtr &material = attributes->getOverrideMaterial();
    setData(mkColumn::OverrideMaterial, Qt::DisplayRole,
            material ? cells.nameOf(material) : cells.emptyText());
    setData(mkColumn::OverrideMaterial, Qt::DecorationRole,
            material ? cells.clearButton() : cells.noIcon());
}

void mkNodeItem::writeAttributes() const
{
    const osg::RaytracingGeoAttachmentPtr attributes = mkStore()->getAttributes(getLayerIndex(),
                                                                                getNode());
    if (!attributes) {
        return;
    }
    mkRenderAttributeFlags flags{};
    for (std::size_t i = 0; i < flags.size(); ++i) {
        flags[i] = data(mkRenderAttributes[i].column, Qt::UserRole).toBool();
    }
    mkSetRenderAttributes(attributes, flags);
    endEdit(attributes, osg::AllFields);
    mkStore()->setAttributes(getLayerIndex(), getNode(), attributes);
}

void mkNodeItem::commitLayerName() const
{
    if (isLayer()) {
        const QByteArray name = data(mkColumn::Layer, Qt::DisplayRole).toString().toUtf8();
        mkStore()->setLayerName(getLayerIndex(), name.toStdString());
    }
}

void mkNodeItem::activate() const
{
    if (isNode()) {
        mkStore()->activateNode(getLayerIndex(), getNode());
    } else if (isLayer()) {
        mkStore()->activateLayer(getLayerIndex());
    }
}

void mkNodeItem::clearOverrideMaterial() const
{
    const osg::RaytracingGeoAttachmentPtr attributes = mkStore()->getAttributes(getLayerIndex(),
                                                                                getNode());
    if (attributes) {
        attributes->setOverrideMaterial(osg::NullFC);
        attributes->setUseOverrideMaterial(false);
    }
}

QVariant mkNodeItem::data(int column, int role) const
{
    if (role == Qt::DecorationRole && column == mkColumn::Layer && isNode()) {
        if (const osg::NodePtr node = getNode()) {
            // The view is asking, in the middle of its rows.
            const mkNodeListWidget::RowsInUse inUse(qobject_cast<mkNodeListWidget *>(treeWidget()),
                                                    mkNodeListWidget::RowsInUse::RebuildLater);
            try {
                return mkScenegraph::getNodeIcon(node->getCore(), node, false);
            } catch (...) {
                mkReportFailure("mkNodeItem::data");
            }
        }
    }
    return QTreeWidgetItem::data(column, role);
}
