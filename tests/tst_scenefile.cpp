#include "HostFixture.h"
#include "RandomScene.h"

#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QCborArray>
#include <QtTest>

#include <rapidcheck.h>

#include <csignal>
#include <random>

#include <sys/resource.h>

using osg::NodePtr;

namespace {

/// The bytes of a node's subtree, as far as its kind says nothing: name, kind, values, states with
/// the names of their layers.
QString described(const NodePtr &node)
{
    QString text = QString::fromStdString(node->getName()) + ':'
                   + (node->getCore() ? node->getCore()->getType().getName() : "");
    if (const auto attributes = mkNodeUtils::getRenderAttributes(node)) {
        text += ' ' + HostFixture::values(attributes);
        for (const std::string &name : attributes->getStateNames()) {
            const osg::RenderLayerPtr layer(
                osg::FieldContainerFactory::the()->getContainer(attributes->getStateLayerId(name)));
            text += QString(" %1=%2").arg(QString::fromStdString(name),
                                          layer ? QString::fromStdString(layer->getName())
                                                : QString("none"));
        }
    }
    for (const NodePtr &child : node->getChildren()) {
        text += '(' + described(child) + ')';
    }
    return text;
}

/// What a user sees of the document: scene, materials, store, rows.
QStringList document(const HostFixture &host)
{
    QStringList text{ described(mkScenegraph::getRoot()), host.rows() };
    for (const osg::MaterialPtr &material : mkMaterials::getMaterials()) {
        const osg::TexturePtr texture = material->getBaseColorTexture();
        text += QString("%1 %2 %3")
                    .arg(QString::fromStdString(material->getName()))
                    .arg(material->getEmission()[0])
                    .arg(texture ? texture->getData().size() : -1);
    }
    for (const osg::FieldContainerPtr &entry : HostFixture::store()->getAttachment()->getLayers()) {
        text += entry ? entry->getType().getName() : "null";
        if (const osg::RenderLayerPtr layer{ entry }) {
            text += QString::fromStdString(layer->getName()) + QString::number(layer->getState());
            for (std::size_t i = 0; i < layer->getNodes().size(); ++i) {
                text += described(layer->getNodes()[i])
                        + HostFixture::values(
                            osg::RaytracingGeoAttachmentPtr(layer->getAttributes()[i]));
            }
        }
    }
    return text;
}

/// The reason for which a file's content is refused; empty when it is read.
QString refusal(const QByteArray &data)
{
    try {
        mkSceneFile::parse(data);
        return {};
    } catch (const std::runtime_error &error) {
        return error.what();
    }
}

} // namespace

class tst_SceneFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { host.reset(); }

    void roundTrips();
    void damagedFiles();
    void hostileFiles();
    void newerFiles();
    void deepScenes();
    void merging();
    void oldFileStays();
    void unsavedChanges();

private:
    QString path(const QString &name) const { return directory.filePath(name); }
    QByteArray saved() const;

    QTemporaryDir directory;
    HostFixture host;
};

QByteArray tst_SceneFile::saved() const
{
    mkScenegraph::saveFile(path("saved.mkscene"));
    QFile file(path("saved.mkscene"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_SceneFile::roundTrips()
{
    const bool held = rc::check("a scene is what it was", [this] {
        const auto seed = *rc::gen::arbitrary<unsigned>();
        const RandomScene scene(seed, *rc::gen::inRange(0, 30));
        HostFixture::rebuild();
        const QStringList before = document(host);
        const QByteArray bytes = saved();
        mkScenegraph::openFile(path("saved.mkscene"));
        RC_ASSERT(document(host).join('\n').toStdString() == before.join('\n').toStdString());
        RC_ASSERT(saved() == bytes);
        RC_ASSERT(!mkScenegraph::hasUnsavedChanges());
    });
    QVERIFY(held);
}

void tst_SceneFile::damagedFiles()
{
    const RandomScene scene(4711, 20);
    const QByteArray whole = saved();
    const QString before = document(host).join('\n');
    const std::size_t containers = osg::FieldContainerFactory::the()->size();
    for (int length = 0; length < whole.size(); ++length) {
        QVERIFY2(!refusal(whole.left(length)).isEmpty(), qPrintable(QString::number(length)));
    }
    QVERIFY(!refusal(whole + '\0').isEmpty());
    std::mt19937 random(1);
    for (int i = 0; i < 3000; ++i) {
        QByteArray broken = whole;
        for (unsigned j = random() % 3 + 1; j > 0; --j) {
            broken[int(random() % unsigned(broken.size()))] = char(random());
        }
        refusal(broken);
    }
    QCOMPARE(osg::FieldContainerFactory::the()->size(), containers);
    QCOMPARE(document(host).join('\n'), before);
}

/// A file of nodes, each given by its id and its children.
QByteArray fileOf(const std::vector<std::pair<int, std::vector<int>>> &nodes, int root,
                  const char *rootField = "root")
{
    QCborArray types{ QCborArray{ "Node", QCborArray{ "children" } },
                      QCborArray{ "Scene", QCborArray{ rootField } } };
    QCborArray containers;
    for (const auto &[id, children] : nodes) {
        QCborArray list;
        std::copy(children.begin(), children.end(), std::back_inserter(list));
        containers.append(QCborArray{ id, 0, list });
    }
    containers.append(QCborArray{ int(nodes.size()) + 1, 1, root });
    return QCborArray{ "mkscene", 1, types, containers }.toCborValue().toCbor();
}

void tst_SceneFile::hostileFiles()
{
    QCOMPARE(refusal(fileOf({ { 1, {} }, { 2, { 1 } } }, 2)), "");
    const QString damaged = "The file is damaged, at byte";
    const std::vector<std::pair<QByteArray, QString>> files{
        { "", "not a scene file" },
        { "glTF", "not a scene file" },
        { fileOf({ { 1, { 1 } } }, 1), damaged },                              // its own child
        { fileOf({ { 1, { 2 } }, { 2, { 1 } } }, 2), damaged },                // a circle
        { fileOf({ { 1, {} }, { 2, { 1 } }, { 3, { 1 } } }, 3), damaged },     // two parents
        { fileOf({ { 1, {} }, { 2, { 1, 1 } } }, 2), damaged },                // twice
        { fileOf({ { 1, {} }, { 1, {} } }, 1), damaged },                      // the same id
        { fileOf({ { 1, { 7 } } }, 1), damaged },                              // of nothing
        { fileOf({ { 1, {} } }, 1, "materials"), damaged },                    // no list
        { fileOf({ { 1, {} }, { 2, { 1 } } }, 1), "The file holds no scene" }, // not the top
        { fileOf({ { 1, {} } }, 0), "The file holds no scene" },
        { fileOf({}, 0), "The file holds no scene" },
    };
    for (const auto &[file, reason] : files) {
        QVERIFY2(refusal(file).contains(reason), qPrintable(file.toHex() + ": " + refusal(file)));
    }
    // Lengths that the file cannot hold: of an array, of a text, of bytes.
    const QByteArray good = fileOf({ { 1, {} } }, 1);
    for (const char *length : { "\x9b", "\x7b", "\x5b" }) {
        for (int place = 1; place < good.size(); ++place) {
            const QByteArray huge = good.left(place) + length + QByteArray(1, '\x7f')
                                    + QByteArray(7, '\xff') + good.mid(place);
            QVERIFY(!refusal(huge).isEmpty());
        }
    }
    const QByteArray nested = good.left(10) + QByteArray(100000, '\x81');
    QVERIFY(refusal(nested).contains(damaged));
}

void tst_SceneFile::newerFiles()
{
    host.node("a")->setCore(osg::Light::create());
    host.addLayer("L", { "a", "b" });
    HostFixture::material("red")->setMetallic(0.5);
    QByteArray file = saved();
    file.replace("eLight", "eLighu").replace("Light", "Lighu").replace("metallic", "metalliq");
    file.replace("bindings", "bindingz");
    QVERIFY(!refusal(file).isEmpty()); // Bindings go with attachments.
    file.replace("bindingz", "bindings");
    LogLines log;
    const mkSceneFile::Read read = mkSceneFile::parse(file);
    log.lines.sort();
    QCOMPARE(log.lines.size(), 2);
    QVERIFY(log.lines[0].contains("type Lighu") && log.lines[1].contains("metalliq of Material"));
    QVERIFY(!read.root->getChildren()[0]->getCore());
    QCOMPARE(read.materials.front()->getName(), std::string("red"));
    QCOMPARE(read.materials.front()->getMetallic(), 0.0F);
    file[9] = 2;
    QVERIFY(refusal(file).contains("newer version"));
}

void tst_SceneFile::deepScenes()
{
    constexpr int depth = 100000;
    mkScenegraph::Document deep;
    deep.root = osg::Node::create();
    for (int i = 0; i < depth; ++i) {
        const NodePtr below = std::exchange(deep.root, osg::Node::create());
        deep.root->addChild(below);
    }
    mkScenegraph::setScene(deep);
    int levels = 0;
    osg::traverse(mkSceneFile::parse(saved()).root, [&levels](const NodePtr &) {
        ++levels;
        return osg::Action::Continue;
    });
    QCOMPARE(levels, depth + 1);
    // What is held in other ways than as a child may not lie as deep.
    for (const int held : { 20, 30 }) {
        mkScenegraph::Document nested;
        nested.root = osg::Node::create();
        for (int i = 0; i < held; ++i) {
            const auto layer = osg::RenderLayer::create("L");
            layer->addNode(nested.root, osg::RaytracingGeoAttachment::create());
            const auto layers = osg::RenderLayers::create();
            layers->addEntry(layer);
            nested.root = osg::Node::create();
            nested.root->addAttachment(layers);
        }
        mkScenegraph::setScene(nested);
        QCOMPARE(refusal(saved()).contains("damaged"), held == 30);
    }
}

/// Layers are appended under names of their own, and each state keeps its layer, in the scene and
/// in what is merged.
void tst_SceneFile::merging()
{
    const auto state = [](const NodePtr &node) {
        const auto attributes = mkNodeUtils::getRenderAttributes(node);
        const osg::RenderLayerPtr layer(
            osg::FieldContainerFactory::the()->getContainer(attributes->getStateLayerId("s")));
        return layer ? QString::fromStdString(layer->getName()) : "none";
    };
    host.addLayer("A", { "a" });
    host.addLayer("B", { "b", "g1" });
    host.node("g1")->setName("theirs");
    QCOMPARE(mkNodeUtils::storeRenderLayerState(HostFixture::store()->getAttachment()->getLayer(1),
                                                "s"),
             2);
    saved();
    // The layer here has the id that the file keeps for another one.
    const auto kept = mkSceneFile::read(path("saved.mkscene")).containers.begin()->first;
    mkScenegraph::setScene({});
    std::vector<osg::RenderLayerPtr> layers;
    while (layers.size() < kept && (layers.empty() || layers.back()->getId() != kept)) {
        layers.push_back(osg::RenderLayer::create("B"));
    }
    QCOMPARE(layers.back()->getId(), kept);
    host.reset();
    HostFixture::store()->getAttachment()->addEntry(layers.back());
    HostFixture::store()->addNode(0, host.node("c"));
    HostFixture::store()->addNode(0, host.node("d"));
    QCOMPARE(mkNodeUtils::storeRenderLayerState(layers.back(), "s"), 2);
    const NodePtr removed = host.node("d");
    mkScenegraph::removeNode(removed);
    for (int i = 0; i < 3; ++i) {
        mkScenegraph::mergeFile(path("saved.mkscene"));
        QCOMPARE(state(host.node("c")), "B");
        QCOMPARE(state(removed), "B");
        QCOMPARE(state(host.node("theirs")), "B1");
    }
    QVERIFY(host.rows().startsWith("B[c d] A[a] B1[b theirs] A1[a] B2[b theirs]"));
    QVERIFY(HostFixture::material("red2"));
}

void tst_SceneFile::oldFileStays()
{
    const auto failure = [](const QString &file) {
        try {
            mkScenegraph::saveFile(file);
            return QString();
        } catch (const std::runtime_error &error) {
            return QString(error.what());
        }
    };
    const QByteArray before = saved();
    const auto positions = std::vector<osg::Geometry::Vertex>(100000);
    osg::Ptr<osg::Geometry>(host.node("a")->getCore())->positions = positions;
    host.node("a")->setName("changed");
    QVERIFY(!failure(path("no/such/folder.mkscene")).isEmpty());
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit full{ 100000, limit.rlim_max };
    setrlimit(RLIMIT_FSIZE, &full);
    const QString reason = failure(path("saved.mkscene"));
    setrlimit(RLIMIT_FSIZE, &limit);
    QVERIFY2(reason.contains("large"), qPrintable(reason));
    QVERIFY(mkScenegraph::hasUnsavedChanges());
    QFile file(path("saved.mkscene"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), before);
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files), { "saved.mkscene" });
}

void tst_SceneFile::unsavedChanges()
{
    host.addLayer("A", { "a", "b" });
    host.addLayer("B", { "c" });
    HostFixture::rebuild();
    saved();
    const auto unmarked = [this](const char *what, const std::function<void()> &change,
                                 bool expected = true) {
        mkController::setModified(0);
        mkScenegraph::saveFile(path("saved.mkscene"));
        QSignalSpy spy(mkScenegraph::the(), &mkScenegraph::unsavedChangesChanged);
        change();
        QVERIFY2(mkScenegraph::hasUnsavedChanges() == expected && spy.count() == int(expected),
                 what);
        QVERIFY2(!mkController::isModified(), what);
    };
    unmarked("toggle", [this] { host.doubleClick("A/a", 3); });
    unmarked("rename", [this] {
        host.select({ "A" });
        host.key(Qt::Key_F2);
        QVERIFY(host.type("X"));
    });
    unmarked("move", [this] {
        host.select({ "B" });
        host.key(Qt::Key_Up, Qt::ControlModifier);
    });
    unmarked("material", [] { HostFixture::material("red")->setRoughness(0.25); });
    mkScenegraph::getRoot()->subChild(host.node("c"));
    unmarked("cleanup", [] { HostFixture::store()->cleanup(mkScenegraph::getRoot()); });
    unmarked("activation", [] { HostFixture::store()->activateLayer(1); });
    unmarked(
        "expansion", [this] { host.row("B")->setExpanded(false); }, false);
    mkController::setModified(1);
    QVERIFY(mkScenegraph::hasUnsavedChanges());
}

QTEST_MAIN(tst_SceneFile)
#include "tst_scenefile.moc"
