// Scene files as scripts see them.

#include "mkKernel/mkScenegraph.h"
#include "mkPython/mkHostParts.h"
#include "mkPython/mkPythonSupport.h"

#include <functional>

namespace {

using mkPython::define;

/// Does something with a file; RuntimeError with the reason when that fails.
void withFile(const std::string &file, const std::function<void(const QString &)> &action)
{
    try {
        action(QString::fromStdString(file));
    } catch (const std::exception &failure) {
        mkPython::raise(PyExc_RuntimeError, file + ": " + failure.what());
    }
}

void openScene(const std::string &file)
{
    withFile(file, mkScenegraph::openFile);
}

void mergeScene(const std::string &file)
{
    withFile(file, mkScenegraph::mergeFile);
}

void saveScene(const std::string &file)
{
    withFile(file, mkScenegraph::saveFile);
}

std::string getSceneFile()
{
    return mkScenegraph::getFile().toStdString();
}

} // namespace

void mkHostParts::defineFiles()
{
    define("_openScene", &openScene);
    define("_mergeScene", &mergeScene);
    define("_saveScene", &saveScene);
    define("_getSceneFile", &getSceneFile);
    define("_isModified", &mkScenegraph::hasUnsavedChanges);
}
