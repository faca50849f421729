// The course of a session, and what happens beside the panel.

#include "PanelSession.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"

#include <QMessageBox>
#include <QUndoStack>

namespace {

QString nameOf(const osg::NodePtr &node)
{
    return QString::fromStdString(node->getName());
}

std::vector<osg::NodePtr> sceneNodes()
{
    std::vector<osg::NodePtr> nodes;
    osg::traverse(mkScenegraph::getRoot(), [&nodes](const osg::NodePtr &node) {
        nodes.push_back(node);
        return osg::Action::Continue;
    });
    return nodes;
}

osg::NodePtr anyNode(unsigned choice)
{
    return sceneNodes()[choice % sceneNodes().size()];
}

} // namespace

PanelSession::PanelSession(HostFixture &fixture)
    : host(fixture)
    , tree(fixture.tree())
{}

QString PanelSession::play(const std::vector<Step> &steps)
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
        perform();
        check();
    }
    QObject::disconnect(counter);
    HostFixture::settle();
    return wrong.empty() ? QString() : (story + wrong).join('\n');
}

void PanelSession::perform()
{
    const Rows rows = model.rows(PanelModel::isVisible);
    target = rows.empty() ? nullptr : rows[int(step.a) % rows.size()];
    if (!target && step.b % 3 == 0) {
        return openScene();
    }
    // Rows are often meant.
    const unsigned group = step.kind % 5 % 4;
    if (target || group > 0) {
        deeds[group][step.kind / 5 % deeds[group].size()]();
    }
}

void PanelSession::check()
{
    // Which row is current without being selected is Qt's affair: the tree takes one by itself when
    // it gets the focus.
    if (!model.current()) {
        model.tree.setCurrentItem(PanelModel::twin(tree->currentItem(), model.tree), 0,
                                  QItemSelectionModel::NoUpdate);
    }
    const auto state = [](const mkRenderLayer &store, QTreeWidget &rows, int drawn, bool changed,
                          int asked) {
        return PanelModel::describe(store, rows)
               + QString("\n%1 rebuilds, modified %2, %3 dialogs")
                     .arg(drawn)
                     .arg(changed)
                     .arg(asked);
    };
    compare("panel",
            state(*HostFixture::store(), *tree, rebuilds, mkController::isModified(), dialogs),
            state(model.store, model.tree, model.rebuilds, model.modified, model.warnings));
    if (!tree->updatesEnabled() || tree->signalsBlocked()
        || host.panel()->findChild<QMessageBox *>()) {
        wrong += "the tree is left switched off, or a message box behind";
    }
}

void PanelSession::compare(const QString &what, const QString &is, const QString &wanted)
{
    if (is != wanted) {
        wrong += "=== " + what + "\n" + is + "\n=== should be\n" + wanted;
    }
}

osg::MaterialPtr PanelSession::anyMaterial(unsigned choice)
{
    const auto &all = mkMaterials::getMaterials();
    return all.empty() ? osg::MaterialPtr() : all[choice % all.size()];
}

/// A new scene. Its layers are the panel's from the next rebuild on.
void PanelSession::openScene()
{
    tell("open another scene");
    host.reset();
    model.store = mkRenderLayer(osg::Node::create());
    model.rebuild(false);
    model.modified = false;
    for (mkRenderLayer *const store : stores()) {
        store->addLayer("A");
        store->addLayer("B");
        store->setCollapseState(0, 1);
        for (const char *name : { "a", "b", "c" }) {
            store->addNode(0, host.node(name));
        }
        store->addNode(1, host.node("a"));
        store->addNode(1, host.node("group"));
        store->getAttributes(0, host.node("b"))->setOverrideMaterial(host.material("red"));
    }
}

void PanelSession::editScene()
{
    const osg::NodePtr node = anyNode(step.a);
    if (step.b % 3 == 0 && sceneNodes().size() < 16) {
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

void PanelSession::storeBehindThePanel()
{
    if (model.store.isEmpty()) {
        return;
    }
    const unsigned index = step.a % unsigned(model.layerCount());
    const osg::RenderLayerPtr layer = model.layer(int(index));
    const std::string name = layer->getName();
    const osg::NodePtr node = anyNode(step.b);
    const auto &members = layer->getNodes();
    const osg::NodePtr member = members.empty() ? node : members[step.b % members.size()];
    using Change = std::function<void(mkRenderLayer &)>;
    const std::pair<QString, Change> changes[] = {
        { "remove the first of its name", [&](auto &store) { store.subLayer(name); } },
        { "rename it " + anyName(step.b % 6),
          [&](auto &store) { store.setLayerName(index, anyName(step.b % 6).toStdString()); } },
        { "add " + nameOf(node),
          [&](auto &store) {
              if (node != mkScenegraph::getRoot()) {
                  store.addNode(index, node);
              }
          } },
        { "move it down", [&](auto &store) { store.moveDownLayer(index); } },
        { "open it, by another number", [&](auto &store) { store.setCollapseState(index, 2); } },
        { "take out " + nameOf(member), [&](auto &store) { store.subNode(index, member); } },
        { "lose the attributes of " + nameOf(member),
          [&](auto &store) {
              store.getAttachment()
                  ->getLayer(index)
                  ->replaceAttributes(member, step.a % 2
                                                  ? osg::FieldContainerPtr(osg::Group::create())
                                                  : osg::NullFC);
          } },
        { "edit " + nameOf(member),
          [&](auto &store) {
              if (const auto attributes = store.getAttributes(index, member)) {
                  HostFixture::flag(attributes, 1 + int(step.a % 11)) ^= true;
                  attributes->setOverrideMaterial(anyMaterial(step.a));
              }
          } },
        { "add another layer", [](auto &store) { store.addLayer("B"); } },
    };
    const auto &[line, change] = changes[step.b / 7 % (full() ? 8 : 9)];
    tell(QString("behind the panel, layer %1: %2").arg(name.c_str(), line));
    for (mkRenderLayer *const store : stores()) {
        change(*store);
    }
}

PanelSession::Deeds PanelSession::deedsBeside()
{
    return {
        [this] {
            const osg::MaterialPtr material = anyMaterial(step.a);
            if (!material) {
                return;
            }
            const bool told = step.b % 3 != 0;
            tell(QString("rename material %1%2")
                     .arg(mkMaterials::getName(material), told ? "" : ", untold"));
            material->setName(step.b % 2 == 0 ? "red" : "Röd木" + std::to_string(step.b % 4));
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
        [this] {
            tell("save");
            mkController::setModified(0);
            model.modified = false;
        },
        [this] { openScene(); },
        [this] { editScene(); },
        [this] { editScene(); },
        [this] { editScene(); },
        [this] { storeBehindThePanel(); },
        [this] { storeBehindThePanel(); },
    };
}
