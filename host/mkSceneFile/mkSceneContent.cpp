#include "mkSceneFile/mkSceneContent.h"

#include "OSGSystem/FieldVisitor.h"

const osg::FieldContainerType mkSceneContent::_type("Scene", &FieldContainer::_type,
                                                    osg::makeContainer<mkSceneContent>);

osg::Ptr<mkSceneContent> mkSceneContent::create()
{
    return osg::Ptr<mkSceneContent>(new mkSceneContent);
}

void mkSceneContent::visitFields(osg::FieldVisitor &visitor)
{
    visitor.field("root", root);
    visitor.field("materials", materials);
}
