#include "mkRayView.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr float zoomPerPixel = 0.005F;
constexpr float zoomPerStep = 0.0015F;
const QColor outlineColor(255, 160, 40); // clazy:exclude=non-pod-global-static

} // namespace

mkRayView::mkRayView(mkRaySession *newSession, QWidget *parent)
    : QWidget(parent)
    , session(newSession)
{
    setObjectName(QStringLiteral("rayView"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(120, 90);
    connect(&tracer, &mkRayRenderer::progressed, this, &mkRayView::show);
    connect(session, &mkRaySession::sceneChanged, this, [this] {
        selected = mkRaySelectedIds();
        updateOutline();
        restart();
    });
    connect(session, &mkRaySession::cameraChanged, this, &mkRayView::restart);
    connect(session, &mkRaySession::exposureChanged, this, &mkRayView::restart);
}

void mkRayView::setPaused(bool paused)
{
    tracer.setPaused(paused);
}

QSize mkRayView::pictureSize() const
{
    return size() * devicePixelRatioF();
}

float mkRayView::aspect() const
{
    return float(width()) / float(std::max(height(), 1));
}

/// Starts anew where something has changed; else the renderer goes on.
void mkRayView::restart()
{
    scene = session->current();
    if (!isVisible()) {
        return;
    }
    if (!scene) {
        // The scene that it was of is gone.
        last = {};
        tracer.start({});
        show({});
        return;
    }
    mkRayTask task;
    task.camera = session->control().camera();
    task.size = pictureSize();
    task.samples = samples;
    task.exposure = session->exposure();
    task.square = std::max(1, int(8 * devicePixelRatioF()));
    if (!scene->instances.empty()) {
        task.scene = scene;
    } else {
        show({});
    }
    if (!task.isTracedLike(last)) {
        // What is shown is of the past.
        shown.samples = 0;
    }
    last = task;
    tracer.start(std::move(task));
}

void mkRayView::show(const mkRayProgress &progress)
{
    shown = progress;
    updateOutline();
    update();
    Q_EMIT progressed();
}

void mkRayView::updateOutline()
{
    outline = {};
    const QSize pixels = shown.picture.size();
    if (selected.size() == 0 || shown.nodes.empty()) {
        update();
        return;
    }
    outline = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    outline.fill(Qt::transparent);
    std::vector<char> inside(shown.nodes.size());
    std::transform(shown.nodes.begin(), shown.nodes.end(), inside.begin(),
                   [this](std::uint32_t node) { return selected.contains(node) ? 1 : 0; });
    const auto at = [&](int x, int y) {
        return inside[std::size_t(y) * std::size_t(pixels.width()) + std::size_t(x)];
    };
    // As wide as a line of the window.
    const int reach = shown.samples == 0 ? 1 : std::max(1, qRound(devicePixelRatioF()));
    const QRgb color = outlineColor.rgba();
    for (int y = 0; y < pixels.height(); ++y) {
        auto *const line = reinterpret_cast<QRgb *>(outline.scanLine(y));
        for (int x = 0; x < pixels.width(); ++x) {
            const char here = at(x, y);
            const bool edge = here != at(std::min(x + reach, pixels.width() - 1), y)
                              || here != at(std::max(x - reach, 0), y)
                              || here != at(x, std::min(y + reach, pixels.height() - 1))
                              || here != at(x, std::max(y - reach, 0));
            if (edge) {
                line[x] = color;
            }
        }
    }
    update();
}

QString mkRayView::message() const
{
    if (!shown.failure.isEmpty()) {
        return shown.failure;
    }
    return scene && scene->instances.empty() ? tr("There is nothing to see in this scene.")
                                             : tr("Preparing the picture…");
}

void mkRayView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (shown.picture.isNull()) {
        painter.fillRect(rect(), palette().color(QPalette::Dark));
        painter.setPen(palette().color(QPalette::BrightText));
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, message());
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform, shown.samples == 0);
    painter.drawImage(rect(), shown.picture);
    if (!outline.isNull()) {
        painter.drawImage(rect(), outline);
    }
}

void mkRayView::resizeEvent(QResizeEvent *)
{
    restart();
}

void mkRayView::showEvent(QShowEvent *)
{
    session->setWatched(true);
}

void mkRayView::hideEvent(QHideEvent *)
{
    tracer.start({});
    // Nothing of a scene that may be large stays behind.
    scene.reset();
    last = {};
    session->setWatched(false);
}

quint32 mkRayView::nodeAt(QPoint place) const
{
    const QSize pixels = shown.picture.size();
    if (!rect().contains(place) || shown.nodes.empty()) {
        return 0;
    }
    const int x = place.x() * pixels.width() / width();
    const int y = place.y() * pixels.height() / height();
    return shown.nodes[std::size_t(y) * std::size_t(pixels.width()) + std::size_t(x)];
}

void mkRayView::mousePressEvent(QMouseEvent *event)
{
    pressedAt = event->pos();
    lastAt = event->pos();
    dragging = false;
}

void mkRayView::mouseMoveEvent(QMouseEvent *event)
{
    if (event->buttons() == Qt::NoButton) {
        return;
    }
    if (!dragging
        && (event->pos() - pressedAt).manhattanLength() < QApplication::startDragDistance()) {
        return;
    }
    dragging = true;
    const QPoint way = event->pos() - lastAt;
    lastAt = event->pos();
    const float tall = float(std::max(height(), 1));
    const float right = float(way.x()) / tall;
    const float down = float(way.y()) / tall;
    mkRayCameraControl &control = session->control();
    const bool shift = event->modifiers().testFlag(Qt::ShiftModifier);
    if (event->buttons().testFlag(Qt::RightButton)) {
        control.zoom(std::exp(zoomPerPixel * float(way.x() - way.y())));
    } else if (event->buttons().testFlag(Qt::MiddleButton) || shift) {
        control.pan(right, -down);
    } else {
        control.orbit(-right * float(M_PI), down * float(M_PI));
    }
    session->cameraMoved();
}

void mkRayView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && !dragging) {
        Q_EMIT picked(nodeAt(event->pos()), event->modifiers().testFlag(Qt::ControlModifier));
    }
}

void mkRayView::wheelEvent(QWheelEvent *event)
{
    session->control().zoom(std::exp(zoomPerStep * float(event->angleDelta().y())));
    session->cameraMoved();
    event->accept();
}
