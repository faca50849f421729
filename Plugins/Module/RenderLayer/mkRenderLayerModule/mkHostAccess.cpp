// What depends on how the host is made, for those who build the plug-in against another one:
//
// - `container->getType()` is the container's type. A type has an id, a group id and a parent type,
//   null at the root; each class has its type as the static member `_type`.
// - A handle of one class converts explicitly to that of another, whether or not the host tests the
//   type when it does so. Nothing here relies on handles that keep their containers alive.
// - The factory has `getContainer(id)`, and gives null for an id that it never gave out.
// - Containers know their `getId()`, nodes their `getCore()`, and `changed(mask, origin)` notifies.
// - The lists of the store's content can be indexed and know their size. Wrappers have `get()`.

#include "mkHostAccess.h"

#include "OSGSystem/ChangeList.h"
#include "OSGSystem/Geometry.h"
#include "mkKernel/mkScenegraph.h"
#include "mkUtils/mkLog.h"

#include <exception>
#include <stdexcept>

namespace {

bool isOfType(const osg::FieldContainerPtr &container, const osg::FieldContainerType &wanted)
{
    if (container == osg::NullFC) {
        return false;
    }
    const osg::FieldContainerType *type = &container->getType();
    while (type && type->getId() != wanted.getId()) {
        type = type->getParent();
    }
    return type != nullptr;
}

/// The one cast: null unless the container's type is `wanted` or derived from it.
template <typename Handle>
Handle castTo(const osg::FieldContainerType &wanted, const osg::FieldContainerPtr &container)
{
    return isOfType(container, wanted) ? Handle(container) : Handle(osg::NullFC);
}

osg::RaytracingGeoAttachmentPtr asAttributes(const osg::FieldContainerPtr &container)
{
    return castTo<osg::RaytracingGeoAttachmentPtr>(osg::RaytracingGeoAttachmentBase::_type,
                                                   container);
}

} // namespace

mkRenderLayer *mkStore()
{
    if (mkRenderLayer *const store = mkScenegraph::getRenderLayer()) {
        return store;
    }
    throw std::runtime_error("The scene has no render layers to work on!");
}

void mkReportFailure(const char *function) noexcept
{
    try {
        throw;
    } catch (const std::exception &failure) {
        mkLog::error("%s : %s", function, failure.what());
    } catch (...) {
        mkLog::error("%s : An unknown exception occurred!", function);
    }
}

void endEdit(const osg::FieldContainerPtr &container, const osg::BitVector &mask)
{
    if (container == osg::NullFC) {
        return;
    }
    if (osg::ChangeList *const changes = osg::WinThreadBase::getCurrentChangeList()) {
        changes->addChanged(container, mask);
    }
    if (!osg::FieldContainerPtr::_ignore_change) {
        container->changed(mask, osg::ChangeOrigin::External);
    }
}

osg::BitVector mkAllFields()
{
    return ~osg::BitVector();
}

quint32 mkIdOf(const osg::FieldContainerPtr &container)
{
    return container == osg::NullFC ? 0 : container->getId();
}

osg::NodePtr mkFindNode(quint32 id)
{
    return castTo<osg::NodePtr>(osg::Node::_type,
                                osg::FieldContainerFactory::the()->getContainer(id));
}

osg::FieldContainerPtr mkCoreOf(const osg::NodePtr &node)
{
    return node->getCore();
}

bool mkIsDrawable(const osg::NodePtr &node)
{
    return isOfType(mkCoreOf(node), osg::DrawableBase::_type);
}

osg::NodePtr mkUnwrap(const mkNodePtr &node)
{
    return node.get();
}

osg::MaterialPtr mkUnwrap(const mkMaterialPtr &material)
{
    return material.get();
}

osg::RaytracingGeoAttachmentPtr mkFindAttributes(const osg::NodePtr &node)
{
    const std::uint32_t group = osg::RaytracingGeoAttachmentBase::_type.getGroupId();
    return node == osg::NullFC ? osg::RaytracingGeoAttachmentPtr(osg::NullFC)
                               : asAttributes(node->findAttachment(group, 0));
}

std::size_t mkLayerCount(const osg::RenderLayersPtr &content)
{
    return content == osg::NullFC ? 0 : content->getLayers().size();
}

osg::RenderLayerPtr mkLayerAt(const osg::RenderLayersPtr &content, std::size_t index)
{
    return index < mkLayerCount(content)
               ? castTo<osg::RenderLayerPtr>(osg::RenderLayer::_type, content->getLayers()[index])
               : osg::RenderLayerPtr(osg::NullFC);
}

std::size_t mkNodeCount(const osg::RenderLayerPtr &layer)
{
    return layer == osg::NullFC ? 0 : layer->getNodes().size();
}

osg::NodePtr mkNodeAt(const osg::RenderLayerPtr &layer, std::size_t index)
{
    return index < mkNodeCount(layer) ? layer->getNodes()[index] : osg::NodePtr(osg::NullFC);
}

osg::RaytracingGeoAttachmentPtr mkAttributesAt(const osg::RenderLayerPtr &layer, std::size_t index)
{
    return layer != osg::NullFC && index < layer->getAttributes().size()
               ? asAttributes(layer->getAttributes()[index])
               : osg::RaytracingGeoAttachmentPtr(osg::NullFC);
}
