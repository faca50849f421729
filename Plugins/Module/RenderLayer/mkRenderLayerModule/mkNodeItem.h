#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include <QCoreApplication>
#include <QTreeWidgetItem>

class QDropEvent;

/// What attribute cells show, translated and drawn once for many rows.
struct mkAttributeCells
{
    const QVariant on = QCoreApplication::translate("RenderLayer", "On");
    const QVariant off = QCoreApplication::translate("RenderLayer", "Off");
    const QVariant empty = QCoreApplication::translate("mkNodeItem", "Empty");
    /// Invalid until a row needs it.
    mutable QVariant clearButton;
};

/// A row of the layer tree: a layer, or a node of the layer above it. A row shows what the store
/// held when it was filled. It keeps the id of its node, never the node, and asks the store for
/// its layer's data at every use; it lives until the next rebuild of the tree.
class mkNodeItem : public QTreeWidgetItem
{
public:
    enum ItemType : quint32 { LayerRow = 1, NodeRow = 2 };

    /// A row in `tree`, which may be null, for `node`, which may be null.
    mkNodeItem(QTreeWidget *tree, const osg::NodePtr &node);
    explicit mkNodeItem(const osg::NodePtr &node);
    /// A row for `node`, not null, of the type of `alike` and with its attributes. The two share
    /// their cells until one of them is changed.
    mkNodeItem(const osg::NodePtr &node, const mkNodeItem &alike);

    /// Layer rows can be edited, other rows cannot.
    void setItemType(ItemType type);
    ItemType getItemType() const { return itemType; }
    bool isLayer() const { return itemType == LayerRow; }
    bool isNode() const { return itemType == NodeRow; }

    /// The row's node; null for layer rows, for a node that no longer exists, and for an id that
    /// now belongs to something else.
    osg::NodePtr getNode() const;
    /// The id of the node that the row was made for, 0 for none; the node may be gone since.
    quint32 getNodeId() const { return nodeId; }
    /// The position of the row's layer; 0 for a row that is in no layer tree.
    unsigned getLayerIndex() const;

    /// Position of the node in its layer's lists; -1 until set.
    void setAttributeIndex(int index) { attributeIndex = index; }
    int getAttributeIndex() const { return attributeIndex; }

    /// Fills columns 1 to 12. Nothing when the node is gone or `attributes` is null.
    void updateAttributes(const osg::RaytracingGeoAttachmentPtr &attributes,
                          const mkAttributeCells &cells = mkAttributeCells());
    /// Fills column 12. Nothing when `attributes` is null.
    void updateOverrideMaterial(const osg::RaytracingGeoAttachmentPtr &attributes,
                                const mkAttributeCells &cells = mkAttributeCells());
    /// Writes columns 1 to 11 into the store.
    void writeAttributes() const;
    /// Makes a layer row's text the layer's name in the store, which must have been checked.
    void commitLayerName() const;
    /// Activates the row's layer or node in the store.
    void activate() const;
    /// Removes the node's override material in the store, and the flag that uses it. The cells
    /// stay as they are and nobody is notified: the caller does both.
    void clearOverrideMaterial() const;

    QVariant data(int column, int role) const override;

    /// Applies a drop onto this row. The tree may be rebuilt, which deletes the row.
    void processDrop(const QDropEvent *event);

private:
    void dropNodes(const QDropEvent *event);
    void dropMaterial(const QDropEvent *event);

    quint32 nodeId;
    ItemType itemType = ItemType(0);
    qint32 attributeIndex = -1;
};
