#include "mkOpenSGUtils/mkMaterials.h"

#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkUtils/mkTrace.h"

#include <algorithm>

namespace mkMaterials {

namespace {

std::vector<osg::MaterialPtr> &all()
{
    static std::vector<osg::MaterialPtr> materials;
    return materials;
}

} // namespace

mkMaterialPtr findMaterial(const char *name)
{
    if (!mkTrace::call("mkMaterials::findMaterial", name) || !name) {
        return {};
    }
    for (const osg::MaterialPtr &material : all()) {
        if (material->getName() == name) {
            return material;
        }
    }
    return {};
}

const char *getName(const osg::MaterialPtr &material)
{
    return material ? material->getName().c_str() : "";
}

const std::vector<osg::MaterialPtr> &getMaterials()
{
    return all();
}

void addMaterial(const osg::MaterialPtr &material)
{
    if (!material || std::find(all().begin(), all().end(), material) != all().end()) {
        return;
    }
    std::vector<std::string> taken;
    for (const osg::MaterialPtr &other : all()) {
        taken.push_back(other->getName());
    }
    material->setName(mkNodeUtils::getUniqueName(material->getName(), taken));
    all().push_back(material);
}

void removeMaterial(const osg::MaterialPtr &material)
{
    all().erase(std::remove(all().begin(), all().end(), material), all().end());
}

void clear()
{
    all().clear();
}

} // namespace mkMaterials
