#include "mkMicroKernel/mkMicroKernel.h"

#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPluginLoader.h"
#include "mkMicroKernel/mkPythonRegister.h"

void mkMicroKernel::start(mkPluginLoader &loader, const QStringList &pluginDirectories)
{
    for (const QString &directory : pluginDirectories) {
        loader.loadAll(directory);
    }
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::BeforeInterpreter);
    mkScript::start();
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::AfterInterpreter);
    loader.initAll();
}
