#include "Swatch.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>

#include <cmath>

namespace {

constexpr int swatchSize = 16;

/// The screen's share for a linear one.
qreal displayed(float linear)
{
    const qreal share = qBound(0.0, qreal(linear), 1.0);
    return share <= 0.0031308 ? share * 12.92 : 1.055 * std::pow(share, 1 / 2.4) - 0.055;
}

QColor colorOf(const osg::MaterialPtr &material)
{
    const osg::Material::Color &color = material->getColor();
    return QColor::fromRgbF(displayed(color[0]), displayed(color[1]), displayed(color[2]),
                            qBound(0.0, qreal(color[3]), 1.0));
}

} // namespace

QIcon swatch(const osg::MaterialPtr &material)
{
    const qreal scale = qGuiApp->devicePixelRatio();
    QPixmap pixmap(qRound(swatchSize * scale), qRound(swatchSize * scale));
    pixmap.setDevicePixelRatio(scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame(1.5, 1.5, swatchSize - 3, swatchSize - 3);
    QLinearGradient halves(frame.topLeft(), frame.bottomRight());
    halves.setColorAt(0.499, Qt::white);
    halves.setColorAt(0.501, Qt::darkGray);
    painter.setPen(Qt::NoPen);
    painter.setBrush(halves);
    painter.drawRoundedRect(frame, 2, 2);
    painter.setPen(QPen(QGuiApplication::palette().color(QPalette::Mid), 1));
    painter.setBrush(colorOf(material));
    painter.drawRoundedRect(frame, 2, 2);
    painter.end();
    QIcon icon(pixmap);
    // The style would tint that of a selected row.
    icon.addPixmap(pixmap, QIcon::Selected);
    return icon;
}

QColor opaqueColor(const osg::MaterialPtr &material)
{
    QColor color = colorOf(material);
    color.setAlpha(255);
    return color;
}
