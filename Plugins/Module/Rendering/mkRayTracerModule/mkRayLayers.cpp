#include "mkRayLayers.h"

#include "mkKernel/mkScenegraph.h"

#include <QSet>

namespace {

/// What file systems take is 255 bytes, and numbers and suffix are still to come.
constexpr int longestName = 60;

std::vector<osg::RenderLayerPtr> layersOfScene()
{
    std::vector<osg::RenderLayerPtr> layers;
    if (const mkRenderLayer *const store = mkScenegraph::getRenderLayer()) {
        if (const osg::RenderLayersPtr content = store->getAttachment()) {
            for (const osg::FieldContainerPtr &entry : content->getLayers()) {
                if (const osg::RenderLayerPtr layer{ entry }) {
                    layers.push_back(layer);
                }
            }
        }
    }
    return layers;
}

} // namespace

std::vector<mkRayLayers::Layer> mkRayLayers::read()
{
    std::vector<Layer> read;
    for (const osg::RenderLayerPtr &layer : layersOfScene()) {
        Layer made{ QString::fromStdString(layer->getName()), {} };
        const std::vector<osg::NodePtr> &nodes = layer->getNodes();
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const osg::RaytracingGeoAttachmentPtr entry(layer->getAttributes()[i]);
            if (!entry) {
                continue;
            }
            // Below a member, other members go by their own entries.
            osg::traverse(nodes[i], [&](const osg::NodePtr &below) {
                if (below != nodes[i] && layer->contains(below)) {
                    return osg::Action::Skip;
                }
                made.attributes[below->getId()] = entry->getValues();
                return osg::Action::Continue;
            });
        }
        read.push_back(std::move(made));
    }
    return read;
}

QStringList mkRayLayers::activeNames()
{
    QStringList names;
    const mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    if (const osg::RenderLayersPtr content = store ? store->getAttachment() : nullptr) {
        for (const osg::RenderLayerPtr &layer : content->getActivated()) {
            names += QString::fromStdString(layer->getName());
        }
    }
    return names;
}

QStringList mkRayLayers::fileNames(const QStringList &names)
{
    QStringList result;
    QSet<QString> taken;
    for (const QString &name : names) {
        QString safe = name.left(longestName);
        for (QChar &c : safe) {
            const bool plain = c.isLetterOrNumber() || c == QLatin1Char('-')
                               || c == QLatin1Char('_');
            c = plain && !c.isSurrogate() ? c : QLatin1Char('_');
        }
        if (safe.isEmpty()) {
            safe = QStringLiteral("layer");
        }
        QString unique = safe;
        for (int number = 1; taken.contains(unique.toCaseFolded()); ++number) {
            unique = safe + QString::number(number);
        }
        taken.insert(unique.toCaseFolded());
        result += unique;
    }
    return result;
}
