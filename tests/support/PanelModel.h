#pragma once

#include "OSGSystem/Material.h"
#include "OSGSystem/Node.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <vector>

class QTreeWidget;

/// What the store and the panel should hold, in plain values, written from what each operation
/// promises. An operation of the model is run before the panel's own, while every node that it
/// speaks of still lives.
class PanelModel
{
public:
    enum class Direction { Up = -1, Down = 1 };
    using Flags = std::array<bool, 11>;

    struct Attributes
    {
        Flags flags{ true, true, true, true, true, true, true, true, true, true, false };
        osg::MaterialPtr material;
    };
    struct Member
    {
        osg::Node *node;
        /// Nothing for a member that the store holds no attributes for.
        std::optional<Attributes> attributes;
    };
    struct Layer
    {
        QString name;
        unsigned state = 0;
        std::vector<Member> members;
    };

    /// A row: a layer's has node -1, none has layer -1.
    struct Position
    {
        int layer = -1;
        int node = -1;
        bool isNode() const { return node >= 0; }
        friend bool operator==(Position a, Position b)
        {
            return a.layer == b.layer && a.node == b.node;
        }
    };
    using Positions = std::vector<Position>;

    struct Row
    {
        QString text;
        bool selected = false;
        /// Layer rows.
        bool expanded = false;
        std::vector<Row> nodes;
        /// Node rows: the container's id, and columns 1 to 12.
        std::uint32_t id = 0;
        std::array<QString, 12> cells;
    };

    std::vector<Layer> store;
    std::vector<Row> rows;
    Position current;
    bool modified = false;
    int rebuilds = 0;
    int warnings = 0;

    const Row *row(Position position) const;
    Row *row(Position position);
    bool isSelected(Position position) const;
    bool isVisible(Position position) const;
    Positions visibleRows() const;
    int layerNamed(const QString &name) const;
    /// The node of a row that lives now; null for layer rows.
    osg::NodePtr resolve(Position position) const;

    // The user in the tree. `order` is the selection in the order in which Qt lists it.
    void click(Position position);
    void toggleSelection(Position position);
    void selectAll();
    void setExpanded(int layer, bool expanded);
    void createLayer(const QString &name);
    void commitText(Position position, int column, const QString &text);
    void duplicateLayers();
    void move(Direction direction, const Positions &order);
    void removeSelectedLayers();
    void removeSelectedNodes();
    void addNodes(const std::vector<osg::NodePtr> &nodes);
    void applyAttributes(const Flags &flags);
    void clearMaterials();
    void toggleCell(Position position, int column);
    void clickClearButton(Position position);
    void dropNodes(Position position, const std::vector<osg::NodePtr> &nodes, bool onlyRoot);
    void dropMaterial(Position position, const osg::MaterialPtr &material);
    void cleanup();
    void materialRenamed(const osg::MaterialPtr &material);
    std::vector<osg::Node *> nodesToSelect(const Positions &order) const;
    /// The entries that activation applies, in order.
    std::vector<std::pair<int, osg::Node *>> activations(const Positions &order) const;
    /// What a script's activation by name selects, one after the other.
    Positions rowsNamed(const QString &text) const;
    void selectOnly(Position position);

    void rebuild(bool keepSelection);

    // The store, as the host documents it.
    void storeAddNode(int layer, osg::Node *node);
    void storeSubNode(int layer, osg::Node *node);
    void storeMoveLayer(int layer, Direction direction);
    void storeMoveNode(int layer, osg::Node *node, Direction direction);
    static QString uniqueName(const QString &name, const QStringList &taken);

    /// The whole panel and store as text, from the model and from what is really there.
    QString describe() const;
    static QString describe(const QTreeWidget *tree);
    static QString values(const std::optional<Attributes> &attributes);

private:
    Member *member(int layer, const osg::Node *node);
    std::optional<Attributes> *attributesOf(int layer, const osg::NodePtr &node);
    std::optional<Attributes> *attributesOfRow(Position position);
    Positions selectedLayers() const;
    Positions selectedVisibleNodes() const;
    bool isAlive(const osg::NodePtr &node) const;
    void fillCells(Row &row, const std::optional<Attributes> &attributes);
    void writeCells(Position position);
};
