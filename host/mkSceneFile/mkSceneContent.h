#pragma once

#include "OSGSystem/Material.h"
#include "OSGSystem/Node.h"

/// The last container of a scene file, which holds the others. It lives while a file is written
/// or read.
class mkSceneContent : public osg::FieldContainer
{
public:
    static const osg::FieldContainerType _type;
    static osg::Ptr<mkSceneContent> create();
    const osg::FieldContainerType &getType() const override { return _type; }
    void visitFields(osg::FieldVisitor &visitor) override;

    osg::NodePtr root;
    std::vector<osg::MaterialPtr> materials;
};
