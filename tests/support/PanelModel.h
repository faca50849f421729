#pragma once

#include "OSGSystem/Node.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QTreeWidget>

#include <functional>

/// What the store and the panel should hold: a store of its own, and a bare tree, whose rows are
/// filled and selected one after another, as somebody would who has nothing but QTreeWidget. An
/// operation of the model is run before the panel's own, while every node that it speaks of still
/// lives.
class PanelModel
{
public:
    using Row = QTreeWidgetItem *;
    using Rows = QList<Row>;

    PanelModel();

    mkRenderLayer store{ osg::Node::create() };
    QTreeWidget tree;
    bool modified = false;
    int rebuilds = 0;
    int warnings = 0;

    /// The wanted rows from top to bottom, also those under closed layers.
    Rows rows(const std::function<bool(Row)> &wanted);
    static bool isVisible(Row row) { return !row->parent() || row->parent()->isExpanded(); }
    static Row layerOf(Row row) { return row->parent() ? row->parent() : row; }
    /// The row's layer, or for a layer the root of all.
    static Row parentOf(Row row);
    /// The row's number among its siblings.
    static int placeOf(Row row) { return parentOf(row)->indexOfChild(row); }
    /// The row at the same place of another tree, if there is one.
    static Row twin(Row row, const QTreeWidget &other);
    /// The row's layer in the store.
    static unsigned indexOf(Row row) { return unsigned(placeOf(layerOf(row))); }
    osg::RenderLayerPtr layer(int index) const { return store.getAttachment()->getLayer(index); }
    int layerCount() const { return int(store.getAttachment()->getLayers().size()); }
    /// The current row, if it is selected; null otherwise.
    Row current() const;
    /// The node of a row that lives now; null for layer rows.
    static osg::NodePtr resolve(Row row);

    void click(Row row, Qt::KeyboardModifiers modifiers = {});
    /// Makes the row current and the only selected one; of null nothing is selected.
    void select(Row row);
    void createLayer();
    void commitName(Row row, const QString &name);
    void duplicateLayers();
    /// By -1 or +1.
    void move(int by);
    void removeSelected();
    void applyAttributes(const QString &flags);
    void toggleCell(Row row, int column);
    void clickClearButton(Row row);
    void dropNodes(Row row);
    void dropMaterial(Row row, const osg::MaterialPtr &material);
    void activate();
    void rebuild(bool keepSelection);
    /// Rebuilds after a change of the document.
    void changed(bool keepSelection);

    /// A store and a tree as text: all that is to agree between the model and the panel.
    static QString describe(const mkRenderLayer &store, QTreeWidget &tree);

private:
    /// Selected layers; or selected nodes of open ones.
    Rows selected(bool nodes);
    /// Of a row's node, or of whatever is at its place in the store; null where there are none.
    osg::RaytracingGeoAttachmentPtr attributesOf(Row row) const;
    osg::RaytracingGeoAttachmentPtr attributesAt(Row row) const;
};
