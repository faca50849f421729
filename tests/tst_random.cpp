#include "HostFixture.h"
#include "PanelModel.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QUndoStack>

#include <rapidcheck.h>

#include <iostream>

namespace {

using Position = PanelModel::Position;
using Direction = PanelModel::Direction;

/// One thing that happens. What `a` and `b` choose depends on what there is when it happens.
struct Step
{
    int kind;
    unsigned a;
    unsigned b;
};

std::ostream &operator<<(std::ostream &stream, const Step &step)
{
    return stream << step.kind << '/' << step.a << '/' << step.b;
}

/// Few, so that they clash.
const QStringList names{ "A", "B", "Layer", "Layer1", "a", "Größe", "" };

/// A tree that grows without end says nothing more, slowly.
constexpr std::size_t manyLayers = 6;
constexpr std::size_t manyNodes = 16;

using OwnValues = std::map<osg::Node *, QString>;

/// One random sequence: each step is done to the model and to the real panel.
class Session
{
public:
    explicit Session(HostFixture &fixture);
    /// The story up to the first step after which panel and model differ; empty if none does.
    QString play(const std::vector<Step> &steps);

    static constexpr int kinds = 40;

private:
    void perform(const Step &step);
    void reply(QWidget *modal);
    void user(const Step &step);
    void command(const Step &step);
    void dialog(const Step &step);
    void rowEdit(const Step &step);
    void rename(const Step &step);
    void message(const Step &step);
    void scene(const Step &step);
    void openScene();
    void storeBehindThePanel(const Step &step);
    void script(const Step &step);

    void tell(const QString &line) { story += line; }
    QString path(Position position) const;
    QTreeWidgetItem *item(Position position) const;
    QPoint pointIn(Position position, int column) const;
    Position positionOf(const QTreeWidgetItem *wanted) const;
    PanelModel::Positions order() const;
    std::optional<Position> anyRow(unsigned choice, bool node = false) const;
    std::vector<osg::NodePtr> sceneNodes() const;
    osg::NodePtr anyNode(unsigned choice) const;
    static osg::MaterialPtr anyMaterial(unsigned choice);
    OwnValues ownValues() const;
    void expectActivation(const PanelModel::Positions &rows);
    void expectReset(const std::function<bool(const osg::NodePtr &)> &reached);
    QLineEdit *editor() const;
    void type(const QString &text, bool commit);
    bool drop(const QString &format, const QByteArray &bytes, std::optional<Position> position);
    QString check();

    HostFixture &host;
    QTreeWidget *tree;
    PanelModel model;
    QStringList story;
    int rebuilds = 0;
    QMetaObject::Connection counter;
    /// How the next dialog is answered, and how many there were.
    std::function<void(QWidget *)> answer;
    int dialogs = 0;
    /// What must hold besides, after the step.
    std::optional<std::vector<osg::Node *>> hostSelection;
    std::optional<OwnValues> own;
    QString complaint;
};

Session::Session(HostFixture &fixture)
    : host(fixture)
    , tree(fixture.tree())
{}

void Session::reply(QWidget *modal)
{
    ++dialogs;
    if (answer) {
        answer(modal);
    } else {
        modal->close();
    }
}

QString Session::play(const std::vector<Step> &steps)
{
    openScene();
    model.rebuilds = 0;

    // Counted where the view hears of it, whatever blocks the tree's signals.
    rebuilds = 0;
    counter = QObject::connect(tree->model(), &QAbstractItemModel::modelReset, tree,
                               [this] { ++rebuilds; });
    QString difference;
    for (const Step &step : steps) {
        if (!difference.isEmpty()) {
            break;
        }
        hostSelection.reset();
        own.reset();
        complaint.clear();
        answer = nullptr;
        dialogs = model.warnings = 0;
        const ModalAnswers answers([this](QWidget *modal) { reply(modal); });
        perform(step);
        difference = check();
    }
    QObject::disconnect(counter);
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return difference.isEmpty() ? QString() : story.join('\n') + '\n' + difference;
}

void Session::perform(const Step &step)
{
    if (model.store.empty() && step.b % 3 == 0) {
        openScene();
    } else if (step.kind < 7) {
        user(step);
    } else if (step.kind < 20) {
        command(step);
    } else if (step.kind < 22) {
        dialog(step);
    } else if (step.kind < 28) {
        rowEdit(step);
    } else if (step.kind < 30) {
        message(step);
    } else if (step.kind < 36) {
        scene(step);
    } else if (step.kind < 38) {
        storeBehindThePanel(step);
    } else {
        script(step);
    }
}

QString Session::path(Position position) const
{
    const PanelModel::Row *const layer = model.row({ position.layer });
    return position.isNode() ? layer->text + '/' + model.row(position)->text : layer->text;
}

QTreeWidgetItem *Session::item(Position position) const
{
    QTreeWidgetItem *const layer = tree->topLevelItem(position.layer);
    return position.isNode() ? layer->child(position.node) : layer;
}

QPoint Session::pointIn(Position position, int column) const
{
    tree->scrollToItem(item(position));
    QRect rect = tree->visualItemRect(item(position));
    rect.setLeft(tree->columnViewportPosition(column));
    rect.setWidth(tree->columnWidth(column));
    return rect.center();
}

Position Session::positionOf(const QTreeWidgetItem *wanted) const
{
    if (!wanted) {
        return {};
    }
    auto *const row = const_cast<QTreeWidgetItem *>(wanted);
    QTreeWidgetItem *const layer = row->parent();
    return layer ? Position{ tree->indexOfTopLevelItem(layer), layer->indexOfChild(row) }
                 : Position{ tree->indexOfTopLevelItem(row) };
}

PanelModel::Positions Session::order() const
{
    PanelModel::Positions positions;
    const QList<QTreeWidgetItem *> selected = tree->selectedItems();
    for (const QTreeWidgetItem *const row : selected) {
        positions.push_back(positionOf(row));
    }
    return positions;
}

std::optional<Position> Session::anyRow(unsigned choice, bool node) const
{
    PanelModel::Positions rows = model.visibleRows();
    if (node) {
        rows.erase(std::remove_if(rows.begin(), rows.end(), [](Position p) { return !p.isNode(); }),
                   rows.end());
    }
    return rows.empty() ? std::optional<Position>() : rows[choice % rows.size()];
}

std::vector<osg::NodePtr> Session::sceneNodes() const
{
    std::vector<osg::NodePtr> nodes;
    osg::traverse(mkScenegraph::getRoot(), [&](const osg::NodePtr &node) {
        nodes.push_back(node);
        return osg::Action::Continue;
    });
    return nodes;
}

osg::NodePtr Session::anyNode(unsigned choice) const
{
    const std::vector<osg::NodePtr> nodes = sceneNodes();
    return nodes[choice % nodes.size()];
}

osg::MaterialPtr Session::anyMaterial(unsigned choice)
{
    const auto &all = mkMaterials::getMaterials();
    return all.empty() ? osg::MaterialPtr() : all[choice % all.size()];
}

OwnValues Session::ownValues() const
{
    OwnValues values;
    for (const osg::NodePtr &node : sceneNodes()) {
        values[node.get()] = HostFixture::values(mkNodeUtils::getRenderAttributes(node));
    }
    return values;
}

/// What activating these rows makes of the scene's own attributes.
void Session::expectActivation(const PanelModel::Positions &rows)
{
    if (!own) {
        own = ownValues();
    }
    for (const auto &[index, node] : model.activations(rows)) {
        if (index >= int(model.store.size())) {
            continue;
        }
        const auto &members = model.store[std::size_t(index)].members;
        const auto entryOf = [&members](const osg::Node *wanted) {
            return std::find_if(members.begin(), members.end(),
                                [wanted](const auto &other) { return other.node == wanted; });
        };
        const auto entry = entryOf(node);
        if (entry == members.end() || !entry->attributes) {
            continue;
        }
        osg::traverse(osg::NodePtr(node), [&, top = node](const osg::NodePtr &below) {
            if (below.get() != top && entryOf(below.get()) != members.end()) {
                return osg::Action::Skip;
            }
            const auto value = own->find(below.get());
            if (value != own->end()) {
                value->second = PanelModel::values(entry->attributes);
            }
            return osg::Action::Continue;
        });
    }
}

/// Where a name is typed; null when none is.
QLineEdit *Session::editor() const
{
    const QList<QLineEdit *> editors = tree->viewport()->findChildren<QLineEdit *>();
    const auto open = std::find_if(editors.begin(), editors.end(),
                                   [](const QLineEdit *editor) { return editor->isVisible(); });
    return open == editors.end() ? nullptr : *open;
}

/// Types into the open editor and leaves it.
void Session::type(const QString &text, bool commit)
{
    QLineEdit *const line = editor();
    if (!line) {
        complaint = "no editor";
        return;
    }
    line->setText(text);
    QTest::keyClick(line, commit ? Qt::Key_Return : Qt::Key_Escape);
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/// Drops onto a row, or onto empty space; false when there is no empty space.
bool Session::drop(const QString &format, const QByteArray &bytes, std::optional<Position> position)
{
    const QPoint point = position ? pointIn(*position, 1)
                                  : QPoint(20, tree->viewport()->height() - 3);
    if (!position && tree->itemAt(point)) {
        return false;
    }
    host.drop(point, format, bytes);
    return true;
}

void Session::user(const Step &step)
{
    const auto row = anyRow(step.a);
    if (!row) {
        return;
    }
    switch (step.kind) {
    case 0:
    case 1:
        tell("click " + path(*row));
        model.click(*row);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, pointIn(*row, 1));
        break;
    case 2:
    case 3:
        tell("ctrl+click " + path(*row));
        model.toggleSelection(*row);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::ControlModifier, pointIn(*row, 1));
        break;
    case 4:
        if (step.b % 2 == 0) {
            tell("look at the menu of " + path(*row));
            const QPoint point = pointIn(*row, 0);
            QContextMenuEvent event(QContextMenuEvent::Mouse, point,
                                    tree->viewport()->mapToGlobal(point));
            QApplication::sendEvent(tree->viewport(), &event);
            host.closeMenu();
            break;
        }
        tell("select all");
        model.selectAll();
        step.b % 4 == 1 ? host.key(Qt::Key_A, Qt::ControlModifier)
                        : host.action("Select All")->trigger();
        break;
    default: {
        const bool open = !model.row({ row->layer })->expanded;
        tell((open ? "open " : "close ") + path({ row->layer }));
        model.setExpanded(row->layer, open);
        item({ row->layer })->setExpanded(open);
    }
    }
}

void Session::command(const Step &step)
{
    const bool many = model.store.size() >= manyLayers;
    const bool key = step.b % 2 == 0;
    switch (step.kind) {
    case 7:
        if (!many) {
            tell("create a layer");
            model.createLayer(QString());
            key ? host.action("Create Layer")->trigger() : host.clickTool("Create Layer");
        }
        break;
    case 8:
        if (!many) {
            tell("duplicate");
            model.duplicateLayers();
            key ? host.key(Qt::Key_D, Qt::ControlModifier) : host.clickTool("Duplicate Layer");
        }
        break;
    case 9:
    case 10:
        tell("move up");
        model.move(Direction::Up, order());
        key ? host.key(Qt::Key_Up, Qt::ControlModifier) : host.action("Move Up")->trigger();
        break;
    case 11:
    case 12:
        tell("move down");
        model.move(Direction::Down, order());
        key ? host.key(Qt::Key_Down, Qt::ControlModifier) : host.action("Move Down")->trigger();
        break;
    case 13:
        tell("select nodes");
        if (!order().empty()) {
            hostSelection = model.nodesToSelect(order());
        }
        key ? host.key(Qt::Key_N, Qt::ControlModifier) : host.clickTool("Select Nodes");
        break;
    case 14: {
        const char *const only[] = { "", "deleteLayers", "deleteNodes" };
        const char *const slot = only[step.a % 3];
        tell(QString("delete ") + slot);
        if (step.a % 3 != 2) {
            model.removeSelectedLayers();
        }
        if (step.a % 3 != 1) {
            model.removeSelectedNodes();
        }
        if (*slot) {
            QMetaObject::invokeMethod(tree, slot);
        } else {
            key ? host.key(Qt::Key_Delete) : host.action("Delete")->trigger();
        }
        break;
    }
    case 15: {
        tell("add the host's selected nodes");
        std::vector<osg::NodePtr> nodes;
        for (const mkNodePtr &node : mkScenegraph::getSelectedRootNodes()) {
            nodes.push_back(node.get());
        }
        model.addNodes(nodes);
        host.action("Add Selected Nodes")->trigger();
        break;
    }
    case 16:
        tell("clean up");
        model.cleanup();
        host.action("Cleanup")->trigger();
        break;
    case 17:
        tell("clear materials");
        model.clearMaterials();
        host.action("Clear Override Material")->trigger();
        break;
    case 18:
        tell("activate");
        expectActivation(order());
        host.clickTool("Activate Layer");
        break;
    default:
        tell("reset");
        expectReset([](const osg::NodePtr &) { return true; });
        host.clickTool("Reset Layer");
    }
}

void Session::dialog(const Step &step)
{
    const bool agreed = step.b % 4 != 0;
    if (step.kind == 20) {
        tell(agreed ? "delete, after confirmation" : "do not delete, when asked");
        answer = [agreed](QWidget *modal) {
            qobject_cast<QMessageBox *>(modal)->buttons()[agreed ? 0 : 1]->click();
        };
        model.warnings = 1;
        if (agreed) {
            model.removeSelectedLayers();
            model.removeSelectedNodes();
        }
        host.clickTool("Delete");
        return;
    }
    PanelModel::Flags flags{};
    for (std::size_t i = 0; i < flags.size(); ++i) {
        flags[i] = (step.a >> i) % 2 != 0;
    }
    tell(agreed ? "apply " + PanelModel::values(PanelModel::Attributes{ flags, {} })
                : "open the attributes and cancel");
    answer = [&](QWidget *modal) {
        const QList<QCheckBox *> found = modal->findChildren<QCheckBox *>();
        std::map<int, QCheckBox *> boxes;
        for (QCheckBox *box : found) {
            boxes[box->y()] = box;
        }
        std::size_t i = 0;
        for (const auto &box : boxes) {
            box.second->setChecked(flags[i++]);
        }
        modal->findChild<QDialogButtonBox *>()
            ->button(agreed ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)
            ->click();
    };
    if (!order().empty()) {
        model.warnings = 1;
        if (agreed) {
            model.applyAttributes(flags);
        }
    }
    host.action("Apply Attributes to Selected ...")->trigger();
}

void Session::rowEdit(const Step &step)
{
    const bool anywhere = step.kind > 23 && step.a % 4 == 0;
    const auto row = anyRow(step.a / 4, step.kind < 24 || (step.kind == 26 && !anywhere));
    if (!row) {
        return;
    }
    const QString name = names[int(step.b % unsigned(names.size()))];
    switch (step.kind) {
    case 22: {
        const int column = 1 + int(step.b % 11);
        tell(QString("double click %1, column %2").arg(path(*row)).arg(column));
        model.click(*row);
        model.toggleCell(*row, column);
        const QPoint point = pointIn(*row, column);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, point);
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, point);
        break;
    }
    case 23: {
        const QString cell = model.row(*row)->cells[11];
        if (cell.isEmpty() || cell == "Empty") {
            return;
        }
        tell("click the clear button of " + path(*row));
        model.clickClearButton(*row);
        QPoint point = pointIn(*row, 12);
        point.setX(tree->columnViewportPosition(12) + 10);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, point);
        break;
    }
    case 24:
        rename(step);
        break;
    case 25: {
        const Position layer{ row->layer };
        const int column = int(step.b % 3);
        tell(QString("double click %1, column %2, and type '%3'")
                 .arg(path(layer))
                 .arg(column)
                 .arg(name));
        const QPoint point = pointIn(layer, column);
        model.click(layer);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, point);
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, point);
        model.commitText(layer, column, name);
        type(name, true);
        break;
    }
    case 26: {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        const osg::MaterialPtr dragged = step.b % 5 != 0 ? anyMaterial(step.b) : osg::MaterialPtr();
        const std::string dropped = dragged ? dragged->getName() : "unknown";
        // A drag carries only the name: of two materials with one name, the first is dropped.
        const osg::MaterialPtr material = mkMaterials::findMaterial(dropped.c_str()).get();
        stream << mkdMaterial(QString::fromStdString(dropped));
        if (step.b % 7 == 0) {
            bytes.chop(int(step.b % unsigned(bytes.size())) + 1);
        }
        const bool good = step.b % 7 != 0;
        const bool space = step.b % 9 == 0;
        tell(QString("drop material %1 on %2")
                 .arg(good && material ? mkMaterials::getName(material) : "(bad)",
                      space ? "nothing" : path(*row)));
        if (space) {
            drop("application/mosk-decoupled-materials", bytes, {});
            break;
        }
        model.dropMaterial(*row, good ? material : osg::MaterialPtr());
        drop("application/mosk-decoupled-materials", bytes, row);
        break;
    }
    default: {
        std::vector<osg::NodePtr> nodes;
        for (const mkNodePtr &node : mkScenegraph::getSelectedRootNodes()) {
            nodes.push_back(node.get());
        }
        const bool onlyRoot = nodes.size() == 1 && nodes.front() == mkScenegraph::getRoot();
        const QByteArrayList payloads{ QByteArray::fromHex("0000000100000000"),
                                       QByteArray::fromHex("ffffffff"),
                                       QByteArray::fromHex("0000000000000005"),
                                       QByteArray::fromHex("000001"), QByteArray() };
        const QByteArray bytes = payloads[int(step.b % 8) % payloads.size()];
        const bool good = bytes.size() >= 4 && bytes.left(4) != QByteArray(4, '\0');
        const bool space = step.b % 9 == 0;
        tell(QString("drop nodes (%1) on %2")
                 .arg(QString(bytes.toHex()), space ? QString("nothing") : path(*row)));
        if (space) {
            drop("application/mosk-tree-item", bytes, {});
            break;
        }
        if (good) {
            model.dropNodes(*row, nodes, onlyRoot);
        }
        model.modified = true;
        drop("application/mosk-tree-item", bytes, row);
    }
    }
}

void Session::rename(const Step &step)
{
    const QString name = names[int(step.b % unsigned(names.size()))];
    const bool commit = step.a % 5 != 0;
    const bool interrupted = step.a % 3 == 0;
    const bool menu = step.b % 4 == 0;
    bool opens = (menu || order().size() <= 1) && model.isSelected(model.current)
                 && !model.current.isNode();
    tell(QString("rename %1 to '%2'%3%4")
             .arg(opens ? path(model.current) : "nothing", name, commit ? "" : ", but escape",
                  interrupted ? ", interrupted by a rebuild" : ""));
    if (menu) {
        host.action("Rename Layer")->trigger();
    } else {
        step.b % 4 == 1 ? host.key(Qt::Key_F2) : host.key(Qt::Key_R, Qt::ControlModifier);
    }
    if (interrupted) {
        const QString old = opens ? model.row(model.current)->text : QString();
        model.rebuild(false);
        host.rebuild();
        // The edit goes on where it is clear with which layer.
        opens &= model.isSelected(model.current) && !model.current.isNode()
                 && model.row(model.current)->text == old
                 && std::count_if(model.rows.begin(), model.rows.end(),
                                  [&old](const PanelModel::Row &layer) {
                                      return layer.text == old;
                                  })
                        == 1;
    }
    if (opens) {
        if (commit) {
            model.commitText(model.current, 0, name);
        }
        type(name, commit);
    } else if (editor()) {
        complaint = "an editor";
    }
}

void Session::message(const Step &step)
{
    if (step.kind == 28) {
        tell("ask for a rebuild");
        model.rebuild(false);
        host.rebuild();
        return;
    }
    const osg::MaterialPtr material = anyMaterial(step.a);
    if (!material) {
        return;
    }
    const bool told = step.b % 3 != 0;
    tell(QString("rename material %1%2")
             .arg(mkMaterials::getName(material), told ? "" : ", untold"));
    material->setName(step.b % 2 == 0 ? "red" : "gold" + std::to_string(step.b % 4));
    if (told) {
        model.materialRenamed(material);
        mkMessage renamed("materialRenamed");
        renamed.set("material", material);
        mkController::sendMessage(renamed);
    }
    mkMessage moved("mkTransform::changedTransformation");
    mkController::sendMessage(moved);
}

void Session::scene(const Step &step)
{
    const std::string name = names[int(step.b % unsigned(names.size()))].toStdString();
    const osg::NodePtr node = anyNode(step.a);
    switch (step.kind) {
    case 30: {
        tell("select in the host");
        std::vector<mkNodePtr> nodes{ mkNodePtr(node) };
        for (unsigned i = 0; i < step.b % 3; ++i) {
            nodes.emplace_back(anyNode(step.a + 3 * i + 1));
        }
        mkSelectionManager::selectNodes(nodes);
        break;
    }
    case 31:
        tell("remove " + QString::fromStdString(node->getName()) + " from the scene");
        model.modified |= mkScenegraph::removeNode(node);
        // A removed node lives on only in the layers that hold it.
        mkUndo::stack()->clear();
        break;
    case 32: {
        if (sceneNodes().size() < manyNodes) {
            tell("add a node below " + QString::fromStdString(node->getName()));
            const osg::NodePtr added = osg::Node::create();
            added->setName(name);
            added->setCore(osg::Geometry::create());
            node->addChild(added);
        }
        break;
    }
    case 33: {
        tell("rename node " + QString::fromStdString(node->getName()));
        node->setName(name);
        // A container that may get the id of a row's node.
        const osg::MaterialPtr material = osg::Material::create();
        material->setName("extra");
        if (mkMaterials::getMaterials().size() < 5) {
            mkMaterials::addMaterial(material);
        }
        break;
    }
    case 34: {
        const osg::NodePtr other = anyNode(step.b);
        tell("move " + QString::fromStdString(node->getName()) + " below "
             + QString::fromStdString(other->getName()));
        if (node != mkScenegraph::getRoot()) {
            other->addChild(node);
        }
        if (step.b % 4 == 0) {
            mkMaterials::removeMaterial(anyMaterial(step.a));
        }
        break;
    }
    default:
        if (step.b % 3 == 0) {
            tell("save");
            mkController::setModified(0);
            model.modified = false;
        } else if (step.b % 3 == 1) {
            tell("merge a scene");
            mkScenegraph::Document document;
            document.root = osg::Node::create();
            document.root->setName(name);
            model.rebuild(false);
            model.modified = true;
            mkScenegraph::mergeScene(document);
        } else {
            openScene();
        }
    }
}

/// A new scene. Its layers are the panel's from the next rebuild on.
void Session::openScene()
{
    tell("open another scene");
    host.reset();
    model.store.clear();
    model.rebuild(false);
    model.modified = false;

    host.addLayer("A", { "a", "b", "c" });
    host.addLayer("B", { "a", "group" }, false);
    host.attributes(0, "b")->setOverrideMaterial(host.material("red"));
    const auto member = [this](const char *name) {
        return PanelModel::Member{ host.node(name).get(), PanelModel::Attributes() };
    };
    model.store = { { "A", 1, { member("a"), member("b"), member("c") } },
                    { "B", 0, { member("a"), member("group") } } };
    model.store[0].members[1].attributes->material = host.material("red");
}

void Session::storeBehindThePanel(const Step &step)
{
    if (model.store.empty()) {
        return;
    }
    const unsigned index = step.a % unsigned(model.store.size());
    PanelModel::Layer &layer = model.store[index];
    const osg::RenderLayerPtr real = HostFixture::store()->getAttachment()->getLayer(index);
    const osg::NodePtr node = anyNode(step.b);
    const QString target = layer.name;
    PanelModel::Member *const member = layer.members.empty()
                                           ? nullptr
                                           : &layer.members[step.b % layer.members.size()];
    const osg::NodePtr memberNode(member ? member->node : nullptr);
    switch (step.b / 7 % 8) {
    case 0:
        tell("behind the panel: remove a layer named " + target);
        model.store.erase(model.store.begin() + model.layerNamed(target));
        HostFixture::store()->subLayer(target.toStdString());
        break;
    case 1:
        tell("behind the panel: add a layer");
        if (model.store.size() < manyLayers) {
            model.store.push_back({ "B", 0, {} });
            HostFixture::store()->addLayer("B");
        }
        break;
    case 2:
        tell("behind the panel: rename layer " + target);
        layer.name = names[int(step.b % 6)];
        HostFixture::store()->setLayerName(index, layer.name.toStdString());
        break;
    case 3:
        tell("behind the panel: add " + QString::fromStdString(node->getName()) + " to " + target);
        model.storeAddNode(int(index), node.get());
        HostFixture::store()->addNode(index, node);
        break;
    case 4:
        if (member) {
            tell("behind the panel: take " + QString::fromStdString(memberNode->getName())
                 + " from " + target);
            model.storeSubNode(int(index), memberNode.get());
            HostFixture::store()->subNode(index, memberNode);
        }
        break;
    case 5:
        if (member) {
            tell("behind the panel: lose attributes of "
                 + QString::fromStdString(memberNode->getName()) + " in " + target);
            member->attributes.reset();
            real->replaceAttributes(memberNode, osg::NullFC);
        }
        break;
    case 6:
        if (member && member->attributes) {
            tell("behind the panel: edit " + QString::fromStdString(memberNode->getName()) + " in "
                 + target);
            member->attributes->flags[step.a % 11] ^= true;
            const osg::RaytracingGeoAttachmentPtr attributes(real->findAttributes(memberNode));
            HostFixture::flag(attributes, 1 + int(step.a % 11)) ^= true;
            member->attributes->material = anyMaterial(step.a);
            attributes->setOverrideMaterial(anyMaterial(step.a));
        }
        break;
    default:
        tell("behind the panel: move layer " + target + " down");
        model.storeMoveLayer(int(index), Direction::Down);
        HostFixture::store()->moveDownLayer(index);
    }
}

/// What resetting these nodes makes of the scene's own attributes.
void Session::expectReset(const std::function<bool(const osg::NodePtr &)> &reached)
{
    own = ownValues();
    for (const osg::NodePtr &node : sceneNodes()) {
        QString &value = (*own)[node.get()];
        if (value != "none" && reached(node)) {
            value = PanelModel::values(PanelModel::Attributes());
        }
    }
}

void Session::script(const Step &step)
{
    const QString name = names[int(step.b % unsigned(names.size()))];
    // The first of that name, as the script finds it.
    const osg::NodePtr node = host.node(name);
    const auto isBelow = [&node](const osg::NodePtr &other) { return node->isAncestorOf(other); };
    QString statement;
    switch (step.a % 7) {
    case 0:
        if (model.store.size() >= manyLayers) {
            return;
        }
        statement = "createRenderLayer('" + name + "')";
        model.createLayer(name);
        break;
    case 1: {
        statement = "activateRenderLayer('" + name + "')";
        const PanelModel::Positions found = model.rowsNamed(name);
        if (found.empty()) {
            const Position before = model.current;
            model.selectOnly({});
            model.current = before;
        }
        for (const Position position : found) {
            model.selectOnly(position);
            expectActivation({ position });
        }
        break;
    }
    case 2:
        statement = "addNodesToRenderLayer(mkHost.getSelectedNodes(), '" + name + "')";
        for (const mkNodePtr &selected : mkSelectionManager::getSelectedNodes()) {
            if (model.layerNamed(name) >= 0) {
                model.storeAddNode(model.layerNamed(name), selected.get().get());
            }
            model.rebuild(false);
            model.modified = true;
        }
        break;
    case 3: {
        PanelModel::Attributes wanted;
        QString arguments;
        for (std::size_t i = 0; i < wanted.flags.size(); ++i) {
            wanted.flags[i] = (step.b >> i) % 2 != 0;
            arguments += wanted.flags[i] ? "True, " : "False, ";
        }
        wanted.material = wanted.flags.back() ? HostFixture::material("red") : osg::MaterialPtr();
        statement = "setNodeVisibilityFlags(mkHost.findNode('" + name + "'), " + arguments
                    + "'red')";
        own = ownValues();
        for (auto &value : *own) {
            if (node && isBelow(osg::NodePtr(value.first))) {
                value.second = PanelModel::values(wanted);
            }
        }
        break;
    }
    case 4:
        statement = "resetNodeVisibilityFlags(mkHost.findNode('" + name + "'))";
        expectReset([&](const osg::NodePtr &other) { return node && isBelow(other); });
        break;
    case 5:
        // Nobody stored a state, so that every drawable is reset.
        statement = "activateRenderLayerState('" + name + "')";
        expectReset([](const osg::NodePtr &other) {
            return osg::Ptr<osg::DrawableBase>(other->getCore()) != osg::NullFC;
        });
        break;
    default:
        statement = "resetRenderLayers()";
        expectReset([](const osg::NodePtr &) { return true; });
    }
    tell("script: " + statement);
    if (!mkScript::run(statement.toUtf8())) {
        complaint = "the script failed";
    }
}

/// What panel and model differ in; empty if nothing.
QString Session::check()
{
    // A current row that is not selected is Qt's affair: the tree takes one when it gets the focus.
    const Position actual = positionOf(tree->currentItem());
    if (!model.isSelected(model.current)) {
        model.current = actual;
    }
    QStringList wrong;
    const auto compare = [&wrong](const QString &what, const QString &is, const QString &wanted) {
        if (is != wanted) {
            wrong += "=== " + what + "\n" + is + "\n=== should be\n" + wanted;
        }
    };
    compare("panel", PanelModel::describe(tree), model.describe());
    compare("rebuilds", QString::number(rebuilds), QString::number(model.rebuilds));
    compare("modified", QString::number(mkController::isModified()),
            QString::number(model.modified));
    compare("dialogs", QString::number(dialogs), QString::number(model.warnings));
    compare("test", complaint, QString());
    if (hostSelection) {
        std::vector<osg::Node *> selected;
        for (const mkNodePtr &node : mkSelectionManager::getSelectedNodes()) {
            selected.push_back(node.get().get());
        }
        compare("host selection", QString::number(selected.size()),
                QString::number(selected == *hostSelection ? int(selected.size()) : -1));
    }
    if (own && ownValues() != *own) {
        compare("own attributes of the scene's nodes", "differ", "be as activated");
    }
    if (!tree->updatesEnabled() || tree->signalsBlocked()) {
        wrong += "the tree is left switched off";
    }
    return wrong.join('\n');
}

std::uint64_t fromEnvironment(const char *name, std::uint64_t otherwise)
{
    bool ok = false;
    const std::uint64_t value = qEnvironmentVariable(name).toULongLong(&ok);
    return ok ? value : otherwise;
}

} // namespace

/// Random sessions, compared with a plain model after each step. MK_RANDOM_STEPS is the number of
/// steps, MK_RANDOM_SEED where to begin; what fails is told as a story, as short as it gets.
class tst_Random : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sessions();
};

void tst_Random::sessions()
{
    constexpr std::size_t length = 50;
    const std::uint64_t steps = fromEnvironment("MK_RANDOM_STEPS", 300 * length);
    const std::uint64_t seed = fromEnvironment("MK_RANDOM_SEED", 1);
    qputenv("RC_PARAMS", QString("seed=%1 max_success=%2")
                             .arg(seed)
                             .arg((steps + length - 1) / length)
                             .toUtf8());

    // Ranges are used to the full from the first sequence on.
    const auto step = rc::gen::resize(rc::kNominalSize,
                                      rc::gen::apply(
                                          [](int kind, unsigned a, unsigned b) {
                                              return Step{ kind, a, b };
                                          },
                                          rc::gen::noShrink(rc::gen::inRange(0, Session::kinds)),
                                          rc::gen::inRange(0U, 2520U),
                                          rc::gen::inRange(0U, 2520U)));
    const auto sequence = rc::gen::shrink(rc::gen::container<std::vector<Step>>(length, step),
                                          [](const std::vector<Step> &longer) {
                                              return rc::shrink::removeChunks(longer);
                                          });

    HostFixture host(true);
    QVERIFY(mkScript::run("import mkHost"));
    const auto result = rc::detail::checkTestable([&] {
        Session session(host);
        return session.play(*sequence).toStdString();
    });
    if (result.is<rc::detail::FailureResult>()) {
        std::cerr << result.get<rc::detail::FailureResult>().description
                  << "\nMK_RANDOM_SEED=" << seed << std::endl;
    }
    QVERIFY2(result.is<rc::detail::SuccessResult>(), qPrintable(QString("with seed %1").arg(seed)));
}

HOST_TEST_MAIN(tst_Random)
#include "tst_random.moc"
