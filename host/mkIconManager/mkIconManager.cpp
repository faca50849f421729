#include "mkIconManager/mkIconManager.h"

#include "mkUtils/mkTrace.h"

#include <QFile>
#include <QGuiApplication>
#include <QHash>
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
    // Views ask for the icon of each row that they show, and to find it by text would take long.
    static QHash<QPair<QByteArray, int>, QPixmapCache::Key> keys;
    const qreal scale = qGuiApp->devicePixelRatio();
    const auto known = keys.constFind(
        { QByteArray::fromRawData(name.data(), int(name.size())), size });
    QPixmap pixmap;
    if (known == keys.constEnd() || !QPixmapCache::find(*known, &pixmap)
        || pixmap.devicePixelRatio() != scale) {
        pixmap = QPixmap(qRound(size * scale), qRound(size * scale));
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        QSvgRenderer(resourcePath(name)).render(&painter, QRectF(0, 0, size, size));
        painter.end();
        keys.insert({ QByteArray::fromStdString(name), size }, QPixmapCache::insert(pixmap));
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

QPixmap overlaid(const QPixmap &pixmap, const char *name)
{
    QPixmap marked(pixmap);
    const int size = qRound(pixmap.width() / pixmap.devicePixelRatio());
    const int covered = size * 5 / 8;
    QPainter(&marked).drawPixmap(size - covered, size - covered, render(name, covered));
    return marked;
}

} // namespace mkIconManager
