// The Python module, and its registration with the host. PyInit_mkRayTracerModule is exported.

#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkRayTracerModule.h"

#include <QCoreApplication>
#include <QThread>

#include <boost/python.hpp>

#include <stdexcept>

namespace {

namespace python = boost::python;

constexpr char pictureDoc[] =
    "Renders the scene, with the attributes that it has now, into a file.\n\n"
    "@param file: PNG with alpha, or OpenEXR where the name ends in \".exr\".\n"
    "@type file: string\n"
    "@param width: In pixels.\n"
    "@type width: int\n"
    "@param height: In pixels.\n"
    "@type height: int\n"
    "@param samples: Paths for each pixel. The noise is halved by four times as many.\n"
    "@type samples: int\n"
    "@param camera: Name of a camera node; without one, what the view shows.\n"
    "@type camera: string\n"
    "@return: The path of the file.";

constexpr char layersDoc[] =
    "Renders a picture of each render layer, as if it alone were active. The scene stays as it "
    "is.\n\n"
    "@param directory: Where the pictures go; made where missing.\n"
    "@type directory: string\n"
    "@param width: In pixels.\n"
    "@type width: int\n"
    "@param height: In pixels.\n"
    "@type height: int\n"
    "@param samples: Paths for each pixel. The noise is halved by four times as many.\n"
    "@type samples: int\n"
    "@param format: \"png\" for a file with alpha for each layer, \"exr\" for one OpenEXR file, "
    "layers.exr, with the channels R, G, B and A for each layer, as in \"Paint.R\".\n"
    "@type format: string\n"
    "@param camera: Name of a camera node; without one, what the view shows.\n"
    "@type camera: string\n"
    "@return: The paths of the files.";

constexpr char environmentDoc[] =
    "Chooses the light that surrounds the scene.\n\n"
    "@param name: \"studio\" for the built-in one, \"none\" for the scene's own lights alone, or "
    "an "
    "OpenEXR file with a picture of the surroundings, twice as wide as high.\n"
    "@type name: string";

constexpr char waitDoc[] = "Waits until the ray-traced view is so far.\n\n"
                           "@param samples: Paths for each pixel.\n"
                           "@type samples: int\n"
                           "@return: False when the view is not to be seen or has nothing to show.";

mkRayTracerModule &module()
{
    if (QThread::currentThread() != QCoreApplication::instance()->thread()) {
        throw std::runtime_error("The ray tracer is for the main thread only.");
    }
    mkRayTracerModule *const there = mkRayTracerModule::the();
    if (!there) {
        throw std::runtime_error("The ray tracer has not been started yet.");
    }
    return *there;
}

/// Lets a script be interrupted while it waits, and the window live.
bool proceed()
{
    if (Py_MakePendingCalls() != 0) {
        return false;
    }
    return PyErr_CheckSignals() == 0;
}

void raiseInterrupt()
{
    if (PyErr_Occurred()) {
        python::throw_error_already_set();
    }
}

std::string renderPicture(const std::string &file, int width, int height, int samples,
                          const std::string &camera)
{
    const QString written = module().renderPicture(QString::fromStdString(file), { width, height },
                                                   samples, QString::fromStdString(camera),
                                                   proceed);
    raiseInterrupt();
    return written.toStdString();
}

python::list renderLayers(const std::string &directory, int width, int height, int samples,
                          const std::string &format, const std::string &camera)
{
    const QStringList files = module().renderLayers(QString::fromStdString(directory),
                                                    { width, height }, samples,
                                                    QString::fromStdString(format),
                                                    QString::fromStdString(camera), proceed);
    raiseInterrupt();
    python::list result;
    for (const QString &file : files) {
        result.append(file.toStdString());
    }
    return result;
}

void setEnvironment(const std::string &name)
{
    module().setEnvironment(QString::fromStdString(name));
}

bool waitForView(int samples)
{
    const bool reached = module().waitForView(samples, proceed);
    raiseInterrupt();
    return reached;
}

} // namespace

BOOST_PYTHON_MODULE(mkRayTracerModule)
{
    using python::arg;
    const python::docstring_options options(true, false);
    python::def("renderPicture", &renderPicture,
                (arg("file"), arg("width") = 960, arg("height") = 540, arg("samples") = 64,
                 arg("camera") = ""),
                pictureDoc);
    python::def("renderLayers", &renderLayers,
                (arg("directory"), arg("width") = 960, arg("height") = 540, arg("samples") = 64,
                 arg("format") = "png", arg("camera") = ""),
                layersDoc);
    python::def("setEnvironment", &setEnvironment, arg("name"), environmentDoc);
    python::def("waitForView", &waitForView, arg("samples") = 16, waitDoc);
}

namespace {

void registerPython(mkPythonRegisterFactory::Level level)
{
    if (level == mkPythonRegisterFactory::BeforeInterpreter) {
        PyImport_AppendInittab("mkRayTracerModule", &PyInit_mkRayTracerModule);
    } else if (level == mkPythonRegisterFactory::AfterInterpreter) {
        mkScript::run("import mkRayTracerModule");
    }
}

// The host is to know of it as soon as the library is loaded.
const mkPythonRegister pythonRegistration(registerPython); // clazy:exclude=non-pod-global-static

} // namespace
