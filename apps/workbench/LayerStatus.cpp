#include "LayerStatus.h"

#include "SceneWatcher.h"
#include "StatusLine.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QStringList>

#include <algorithm>

namespace {

constexpr int mostCharacters = 60;

} // namespace

LayerStatus::LayerStatus(SceneWatcher *watcher, QWidget *parent)
    : QLabel(parent)
{
    setObjectName(QStringLiteral("layerStatus"));
    setTextFormat(Qt::PlainText);
    setMargin(2);
    connect(watcher, &SceneWatcher::looksChanged, this, &LayerStatus::refresh);
    connect(watcher, &SceneWatcher::overrideMaterialSet, this, &LayerStatus::warnOfUnused);
    refresh();
}

void LayerStatus::refresh()
{
    QStringList active;
    const mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    const osg::RenderLayersPtr layers = store ? store->getAttachment() : nullptr;
    for (const osg::RenderLayerPtr &layer :
         layers ? layers->getActivated() : std::vector<osg::RenderLayerPtr>()) {
        const QString name = QString::fromStdString(layer->getName());
        const auto &present = layers->getLayers();
        active += std::find(present.begin(), present.end(), layer) != present.end()
                      ? name
                      : tr("%1 (deleted)").arg(name);
    }
    const QString names = active.isEmpty() ? tr("No layer is active")
                                           : tr("Active: %1").arg(active.join(QLatin1String(", ")));
    setText(fontMetrics().elidedText(names, Qt::ElideRight,
                                     fontMetrics().averageCharWidth() * mostCharacters));
    setToolTip(tr("%1\nLayers activated since the last reset, the latest last.").arg(names));
}

void LayerStatus::warnOfUnused(quint32 attributesId)
{
    const osg::RaytracingGeoAttachmentPtr attributes(
        osg::FieldContainerFactory::the()->getContainer(attributesId));
    if (attributes && attributes->getOverrideMaterial() && !attributes->getUseOverrideMaterial()) {
        StatusLine::show(
            tr("%1 is set but not used yet: UseOverrideMaterial is off in this row.")
                .arg(QString::fromUtf8(mkMaterials::getName(attributes->getOverrideMaterial()))));
    }
}
