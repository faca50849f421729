#include "HostFixture.h"

#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"
#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QCborStreamWriter>
#include <QtTest>

#include <rapidcheck.h>

#include <csignal>
#include <random>

#include <sys/resource.h>

using osg::NodePtr;

namespace {

/// Makes a scene with layers out of random choices.
class RandomScene
{
public:
    RandomScene(unsigned seed, int nodeCount)
        : random(seed)
    {
        mkScenegraph::Document document;
        nodes.push_back(document.root = osg::Node::create());
        for (int i = 0; i < 3; ++i) {
            document.materials.push_back(material());
        }
        materials = document.materials;
        materials.emplace_back();
        while (int(nodes.size()) <= nodeCount) {
            const NodePtr node = osg::Node::create();
            node->setName(name());
            node->setCore(core());
            one(nodes)->addChild(node);
            nodes.push_back(node);
        }
        mkScenegraph::setScene(document);
        for (unsigned i = upTo(4); i > 0; --i) {
            addLayer();
        }
        changeNodes();
    }

private:
    unsigned upTo(std::size_t count) { return unsigned(random() % count); }
    float number() { return float(upTo(1000)) / 999; }

    template <typename Value>
    const Value &one(const std::vector<Value> &values)
    {
        return values[upTo(values.size())];
    }

    std::string name()
    {
        return one<std::string>({ "", "a", "Größe", "名前", std::string("nul\0byte", 8) });
    }

    osg::MaterialPtr material()
    {
        const osg::MaterialPtr made = osg::Material::create();
        made->setName(name());
        made->setColor({ number(), number(), number(), number() });
        made->setRoughness(number());
        made->setEmission({ number() * 5, 0, number() });
        made->setAlphaMode(osg::Material::AlphaMode(upTo(3)));
        made->setShadowMaterial(upTo(2) != 0);
        if (upTo(2) != 0) {
            const osg::TexturePtr texture = osg::Texture::create();
            texture->setData(QByteArray(int(upTo(100)), char(upTo(256))));
            texture->setWrap(osg::Texture::Wrap::Clamp, osg::Texture::Wrap(upTo(3)));
            made->setBaseColorTexture(texture);
        }
        return made;
    }

    osg::NodeCorePtr core()
    {
        switch (upTo(6)) {
        case 0:
            return {};
        case 1: {
            const auto transform = osg::Transform::create();
            transform->setMatrix({ number(), 1, 2, 3, number() });
            return transform;
        }
        case 2: {
            const auto light = osg::Light::create();
            light->setKind(osg::Light::Kind(upTo(3)));
            light->setConeAngles(number() / 2, 0.6F);
            return light;
        }
        case 3: {
            const auto camera = osg::Camera::create();
            camera->setFieldOfView(number());
            return camera;
        }
        default:
            if (!shared || upTo(2) != 0) {
                shared = osg::Geometry::create();
                shared->setMaterial(one(materials));
                shared->positions.assign(upTo(5), { number(), number(), -number() });
                shared->normals = shared->positions;
                shared->texCoords.resize(shared->positions.size());
                if (!shared->positions.empty()) {
                    shared->indices.assign(3, upTo(shared->positions.size()));
                }
            }
            return shared;
        }
    }

    osg::RenderAttributeValues values()
    {
        osg::RenderAttributeValues made;
        made.visible = upTo(2) != 0;
        made.visibleInPhotons = upTo(2) != 0;
        made.useOverrideMaterial = upTo(2) != 0;
        made.overrideMaterial = one(materials);
        return made;
    }

    void addLayer()
    {
        const osg::RenderLayersPtr layers = HostFixture::store()->getAttachment();
        if (upTo(5) == 0) {
            layers->addEntry(upTo(2) != 0 ? osg::FieldContainerPtr() : osg::Group::create());
        }
        const osg::RenderLayerPtr layer = osg::RenderLayer::create(
            name() + std::to_string(layers->getLayers().size()));
        layer->setState(upTo(2));
        layers->addEntry(layer);
        layerIds.push_back(layer->getId());
        for (unsigned i = upTo(6); i > 0 && nodes.size() > 1; --i) {
            const NodePtr node = nodes[1 + upTo(nodes.size() - 1)];
            const auto attributes = osg::RaytracingGeoAttachment::make();
            attributes->setValues(values());
            layer->addNode(node, one<osg::FieldContainerPtr>({ attributes, attributes, osg::NullFC,
                                                               osg::Group::create() }));
        }
    }

    /// Attributes and states, also of nodes that then leave the scene.
    void changeNodes()
    {
        for (const NodePtr &node : nodes) {
            if (upTo(3) == 0) {
                const auto attributes = osg::RaytracingGeoAttachment::make();
                attributes->setValues(values());
                const bool own = upTo(4) != 0;
                if (own) {
                    attributes->storeState(name(), layerIds.empty() ? 0 : one(layerIds), values());
                }
                node->addAttachment(attributes, own ? 0 : 1);
            }
            if (upTo(6) == 0 && node->getParent()) {
                node->getParent()->subChild(node);
            }
        }
    }

    std::mt19937 random;
    std::vector<NodePtr> nodes;
    std::vector<osg::MaterialPtr> materials;
    std::vector<std::uint32_t> layerIds;
    osg::Ptr<osg::Geometry> shared;
};

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
        text += QString::fromStdString(material->getName()) + ' '
                + QString::number(material->getEmission()[0]) + ' '
                + QString::number(material->getBaseColorTexture()
                                      ? material->getBaseColorTexture()->getData().size()
                                      : -1);
    }
    for (const osg::FieldContainerPtr &entry : HostFixture::store()->getAttachment()->getLayers()) {
        const osg::RenderLayerPtr layer(entry);
        text += layer
                    ? QString::fromStdString(layer->getName()) + QString::number(layer->getState())
                    : QString(entry ? entry->getType().getName() : "null");
        for (std::size_t i = 0; layer && i < layer->getNodes().size(); ++i) {
            text += described(layer->getNodes()[i]) + " in the layer: "
                    + HostFixture::values(
                        osg::RaytracingGeoAttachmentPtr(layer->getAttributes()[i]));
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
        RandomScene(seed, *rc::gen::inRange(0, 30));
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
    RandomScene(4711, 20);
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
    QByteArray data;
    QCborStreamWriter cbor(&data);
    const auto type = [&cbor](const char *name, const char *field) {
        cbor.startArray(2);
        cbor.append(QLatin1String(name));
        cbor.startArray(1);
        cbor.append(QLatin1String(field));
        cbor.endArray();
        cbor.endArray();
    };
    cbor.startArray(4);
    cbor.append(QLatin1String("mkscene"));
    cbor.append(1);
    cbor.startArray(2);
    type("Node", "children");
    type("Scene", rootField);
    cbor.endArray();
    cbor.startArray(nodes.size() + 1);
    for (const auto &[id, children] : nodes) {
        cbor.startArray(3);
        cbor.append(id);
        cbor.append(0);
        cbor.startArray(children.size());
        for (const int child : children) {
            cbor.append(child);
        }
        cbor.endArray();
        cbor.endArray();
    }
    cbor.startArray(3);
    cbor.append(int(nodes.size()) + 1);
    cbor.append(1);
    cbor.append(root);
    cbor.endArray();
    cbor.endArray();
    cbor.endArray();
    return data;
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
    NodePtr node = osg::Node::create();
    for (int i = 0; i < depth; ++i) {
        const NodePtr above = osg::Node::create();
        above->addChild(node);
        node = above;
    }
    mkScenegraph::Document deep;
    deep.root = node;
    mkScenegraph::setScene(deep);
    const QByteArray file = saved();
    int levels = 0;
    osg::traverse(mkSceneFile::parse(file).root, [&levels](const NodePtr &) {
        ++levels;
        return osg::Action::Continue;
    });
    QCOMPARE(levels, depth + 1);
}

/// Layers are appended under names of their own, and each state keeps its layer, in the scene and
/// in what is merged.
void tst_SceneFile::merging()
{
    const auto state = [this](const char *node) {
        const auto attributes = mkNodeUtils::getRenderAttributes(host.node(node));
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
    host.reset();
    // Ids here are likely to be those that the file gives to others.
    host.addLayer("B", { "c" });
    QCOMPARE(mkNodeUtils::storeRenderLayerState(HostFixture::store()->getAttachment()->getLayer(0),
                                                "s"),
             1);
    for (int i = 1; i < 200; ++i) {
        mkScenegraph::mergeFile(path("saved.mkscene"));
        QCOMPARE(state("c"), "B");
        QCOMPARE(state("theirs"), "B1");
    }
    QVERIFY(host.rows().startsWith("B[c] A[a] B1[b theirs] A1[a] B2[b theirs]"));
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

HOST_TEST_MAIN(tst_SceneFile)
#include "tst_scenefile.moc"
