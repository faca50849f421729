// A panel with the names of the scene's materials, in order, which scripts can ask for as well.

#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkModuleBase.h"
#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkQt4Ext/QMKDockWindowManager.h"

#include <QListWidget>
#include <QMainWindow>
#include <QPointer>

#include <boost/python.hpp>

namespace {

constexpr char materialRenamed[] = "materialRenamed";

class mkMaterialListModule : public mkModuleBase
{
    Q_OBJECT

public:
    mkMaterialListModule()
        : mkModuleBase("Material List", "Examples", mkMessage::SceneLoaded | mkMessage::SceneMerged,
                       nullptr)
    {
        list = new QListWidget(mkController::getMainWindow());
        list->setSortingEnabled(true);
        mkController::getDockWindowManager()->add("Material List", QStringLiteral("Examples"), list,
                                                  QString(), mkIconManager::getIcon("Material", ""),
                                                  tr("Materials by name"), Qt::NoDockWidgetArea,
                                                  true, nullptr);
        mkController::addCB(materialRenamed, &fill);
    }

    ~mkMaterialListModule() override { mkController::subCB(materialRenamed, &fill); }

    // The messages that the constructor names come here.
    bool receivedMessage(mkMessage &message) override
    {
        fill(message);
        return false;
    }

private:
    static void fill(mkMessage &)
    {
        if (!list) {
            return;
        }
        list->clear();
        for (const osg::MaterialPtr &material : mkMaterials::getMaterials()) {
            list->addItem(QString::fromUtf8(mkMaterials::getName(material)));
        }
    }

    // The dock window owns it, and goes before the library does.
    static inline QPointer<QListWidget> list;
};

boost::python::list materialNames()
{
    boost::python::list names;
    for (const osg::MaterialPtr &material : mkMaterials::getMaterials()) {
        names.append(mkMaterials::getName(material));
    }
    return names;
}

} // namespace

BOOST_PYTHON_MODULE(mkMaterialListModule)
{
    boost::python::def("materialNames", &materialNames, "The names of the scene's materials.");
}

static const mkPythonRegister registration([](mkPythonRegisterFactory::Level level) {
    if (level == mkPythonRegisterFactory::BeforeInterpreter) {
        PyImport_AppendInittab("mkMaterialListModule", &PyInit_mkMaterialListModule);
    } else {
        mkScript::run("from mkMaterialListModule import *");
    }
});

extern "C" Q_DECL_EXPORT const char *getPluginVersion()
{
    return "15.3";
}

extern "C" Q_DECL_EXPORT void initPlugin()
{
    static mkMaterialListModule module;
}

#include "mkMaterialListModule.moc"
