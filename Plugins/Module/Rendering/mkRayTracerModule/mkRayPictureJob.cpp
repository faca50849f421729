#include "mkRayPictureJob.h"

#include "mkRayLayers.h"
#include "mkRayPictureFiles.h"

#include <QCoreApplication>
#include <QDir>

#include <chrono>
#include <stdexcept>

namespace {

constexpr int largestSide = 16384;
constexpr int mostSamples = 1 << 20;
constexpr std::chrono::milliseconds interval(50);

} // namespace

void mkRayPictureJob::check(const Settings &settings)
{
    const auto isSide = [](int side) { return side >= 1 && side <= largestSide; };
    if (!isSide(settings.size.width()) || !isSide(settings.size.height())) {
        throw std::runtime_error(
            QCoreApplication::translate("mkRayPictureJob",
                                        "A picture is 1 to %1 pixels wide and high.")
                .arg(largestSide)
                .toStdString());
    }
    if (settings.samples < 1 || settings.samples > mostSamples) {
        throw std::runtime_error(
            QCoreApplication::translate("mkRayPictureJob", "A picture takes 1 to %1 samples.")
                .arg(mostSamples)
                .toStdString());
    }
}

mkRayPictureJob mkRayPictureJob::picture(const QString &file,
                                         std::shared_ptr<const mkRaySnapshot> scene,
                                         const Settings &settings)
{
    check(settings);
    mkRayPictureJob job;
    job.pictures.push_back({ QString(), std::move(scene) });
    job.settings = settings;
    job.files = QStringList{ file };
    job.openExr = file.endsWith(QLatin1String(".exr"), Qt::CaseInsensitive);
    return job;
}

mkRayPictureJob mkRayPictureJob::layers(const QString &directory, bool openExr,
                                        std::vector<Picture> pictures, const Settings &settings)
{
    check(settings);
    if (pictures.empty()) {
        throw std::runtime_error(
            QCoreApplication::translate("mkRayPictureJob", "The scene has no render layers.")
                .toStdString());
    }
    const QDir target(directory);
    if (!target.mkpath(QStringLiteral("."))) {
        throw std::runtime_error(
            QCoreApplication::translate("mkRayPictureJob", "The folder %1 cannot be made.")
                .arg(directory)
                .toStdString());
    }
    mkRayPictureJob job;
    job.settings = settings;
    job.openExr = openExr;
    job.pictures = std::move(pictures);
    QStringList names;
    for (const Picture &picture : job.pictures) {
        names += picture.name;
    }
    names = mkRayLayers::fileNames(names);
    for (int i = 0; i < names.size(); ++i) {
        // Channels are named like files: dots would nest the layers.
        job.pictures[std::size_t(i)].name = names[i];
        if (!openExr) {
            job.files += target.absoluteFilePath(names[i] + QLatin1String(".png"));
        }
    }
    if (openExr) {
        job.files += target.absoluteFilePath(QStringLiteral("layers.exr"));
    }
    return job;
}

mkRayPictureJob::~mkRayPictureJob()
{
    if (thread.joinable()) {
        state->cancelled = true;
        thread.join();
    }
}

QStringList mkRayPictureJob::run(const std::function<bool(float)> &proceed)
{
    thread = std::thread([this] {
        try {
            work();
        } catch (const std::exception &failure) {
            state->failure = QString::fromUtf8(failure.what());
        }
        state->finished = true;
    });
    const float all = float(pictures.size()) * float(settings.samples);
    while (!state->finished) {
        if (!proceed(float(state->passes) / all)) {
            state->cancelled = true;
        }
        std::this_thread::sleep_for(interval);
    }
    thread.join();
    if (state->cancelled) {
        return {};
    }
    if (!state->failure.isEmpty()) {
        throw std::runtime_error(state->failure.toStdString());
    }
    return files;
}

mkRayFilm mkRayPictureJob::rendered(mkRayScene &scene, const Picture &picture)
{
    mkRayFilm film(settings.size);
    if (!scene.apply(picture.scene, &state->cancelled)) {
        return film;
    }
    const mkRayIntegrator integrator(scene);
    while (film.passes() < settings.samples
           && film.addPass(integrator, settings.camera, 0, state->cancelled)) {
        ++state->passes;
    }
    return film;
}

void mkRayPictureJob::work()
{
    mkRayScene scene;
    std::vector<mkRayFilm> films;
    for (std::size_t i = 0; i < pictures.size() && !state->cancelled; ++i) {
        mkRayFilm film = rendered(scene, pictures[i]);
        if (state->cancelled) {
            return;
        }
        if (openExr) {
            films.push_back(std::move(film));
        } else {
            mkWritePng(files[int(i)], film, settings.exposure);
        }
    }
    if (openExr) {
        mkRayLayerFilms layers;
        for (std::size_t i = 0; i < films.size(); ++i) {
            layers.emplace_back(pictures[i].name, &films[i]);
        }
        mkWriteExr(files.front(), layers);
    }
}
