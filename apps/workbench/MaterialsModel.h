#pragma once

#include "OSGSystem/Material.h"

#include <QAbstractListModel>

#include <vector>

class SceneWatcher;

/// The document's materials, in order.
class MaterialsModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit MaterialsModel(SceneWatcher *watcher, QObject *parent = nullptr);

    /// Null for an invalid index.
    osg::MaterialPtr material(const QModelIndex &index) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    /// Renames the material and tells the modules with the message "materialRenamed". An empty
    /// name is refused; one that is taken gets a number behind it.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    Qt::DropActions supportedDragActions() const override;

private:
    void refresh();

    std::vector<osg::MaterialPtr> materials;
};
