// Saving and opening scenes of growing size, with the panel: a thousand nodes a layer. The floor is
// bare Qt code that writes and reads the same values.

#include "BenchHost.h"
#include "Measure.h"

#include "OSGSystem/Geometry.h"

#include <QApplication>
#include <QCborStreamWriter>
#include <QCborValue>
#include <QFile>
#include <QTemporaryDir>

namespace {

constexpr int nodesPerLayer = 1000;
constexpr int largest = 100000;
constexpr int runs = 5;
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

/// Bare Qt code that writes the values of a file, and that reads them.
double bareSave(QCborValue values, const QString &file)
{
    return secondsOf([&] {
        QFile target(file);
        target.open(QIODevice::WriteOnly);
        QCborStreamWriter writer(&target);
        values.toCbor(writer);
    });
}

double bareOpen(const QString &file)
{
    return secondsOf([&file] {
        QFile source(file);
        source.open(QIODevice::ReadOnly);
        QCborValue::fromCbor(source.readAll());
    });
}

int run()
{
    const BenchHost host;
    const QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("scene.mkscene"));
    const QString other = directory.filePath(QStringLiteral("bare.cbor"));
    Report report;
    const auto line = [&report](const char *name, const Comparison &figure, double limit) {
        report.line(QLatin1String(name), figure.ratio, QStringLiteral("x_bare"), limit,
                    QStringLiteral("%1; %2 ms")
                        .arg(figure.spread)
                        .arg(figure.subject * 1e3, 0, 'f', 0));
    };
    std::vector<double> sizes;
    std::vector<double> saving;
    std::vector<double> opening;
    for (const int count : { 1000, 3000, 10000, 30000, 100000 }) {
        makeScene(count);
        mkScenegraph::saveFile(file);
        QFile saved(file);
        saved.open(QIODevice::ReadOnly);
        const QCborValue values = QCborValue::fromCbor(saved.readAll());
        const Comparison save = compare(
            runs, [&file] { return secondsOf([&file] { mkScenegraph::saveFile(file); }); },
            [&] { return bareSave(values, other); });
        const Comparison open = compare(
            runs,
            [&file] {
                mkScenegraph::newScene("empty");
                coolCaches();
                return secondsOf([&file] { mkScenegraph::openFile(file); });
            },
            [&file] {
                coolCaches();
                return bareOpen(file);
            });
        if (count == largest) {
            line("save_100000_nodes", save, 3);
            line("open_100000_nodes", open, 2.5);
        }
        sizes.push_back(count);
        saving.push_back(save.subject);
        opening.push_back(open.subject);
    }
    report.line(QStringLiteral("growth_save"), growthExponent(sizes, saving),
                QStringLiteral("exponent"), limitExponent);
    report.line(QStringLiteral("growth_open"), growthExponent(sizes, opening),
                QStringLiteral("exponent"), limitExponent);
    return report.overCount() == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    BenchHost::preparePlatform();
    const QApplication application(argc, argv);
    return run();
}
