#include "SceneStatistics.h"

#include "NodeKind.h"

#include <QCoreApplication>
#include <QLocale>

namespace {

QString counted(std::size_t count, const char *one, const char *many)
{
    return count == 1 ? QCoreApplication::translate("SceneStatistics", one)
                      : QCoreApplication::translate("SceneStatistics", many)
                            .arg(QLocale().toString(qulonglong(count)));
}

} // namespace

QString describeScene(const osg::NodePtr &root, std::size_t materials)
{
    std::size_t nodes = 0;
    std::size_t meshes = 0;
    osg::traverse(root, [&](const osg::NodePtr &node) {
        ++nodes;
        meshes += kindOf(node) == NodeKind::Mesh ? 1 : 0;
        return osg::Action::Continue;
    });
    return counted(nodes, QT_TRANSLATE_NOOP("SceneStatistics", "1 node"),
                   QT_TRANSLATE_NOOP("SceneStatistics", "%1 nodes"))
           + QLatin1String(", ")
           + counted(meshes, QT_TRANSLATE_NOOP("SceneStatistics", "1 mesh"),
                     QT_TRANSLATE_NOOP("SceneStatistics", "%1 meshes"))
           + QLatin1String(", ")
           + counted(materials, QT_TRANSLATE_NOOP("SceneStatistics", "1 material"),
                     QT_TRANSLATE_NOOP("SceneStatistics", "%1 materials"));
}
