#pragma once

#include "OSGSystem/Material.h"

#include <QListView>

class MaterialsModel;
class QSortFilterProxyModel;
class SceneWatcher;

/// The list of the document's materials. One can be dragged onto a panel, renamed in place,
/// deleted, and the nodes that have it can be selected.
class MaterialsView : public QListView
{
    Q_OBJECT

public:
    explicit MaterialsView(SceneWatcher *watcher, QWidget *parent = nullptr);

    /// Shows the materials whose names fit what a search field holds.
    void search(const QString &text);
    /// Null for none.
    osg::MaterialPtr currentMaterial() const;

Q_SIGNALS:
    /// Another one is current, or something about materials has changed.
    void currentMaterialChanged();

protected:
    void startDrag(Qt::DropActions supportedActions) override;

private:
    void removeCurrent();
    void selectNodes() const;

    MaterialsModel *materials;
    QSortFilterProxyModel *shown;
};
