#include "mkKernel/mkTypeConverter.h"

#include "mkOpenSGUtils/mkMaterials.h"
#include "mkUtils/mkTrace.h"

osg::MaterialPtr mkTypeConverter::convertMaterial(const mkdMaterial &material)
{
    if (!mkTrace::call("mkTypeConverter::convertMaterial", material.getName())
        || material.getName().isEmpty()) {
        return osg::NullFC;
    }
    return mkMaterials::findMaterial(material.getName().toUtf8().constData()).get();
}
