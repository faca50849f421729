// Input: the content of a scene file.

#include "FuzzHost.h"

#include "mkOpenSGUtils/mkMaterials.h"
#include "mkSceneFile/mkSceneFile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzHost &host = FuzzHost::the();
    const QByteArray file(reinterpret_cast<const char *>(data), int(size));
    const std::size_t containers = osg::FieldContainerFactory::the()->size();
    mkSceneFile::Read read;
    try {
        read = mkSceneFile::parse(file);
    } catch (const std::runtime_error &refusal) {
        require(*refusal.what() != '\0', "a refusal has a reason");
        require(osg::FieldContainerFactory::the()->size() == containers, "nothing is left behind");
        return 0;
    }
    mkScenegraph::setScene({ read.root, read.materials, read.containers, {} });
    host.rebuild();
    mkScenegraph::getRenderLayer()->cleanup(mkScenegraph::getRoot());
    host.rebuild();
    // What was read can be written, and is the same when it is read again.
    const auto written = [] {
        return mkSceneFile::format({ mkScenegraph::getRoot(), mkMaterials::getMaterials() });
    };
    const QByteArray once = written();
    read = mkSceneFile::parse(once);
    mkScenegraph::setScene({ read.root, read.materials, read.containers, {} });
    require(written() == once, "a scene is what it was");
    read = {};
    mkScenegraph::newScene("empty");
    return 0;
}
