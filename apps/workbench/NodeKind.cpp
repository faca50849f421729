#include "NodeKind.h"

#include "OSGSystem/Camera.h"
#include "OSGSystem/Light.h"

NodeKind kindOf(const osg::NodePtr &node)
{
    const osg::NodeCorePtr &core = node->getCore();
    if (!core) {
        return NodeKind::Group;
    }
    const osg::FieldContainerType &type = core->getType();
    if (type.isDerivedFrom(osg::DrawableBase::_type)) {
        return NodeKind::Mesh;
    }
    if (type.isDerivedFrom(osg::Light::_type)) {
        return NodeKind::Light;
    }
    if (type.isDerivedFrom(osg::Camera::_type)) {
        return NodeKind::Camera;
    }
    return type.isDerivedFrom(osg::Transform::_type) ? NodeKind::Transform : NodeKind::Group;
}

QString searchWord(NodeKind kind)
{
    switch (kind) {
    case NodeKind::Group:
        return QStringLiteral("group");
    case NodeKind::Transform:
        return QStringLiteral("transform");
    case NodeKind::Mesh:
        return QStringLiteral("mesh");
    case NodeKind::Light:
        return QStringLiteral("light");
    case NodeKind::Camera:
        return QStringLiteral("camera");
    }
    return {};
}

osg::MaterialPtr materialOf(const osg::NodePtr &node)
{
    const osg::Ptr<osg::DrawableBase> drawable(node->getCore());
    return drawable ? drawable->getMaterial() : osg::MaterialPtr();
}
