#pragma once

#include "mkRayFilm.h"

#include <QObject>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

/// What is to be seen.
struct mkRayTask
{
    std::shared_ptr<const mkRaySnapshot> scene;
    mkRayCamera camera;
    QSize size;
    int samples = 256;
    float exposure = 0;
    /// Size of the checkerboard's squares in pixels.
    int square = 8;

    /// True when the same light is collected, for however long and however it is shown.
    bool isTracedLike(const mkRayTask &other) const;
};

/// How far a picture is.
struct mkRayProgress
{
    /// For the screen. Smaller than the task's size where it is the first, rough one.
    QImage picture;
    /// mkRaySample::node for each of the picture's pixels.
    std::vector<std::uint32_t> nodes;
    /// Of the rough picture 0.
    int samples = 0;
    /// Spent on this picture.
    qint64 milliseconds = 0;
    /// Why there is no picture; else empty.
    QString failure;
};

/// Renders progressively, in a thread of its own that shares the work among TBB's, all of low
/// priority. A new task replaces the present one at once, wherever that is; a rough picture comes
/// first.
class mkRayRenderer : public QObject
{
    Q_OBJECT

public:
    explicit mkRayRenderer(QObject *parent = nullptr);
    /// Waits for the thread to stop.
    ~mkRayRenderer() override;

    /// A task without a scene only stops the present one.
    void start(mkRayTask task);
    /// Between passes; what was reached stays.
    void setPaused(bool on);

    /// The last whole second's picture, or the last one when tracing has stopped; null when there
    /// is none.
    std::shared_ptr<const mkRayFilm> film() const;

Q_SIGNALS:
    /// On this object's thread. When that is slow, states in between are left out.
    void progressed(const mkRayProgress &progress);

private:
    struct Work;
    void run();
    bool waitForWork(Work &work);
    void step(Work &work);
    void publish(Work &work, const mkRayFilm &film);
    void post(mkRayProgress progress);
    void deliver();

    mkRayTask requested;
    std::atomic<bool> interrupted{ false };

    mutable std::mutex mutex;
    std::condition_variable changed;
    // Guarded by the mutex.
    std::optional<mkRayTask> next;
    std::optional<mkRayProgress> latest;
    std::shared_ptr<const mkRayFilm> reached;
    bool paused = false;
    bool ended = false;

    std::thread thread;
};
