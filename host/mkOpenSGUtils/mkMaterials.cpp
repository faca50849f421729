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

void insertMaterial(const osg::MaterialPtr &material, std::size_t index)
{
    const std::size_t count = all().size();
    addMaterial(material);
    if (all().size() > count && index < count) {
        std::rotate(all().begin() + std::ptrdiff_t(index), all().end() - 1, all().end());
    }
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
        material->changed(osg::AllFields, osg::ChangeOrigin::Internal);
    }
}

void removeMaterial(const osg::MaterialPtr &material)
{
    const auto found = std::find(all().begin(), all().end(), material);
    if (found != all().end()) {
        // The handle that was passed may be the one that goes. NOLINTNEXTLINE(performance-*)
        const osg::MaterialPtr removed = material;
        all().erase(found);
        removed->changed(osg::AllFields, osg::ChangeOrigin::Internal);
    }
}

void clear()
{
    all().clear();
}

} // namespace mkMaterials
