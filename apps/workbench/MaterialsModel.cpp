#include "MaterialsModel.h"

#include "SceneEdits.h"
#include "SceneWatcher.h"
#include "Swatch.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkOpenSGUtils/mkMaterials.h"

#include <QMimeData>

namespace {

QString materialFormat()
{
    return QStringLiteral("application/mosk-decoupled-materials");
}

} // namespace

MaterialsModel::MaterialsModel(SceneWatcher *watcher, QObject *parent)
    : QAbstractListModel(parent)
    , materials(mkMaterials::getMaterials())
{
    connect(watcher, &SceneWatcher::materialsChanged, this, &MaterialsModel::refresh);
}

osg::MaterialPtr MaterialsModel::material(const QModelIndex &index) const
{
    return index.isValid() ? materials[std::size_t(index.row())] : osg::MaterialPtr();
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
    const osg::MaterialPtr shown = material(index);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return QString::fromUtf8(mkMaterials::getName(shown));
    case Qt::DecorationRole:
        return swatch(shown);
    default:
        return {};
    }
}

bool MaterialsModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || role != Qt::EditRole
        || !SceneEdits::renameMaterial(material(index), value.toString().toStdString())) {
        return false;
    }
    Q_EMIT dataChanged(index, index);
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
