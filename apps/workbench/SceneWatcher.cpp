#include "SceneWatcher.h"

#include "OSGSystem/Material.h"
#include "OSGSystem/Node.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include <utility>

SceneWatcher::SceneWatcher(QObject *parent)
    : QObject(parent)
{
    timer.setSingleShot(true);
    timer.setInterval(0);
    connect(&timer, &QTimer::timeout, this, &SceneWatcher::deliver);
    // Views must not be asked about rows of a scene that is gone, not even once.
    connect(mkScenegraph::the(), &mkScenegraph::sceneChanged, this, [this] {
        scene = true;
        deliver();
    });
}

void SceneWatcher::containerChanged(const osg::FieldContainerPtr &container,
                                    const osg::BitVector &which, osg::ChangeOrigin)
{
    const osg::FieldContainerType &type = container->getType();
    if (type.isDerivedFrom(osg::Material::_type)) {
        materials = true;
    } else {
        looks = true;
        if (which == osg::RaytracingGeoAttachmentBase::OverrideMaterialFieldMask
            && type.isDerivedFrom(osg::RaytracingGeoAttachmentBase::_type)) {
            overridden.insert(container->getId());
        }
        if (type.isDerivedFrom(osg::Node::_type) && (which & osg::Node::ChildrenFieldMask).any()) {
            parents.insert(container->getId());
        }
    }
    if (!timer.isActive()) {
        timer.start();
    }
}

void SceneWatcher::deliver()
{
    timer.stop();
    const QSet<quint32> changedParents = std::exchange(parents, {});
    const QSet<quint32> changedOverrides = std::exchange(overridden, {});
    const bool changedLooks = std::exchange(looks, false);
    const bool changedMaterials = std::exchange(materials, false);
    const bool changedScene = std::exchange(scene, false);
    if (changedScene) {
        Q_EMIT sceneReplaced();
    }
    if (!changedParents.isEmpty()) {
        Q_EMIT childrenChanged(changedParents);
    }
    if (changedLooks || changedScene) {
        Q_EMIT looksChanged();
    }
    if (changedMaterials || changedScene) {
        Q_EMIT materialsChanged();
    }
    for (const quint32 attributes : changedOverrides) {
        Q_EMIT overrideMaterialSet(attributes);
    }
}
