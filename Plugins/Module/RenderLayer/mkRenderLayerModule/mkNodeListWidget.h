#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include <QPointer>
#include <QStringList>
#include <QTreeWidget>

#include <functional>
#include <vector>

class QMenu;
class mkAttributesGUIW;
class mkNodeItem;
class mkOverrideMaterialItemDelegate;

/// The layer tree: a picture of the host's render-layer store, and the commands on it. Layer rows
/// stand in the store's order, under each its nodes in the layer's order.
///
/// A command reads what it needs from the rows, calls the store, and rebuilds the tree once. The
/// tree keeps nothing of the store: no row, index or handle is used after a rebuild. It assumes
/// that a scene is open; without a store it shows nothing.
class mkNodeListWidget : public QTreeWidget
{
    Q_OBJECT

public:
    /// `parent` also becomes the parent of the apply-attributes dialog.
    explicit mkNodeListWidget(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());

    /// The context menu, for others to add to. It belongs to the tree.
    QMenu *popupMenu() const { return contextMenu; }

    /// Draws the tree anew from the store. Expansion comes from the store. With `keepSelection`
    /// every selected layer row and visible node row is selected again, found by layer name and
    /// node; without it, only the current row, if it was selected. A name that is being typed stays
    /// in its editor.
    ///
    /// While rows are in use, the rebuild is left to the event loop, and is one without
    /// `keepSelection`. When the host throws, so does this, and the event loop tries once more.
    void rebuildTree(bool keepSelection);
    /// Does at once what was left to the event loop, if anything was, and if rows are not in use.
    void catchUp();
    enum class Fit { None, Widen, Exact };
    /// Fits the first column to its contents; makes it narrower only where Fit::Exact is asked for.
    /// When a rebuild is still to come, the column is fitted to the new rows as well.
    void fitFirstColumn(Fit fit = Fit::Widen);
    /// Makes `item` the current row and the only selected one, and brings it into view unless its
    /// layer is closed.
    void makeCurrent(QTreeWidgetItem *item);
    /// Activates every selected row in the store, then requests a render.
    void activateSelected();
    /// Adds a layer and rebuilds. An empty name gives the default name; a name already taken gets
    /// a number behind it. What the host throws goes on to the caller.
    void addLayer(const QString &wanted);
    /// Adds `node` to the layer named `layerName` (UTF-8) and rebuilds. Nothing when either is
    /// null. What the host throws goes on to the caller.
    void addNodeToLayer(const osg::NodePtr &node, const char *layerName);
    /// Makes `material`, which may be null, the override material of a node row.
    void setOverrideMaterial(mkNodeItem *item, const osg::MaterialPtr &material);
    /// The attributes of a node row as its layer holds them; null when there are none.
    osg::RaytracingGeoAttachmentPtr getItemAttributes(mkNodeItem *item) const;

    /// Names of the selected layers; selected nodes of open layers, each with its layer's name.
    void collectSelection(QStringList &layerNames, std::vector<osg::NodePtr> &nodes,
                          QStringList &nodeLayerNames) const;
    /// indexOfTopLevelItem() that does not search all layers anew for each of their rows.
    int topLevelRow(const QTreeWidgetItem *item) const { return indexFromItem(item).row(); }

    /// To be held while rows are used across host calls: those may send a message that asks for a
    /// rebuild, which would delete the rows.
    class RowsInUse
    {
    public:
        /// `user` may be null.
        explicit RowsInUse(mkNodeListWidget *user);
        ~RowsInUse();
        RowsInUse(const RowsInUse &) = delete;
        RowsInUse &operator=(const RowsInUse &) = delete;

        /// True when the host has deleted the panel meanwhile, and the rows with it.
        bool areGone() const { return !tree; }

    private:
        QPointer<mkNodeListWidget> tree;
    };

    // The delegate lays its cells out as the view does.
    using QTreeWidget::viewOptions;

public Q_SLOTS:
    void createLayer(QString name = QString());
    void duplicateLayer();
    void deleteSelected();
    void selectNodes();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    QRegion visualRegionForSelection(const QItemSelection &selection) const override;

private Q_SLOTS:
    void renameLayer();
    void changedItem(QTreeWidgetItem *item, int col);
    void deleteNodes();
    void deleteLayers();
    void showPopup(const QPoint &pos);
    void doubleClicked(QTreeWidgetItem *item, int col);
    void moveUpNode();
    void moveDownNode();
    void addSelectedNodes();
    void cleanup();
    void applyAttributesToSelected();
    void expanded(QTreeWidgetItem *item);
    void collapsed(QTreeWidgetItem *item);
    void clickedSelectAll();
    void clearOverrideMaterial();

private:
    using Rows = std::vector<mkNodeItem *>;

    enum class Direction { Up, Down };
    /// What a command does once the store has been called.
    enum Afterwards {
        KeepSelection = 1,
        FitColumn = 2,
        MarkModified = 4,
        /// `callStore` itself brings its row up to date; the tree is rebuilt only if it throws.
        PatchRow = 8
    };

    /// The second half of a command: `callStore`, then a rebuild and what `afterwards` (a set of
    /// Afterwards) names. All of it is done whatever throws, since the store may have been changed
    /// half-way; the first exception is thrown on at the end.
    void change(int afterwards, const std::function<void()> &callStore);
    /// The same for slots: `function` is named in the report of what was thrown.
    void run(const char *function, int afterwards, const std::function<void()> &callStore);
    /// Has the event loop do the rebuild that was put off.
    void rebuildLater();
    void drawTree(bool keepSelection);

    void createActions();
    void registerKeys();

    mkNodeItem *layerItem(int row) const;
    static mkNodeItem *nodeItem(const mkNodeItem *layer, int row);

    /// The rows of selectedItems(), in its order, at the cost of rows and not of cells.
    Rows selectedItemRows() const;
    Rows selectedRows(bool all) const;
    Rows getSelectedLayerItems() const;
    static Rows selectedNodesOf(const mkNodeItem *layer);
    std::size_t getSelectedNodeItemsByLayer(std::vector<Rows> &groups) const;
    mkNodeItem *getFirstSelectedItem() const;
    mkNodeItem *getPreviousSibling(const mkNodeItem *item) const;
    mkNodeItem *getNextSibling(const mkNodeItem *item) const;
    QStringList getSelectedLayerNames() const;
    Rows getTargetLayerItems() const;
    Rows getTargetNodeItems() const;

    /// Closes the open editor, if there is one, without taking over what was typed. Where that was
    /// a layer's name, the result opens it again with what was typed.
    std::function<void()> suspendEdit();
    void resumeEdit(const QString &layerName, const QString &typed, int start, int length);

    void move(const char *function, Direction direction);
    void clickClearButton(mkNodeItem *row);

    bool pressedOnButton = false;
    QModelIndex pressedIndex;
    QWidget *ownerWidget;
    QMenu *contextMenu = nullptr;
    QAction *createLayerAction = nullptr;
    QAction *renameLayerAction = nullptr;
    QAction *deleteAction = nullptr;
    QAction *duplicateLayerAction = nullptr;
    QAction *selectAllAction = nullptr;
    QAction *moveUpAction = nullptr;
    QAction *moveDownAction = nullptr;
    QAction *applyAttributesAction = nullptr;
    QAction *addSelectedNodesAction = nullptr;
    QAction *selectNodesAction = nullptr;
    QAction *cleanupAction = nullptr;
    QAction *clearOverrideMaterialAction = nullptr;
    mkOverrideMaterialItemDelegate *overrideMaterialDelegate;
    QPointer<mkAttributesGUIW> attributesDialog;
    int rowsInUse = 0;
    bool rebuildPending = false;
    /// The last rebuild failed, and the event loop tries again or has done so.
    bool rebuildFailed = false;
    /// What was asked for while a rebuild was pending.
    Fit pendingFit = Fit::None;
};
