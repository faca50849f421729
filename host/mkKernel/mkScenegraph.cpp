#include "mkKernel/mkScenegraph.h"

#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"
#include "OSGSystem/Revision.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeSet.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkUtils/mkTrace.h"

#include <QFileInfo>
#include <QIcon>
#include <QUndoStack>

#include <stdexcept>
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

/// Calls `visit` with the render attributes of the node and of all below it.
void forEachAttributes(const osg::NodePtr &root,
                       const std::function<void(osg::RaytracingGeoAttachment &)> &visit)
{
    osg::traverse(root, [&visit](const osg::NodePtr &node) {
        if (const auto attributes = mkNodeUtils::getRenderAttributes(node)) {
            visit(*attributes);
        }
        return osg::Action::Continue;
    });
}

/// The same for the members of layers that have left the scene, which modules cannot reach.
void forEachAttributesOutside(const mkRenderLayer &store, const osg::NodePtr &root,
                              const std::function<void(osg::RaytracingGeoAttachment &)> &visit)
{
    mkNodeSet present;
    osg::traverse(root, [&present](const osg::NodePtr &node) {
        present.insert(node->getId());
        return osg::Action::Continue;
    });
    for (const osg::FieldContainerPtr &entry : store.getAttachment()->getLayers()) {
        const osg::RenderLayerPtr layer(entry);
        for (const osg::NodePtr &node : layer ? layer->getNodes() : std::vector<osg::NodePtr>()) {
            if (!present.contains(node->getId())) {
                forEachAttributes(node, visit);
            }
        }
    }
}

bool isOwnFormat(const QString &file)
{
    const QFileInfo info(file);
    return info.isFile()
           && (info.suffix() == mkSceneFile::suffix() || mkSceneFile::isSceneFile(file));
}

} // namespace

mkScenegraph::mkScenegraph()
{
    osg::Revision::setListener([this] { updateUnsaved(); });
    connect(mkController::the(), &mkController::modifiedChanged, this,
            &mkScenegraph::updateUnsaved);
}

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
    return { the()->root };
}

std::vector<mkNodePtr> mkScenegraph::getSelectedRootNodes()
{
    mkTrace::call("mkScenegraph::getSelectedRootNodes");
    const std::vector<mkNodePtr> selected = mkSelectionManager::getSelectedNodes();
    mkNodeSet ids;
    for (const mkNodePtr &node : selected) {
        ids.insert(node.get()->getId());
    }
    std::vector<mkNodePtr> roots;
    for (const mkNodePtr &node : selected) {
        osg::NodePtr above = node.get()->getParent();
        while (above && !ids.contains(above->getId())) {
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
    if (node && the()->root && !the()->root->isAncestorOf(node)) {
        return mkIconManager::overlaid(mkIconManager::dimmed(pixmap), "Gone");
    }
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
    the()->replacing = true;
    mkSelectionManager::clear();
    mkUndo::clear();
    mkMaterials::clear();
    mkMaterials::addMaterials(document.materials);
    the()->root = document.root;
    the()->file = document.file;
    the()->store = document.root ? std::make_unique<mkRenderLayer>(document.root) : nullptr;
    finishReading(std::move(document), "sceneLoaded", mkMessage::SceneLoaded);
    the()->rememberSaved();
}

void mkScenegraph::setReader(Reader reader)
{
    the()->reader = std::move(reader);
}

void mkScenegraph::setProgressMaker(ProgressMaker maker)
{
    the()->progressMaker = std::move(maker);
}

mkScenegraph::Document mkScenegraph::readFile(const QString &file)
{
    const QFileInfo info(file);
    const mkSceneFile::Progress progress = the()->progressMaker ? the()->progressMaker(
                                               tr("Reading %1…").arg(info.fileName()))
                                                                : mkSceneFile::Progress();
    if (!isOwnFormat(file)) {
        if (!the()->reader) {
            throw std::runtime_error("This host reads only scene files of its own.");
        }
        return the()->reader(file, progress);
    }
    mkSceneFile::Read read = mkSceneFile::read(file, progress);
    return { read.root, std::move(read.materials), std::move(read.containers),
             info.absoluteFilePath() };
}

void mkScenegraph::openFile(const QString &file)
{
    setScene(readFile(file));
}

void mkScenegraph::openCopy(const QString &copy, const QString &file)
{
    Document document = readFile(copy);
    document.file = file;
    setScene(std::move(document));
    mkController::setModified(1);
}

void mkScenegraph::mergeFile(const QString &file)
{
    mergeScene(readFile(file));
}

void mkScenegraph::saveFile(const QString &file)
{
    if (!the()->root) {
        throw std::runtime_error("There is no scene.");
    }
    const QFileInfo info(file);
    mkSceneFile::write(info.absoluteFilePath(), { the()->root, mkMaterials::getMaterials() },
                       the()->progressMaker
                           ? the()->progressMaker(tr("Writing %1…").arg(info.fileName()))
                           : mkSceneFile::Progress());
    the()->file = info.absoluteFilePath();
    the()->rememberSaved();
    Q_EMIT the()->fileChanged();
}

bool mkScenegraph::hasUnsavedChanges()
{
    return the()->unsaved;
}

void mkScenegraph::rememberSaved()
{
    replacing = true;
    mkController::setModified(0);
    savedRevision = osg::Revision::get();
    replacing = false;
    updateUnsaved();
}

void mkScenegraph::updateUnsaved()
{
    const bool now = mkController::isModified() || osg::Revision::get() != savedRevision;
    if (!replacing && now != unsaved) {
        unsaved = now;
        Q_EMIT unsavedChangesChanged(unsaved);
    }
}

QString mkScenegraph::getFile()
{
    return the()->file;
}

void mkScenegraph::mergeScene(Document document)
{
    const auto settle = [](auto &attributes) { attributes.settleStateIds(); };
    forEachAttributes(the()->root, settle);
    forEachAttributesOutside(*the()->store, the()->root, settle);
    mkMaterials::addMaterials(document.materials);
    const std::uint32_t layersGroup = osg::RenderLayers::_type.getGroupId();
    const osg::RenderLayersPtr layers(document.root->findAttachment(layersGroup));
    document.root->subAttachment(layersGroup);
    the()->root->addChild(document.root);
    if (layers) {
        the()->store->appendLayers(layers);
    }
    finishReading(std::move(document), "sceneMerged", mkMessage::SceneMerged);
    mkController::setModified(1);
}

void mkScenegraph::finishReading(Document document, const char *name, mkMessage::Id id)
{
    const bool hasIds = !document.containers.empty();
    osg::NFIOBase::setFieldContainerMap(std::move(document.containers));
    Q_EMIT the()->sceneChanged();
    mkMessage message(name, id);
    mkController::sendMessage(message);
    if (hasIds && the()->store) {
        forEachAttributesOutside(*the()->store, the()->root, [](auto &attributes) {
            attributes.updateRenderLayerStateIds(osg::NFIOBase::getFieldContainerMap());
        });
    }
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
