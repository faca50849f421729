#pragma once

#include "OSGSystem/Node.h"

#include <QWidget>

class QLabel;
class QTreeWidget;
class SceneWatcher;

/// Shows the render attributes that the selected node carries itself at this moment, so that
/// activating and resetting layers can be seen. Of several selected nodes it shows the first.
class AttributesView : public QWidget
{
    Q_OBJECT

public:
    explicit AttributesView(SceneWatcher *watcher, QWidget *parent = nullptr);

private:
    void refresh();

    QLabel *heading;
    QTreeWidget *table;
};
