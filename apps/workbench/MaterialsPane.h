#pragma once

#include <QWidget>

class SceneWatcher;

/// The materials below a field to search them by name.
class MaterialsPane : public QWidget
{
    Q_OBJECT

public:
    explicit MaterialsPane(SceneWatcher *watcher, QWidget *parent = nullptr);
};
