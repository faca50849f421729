#include "BenchHost.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkQt4Ext/QMKDockWindowManager.h"

#include <QApplication>
#include <QStatusBar>

extern "C" void initPlugin();

BenchHost::BenchHost()
    : window(std::make_unique<QMainWindow>())
{
    mkController::setMainWindow(window.get());
    new QMKDockWindowManager(window.get());
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

void BenchHost::open(const TreeShape &shape, bool withMaterial)
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
    const osg::MaterialPtr material = osg::Material::create();
    material->setName("clay");
    document.materials = { material };
    mkScenegraph::setScene(document);

    for (int i = 0; i < shape.layers; ++i) {
        store()->addLayer(QStringLiteral("Layer%1").arg(i).toStdString());
        store()->setCollapseState(unsigned(i), shape.isExpanded(i) ? 1 : 0);
        for (const mkNodePtr &node : sceneNodes) {
            store()->addNode(unsigned(i), node.get());
            if (withMaterial) {
                store()->getAttributes(unsigned(i), node.get())->setOverrideMaterial(material);
            }
        }
    }
    tree()->rebuildTree(false);
    tree()->clearSelection();
    QApplication::processEvents();
}
