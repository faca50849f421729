#include "MaterialUse.h"

#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>

namespace {

constexpr int mostPlaces = 8;

/// For the translations.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MaterialUse)
};

QString pathOf(const osg::NodePtr &node)
{
    return QString::fromStdString(mkNodeUtils::getPath(node));
}

} // namespace

MaterialUse MaterialUse::find(const osg::MaterialPtr &material)
{
    MaterialUse use;
    osg::traverse(mkScenegraph::getRoot(), [&](const osg::NodePtr &node) {
        const osg::Ptr<osg::DrawableBase> core(node->getCore());
        if (core && core->getMaterial() == material) {
            use.drawables.push_back({ node, core });
        }
        const auto own = mkNodeUtils::getRenderAttributes(node);
        if (own && own->getOverrideMaterial() == material) {
            use.overrides.push_back({ node, {}, own });
        }
        return osg::Action::Continue;
    });
    for (const osg::FieldContainerPtr &entry :
         mkScenegraph::getRenderLayer()->getAttachment()->getLayers()) {
        const osg::RenderLayerPtr layer(entry);
        for (std::size_t i = 0; layer && i < layer->getNodes().size(); ++i) {
            const osg::RaytracingGeoAttachmentPtr attributes(layer->getAttributes()[i]);
            if (attributes && attributes->getOverrideMaterial() == material) {
                use.overrides.push_back({ layer->getNodes()[i], layer, attributes });
            }
        }
    }
    return use;
}

bool MaterialUse::isInLayers() const
{
    return std::any_of(overrides.begin(), overrides.end(),
                       [](const Override &place) { return bool(place.layer); });
}

QString MaterialUse::describe() const
{
    QStringList lines;
    // What is in layers comes first: it is harder to find otherwise.
    for (const Override &place : overrides) {
        if (place.layer) {
            lines += Texts::tr("layer %1: overrides %2")
                         .arg(QString::fromStdString(place.layer->getName()), pathOf(place.node));
        }
    }
    for (const Drawable &place : drawables) {
        lines += pathOf(place.node);
    }
    for (const Override &place : overrides) {
        if (!place.layer) {
            lines += Texts::tr("overrides %1 now").arg(pathOf(place.node));
        }
    }
    const int more = lines.size() - mostPlaces;
    if (more > 1) {
        lines = lines.mid(0, mostPlaces);
        lines += Texts::tr("and %1 more places").arg(more);
    }
    return lines.join(QLatin1Char('\n'));
}
