#pragma once

#include "mkRayView.h"

class QAction;
class QLabel;
class QMenu;
class QToolBar;

/// "Ray-Traced View": the view between a tool bar and a line that says how far it is.
class mkRayViewPanel : public QWidget
{
    Q_OBJECT

public:
    explicit mkRayViewPanel(mkRaySession *session, QWidget *parent = nullptr);

    mkRayView *view() const { return picture; }
    /// "Save Picture…" and "Render Layers…".
    QList<QAction *> pictureActions() const { return { save, render }; }

private:
    void createActions();
    void renderLayers();
    QMenu *createCameraMenu();
    QMenu *createLightMenu();
    void showCameras(QMenu *menu);
    void chooseLightFile();
    void showStatus();
    void select(quint32 node, bool adding);
    void savePicture();
    void report(const QString &title, const std::exception &failure);

    mkRaySession *session;
    QToolBar *tools;
    mkRayView *picture;
    QLabel *status;
    QLabel *layers;
    QAction *save;
    QAction *render;
};
