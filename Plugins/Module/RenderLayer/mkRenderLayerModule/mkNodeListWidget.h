#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"
#include "mkOpenSGExt/RenderLayers.h"

#include <QPointer>
#include <QStringList>
#include <QTreeWidget>

#include <optional>
#include <string>
#include <tuple>
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
    ~mkNodeListWidget() override;

    /// The context menu, for others to add to. It belongs to the tree.
    QMenu *popupMenu() const { return contextMenu; }

    /// Draws the tree anew from the store. Expansion comes from the store. With `keepSelection`
    /// every selected layer row and visible node row is selected again, found by layer name and
    /// node; without it, only the current row, if it was selected. A name that is being typed stays
    /// in its editor. While rows are in use the rebuild waits for the end of that, and then is one
    /// without `keepSelection`.
    void rebuildTree(bool keepSelection);
    /// Widens the first column to its contents; never makes it narrower.
    void fitFirstColumn();
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

    /// indexOfTopLevelItem() that does not search all layers anew for each of their rows.
    int topLevelRow(const QTreeWidgetItem *item) const { return indexFromItem(item).row(); }

    /// To be held while rows are used across host calls: those may send a message that asks for a
    /// rebuild, which would delete the rows. What was asked for is done when the last of these
    /// ends, or later, with the event loop.
    class RowsInUse
    {
    public:
        enum End { RebuildAtEnd, RebuildLater };

        /// `user` may be null.
        explicit RowsInUse(mkNodeListWidget *user, End whenDone = RebuildAtEnd);
        ~RowsInUse();
        RowsInUse(const RowsInUse &) = delete;
        RowsInUse &operator=(const RowsInUse &) = delete;

    private:
        QPointer<mkNodeListWidget> tree;
        End end;
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

    /// What a rebuild carries across.
    struct SelectionMemory;
    /// A layer's name in the middle of being typed.
    struct OpenEdit
    {
        QString layerName;
        QString text;
        int cursor;
        int selectionStart;
        int selectionLength;
    };
    enum class Direction { Up, Down };
    /// All that the first column's wanted width depends on: which texts and which of the rows are
    /// shown, the scroll position, the viewport's height, font and style.
    using FirstColumnState = std::tuple<unsigned, int, int, QFont, const QStyle *>;

    /// For the handler of a slot or an event: reports the exception in flight and shows what the
    /// command left behind.
    void recover(const char *function) noexcept;
    /// Rebuilds and marks the document modified, since the store may have been changed half-way.
    void redrawAfterFailure() noexcept;
    /// Does the rebuild that was put off, if there is one and rows are no longer in use.
    void catchUp(RowsInUse::End end) noexcept;
    /// rebuildTree() at once, for commands that are through with their rows.
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
    mkNodeItem *getSibling(const mkNodeItem *item, int step) const;
    void collectSelection(QStringList &layerNames, std::vector<osg::NodePtr> &nodes,
                          QStringList &nodeLayerNames) const;
    QStringList getSelectedLayerNames() const;
    Rows getTargetLayerItems() const;
    Rows getTargetNodeItems() const;

    SelectionMemory rememberSelection(bool keepSelection) const;
    void deleteRows();
    void createRows(const osg::RenderLayersPtr &content);
    void restoreSelection(SelectionMemory &memory);
    /// Closes the open editor, if there is one, without taking over what was typed. The result is
    /// that, where it was a layer's name, for resumeEdit().
    std::optional<OpenEdit> suspendEdit();
    void resumeEdit(const OpenEdit &edit);
    /// Selects full-width ranges and nothing else. The current row is one of them.
    void replaceSelection(const QItemSelection &rows);
    void storeExpansion(QTreeWidgetItem *item);

    void removeSelectedLayers();
    void removeSelectedNodes();
    void move(Direction direction);
    bool moveLayers(const Rows &layers, Direction direction);
    bool moveNodes(const std::vector<Rows> &groups, Direction direction);
    static void moveInStore(const mkNodeItem *row, unsigned layerIndex, Direction direction);
    void clickClearButton(mkNodeItem *row);
    static void acceptDrag(QDragMoveEvent *event);

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
    /// Goes up when rows come, go, open, close, or get another text.
    unsigned firstColumnRevision = 1;
    FirstColumnState fittedState{};
    int fittedWidth = 0;
    int rowsInUse = 0;
    bool rebuildPending = false;
};
