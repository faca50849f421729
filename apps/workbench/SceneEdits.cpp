#include "SceneEdits.h"

#include "SceneStatistics.h"
#include "StatusLine.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QCoreApplication>
#include <QUndoCommand>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace {

using osg::NodePtr;

/// For the translations.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(SceneEdits)
};

/// True when a member of some layer is one of `nodes` or below one.
bool areInLayers(const std::vector<NodePtr> &nodes)
{
    std::unordered_set<const osg::Node *> wanted;
    for (const NodePtr &node : nodes) {
        wanted.insert(node.get());
    }
    const auto &layers = mkScenegraph::getRenderLayer()->getAttachment()->getLayers();
    return std::any_of(layers.begin(), layers.end(), [&](const osg::FieldContainerPtr &entry) {
        const osg::RenderLayerPtr layer(entry);
        const auto isWanted = [&wanted](const NodePtr &member) {
            NodePtr above = member;
            while (above && wanted.count(above.get()) == 0) {
                above = above->getParent();
            }
            return bool(above);
        };
        return layer && std::any_of(layer->getNodes().begin(), layer->getNodes().end(), isWanted);
    });
}

void updateLayers()
{
    mkMessage message("mkRenderLayerModuleUpdateLayers");
    mkController::sendMessage(message);
}

class RenameNode : public QUndoCommand
{
public:
    RenameNode(NodePtr renamed, std::string newName)
        : QUndoCommand(Texts::tr("Rename Node"))
        , node(std::move(renamed))
        , name(std::move(newName))
    {}

    void redo() override
    {
        std::string before = node->getName();
        node->setName(std::exchange(name, std::move(before)));
        mkController::setModified(1);
        const auto &layers = mkScenegraph::getRenderLayer()->getAttachment()->getLayers();
        const bool isMember = std::any_of(layers.begin(), layers.end(),
                                          [this](const osg::FieldContainerPtr &entry) {
                                              const osg::RenderLayerPtr layer(entry);
                                              return layer && layer->contains(node);
                                          });
        if (isMember) {
            updateLayers();
        }
    }
    void undo() override { redo(); }

private:
    NodePtr node;
    /// The name that it does not have at the moment.
    std::string name;
};

class RemoveNodes : public QUndoCommand
{
public:
    explicit RemoveNodes(std::vector<NodePtr> removed)
        : QUndoCommand(removed.size() == 1 ? Texts::tr("Delete Node")
                                           : Texts::tr("Delete %1 Nodes").arg(removed.size()))
        , nodes(std::move(removed))
    {}

    void redo() override
    {
        std::unordered_set<const osg::Node *> wanted;
        gaps.clear();
        std::unordered_map<const osg::Node *, bool> seen;
        for (const NodePtr &node : nodes) {
            wanted.insert(node.get());
            const NodePtr parent = node->getParent();
            if (parent && !std::exchange(seen[parent.get()], true)) {
                gaps.push_back({ parent, {} });
            }
        }
        for (Gap &gap : gaps) {
            std::vector<NodePtr> rest;
            const std::vector<NodePtr> &children = gap.parent->getChildren();
            for (std::size_t i = 0; i < children.size(); ++i) {
                if (wanted.count(children[i].get()) > 0) {
                    gap.children.emplace_back(i, children[i]);
                } else {
                    rest.push_back(children[i]);
                }
            }
            gap.parent->setChildren(rest);
        }
        mkSelectionManager::dropNodesOutsideScene();
        finish();
    }

    void undo() override
    {
        for (const Gap &gap : gaps) {
            const std::vector<NodePtr> &rest = gap.parent->getChildren();
            std::vector<NodePtr> all;
            auto next = rest.begin();
            for (const auto &[index, child] : gap.children) {
                while (all.size() < index && next != rest.end()) {
                    all.push_back(*next++);
                }
                // One that a script has put elsewhere meanwhile stays there.
                if (!child->getParent()) {
                    all.push_back(child);
                }
            }
            all.insert(all.end(), next, rest.end());
            gap.parent->setChildren(all);
        }
        mkSelectionManager::selectNodes({ nodes.begin(), nodes.end() });
        finish();
    }

private:
    /// Where children are missing, in ascending order.
    struct Gap
    {
        NodePtr parent;
        std::vector<std::pair<std::size_t, NodePtr>> children;
    };

    void finish() const
    {
        mkController::setModified(1);
        if (areInLayers(nodes)) {
            updateLayers();
        }
    }

    std::vector<NodePtr> nodes;
    std::vector<Gap> gaps;
};

class Merge : public QUndoCommand
{
public:
    explicit Merge(mkScenegraph::Document merged)
        : QUndoCommand(Texts::tr("Merge into Scene"))
        , document(std::move(merged))
    {}

    void redo() override
    {
        const std::size_t count = content()->getLayers().size();
        mkScenegraph::mergeScene(document);
        layers.assign(content()->getLayers().begin() + std::ptrdiff_t(count),
                      content()->getLayers().end());
        // They stand for the one time that the file was read, and would keep all that was in it.
        document.containers.clear();
        mkSelectionManager::selectNodes({ document.root });
    }

    void undo() override
    {
        takeLayers();
        mkScenegraph::removeNode(document.root);
        for (const osg::MaterialPtr &material : document.materials) {
            mkMaterials::removeMaterial(material);
        }
        mkController::setModified(1);
        updateLayers();
    }

private:
    static osg::RenderLayersPtr content()
    {
        return mkScenegraph::getRenderLayer()->getAttachment();
    }

    /// Gives the layers that came along back to the document, where merging finds them again.
    void takeLayers()
    {
        const osg::RenderLayersPtr taken = osg::RenderLayers::create();
        for (const osg::FieldContainerPtr &entry : layers) {
            const osg::RenderLayerPtr layer(entry);
            if (layer && content()->findLayer(layer->getName()) == layer) {
                content()->subLayer(layer->getName());
                taken->addEntry(layer);
            }
        }
        document.root->addAttachment(taken);
    }

    mkScenegraph::Document document;
    /// Those that the document has brought.
    std::vector<osg::FieldContainerPtr> layers;
};

} // namespace

namespace SceneEdits {

bool renameNode(const NodePtr &node, const std::string &name)
{
    if (!node || name.empty() || name == node->getName()) {
        return false;
    }
    const mkScopedUndo undo(true);
    mkUndo::execute(std::make_unique<RenameNode>(node, name));
    return true;
}

void removeNodes(const std::vector<mkNodePtr> &nodes)
{
    std::vector<NodePtr> removed;
    for (const mkNodePtr &node : nodes) {
        if (mkScenegraph::isInScene(node.get()) && node != mkScenegraph::getRoot()) {
            removed.push_back(node.get());
        }
    }
    if (!removed.empty()) {
        const mkScopedUndo undo(true);
        mkUndo::execute(std::make_unique<RemoveNodes>(removed));
    }
}

void merge(mkScenegraph::Document document)
{
    const NodePtr root = document.root;
    const QString what = describeScene(root, document.materials.size());
    {
        const mkScopedUndo undo(true);
        mkUndo::execute(std::make_unique<Merge>(std::move(document)));
    }
    mkScenegraph::scrollToNodes({ root });
    StatusLine::show(
        Texts::tr("Merged %1: %2").arg(QString::fromUtf8(mkNodeUtils::getName(root)), what));
}

} // namespace SceneEdits
