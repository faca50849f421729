#include "mkKernel/mkScenegraph.h"

#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkUtils/mkTrace.h"

#include <QIcon>
#include <QUndoStack>

#include <stdexcept>
#include <unordered_set>
#include <utility>

namespace {

const char *iconName(const osg::FieldContainerPtr &core, const osg::NodePtr &node)
{
    if (node && node == mkScenegraph::getRoot()) {
        return "Node/Root.svg";
    }
    if (osg::Ptr<osg::DrawableBase>(core)) {
        return "Node/Geometry.svg";
    }
    if (osg::Ptr<osg::Light>(core)) {
        return "Node/Light.svg";
    }
    if (osg::Ptr<osg::Camera>(core)) {
        return "Node/Camera.svg";
    }
    if (osg::Ptr<osg::Transform>(core)) {
        return "Node/Transform.svg";
    }
    return "Node/Group.svg";
}

} // namespace

mkScenegraph *mkScenegraph::the()
{
    static mkScenegraph scenegraph;
    return &scenegraph;
}

mkRenderLayer *mkScenegraph::getRenderLayer()
{
    mkTrace::call("mkScenegraph::getRenderLayer");
    return the()->store.get();
}

osg::NodePtr mkScenegraph::getRoot()
{
    return the()->root;
}

mkNodePtr mkScenegraph::getRootNode()
{
    mkTrace::call("mkScenegraph::getRootNode");
    return mkNodePtr(the()->root);
}

std::vector<mkNodePtr> mkScenegraph::getSelectedRootNodes()
{
    mkTrace::call("mkScenegraph::getSelectedRootNodes");
    const std::vector<mkNodePtr> selected = mkSelectionManager::getSelectedNodes();
    std::unordered_set<std::uint32_t> ids;
    for (const mkNodePtr &node : selected) {
        ids.insert(node.get()->getId());
    }
    std::vector<mkNodePtr> roots;
    for (const mkNodePtr &node : selected) {
        osg::NodePtr above = node.get()->getParent();
        while (above && ids.count(above->getId()) == 0) {
            above = above->getParent();
        }
        if (!above) {
            roots.push_back(node);
        }
    }
    return roots;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface
const QPixmap mkScenegraph::getNodeIcon(osg::FieldContainerPtr core, const osg::NodePtr &node,
                                        bool dimHidden)
{
    const QPixmap pixmap = mkIconManager::get(iconName(core, node));
    const auto attributes = dimHidden ? mkNodeUtils::getRenderAttributes(node)
                                      : osg::RaytracingGeoAttachmentPtr();
    if (attributes && !attributes->getVisible()) {
        return mkIconManager::dimmed(pixmap);
    }
    return pixmap;
}

void mkScenegraph::scrollToNodes(const std::vector<mkNodePtr> &nodes)
{
    mkTrace::call("mkScenegraph::scrollToNodes", nodes);
    Q_EMIT the()->scrollRequested(nodes);
}

void mkScenegraph::newScene(const std::string &rootName)
{
    Document document;
    document.root = osg::Node::create();
    document.root->setName(rootName);
    document.root->setCore(osg::Group::create());
    setScene(std::move(document));
}

void mkScenegraph::setScene(Document document)
{
    mkSelectionManager::clear();
    mkUndo::clear();
    mkMaterials::clear();
    mkMaterials::addMaterials(document.materials);
    the()->root = document.root;
    the()->file = document.file;
    the()->store = document.root ? std::make_unique<mkRenderLayer>(document.root) : nullptr;
    finishReading(std::move(document), "sceneLoaded", mkMessage::SceneLoaded);
    mkController::setModified(0);
}

void mkScenegraph::setReader(Reader reader)
{
    the()->reader = std::move(reader);
}

void mkScenegraph::openFile(const QString &file)
{
    if (!the()->reader) {
        throw std::runtime_error("This host cannot read scene files.");
    }
    setScene(the()->reader(file));
}

QString mkScenegraph::getFile()
{
    return the()->file;
}

void mkScenegraph::mergeScene(Document document)
{
    mkMaterials::addMaterials(document.materials);
    the()->root->addChild(document.root);
    finishReading(std::move(document), "sceneMerged", mkMessage::SceneMerged);
    mkController::setModified(1);
}

void mkScenegraph::finishReading(Document document, const char *name, mkMessage::Id id)
{
    osg::NFIOBase::setFieldContainerMap(std::move(document.containers));
    Q_EMIT the()->sceneChanged();
    mkMessage message(name, id);
    mkController::sendMessage(message);
    osg::NFIOBase::setFieldContainerMap({});
}

bool mkScenegraph::removeNode(const osg::NodePtr &node)
{
    if (!isInScene(node) || node == the()->root) {
        return false;
    }
    // The handle that was passed may be one of those that go. NOLINTNEXTLINE(performance-*)
    const osg::NodePtr kept = node;
    kept->getParent()->subChild(kept);
    mkSelectionManager::dropNodesOutsideScene();
    mkController::setModified(1);
    return true;
}

bool mkScenegraph::isInScene(const osg::NodePtr &node)
{
    return node && the()->root && the()->root->isAncestorOf(node);
}
