// Saving and opening scenes of growing size, with the panel: a thousand nodes a layer.

#include "BenchHost.h"
#include "Measure.h"

#include "OSGSystem/Geometry.h"

#include <QApplication>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int nodesPerLayer = 1000;
constexpr double limitMilliseconds = 1000;
constexpr double limitExponent = 1.1;

/// A scene of groups of a thousand nodes; each node has its attributes, and is in one layer.
void makeScene(int nodeCount)
{
    mkScenegraph::newScene("scene");
    mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    const osg::Ptr<osg::Geometry> shared = osg::Geometry::create();
    shared->positions = { { 0, 0, 0 }, { 1, 0, 0 }, { 0, 1, 0 } };
    shared->indices = { 0, 1, 2 };
    osg::NodePtr group;
    for (int i = 0; i < nodeCount; ++i) {
        if (i % nodesPerLayer == 0) {
            group = osg::Node::create();
            group->setName("group_" + std::to_string(i / nodesPerLayer));
            mkScenegraph::getRoot()->addChild(group);
            store->addLayer("Layer" + std::to_string(i / nodesPerLayer));
        }
        const osg::NodePtr node = osg::Node::create();
        node->setName("node_" + std::to_string(i));
        node->setCore(shared);
        group->addChild(node);
        store->addNode(unsigned(i / nodesPerLayer), node);
    }
    for (int layer = 0; layer < nodeCount / nodesPerLayer; ++layer) {
        store->activateLayer(unsigned(layer));
    }
}

int run()
{
    const BenchHost host;
    const QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("scene.mkscene"));
    Report report;
    std::vector<double> sizes;
    std::vector<double> saving;
    std::vector<double> opening;
    for (const int count : { 1000, 3000, 10000, 30000, 100000 }) {
        std::vector<double> saves;
        std::vector<double> opens;
        for (int repeat = 0; repeat < 5; ++repeat) {
            makeScene(count);
            saves.push_back(secondsOf([&file] { mkScenegraph::saveFile(file); }));
            mkScenegraph::newScene("empty");
            coolCaches();
            opens.push_back(secondsOf([&file] { mkScenegraph::openFile(file); }));
        }
        sizes.push_back(count);
        saving.push_back(median(saves));
        opening.push_back(median(opens));
    }
    const double seconds = 1000;
    report.line(QStringLiteral("save_100000_nodes"), saving.back() * seconds, QStringLiteral("ms"),
                limitMilliseconds);
    report.line(QStringLiteral("open_100000_nodes"), opening.back() * seconds, QStringLiteral("ms"),
                limitMilliseconds);
    report.line(QStringLiteral("growth_save"), growthExponent(sizes, saving),
                QStringLiteral("exponent"), limitExponent);
    report.line(QStringLiteral("growth_open"), growthExponent(sizes, opening),
                QStringLiteral("exponent"), limitExponent);
    return report.overCount() == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    return run();
}
