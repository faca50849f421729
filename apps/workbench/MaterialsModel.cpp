#include "MaterialsModel.h"

#include "SceneWatcher.h"
#include "mkKernel/mkController.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QGuiApplication>
#include <QIcon>
#include <QMimeData>
#include <QPainter>
#include <QPalette>

namespace {

constexpr int swatchSize = 16;

QString materialFormat()
{
    return QStringLiteral("application/mosk-decoupled-materials");
}

QColor colorOf(const osg::MaterialPtr &material)
{
    const auto channel = [&material](std::size_t i) {
        return qBound(0.0, qreal(material->getColor()[i]), 1.0);
    };
    return QColor::fromRgbF(channel(0), channel(1), channel(2), channel(3));
}

/// The colour over a light and a dark half, so that its transparency shows.
QIcon swatch(const QColor &color)
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
    painter.setBrush(color);
    painter.drawRoundedRect(frame, 2, 2);
    painter.end();
    QIcon icon(pixmap);
    // The style would tint that of a selected row.
    icon.addPixmap(pixmap, QIcon::Selected);
    return icon;
}

} // namespace

MaterialsModel::MaterialsModel(SceneWatcher *watcher, QObject *parent)
    : QAbstractListModel(parent)
    , materials(mkMaterials::getMaterials())
{
    connect(watcher, &SceneWatcher::materialsChanged, this, &MaterialsModel::refresh);
}

int MaterialsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(materials.size());
}

QVariant MaterialsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid()) {
        return {};
    }
    const osg::MaterialPtr &material = materials[std::size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return QString::fromUtf8(mkMaterials::getName(material));
    case Qt::DecorationRole:
        return swatch(colorOf(material));
    default:
        return {};
    }
}

bool MaterialsModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const std::string name = value.toString().toStdString();
    if (!index.isValid() || role != Qt::EditRole || name.empty()) {
        return false;
    }
    const osg::MaterialPtr material = materials[std::size_t(index.row())];
    if (name == material->getName()) {
        return false;
    }
    std::vector<std::string> taken;
    for (const osg::MaterialPtr &other : mkMaterials::getMaterials()) {
        if (other != material) {
            taken.push_back(other->getName());
        }
    }
    const std::string unique = mkNodeUtils::getUniqueName(name, taken);
    if (unique == material->getName()) {
        return false;
    }
    material->setName(unique);
    mkController::setModified(1);
    Q_EMIT dataChanged(index, index);
    mkMessage message("materialRenamed");
    message.set("material", material);
    mkController::sendMessage(message);
    return true;
}

Qt::ItemFlags MaterialsModel::flags(const QModelIndex &index) const
{
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled
                                 | Qt::ItemIsEditable
                           : Qt::NoItemFlags;
}

QStringList MaterialsModel::mimeTypes() const
{
    return { materialFormat() };
}

QMimeData *MaterialsModel::mimeData(const QModelIndexList &indexes) const
{
    if (indexes.isEmpty()) {
        return nullptr;
    }
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream << mkdMaterial(indexes.first().data().toString());
    auto *const mime = new QMimeData;
    mime->setData(materialFormat(), payload);
    return mime;
}

Qt::DropActions MaterialsModel::supportedDragActions() const
{
    return Qt::CopyAction;
}

void MaterialsModel::remove(const QModelIndex &index)
{
    if (index.isValid()) {
        mkMaterials::removeMaterial(materials[std::size_t(index.row())]);
        mkController::setModified(1);
        refresh();
    }
}

void MaterialsModel::refresh()
{
    const std::vector<osg::MaterialPtr> &actual = mkMaterials::getMaterials();
    if (actual == materials) {
        if (!materials.empty()) {
            Q_EMIT dataChanged(index(0), index(rowCount() - 1));
        }
        return;
    }
    beginResetModel();
    materials = actual;
    endResetModel();
}
