#pragma once

#include <QPainter>
#include <QProxyStyle>

/// The platform's style, but for icons of selected rows: they keep their colours and lie on a light
/// plate. Tinted in the selection's colour, the kinds of nodes could not be told apart.
class WorkbenchStyle : public QProxyStyle
{
    Q_OBJECT

public:
    QPixmap generatedIconPixmap(QIcon::Mode mode, const QPixmap &pixmap,
                                const QStyleOption *option) const override
    {
        if (mode != QIcon::Selected) {
            return QProxyStyle::generatedIconPixmap(mode, pixmap, option);
        }
        QPixmap plated(pixmap.size());
        plated.setDevicePixelRatio(pixmap.devicePixelRatio());
        plated.fill(Qt::transparent);
        QPainter painter(&plated);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(255, 255, 255, 225));
        const QSizeF size = QSizeF(pixmap.size()) / pixmap.devicePixelRatio();
        painter.drawRoundedRect(QRectF(QPointF(), size), 2, 2);
        painter.drawPixmap(0, 0, pixmap);
        return plated;
    }
};
