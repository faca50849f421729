// Input: the format, then the content of a scene file.

#include "FuzzHost.h"

#include "OSGSystem/Geometry.h"
#include "SceneImporter.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 1) {
        return 0;
    }
    FuzzHost &host = FuzzHost::the();
    static const QTemporaryDir directory;
    const QString suffix = QStringList{ "gltf", "glb", "obj", "stl" }.at(data[0] % 4);
    QFile file(directory.filePath("scene." + suffix));
    require(file.open(QIODevice::WriteOnly), "the file can be written");
    file.write(reinterpret_cast<const char *>(data) + 1, qint64(size) - 1);
    file.close();

    mkScenegraph::Document document;
    try {
        document = importScene(file.fileName());
    } catch (const std::runtime_error &refusal) {
        require(*refusal.what() != '\0', "a refusal has a reason");
        return 0;
    }
    require(document.root != osg::NullFC, "a scene has a root");
    osg::traverse(document.root, [](const osg::NodePtr &node) {
        if (const osg::Ptr<osg::Geometry> geometry{ node->getCore() }) {
            const auto &indices = geometry->indices;
            require(std::all_of(indices.begin(), indices.end(),
                                [&](std::uint32_t i) { return i < geometry->positions.size(); }),
                    "triangles stand on vertices that there are");
        }
        return osg::Action::Continue;
    });
    mkScenegraph::setScene(document);
    host.rebuild();
    return 0;
}
