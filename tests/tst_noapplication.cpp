#include "HostFixture.h"

#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

/// Scripts in a process without a Qt application, and so without a panel.
int main()
{
    mkPluginLoader loader;
    loader.load(HostFixture::pluginFile());
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::Level(0));
    mkScript::start();
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::Level(1));
    mkScenegraph::newScene("scene");
    const osg::NodePtr root = mkScenegraph::getRoot();
    mkNodeUtils::applyRenderLayerAttributes(root, osg::RaytracingGeoAttachmentBase::create());
    mkNodeUtils::getRenderAttributes(root)->setVisible(false);
    const bool ran = mkScript::run("resetRenderLayers(); createRenderLayer('A')");
    const bool reset = mkNodeUtils::getRenderAttributes(root)->getVisible();
    mkScript::stop();
    return ran && reset && mkScenegraph::getRenderLayer()->isEmpty() ? 0 : 1;
}
