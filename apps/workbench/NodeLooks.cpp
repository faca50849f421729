#include "NodeLooks.h"

#include "Swatch.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

namespace {

const QColor markColor(0xe0, 0x6c, 0x00);
constexpr qreal outline = 1.2;

/// For the translations.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(NodeLooks)
};

osg::MaterialPtr overrideInUse(const osg::RenderAttributeValues &values)
{
    return values.useOverrideMaterial ? values.overrideMaterial : osg::MaterialPtr();
}

bool areDefaults(const osg::RenderAttributeValues &values)
{
    const osg::RenderAttributeValues defaults;
    return !values.overrideMaterial
           && std::all_of(osg::renderAttributes.begin(), osg::renderAttributes.end(),
                          [&](const osg::RenderAttribute &attribute) {
                              return values.*attribute.value == defaults.*attribute.value;
                          });
}

void drawMark(QPainter &painter, const QRectF &place, const QColor &color)
{
    painter.setPen(QPen(QGuiApplication::palette().color(QPalette::Base), outline));
    painter.setBrush(color);
    painter.drawEllipse(place);
}

/// The node's own attributes where they are not the defaults; null otherwise.
osg::RaytracingGeoAttachmentPtr changedAttributes(const osg::NodePtr &node)
{
    const osg::RaytracingGeoAttachmentPtr own = mkNodeUtils::getRenderAttributes(node);
    return own && !areDefaults(own->getValues()) ? own : osg::RaytracingGeoAttachmentPtr();
}

} // namespace

namespace NodeLooks {

bool isHidden(const osg::NodePtr &node)
{
    const auto attributes = mkNodeUtils::getRenderAttributes(node);
    return attributes && !attributes->getVisible();
}

QIcon icon(const osg::NodePtr &node)
{
    QPixmap pixmap = mkScenegraph::getNodeIcon(node->getCore(), node, true);
    if (const osg::RaytracingGeoAttachmentPtr own = changedAttributes(node)) {
        const QSizeF size = QSizeF(pixmap.size()) / pixmap.devicePixelRatio();
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        drawMark(painter, QRectF(size.width() - 5.8, 0.6, 5.2, 5.2), markColor);
        if (const osg::MaterialPtr material = overrideInUse(own->getValues())) {
            drawMark(painter, QRectF(size.width() - 8.6, size.height() - 8.6, 8, 8),
                     opaqueColor(material));
        }
    }
    return { pixmap };
}

QString toolTip(const osg::NodePtr &node)
{
    QString text = QString::fromStdString(mkNodeUtils::getPath(node));
    const osg::RaytracingGeoAttachmentPtr own = changedAttributes(node);
    if (!own) {
        return text;
    }
    const osg::RenderAttributeValues &values = own->getValues();
    QStringList off;
    for (const osg::RenderAttribute &attribute : osg::renderAttributes) {
        if (attribute.value != &osg::RenderAttributeValues::useOverrideMaterial
            && !(values.*attribute.value)) {
            off += QCoreApplication::translate("RenderAttributes", attribute.label);
        }
    }
    if (!off.isEmpty()) {
        text += QLatin1Char('\n') + Texts::tr("Off: %1").arg(off.join(QLatin1String(", ")));
    }
    if (values.overrideMaterial) {
        const QString name = QString::fromUtf8(mkMaterials::getName(values.overrideMaterial));
        text += QLatin1Char('\n')
                + (values.useOverrideMaterial ? Texts::tr("Override material: %1")
                                              : Texts::tr("Override material, not used: %1"))
                      .arg(name);
    }
    return text;
}

QColor fadedText()
{
    const QPalette palette = QGuiApplication::palette();
    const QColor &text = palette.color(QPalette::Text);
    const QColor &base = palette.color(QPalette::Base);
    const auto mixed = [](int a, int b) { return (a * 62 + b * 38) / 100; };
    return { mixed(text.red(), base.red()), mixed(text.green(), base.green()),
             mixed(text.blue(), base.blue()) };
}

} // namespace NodeLooks
