#include "BenchHost.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkRenderAttributes.h"

#include <QApplication>
#include <QStatusBar>

#include <cstdio>
#include <cstdlib>

extern "C" void initPlugin();

void BenchHost::preparePlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // It complains about every window that is shown, and about a missing directory.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (!text.startsWith(QLatin1String("This plugin does not support"))
            && !text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set"))) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(text));
        }
        if (type == QtFatalMsg) {
            std::abort();
        }
    });
}

BenchHost::BenchHost()
    : window(std::make_unique<QMainWindow>())
{
    mkController::setMainWindow(window.get());
    mkController::setDockWindowManager(new QMKDockWindowManager(window.get()));
    mkScenegraph::newScene("empty");
    initPlugin();
    window->resize(1500, 900);
    window->show();
    QApplication::processEvents();
}

BenchHost::~BenchHost() = default;

mkNodeListWidget *BenchHost::tree() const
{
    return window->findChild<mkNodeListWidget *>();
}

void BenchHost::call(const char *slot) const
{
    if (!QMetaObject::invokeMethod(tree(), slot)) {
        qFatal("no slot %s", slot);
    }
}

void BenchHost::close()
{
    sceneNodes.clear();
    mkScenegraph::newScene("empty");
}

void BenchHost::open(const TreeShape &shape)
{
    sceneNodes.clear();
    while (int(names.size()) < shape.nodes) {
        names.push_back("node_" + std::to_string(names.size()));
    }
    mkScenegraph::Document document;
    document.root = osg::Node::create();
    document.root->setName("scene");
    for (int i = 0; i < shape.nodes; ++i) {
        const osg::NodePtr node = osg::Node::create();
        node->setName(names[std::size_t(i)]);
        node->setCore(osg::Geometry::create());
        document.root->addChild(node);
        sceneNodes.emplace_back(node);
    }
    for (const std::string &name : materialNames()) {
        document.materials.push_back(osg::Material::create());
        document.materials.back()->setName(name);
    }
    mkScenegraph::setScene(document);

    for (int i = 0; i < shape.layers; ++i) {
        store()->addLayer(QStringLiteral("Layer%1").arg(i).toStdString());
        store()->setCollapseState(unsigned(i), shape.isExpanded(i) ? 1 : 0);
        for (int j = 0; j < shape.nodes; ++j) {
            const osg::NodePtr node = sceneNodes[std::size_t(j)].get();
            store()->addNode(unsigned(i), node);
            const osg::RaytracingGeoAttachmentPtr attributes = store()->getAttributes(unsigned(i),
                                                                                      node);
            const RowContent content = shape.contentOf(i, j);
            mkRenderAttributeFlags flags{};
            for (std::size_t bit = 0; bit < flags.size(); ++bit) {
                flags[bit] = (content.flags >> bit & 1) != 0;
            }
            mkSetRenderAttributes(attributes, flags);
            if (content.material >= 0) {
                attributes->setOverrideMaterial(document.materials[std::size_t(content.material)]);
            }
        }
    }
    tree()->rebuildTree(false);
    tree()->clearSelection();
    QApplication::processEvents();
}
