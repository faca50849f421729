#include "mkIconManager/mkIconManager.h"

#include "mkUtils/mkTrace.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

namespace mkIconManager {

namespace {

constexpr int rowIconSize = 16;

QString resourcePath(const std::string &name)
{
    QString path = QStringLiteral(":/mkIconManager/") + QString::fromStdString(name);
    if (!path.endsWith(QLatin1String(".svg"))) {
        path += QLatin1String(".svg");
    }
    return QFile::exists(path) ? path : QStringLiteral(":/mkIconManager/Unknown.svg");
}

QPixmap render(const std::string &name, int size)
{
    const qreal scale = qGuiApp->devicePixelRatio();
    const QString key = QStringLiteral("mkIconManager/%1/%2/%3")
                            .arg(QString::fromStdString(name))
                            .arg(size)
                            .arg(scale);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = QPixmap(qRound(size * scale), qRound(size * scale));
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        QSvgRenderer(resourcePath(name)).render(&painter, QRectF(0, 0, size, size));
        painter.end();
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

} // namespace

const QPixmap get(const char *name)
{
    mkTrace::call("mkIconManager::get", name);
    return render(name, rowIconSize);
}

QIcon getIcon(const std::string &name, const std::string &overlay)
{
    mkTrace::call("mkIconManager::getIcon", name, overlay);
    QIcon icon;
    for (const int size : { 16, 24, 32, 48, 64 }) {
        QPixmap pixmap = render(name, size);
        if (!overlay.empty()) {
            QPainter(&pixmap).drawPixmap(size / 2, size / 2, render(overlay, size / 2));
        }
        icon.addPixmap(pixmap);
    }
    return icon;
}

QPixmap dimmed(const QPixmap &pixmap)
{
    QPixmap faded(pixmap.size());
    faded.setDevicePixelRatio(pixmap.devicePixelRatio());
    faded.fill(Qt::transparent);
    QPainter painter(&faded);
    painter.setOpacity(0.35);
    painter.drawPixmap(0, 0, pixmap);
    return faded;
}

} // namespace mkIconManager
