#include "MaterialUse.h"
#include "SceneEdits.h"
#include "mkKernel/mkController.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QCoreApplication>
#include <QUndoCommand>

#include <algorithm>
#include <utility>

namespace {

using osg::MaterialPtr;

/// For the translations.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(SceneEdits)
};

void announce(const osg::FieldContainerPtr &container, const osg::BitVector &which)
{
    container->changed(which, osg::ChangeOrigin::External);
}

class RenameMaterial : public QUndoCommand
{
public:
    RenameMaterial(MaterialPtr renamed, std::string newName)
        : QUndoCommand(Texts::tr("Rename Material"))
        , material(std::move(renamed))
        , name(std::move(newName))
    {}

    void redo() override
    {
        std::string before = material->getName();
        material->setName(std::exchange(name, std::move(before)));
        mkController::setModified(1);
        mkMessage message("materialRenamed");
        message.set("material", material);
        mkController::sendMessage(message);
    }
    void undo() override { redo(); }

private:
    MaterialPtr material;
    /// The name that it does not have at the moment.
    std::string name;
};

class SwitchShadowMaterial : public QUndoCommand
{
public:
    explicit SwitchShadowMaterial(MaterialPtr switched)
        : QUndoCommand(Texts::tr("Shadow Material"))
        , material(std::move(switched))
    {}

    void redo() override
    {
        material->setShadowMaterial(!material->isShadowMaterial());
        mkController::setModified(1);
    }
    void undo() override { redo(); }

private:
    MaterialPtr material;
};

class RemoveMaterial : public QUndoCommand
{
public:
    explicit RemoveMaterial(MaterialPtr removed)
        : QUndoCommand(Texts::tr("Delete Material"))
        , material(std::move(removed))
    {}

    void redo() override
    {
        const std::vector<MaterialPtr> &all = mkMaterials::getMaterials();
        place = std::size_t(std::find(all.begin(), all.end(), material) - all.begin());
        use = MaterialUse::find(material);
        wereUsed.clear();
        mkMaterials::removeMaterial(material);
        for (const MaterialUse::Drawable &drawable : use.drawables) {
            drawable.core->setMaterial({});
        }
        for (const MaterialUse::Override &overridden : use.overrides) {
            wereUsed.push_back(overridden.attributes->getUseOverrideMaterial());
            overridden.attributes->setOverrideMaterial({});
            overridden.attributes->setUseOverrideMaterial(false);
        }
        finish();
    }

    void undo() override
    {
        mkMaterials::insertMaterial(material, place);
        for (const MaterialUse::Drawable &drawable : use.drawables) {
            if (!drawable.core->getMaterial()) {
                drawable.core->setMaterial(material);
            }
        }
        for (std::size_t i = 0; i < use.overrides.size(); ++i) {
            const osg::RaytracingGeoAttachmentPtr &attributes = use.overrides[i].attributes;
            // What was put in its place since is not taken away.
            if (!attributes->getOverrideMaterial()) {
                attributes->setOverrideMaterial(material);
                attributes->setUseOverrideMaterial(wereUsed[i]);
            }
        }
        finish();
    }

private:
    void finish() const
    {
        for (const MaterialUse::Override &overridden : use.overrides) {
            announce(overridden.attributes, osg::AllFields);
            if (!overridden.layer) {
                announce(overridden.node, osg::AttachmentContainer::AttachmentsFieldMask);
            }
        }
        mkController::setModified(1);
        if (use.isInLayers()) {
            mkMessage message("mkRenderLayerModuleUpdateLayers");
            mkController::sendMessage(message);
        }
    }

    MaterialPtr material;
    std::size_t place = 0;
    MaterialUse use;
    /// For each override whether it was in use.
    std::vector<bool> wereUsed;
};

} // namespace

namespace SceneEdits {

bool renameMaterial(const MaterialPtr &material, const std::string &name)
{
    if (name.empty() || name == material->getName()) {
        return false;
    }
    std::vector<std::string> taken;
    for (const MaterialPtr &other : mkMaterials::getMaterials()) {
        if (other != material) {
            taken.push_back(other->getName());
        }
    }
    const std::string unique = mkNodeUtils::getUniqueName(name, taken);
    if (unique == material->getName()) {
        return false;
    }
    const mkScopedUndo undo(true);
    mkUndo::execute(std::make_unique<RenameMaterial>(material, unique));
    return true;
}

void setShadowMaterial(const MaterialPtr &material, bool on)
{
    if (material->isShadowMaterial() != on) {
        const mkScopedUndo undo(true);
        mkUndo::execute(std::make_unique<SwitchShadowMaterial>(material));
    }
}

void removeMaterial(const MaterialPtr &material)
{
    const mkScopedUndo undo(true);
    mkUndo::execute(std::make_unique<RemoveMaterial>(material));
}

} // namespace SceneEdits
