#pragma once

#include <QListView>

class MaterialsModel;
class SceneWatcher;

/// The list of the document's materials. One can be dragged onto a panel, renamed in place, and
/// removed.
class MaterialsView : public QListView
{
    Q_OBJECT

public:
    explicit MaterialsView(SceneWatcher *watcher, QWidget *parent = nullptr);

protected:
    void startDrag(Qt::DropActions supportedActions) override;

private:
    MaterialsModel *materials;
};
