#pragma once

#include "mkRayFilm.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <thread>

/// Renders pictures to files, in a thread of its own. Nothing of the scene graph is needed any more
/// once a job was made.
class mkRayPictureJob
{
public:
    struct Picture
    {
        /// Of the layer; for one picture of its own empty.
        QString name;
        std::shared_ptr<const mkRaySnapshot> scene;
    };
    struct Settings
    {
        mkRayCamera camera;
        QSize size{ 960, 540 };
        int samples = 64;
        float exposure = 0;
    };

    /// One file: PNG, or OpenEXR if the name ends so.
    static mkRayPictureJob picture(const QString &file, std::shared_ptr<const mkRaySnapshot> scene,
                                   const Settings &settings);
    /// A PNG file for each layer, or one file "layers.exr" with all of them.
    static mkRayPictureJob layers(const QString &directory, bool openExr,
                                  std::vector<Picture> pictures, const Settings &settings);

    /// Size and samples that can be rendered: throws std::runtime_error for others.
    static void check(const Settings &settings);

    mkRayPictureJob(mkRayPictureJob &&other) = default;
    mkRayPictureJob &operator=(mkRayPictureJob &&) = delete;
    /// Cancels and waits.
    ~mkRayPictureJob();

    /// Begins. `proceed` is then called from this thread about twenty times a second with what is
    /// done so far, 0 to 1, and cancels the job with false. Returns the files that were written, or
    /// none of a cancelled job, of which a PNG file may be there already. Throws std::runtime_error
    /// with a reason for the user.
    QStringList run(const std::function<bool(float done)> &proceed);

private:
    mkRayPictureJob() = default;
    void work();
    mkRayFilm rendered(mkRayScene &scene, const Picture &picture);

    std::vector<Picture> pictures;
    Settings settings;
    /// One a picture, or one for all.
    QStringList files;
    bool openExr = false;

    struct State
    {
        std::atomic<bool> cancelled{ false };
        std::atomic<bool> finished{ false };
        std::atomic<int> passes{ 0 };
        // For who waits only once the thread has finished.
        QString failure;
    };
    std::unique_ptr<State> state = std::make_unique<State>();
    std::thread thread;
};
