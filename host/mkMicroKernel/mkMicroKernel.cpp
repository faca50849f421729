#include "mkMicroKernel/mkMicroKernel.h"

#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPluginLoader.h"
#include "mkMicroKernel/mkPythonRegister.h"

bool mkMicroKernel::start(mkPluginLoader &loader, const QStringList &pluginDirectories)
{
    bool found = true;
    for (const QString &directory : pluginDirectories) {
        found = loader.loadAll(directory) && found;
    }
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::BeforeInterpreter);
    mkScript::start();
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::AfterInterpreter);
    loader.initAll();
    return found;
}
