#include "mkMicroKernel/mkMicroKernel.h"

#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPluginLoader.h"
#include "mkMicroKernel/mkPythonRegister.h"

#include <QString>

void mkMicroKernel::start(mkPluginLoader &loader, const QString &pluginDirectory)
{
    loader.loadAll(pluginDirectory);
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::BeforeInterpreter);
    mkScript::start();
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::AfterInterpreter);
    loader.initAll();
}
