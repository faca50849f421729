// What the panel and the store show, as text.

#include "HostFixture.h"
#include "PanelModel.h"

#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QTreeWidgetItemIterator>

namespace {

/// Appends a layer, or a node to the last one: "A[] B[c d]".
void append(QString &text, const QString &name, bool isNode)
{
    if (isNode) {
        text.insert(text.size() - 1, text.endsWith("[]") ? name : ' ' + name);
    } else {
        text += (text.isEmpty() ? "" : " ") + name + "[]";
    }
}

} // namespace

QString HostFixture::pathOf(const QTreeWidgetItem *item)
{
    return (item->parent() ? item->parent()->text(0) + '/' : "") + item->text(0);
}

QTreeWidgetItem *HostFixture::row(const QString &path) const
{
    QTreeWidgetItemIterator it(tree());
    while (*it && pathOf(*it) != path) {
        ++it;
    }
    return *it;
}

QString HostFixture::rows() const
{
    QString text;
    for (QTreeWidgetItemIterator it(tree()); *it; ++it) {
        append(text, (*it)->text(0), (*it)->parent());
    }
    return text;
}

QString HostFixture::stored()
{
    QString text;
    const osg::RenderLayersPtr content = store()->getAttachment();
    for (std::size_t i = 0; i < content->getLayers().size(); ++i) {
        append(text, content->getLayer(i)->getName().c_str(), false);
        for (const osg::NodePtr &member : content->getLayer(i)->getNodes()) {
            append(text, mkNodeUtils::getName(member), true);
        }
    }
    return text;
}

QString HostFixture::selected() const
{
    QStringList paths;
    for (QTreeWidgetItemIterator it(tree(), QTreeWidgetItemIterator::Selected); *it; ++it) {
        paths += pathOf(*it) + (*it == tree()->currentItem() ? "*" : "");
    }
    return paths.join(' ');
}

bool &HostFixture::flag(const osg::RaytracingGeoAttachmentPtr &attributes, int column)
{
    using Attributes = osg::RaytracingGeoAttachmentBase;
    static constexpr bool &(Attributes::*getters[])() = {
        &Attributes::getVisible,
        &Attributes::getVisibleInAlpha,
        &Attributes::getPrimaryVisibility,
        &Attributes::getVisibleInReflections,
        &Attributes::getVisibleInRefractions,
        &Attributes::getCastShadows,
        &Attributes::getReceiveShadows,
        &Attributes::getDoubleSided,
        &Attributes::getVisibleInPhotons,
        &Attributes::getCastShadowsOnShadowMaterial,
        &Attributes::getUseOverrideMaterial,
    };
    return ((*attributes).*getters[column - 1])();
}

QString HostFixture::values(const osg::RaytracingGeoAttachmentPtr &attributes)
{
    if (!attributes) {
        return "none";
    }
    QString text;
    for (int column = 1; column <= 11; ++column) {
        text += flag(attributes, column) ? '1' : '0';
    }
    const osg::MaterialPtr material = attributes->getOverrideMaterial();
    return text + ' ' + (material ? mkMaterials::getName(material) : "Empty");
}

QString HostFixture::cells(const QTreeWidgetItem *item)
{
    QString text;
    for (int column = 1; column <= 11; ++column) {
        const QString shown = item->text(column);
        const bool on = item->data(column, Qt::UserRole).toBool();
        const bool agrees = shown.isEmpty() ? !item->data(column, Qt::UserRole).isValid()
                                            : shown == (on ? "On" : "Off");
        text += !agrees ? '?' : shown.isEmpty() ? ' ' : on ? '1' : '0';
    }
    const QString material = item->text(12);
    const bool icon = !item->data(12, Qt::DecorationRole).value<QIcon>().isNull();
    return text + ' ' + material + (icon == (material.isEmpty() || material == "Empty") ? "!" : "");
}

QString PanelModel::describe(const mkRenderLayer &store, QTreeWidget &tree)
{
    QString text = "store\n";
    for (std::size_t i = 0; i < store.getAttachment()->getLayers().size(); ++i) {
        const osg::RenderLayerPtr layer = store.getAttachment()->getLayer(i);
        text += QString("  %1 %2\n").arg(layer->getName().c_str()).arg(layer->getState());
        for (const osg::NodePtr &node : layer->getNodes()) {
            text += QString("    %1 #%2 ").arg(node->getName().c_str()).arg(node->getId())
                    + HostFixture::values(store.getAttributes(unsigned(i), node)) + '\n';
        }
    }
    text += "rows\n";
    QList<const QTreeWidgetItem *> all;
    for (QTreeWidgetItemIterator it(&tree); *it; ++it) {
        const QTreeWidgetItem *const row = *it;
        all += row;
        text += (row->parent() ? "    |" : "  |") + row->text(0) + '|' + HostFixture::cells(row)
                + (row->isExpanded() ? " open" : "") + (row->isSelected() ? " x" : "")
                + (row->isSelected() && row == tree.currentItem() ? "*\n" : "\n");
    }
    text += "selected:";
    for (const QTreeWidgetItem *const row : tree.selectedItems()) {
        text += ' ' + QString::number(all.indexOf(row));
    }
    return text;
}
