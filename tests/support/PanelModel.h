#pragma once

#include "OSGSystem/Material.h"
#include "OSGSystem/Node.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QStringList>
#include <QVector>

class QTreeWidget;

/// What the store and the panel should hold: a store of its own, and rows in plain values, written
/// from what each operation promises. An operation of the model is run before the panel's own,
/// while every node that it speaks of still lives.
class PanelModel
{
public:
    /// A row of the tree, with its place in the store; layer rows have node -1.
    struct Row
    {
        int layer;
        int node;
        QString text;
        bool open = false;
        std::uint32_t id = 0;
        /// As HostFixture::cells() reads them.
        QString cells = {};
        bool selected = false;
        bool isNode() const { return node >= 0; }
    };
    /// Indices of rows.
    using Rows = QVector<int>;
    using Nodes = std::vector<osg::NodePtr>;

    mkRenderLayer store{ osg::Node::create() };
    /// All rows from top to bottom, also those under closed layers.
    QVector<Row> rows;
    int current = -1;
    bool modified = false;
    int rebuilds = 0;
    int warnings = 0;

    bool isSelected(int row) const { return row >= 0 && rows[row].selected; }
    int layerOf(int row) const { return row - rows[row].node - 1; }
    int layerCount() const { return int(store.getAttachment()->getLayers().size()); }
    template <typename Wanted>
    Rows where(Wanted wanted) const;
    Rows layerRows() const;
    Rows visibleRows() const;

    /// The model's store has another root than the scene, which refuses its own.
    template <typename Layer>
    void addTo(const Layer &layer, const osg::NodePtr &node)
    {
        if (node != mkScenegraph::getRoot()) {
            store.addNode(layer, node);
        }
    }

    // The user in the tree. `order` is the selection in the order in which Qt lists it.
    void selectOnly(int row);
    void toggleSelection(int row);
    void selectAll();
    void setOpen(int row, bool open);
    void createLayer(const QString &name);
    void commitName(int row, const QString &name);
    void duplicateLayers();
    /// By -1 or +1.
    void move(int by, const Rows &order);
    void removeSelectedLayers();
    void removeSelectedNodes();
    void addNodes(const Nodes &nodes);
    void applyAttributes(const QString &flags);
    void clearMaterials();
    void toggleCell(int row, int column);
    void clickClearButton(int row);
    void dropNodes(int row, const Nodes &nodes);
    void dropMaterial(int row, const osg::MaterialPtr &material);
    /// What Select Nodes makes the host's selection.
    Nodes nodesOf(const Rows &order) const;
    void rebuild(bool keepSelection);
    /// Rebuilds after a change of the document.
    void changed(bool keepSelection);

    /// The whole panel and store as text: as they should be, and as they are.
    QString describe() const;
    static QString describe(const QTreeWidget *tree);

private:
    /// The rows of a layer's nodes.
    Rows below(int layerRow) const;
    Rows selected(bool nodes) const;
    /// The node of a row that lives now; null for layer rows.
    osg::NodePtr resolve(int row) const;
    /// Of a row's node, or of whatever is at its place in the store; null where there are none.
    osg::RaytracingGeoAttachmentPtr attributesOf(int row) const;
    osg::RaytracingGeoAttachmentPtr attributesAt(int row) const;
    void writeCells(int row);
};

template <typename Wanted>
PanelModel::Rows PanelModel::where(Wanted wanted) const
{
    Rows found;
    for (int i = 0; i < rows.size(); ++i) {
        if (wanted(i)) {
            found += i;
        }
    }
    return found;
}
