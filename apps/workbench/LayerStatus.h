#pragma once

#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include <QLabel>

class SceneWatcher;

/// Names the active layers in the status bar, and says when a material was set that is not used.
class LayerStatus : public QLabel
{
    Q_OBJECT

public:
    explicit LayerStatus(SceneWatcher *watcher, QWidget *parent = nullptr);

    void refresh();

private:
    static void warnOfUnused(quint32 attributesId);
};
