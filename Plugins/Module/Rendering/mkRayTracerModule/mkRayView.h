#pragma once

#include "mkRayRenderer.h"
#include "mkRaySession.h"

#include <QWidget>

/// Shows the session's scene through its camera, ever better, and moves the camera with the mouse:
/// the left button orbits, the middle one (or Shift and the left one) pans, the wheel and the right
/// one zoom. What is selected in the host is outlined. It traces only while it can be seen.
class mkRayView : public QWidget
{
    Q_OBJECT

public:
    explicit mkRayView(mkRaySession *session, QWidget *parent = nullptr);

    const mkRayRenderer &renderer() const { return tracer; }
    void setPaused(bool paused);
    /// The state of the picture that is shown.
    const mkRayProgress &progress() const { return shown; }
    /// In device pixels.
    QSize pictureSize() const;
    /// Of the picture's width to its height.
    float aspect() const;
    static constexpr int samples = 256;

    QSize sizeHint() const override { return { 640, 480 }; }

Q_SIGNALS:
    void progressed();
    /// A click, by the node's id, 0 for none. With `adding` the selection is kept.
    void picked(quint32 node, bool adding);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void restart();
    void show(const mkRayProgress &progress);
    void updateOutline();
    QString message() const;
    quint32 nodeAt(QPoint place) const;

    mkRaySession *session;
    mkRayRenderer tracer;
    std::shared_ptr<const mkRaySnapshot> scene;
    mkRayTask last;
    mkRayProgress shown;
    QImage outline;
    mkNodeSet selected;
    QPoint pressedAt;
    QPoint lastAt;
    bool dragging = false;
};
