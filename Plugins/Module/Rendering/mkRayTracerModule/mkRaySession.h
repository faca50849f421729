#pragma once

#include "mkRayCameraControl.h"
#include "mkRayLayers.h"

#include <QObject>
#include <QTimer>

/// What the view, pictures and scripts share: the open scene as snapshots, the camera, the
/// environment and the exposure. GUI thread only.
class mkRaySession : public QObject
{
    Q_OBJECT

public:
    explicit mkRaySession(QObject *parent = nullptr);

    /// The scene as it is now.
    std::shared_ptr<const mkRaySnapshot> snapshot();
    /// The scene as it was read last; null while nobody watches, and until another scene was read.
    /// Large scenes are read by and by, so it may be that of a moment ago.
    const std::shared_ptr<const mkRaySnapshot> &current() const { return latest; }
    /// Whether somebody shows the scene: it is read at every change then, and kept.
    void setWatched(bool watched);
    /// The scene as it would be with this layer alone active.
    std::shared_ptr<const mkRaySnapshot> snapshot(const mkRayLayers::Layer &layer);

    /// Begins as the scene's first camera, or with everything in sight.
    mkRayCameraControl &control() { return cameraControl; }
    /// To be called after the control was used.
    void cameraMoved() { Q_EMIT cameraChanged(); }
    static std::vector<mkRaySceneReader::View> views();
    /// Of the scene camera of this name, or of the control for an empty one. Throws
    /// std::runtime_error for a name that is not there.
    mkRayCamera camera(const QString &name);
    void lookThrough(const mkRaySceneReader::View &view);
    /// Moves the camera to what is selected in the host, or to everything. False when there is
    /// nothing to see.
    bool frame(bool selectedOnly, float aspect);

    enum class Light { Studio, None, File };
    Light light() const { return lightKind; }
    /// Built in, or none at all.
    void setLight(Light kind);
    /// Throws std::runtime_error with a reason for the user; the light stays what it was then.
    void setLightFile(const QString &file);

    float exposure() const { return stops; }
    /// In stops.
    void setExposure(float newStops);

    /// Reads the scene anew without waiting for the event loop.
    void refresh();
    /// Reads the scene anew, by and by.
    void follow();
    /// Another scene was opened: its camera is taken.
    void reset();

Q_SIGNALS:
    /// The scene graph, what of it is selected, or the light has changed; at most once a turn of
    /// the event loop.
    void sceneChanged();
    void cameraChanged();
    void exposureChanged();

private:
    void setEnvironment(Light kind, std::shared_ptr<const mkRayEnvironment> newEnvironment);
    void readOn();
    void show(const std::shared_ptr<const mkRaySnapshot> &scene);

    mkRaySceneReader reader;
    mkRayCameraControl cameraControl;
    std::shared_ptr<const mkRayEnvironment> environment;
    Light lightKind = Light::Studio;
    float stops = 0;
    QTimer timer;
    QTimer selection;
    std::shared_ptr<const mkRaySnapshot> latest;
    bool isWatched = false;
    bool hasCamera = false;
};

/// The ids of the nodes that are selected in the host and of all below them.
mkNodeSet mkRaySelectedIds();
