#pragma once

#include "OSGSystem/Material.h"
#include "OSGSystem/Node.h"

#include <QStringList>
#include <QVector>

#include <optional>

class QTreeWidget;

/// What the store and the panel should hold, in plain values, written from what each operation
/// promises. An operation of the model is run before the panel's own, while every node that it
/// speaks of still lives.
class PanelModel
{
public:
    struct Attributes
    {
        QString flags = "11111111110";
        osg::MaterialPtr material = osg::NullFC;
    };
    struct Member
    {
        osg::Node *node;
        /// Nothing for a member that the store holds no attributes for.
        std::optional<Attributes> attributes = Attributes();
    };
    struct Layer
    {
        QString name;
        bool open = false;
        QVector<Member> members = {};
    };
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

    QVector<Layer> store;
    /// All rows from top to bottom, also those under closed layers.
    QVector<Row> rows;
    int current = -1;
    bool modified = false;
    int rebuilds = 0;
    int warnings = 0;

    bool isSelected(int row) const { return row >= 0 && rows[row].selected; }
    int layerOf(int row) const { return row - rows[row].node - 1; }
    template <typename Wanted>
    Rows where(Wanted wanted) const;
    Rows layerRows() const;
    Rows visibleRows() const;
    int layerNamed(const QString &name) const;

    // The user in the tree. `order` is the selection in the order in which Qt lists it.
    void selectOnly(int row);
    void toggleSelection(int row);
    void selectAll();
    void setOpen(int row, bool open);
    void createLayer(const QString &name);
    void commitText(int row, int column, const QString &text);
    void duplicateLayers();
    /// By -1 or +1.
    void move(int by, const Rows &order);
    void removeSelectedLayers();
    void removeSelectedNodes();
    void addNodes(const std::vector<osg::NodePtr> &nodes);
    void applyAttributes(const QString &flags);
    void clearMaterials();
    void toggleCell(int row, int column);
    void clickClearButton(int row);
    void dropNodes(int row, const std::vector<osg::NodePtr> &nodes);
    void dropMaterial(int row, const osg::MaterialPtr &material);
    void cleanup();
    void materialRenamed(const osg::MaterialPtr &material);
    /// What Select Nodes makes the host's selection.
    std::vector<osg::NodePtr> nodesOf(const Rows &order) const;
    void rebuild(bool keepSelection);
    /// Rebuilds after a change of the document.
    void changed(bool keepSelection);

    // The store, as the host documents it.
    void storeAddNode(int layer, osg::Node *node);
    void storeSubNode(int layer, osg::Node *node);
    void storeMoveLayer(int layer, int by);

    /// What is really there. Rows have no ids, and do not know their places.
    static PanelModel read(const QTreeWidget *tree);
    /// The whole panel and store as text.
    QString describe() const;

private:
    /// The rows of a layer's nodes.
    Rows below(int layerRow) const;
    Rows selected(bool nodes) const;
    Member *member(int layer, const osg::Node *node);
    /// The node of a row that lives now; null for layer rows.
    osg::NodePtr resolve(int row) const;
    /// Of a row's node, or of whatever is at its place in the store; null where there are none.
    Attributes *attributesOf(int row);
    Attributes *attributesAt(int row);
    void writeCells(int row);
    void storeMoveNode(int layer, osg::Node *node, int by);
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
