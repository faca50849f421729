#include "mkRayRenderer.h"

#include <tbb/task_arena.h>
#include <tbb/task_scheduler_observer.h>

#include <QElapsedTimer>

#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int niceness = 5;
/// The rough picture has one pixel where the real one has so many, each way.
constexpr int roughness = 4;
constexpr qint64 shownEvery = 40;
constexpr qint64 keptEvery = 1000;

void lowerPriority()
{
    setpriority(PRIO_PROCESS, id_t(gettid()), niceness);
}

/// Keeps the threads that help out of the window's way.
class LowPriority : public tbb::task_scheduler_observer
{
public:
    explicit LowPriority(tbb::task_arena &arena)
        : tbb::task_scheduler_observer(arena)
    {
        observe(true);
    }
    ~LowPriority() override { observe(false); }
    void on_scheduler_entry(bool) override { lowerPriority(); }
};

} // namespace

bool mkRayTask::isTracedLike(const mkRayTask &other) const
{
    return scene == other.scene && camera == other.camera && size == other.size;
}

/// What the thread works on.
struct mkRayRenderer::Work
{
    bool isUnfinished() const
    {
        return task.scene && failure.isEmpty() && film.passes() < task.samples;
    }

    tbb::task_arena arena;
    std::unique_ptr<mkRayScene> scene;
    std::shared_ptr<const mkRaySnapshot> applied;
    mkRayTask task;
    bool isNew = false;
    mkRayFilm film;
    QString failure;
    qint64 spent = 0;
    QElapsedTimer sinceShown;
    QElapsedTimer sinceKept;
};

mkRayRenderer::mkRayRenderer(QObject *parent)
    : QObject(parent)
    , thread([this] { run(); })
{}

mkRayRenderer::~mkRayRenderer()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ended = true;
        interrupted = true;
    }
    changed.notify_all();
    thread.join();
}

void mkRayRenderer::start(mkRayTask task)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!task.isTracedLike(requested)) {
            interrupted = true;
            reached.reset();
            latest.reset();
        }
        requested = task;
        next = std::move(task);
    }
    changed.notify_all();
}

void mkRayRenderer::setPaused(bool on)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        paused = on;
    }
    changed.notify_all();
}

std::shared_ptr<const mkRayFilm> mkRayRenderer::film() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return reached;
}

void mkRayRenderer::run()
{
    lowerPriority();
    Work work;
    const LowPriority observer(work.arena);
    while (waitForWork(work)) {
        try {
            work.arena.execute([&] { step(work); });
        } catch (const std::exception &failure) {
            work.failure = QString::fromUtf8(failure.what());
            mkRayProgress progress;
            progress.failure = work.failure;
            post(std::move(progress));
        }
    }
}

bool mkRayRenderer::waitForWork(Work &work)
{
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return ended || next || (!paused && work.isUnfinished()); });
    if (ended) {
        return false;
    }
    if (next) {
        work.isNew = interrupted || !next->isTracedLike(work.task);
        work.task = std::move(*next);
        next.reset();
        interrupted = false;
    }
    return true;
}

void mkRayRenderer::step(Work &work)
{
    QElapsedTimer clock;
    clock.start();
    if (work.isNew) {
        work.isNew = false;
        work.failure.clear();
        work.spent = 0;
        work.film = mkRayFilm(work.task.scene ? work.task.size : QSize());
        work.sinceKept.start();
        if (!work.scene) {
            work.scene = std::make_unique<mkRayScene>();
        }
        if (work.applied != work.task.scene) {
            work.applied.reset();
            if (!work.scene->apply(work.task.scene ? work.task.scene
                                                   : std::make_shared<mkRaySnapshot>(),
                                   &interrupted)) {
                return;
            }
            work.applied = work.task.scene;
        }
        mkRayFilm rough(work.film.size() / roughness);
        if (!rough.size().isEmpty()
            && rough.addPass(mkRayIntegrator(*work.scene), work.task.camera, 0, interrupted)) {
            work.spent = clock.elapsed();
            publish(work, rough);
        }
        return;
    }
    if (!work.isUnfinished()) {
        publish(work, work.film);
        return;
    }
    if (!work.film.addPass(mkRayIntegrator(*work.scene), work.task.camera, 0, interrupted)) {
        return;
    }
    work.spent += clock.elapsed();
    if (work.film.passes() == 1 || !work.isUnfinished() || !work.sinceShown.isValid()
        || work.sinceShown.hasExpired(shownEvery)) {
        publish(work, work.film);
    }
}

void mkRayRenderer::publish(Work &work, const mkRayFilm &film)
{
    mkRayProgress progress;
    const bool isRough = film.size() != work.task.size;
    progress.picture = film.pictureOverChecks(work.task.exposure,
                                              isRough ? std::max(work.task.square / roughness, 1)
                                                      : work.task.square);
    progress.nodes = film.nodeOfPixels();
    progress.samples = isRough ? 0 : film.passes();
    progress.milliseconds = work.spent;
    work.sinceShown.start();

    std::shared_ptr<const mkRayFilm> kept;
    if (!isRough
        && (film.passes() == 1 || !work.isUnfinished() || work.sinceKept.hasExpired(keptEvery))) {
        kept = std::make_shared<const mkRayFilm>(film);
        work.sinceKept.start();
    }
    if (kept) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!interrupted) {
            reached = std::move(kept);
        }
    }
    post(std::move(progress));
}

void mkRayRenderer::post(mkRayProgress progress)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (interrupted) {
        return;
    }
    const bool isUnderWay = latest.has_value();
    latest = std::move(progress);
    if (!isUnderWay) {
        QMetaObject::invokeMethod(
            this, [this] { deliver(); }, Qt::QueuedConnection);
    }
}

void mkRayRenderer::deliver()
{
    std::optional<mkRayProgress> progress;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        progress.swap(latest);
    }
    if (progress) {
        Q_EMIT progressed(*progress);
    }
}
