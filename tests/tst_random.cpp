#include "BareSelection.h"
#include "HostFixture.h"
#include "PanelModel.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTreeWidgetItemIterator>
#include <QUndoStack>

#include <rapidcheck.h>

#include <iostream>

namespace {

using Rows = PanelModel::Rows;
using Nodes = PanelModel::Nodes;

/// One thing that happens. What `a` and `b` choose depends on what there is when it happens.
struct Step
{
    unsigned kind;
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
constexpr int manyLayers = 6;
constexpr std::size_t manyNodes = 16;

QString nameOf(const osg::NodePtr &node)
{
    return QString::fromStdString(node->getName());
}

Nodes plain(const std::vector<mkNodePtr> &nodes)
{
    Nodes found;
    for (const mkNodePtr &node : nodes) {
        found.push_back(node.get());
    }
    return found;
}

/// One random sequence: each step is done to the model and to the real panel.
class Session
{
public:
    explicit Session(HostFixture &fixture)
        : host(fixture)
        , tree(fixture.tree())
    {}

    /// The story up to the first step after which panel and model differ; empty if none does.
    QString play(const std::vector<Step> &steps)
    {
        openScene();
        model.rebuilds = 0;

        // Counted where the view hears of it, whatever blocks the tree's signals.
        const auto counter = QObject::connect(tree->model(), &QAbstractItemModel::modelReset, tree,
                                              [this] { ++rebuilds; });
        for (auto next = steps.begin(); next != steps.end() && wrong.empty(); ++next) {
            step = *next;
            answer = [](QWidget *modal) { modal->close(); };
            dialogs = model.warnings = 0;
            const ModalAnswers answers([this](QWidget *modal) {
                ++dialogs;
                answer(modal);
            });
            const int before = rebuilds;
            // The tree takes a current row by itself when it gets the focus.
            if (!model.isSelected(model.current)) {
                bare.setCurrent(model.current);
            }
            perform();
            if (rebuilds != before) {
                bare.rebuild(tree);
            }
            check();
        }
        QObject::disconnect(counter);
        HostFixture::settle();
        return wrong.empty() ? QString() : (story + wrong).join('\n');
    }

private:
    void tell(const QString &line) { story += line; }

    static QString anyName(unsigned choice) { return names[int(choice) % names.size()]; }

    QString path(int row) const
    {
        const QString layer = model.rows[model.layerOf(row)].text;
        return model.rows[row].isNode() ? layer + '/' + model.rows[row].text : layer;
    }

    QTreeWidgetItem *item(int row) const { return *(QTreeWidgetItemIterator(tree) += row); }

    int rowOf(const QTreeWidgetItem *wanted) const { return BareSelection::rowOf(tree, wanted); }

    /// The selection as Qt lists it.
    Rows order() const { return BareSelection::order(tree); }

    Nodes sceneNodes() const
    {
        Nodes nodes;
        osg::traverse(mkScenegraph::getRoot(), [&](const osg::NodePtr &node) {
            nodes.push_back(node);
            return osg::Action::Continue;
        });
        return nodes;
    }

    osg::NodePtr anyNode(unsigned choice) const
    {
        const Nodes nodes = sceneNodes();
        return nodes[choice % nodes.size()];
    }

    static osg::MaterialPtr anyMaterial(unsigned choice)
    {
        const auto &all = mkMaterials::getMaterials();
        return all.empty() ? osg::MaterialPtr() : all[choice % all.size()];
    }

    void drop(const QString &format, const QByteArray &bytes)
    {
        tell("drop " + bytes.toHex() + " on " + path(target));
        host.drop(host.cell(item(target), 1).center(), format, bytes);
    }

    /// What the menu offers; the key or the button in the tool bar does the same.
    void command()
    {
        struct Command
        {
            const char *name;
            std::function<void()> expect;
            int key = 0;
        };
        const bool full = model.layerCount() >= manyLayers;
        const Rows selection = order();
        Nodes chosenNodes;
        const std::vector<Command> all{
            { full ? "" : "Create Layer", [&] { model.createLayer({}); } },
            { full ? "" : "Duplicate Layer", [&] { model.duplicateLayers(); }, Qt::Key_D },
            { "Move Up", [&] { model.move(-1, selection); }, Qt::Key_Up },
            { "Move Down", [&] { model.move(1, selection); }, Qt::Key_Down },
            { "Select Nodes", [&] { chosenNodes = model.nodesOf(selection); }, Qt::Key_N },
            { "Select All",
              [&] {
                  model.selectAll();
                  bare.selectAll();
              },
              Qt::Key_A },
            { "Add Selected Nodes",
              [&] { model.addNodes(plain(mkScenegraph::getSelectedRootNodes())); } },
            { "Cleanup",
              [&] {
                  model.store.cleanup(mkScenegraph::getRoot());
                  model.rebuild(false);
              } },
            { "Clear Override Material", [&] { model.clearMaterials(); } },
            { "Activate Layer", [] {} },
            { "Reset Layer", [] {} },
        };
        const Command &chosen = all[step.a % all.size()];
        if (!*chosen.name) {
            return;
        }
        tell(chosen.name);
        chosen.expect();
        if (step.b % 3 == 0 && chosen.key) {
            host.key(chosen.key, Qt::ControlModifier);
        } else if (step.b % 3 == 1 || !host.clickTool(chosen.name)) {
            host.action(chosen.name)->trigger();
        }
        if (chosen.name == QString("Select Nodes") && !selection.empty()
            && plain(mkSelectionManager::getSelectedNodes()) != chosenNodes) {
            wrong += "other nodes are selected";
        }
    }

    void rename()
    {
        const QString name = anyName(step.b);
        const bool commit = step.a % 5 != 0;
        const bool interrupted = step.a % 3 == 0;
        const bool menu = step.b % 4 == 0;
        const auto canEdit = [this] {
            return model.isSelected(model.current) && !model.rows[model.current].isNode();
        };
        bool opens = (menu || order().size() <= 1) && canEdit();
        const QString old = opens ? path(model.current) : "nothing";
        tell(QString("rename %1 to '%2', %3, %4")
                 .arg(old, name, commit ? "return" : "escape",
                      interrupted ? "interrupted by a rebuild" : "at once"));
        menu ? host.action("Rename Layer")->trigger() : host.key(Qt::Key_F2);
        if (interrupted) {
            model.rebuild(false);
            host.rebuild();
            // The edit goes on where it is clear with which layer.
            const Rows namesakes = model.where([&](int row) { return path(row) == old; });
            opens &= canEdit() && namesakes == Rows{ model.current };
        }
        if (opens && commit) {
            model.commitName(model.current, name);
        }
        if (host.type(name, commit ? Qt::Key_Return : Qt::Key_Escape) != opens) {
            wrong += opens ? "no editor" : "an editor";
        }
    }

    /// A new scene. Its layers are the panel's from the next rebuild on.
    void openScene()
    {
        tell("open another scene");
        host.reset();
        model.store = mkRenderLayer(osg::Node::create());
        model.rebuild(false);
        model.modified = false;
        inBothStores([this](mkRenderLayer &store) {
            store.addLayer("A");
            store.addLayer("B");
            store.setCollapseState(0, 1);
            for (const char *name : { "a", "b", "c" }) {
                store.addNode(0, host.node(name));
            }
            store.addNode(1, host.node("a"));
            store.addNode(1, host.node("group"));
            store.getAttributes(0, host.node("b"))->setOverrideMaterial(host.material("red"));
        });
    }

    void editScene()
    {
        const osg::NodePtr node = anyNode(step.a);
        if (step.b % 3 == 0 && sceneNodes().size() < manyNodes) {
            tell("add a node below " + nameOf(node));
            const osg::NodePtr added = osg::Node::create();
            added->setName(anyName(step.b).toStdString());
            added->setCore(osg::Geometry::create());
            node->addChild(added);
        } else if (step.b % 3 == 1) {
            tell("rename node " + nameOf(node));
            node->setName(anyName(step.b).toStdString());
            // A container that may get the id of a row's node.
            const osg::MaterialPtr material = osg::Material::create();
            material->setName("extra");
            if (mkMaterials::getMaterials().size() < 5) {
                mkMaterials::addMaterial(material);
            }
        } else if (node != mkScenegraph::getRoot()) {
            tell("move " + nameOf(node) + " below " + nameOf(anyNode(step.b)));
            anyNode(step.b)->addChild(node);
            if (step.b % 4 == 0) {
                mkMaterials::removeMaterial(anyMaterial(step.a));
            }
        }
    }

    void inBothStores(const std::function<void(mkRenderLayer &)> &change)
    {
        change(*HostFixture::store());
        change(model.store);
    }

    void storeBehindThePanel()
    {
        if (model.store.isEmpty()) {
            return;
        }
        const unsigned index = step.a % unsigned(model.layerCount());
        const osg::RenderLayerPtr layer = model.store.getAttachment()->getLayer(index);
        const std::string name = layer->getName();
        const std::string other = anyName(step.b % 6).toStdString();
        const osg::NodePtr node = anyNode(step.b);
        const auto &members = layer->getNodes();
        const osg::NodePtr member = members.empty() ? node : members[step.b % members.size()];
        const int column = 1 + int(step.a % 11);
        const std::pair<QString, std::function<void(mkRenderLayer &)>> changes[] = {
            { "remove the first of its name", [&](auto &store) { store.subLayer(name); } },
            { "rename it " + anyName(step.b % 6),
              [&](auto &store) { store.setLayerName(index, other); } },
            { "add " + nameOf(node),
              [&](auto &store) {
                  if (node != mkScenegraph::getRoot()) {
                      store.addNode(index, node);
                  }
              } },
            { "move it down", [&](auto &store) { store.moveDownLayer(index); } },
            { "take out " + nameOf(member), [&](auto &store) { store.subNode(index, member); } },
            { "lose the attributes of " + nameOf(member),
              [&](auto &store) {
                  if (store.getAttributes(index, member)) {
                      store.getAttachment()->getLayer(index)->replaceAttributes(member,
                                                                                osg::NullFC);
                  }
              } },
            { "edit " + nameOf(member),
              [&](auto &store) {
                  if (const auto attributes = store.getAttributes(index, member)) {
                      HostFixture::flag(attributes, column) ^= true;
                      attributes->setOverrideMaterial(anyMaterial(step.a));
                  }
              } },
            { "add another layer", [](auto &store) { store.addLayer("B"); } },
        };
        const auto &[line,
                     change] = changes[step.b / 7 % (model.layerCount() < manyLayers ? 8 : 7)];
        tell(QString("behind the panel, layer %1: %2").arg(name.c_str(), line));
        inBothStores(change);
    }

    void script()
    {
        const QString name = anyName(step.b);
        const QStringList statements{
            "createRenderLayer('" + name + "')",
            "activateRenderLayer('" + name + "')",
            "addNodesToRenderLayer(mkHost.getSelectedNodes(), '" + name + "')",
        };
        const int chosen = int(step.a) % statements.size();
        if (chosen == 0 && model.layerCount() >= manyLayers) {
            return;
        }
        tell("script: " + statements[chosen]);
        if (chosen == 0) {
            model.createLayer(name);
        } else if (chosen == 1) {
            const Rows found = model.where([&](int row) { return model.rows[row].text == name; });
            model.selectOnly(found.empty() ? -1 : found.last());
            bare.select(found.empty() ? -1 : found.last());
        } else {
            for (const osg::NodePtr &node : plain(mkSelectionManager::getSelectedNodes())) {
                model.addTo(name.toStdString(), node);
                model.changed(false);
            }
        }
        if (!mkScript::run(statements[chosen].toUtf8())) {
            wrong += "the script failed";
        }
    }

    /// Rows are often meant, and else it is often a command.
    void perform()
    {
        const Rows rows = model.visibleRows();
        const std::size_t kind = step.kind;
        if (rows.empty() && step.b % 3 == 0) {
            openScene();
        } else if (kind < 2 * onRows.size()) {
            target = rows.empty() ? -1 : rows[int(step.a) % rows.size()];
            if (target >= 0) {
                onRows[kind % onRows.size()]();
            }
        } else if (kind - 2 * onRows.size() < others.size()) {
            others[kind - 2 * onRows.size()]();
        } else {
            command();
        }
    }

    void check()
    {
        // A current row that is not selected is Qt's affair: the tree takes one when it gets the
        // focus.
        if (!model.isSelected(model.current)) {
            model.current = rowOf(tree->currentItem());
        }
        const auto number = [](int value) { return QString::number(value); };
        compare("panel", PanelModel::describe(tree), model.describe());
        if (order() != bare.order()) {
            wrong += "the selection is in another order than a bare tree's";
        }
        compare("rebuilds", number(rebuilds), number(model.rebuilds));
        compare("modified", number(mkController::isModified()), number(model.modified));
        compare("dialogs", number(dialogs), number(model.warnings));
        if (!tree->updatesEnabled() || tree->signalsBlocked()) {
            wrong += "the tree is left switched off";
        }
    }

    void compare(const QString &what, const QString &is, const QString &wanted)
    {
        if (is != wanted) {
            wrong += "=== " + what + "\n" + is + "\n=== should be\n" + wanted;
        }
    }

    HostFixture &host;
    QTreeWidget *tree;
    PanelModel model;
    BareSelection bare;
    QStringList story;
    Step step{};
    int target = -1;
    int rebuilds = 0;
    /// How the next dialog is answered, and how many there were.
    std::function<void(QWidget *)> answer;
    int dialogs = 0;
    /// What is not as it should be after the step.
    QStringList wrong;

    using Steps = std::vector<std::function<void()>>;
    /// What is done to the row `target`.
    const Steps onRows{
        [this] {
            tell("click " + path(target));
            model.selectOnly(target);
            bare.click(target);
            host.click(host.cell(item(target), 1).center());
        },
        [this] {
            tell("ctrl+click " + path(target));
            model.toggleSelection(target);
            bare.click(target, Qt::ControlModifier);
            host.click(host.cell(item(target), 1).center(), Qt::ControlModifier);
        },
        [this] {
            // Where Qt measures from a row that is not to be seen, anything can come of it.
            if (!model.isSelected(model.current) || !model.visibleRows().contains(model.current)) {
                return;
            }
            const int key = step.b % 3 == 0 ? Qt::Key_Up : step.b % 3 == 1 ? Qt::Key_Down : 0;
            tell(key ? "shift+arrow" : "shift+click " + path(target));
            if (key) {
                bare.key(Qt::Key(key), Qt::ShiftModifier);
                host.key(key, Qt::ShiftModifier);
            } else {
                bare.click(target, Qt::ShiftModifier);
                host.click(host.cell(item(target), 1).center(), Qt::ShiftModifier);
            }
            // The model knows nothing of ranges; the bare tree does.
            const Rows selected = bare.order();
            for (int row = 0; row < model.rows.size(); ++row) {
                model.rows[row].selected = selected.contains(row);
            }
            model.current = bare.current();
        },
        [this] {
            const int layer = model.layerOf(target);
            const bool open = !model.rows[layer].open;
            tell((open ? "open " : "close ") + path(layer));
            model.setOpen(layer, open);
            bare.setOpen(layer, open);
            item(layer)->setExpanded(open);
        },
        [this] {
            if (!model.rows[target].isNode()) {
                return;
            }
            const int column = 1 + int(step.b % 11);
            tell(QString("double click %1, column %2").arg(path(target)).arg(column));
            model.selectOnly(target);
            bare.click(target);
            model.toggleCell(target, column);
            host.doubleClick(item(target), column);
        },
        [this] {
            const QString material = model.rows[target].cells.mid(12);
            if (!material.isEmpty() && material != "Empty") {
                tell("click the clear button of " + path(target));
                model.clickClearButton(target);
                host.click(host.clearButton(item(target)));
            }
        },
        [this] {
            const osg::MaterialPtr dragged = step.b % 5 != 0 ? anyMaterial(step.b)
                                                             : osg::MaterialPtr();
            const std::string name = dragged ? dragged->getName() : "unknown";
            // A drag carries only the name: of two materials with one name, the first is dropped.
            model.dropMaterial(target, mkMaterials::findMaterial(name.c_str()).get());
            drop(HostFixture::materialFormat,
                 HostFixture::materialPayload(QString::fromStdString(name)));
        },
        [this] {
            const bool good = step.b % 3 != 0;
            const Nodes nodes = plain(mkScenegraph::getSelectedRootNodes());
            drop(HostFixture::nodeFormat,
                 QByteArray::fromHex(good ? "0000000100000000" : "0000000000000005"));
            if (good) {
                model.dropNodes(target, nodes);
            }
            model.modified = true;
        },
    };
    const Steps others{
        [this] {
            // One of two, or both.
            const char *const slot = step.b % 3 == 0 ? "deleteLayers" : "deleteNodes";
            const bool both = step.b % 3 == 2;
            tell(both ? "delete" : slot);
            if (step.b % 3 != 1) {
                model.removeSelectedLayers();
            }
            if (step.b % 3 != 0) {
                model.removeSelectedNodes();
            }
            both ? host.key(Qt::Key_Delete) : void(QMetaObject::invokeMethod(tree, slot));
        },
        [this] {
            const bool agreed = step.b % 4 != 0;
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
        },
        [this] {
            const bool agreed = step.b % 4 != 0;
            const QString flags = QString::number(step.a % 2048, 2).rightJustified(11, '0');
            tell(agreed ? "apply " + flags : "open the attributes and cancel");
            answer = [&](QWidget *modal) {
                QMap<int, QCheckBox *> boxes;
                for (QCheckBox *const box : modal->findChildren<QCheckBox *>()) {
                    boxes[box->y()] = box;
                }
                for (int i = 0; i < flags.size(); ++i) {
                    boxes.values()[i]->setChecked(flags[i] == '1');
                }
                agreed ? ModalAnswers::agree(modal) : void(modal->close());
            };
            if (!order().empty()) {
                model.warnings = 1;
                if (agreed) {
                    model.applyAttributes(flags);
                }
            }
            host.action("Apply Attributes to Selected ...")->trigger();
        },
        [this] {
            tell("ask for a rebuild");
            model.rebuild(false);
            host.rebuild();
        },
        [this] {
            const osg::MaterialPtr material = anyMaterial(step.a);
            if (!material) {
                return;
            }
            const bool told = step.b % 3 != 0;
            tell(QString("rename material %1%2")
                     .arg(mkMaterials::getName(material), told ? "" : ", untold"));
            material->setName(step.b % 2 == 0 ? "red" : "gold" + std::to_string(step.b % 4));
            if (told) {
                if (model.store.isMaterialInUse(material)) {
                    model.rebuild(false);
                }
                host.send("materialRenamed", material);
            }
            host.send("mkTransform::changedTransformation");
        },
        [this] {
            tell("select in the host");
            std::vector<mkNodePtr> nodes;
            for (unsigned i = 0; i <= step.b % 3; ++i) {
                nodes.emplace_back(anyNode(step.a + 3 * i));
            }
            mkSelectionManager::selectNodes(nodes);
        },
        [this] {
            tell("remove " + nameOf(anyNode(step.a)) + " from the scene");
            model.modified |= mkScenegraph::removeNode(anyNode(step.a));
            // A removed node lives on only in the layers that hold it.
            mkUndo::stack()->clear();
        },
        [this] { editScene(); },
        [this] { editScene(); },
        [this] { editScene(); },
        [this] {
            tell("save");
            mkController::setModified(0);
            model.modified = false;
        },
        [this] { openScene(); },
        [this] { storeBehindThePanel(); },
        [this] { storeBehindThePanel(); },
        [this] { script(); },
        [this] { script(); },
        [this] { rename(); },
    };
};

unsigned fromEnvironment(const char *name, const char *otherwise)
{
    return qEnvironmentVariable(name, otherwise).toUInt();
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
    const unsigned seed = fromEnvironment("MK_RANDOM_SEED", "1");
    const unsigned count = fromEnvironment("MK_RANDOM_STEPS", "15000") / length + 1;
    qputenv("RC_PARAMS", QString("seed=%1 max_success=%2").arg(seed).arg(count).toUtf8());

    // Ranges are used to the full from the first sequence on.
    const auto toStep = [](unsigned drawn, unsigned a, unsigned b) { return Step{ drawn, a, b }; };
    const auto kind = rc::gen::noShrink(rc::gen::inRange(0U, 43U));
    const auto choice = rc::gen::inRange(0U, 27720U);
    const auto step = rc::gen::resize(rc::kNominalSize,
                                      rc::gen::apply(toStep, kind, choice, choice));
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
        std::cerr << result.get<rc::detail::FailureResult>().description << std::endl;
    }
    QVERIFY2(result.is<rc::detail::SuccessResult>(), qPrintable(QString("with seed %1").arg(seed)));
}

HOST_TEST_MAIN(tst_Random)
#include "tst_random.moc"
