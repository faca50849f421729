#include "mkKernel/mkTypeConverter.h"

#include "mkOpenSGUtils/mkMaterials.h"
#include "mkUtils/mkTrace.h"

osg::MaterialPtr mkTypeConverter::convertMaterial(const mkdMaterial &material)
{
    mkTrace::call("mkTypeConverter::convertMaterial", material.getName());
    if (material.getName().isEmpty()) {
        return osg::NullFC;
    }
    return mkMaterials::findMaterial(material.getName().toUtf8().constData()).get();
}
