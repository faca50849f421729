#include "mkOpenSGUtils/mkMaterials.h"

#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkUtils/mkTrace.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>

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
    mkTrace::call("mkMaterials::findMaterial", name);
    if (!name) {
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
    addMaterials({ material });
}

void addMaterials(const std::vector<osg::MaterialPtr> &materials)
{
    std::unordered_set<std::uint32_t> known;
    std::unordered_set<std::string> taken;
    for (const osg::MaterialPtr &material : all()) {
        known.insert(material->getId());
        taken.insert(material->getName());
    }
    for (const osg::MaterialPtr &material : materials) {
        if (!material || !known.insert(material->getId()).second) {
            continue;
        }
        if (taken.count(material->getName()) > 0) {
            material->setName(
                mkNodeUtils::getUniqueName(material->getName(), { taken.begin(), taken.end() }));
        }
        taken.insert(material->getName());
        all().push_back(material);
    }
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
