// The ray tracer in a host: its view, pictures of layers, and what scripts can do.

#include "RayScenes.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkRayEnvironment.h"
#include "mkRayPictureFiles.h"
#include "mkRayTracerModule.h"
#include "mkRayViewPanel.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>

#include <QDir>
#include <QLabel>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>

#include <limits>
#include <optional>

using namespace RayScenes;

/// Milliseconds; the tracer's threads give way to all others.
constexpr int patience = 60000;

class tst_RayLayers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();
    void layerPictures_data();
    void layerPictures();
    void fileNames();
    void viewFollows();
    void picking();
    void keys();
    void scripts();
    void damagedScenes();
    void environmentFile();

private:
    mkRayViewPanel *panel() const { return window.findChild<mkRayViewPanel *>(); }
    QString status(const char *name) const { return panel()->findChild<QLabel *>(name)->text(); }
    const mkRayCamera &camera() const
    {
        return module->findChild<mkRaySession *>()->control().camera();
    }
    bool waitForPicture()
    {
        return module->waitForView(1, [] { return true; });
    }
    /// What the view shows in a point of the picture, 0 to 1 each.
    QColor shown(double x, double y) const
    {
        const QImage &picture = panel()->view()->progress().picture;
        return picture.pixelColor(int(x * (picture.width() - 1)), int(y * (picture.height() - 1)));
    }
    osg::RaytracingGeoAttachmentPtr attributes(const osg::NodePtr &node) const
    {
        return mkNodeUtils::getOrMakeRenderAttributes(node);
    }

    QMainWindow window;
    std::optional<mkRayTracerModule> module;
    osg::NodePtr left;
    osg::NodePtr right;
};

void tst_RayLayers::initTestCase()
{
    mkController::setMainWindow(&window);
    mkController::setDockWindowManager(new QMKDockWindowManager(&window));
    mkScenegraph::newScene("empty");
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::BeforeInterpreter);
    mkScript::start();
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::AfterInterpreter);
    module.emplace();
    window.resize(400, 360);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
}

/// Two glowing balls, side by side.
void tst_RayLayers::init()
{
    mkScenegraph::Document document;
    document.root = osg::Node::create();
    left = place(document.root, "left", ball(), material(0, 0.25F), -1.5F, 0, 0);
    right = place(document.root, "right", ball(), material(0, 0.5F), 1.5F, 0, 0);
    place(document.root, "eye", osg::Camera::create(), osg::NullFC, 0, 0, 8);
    mkScenegraph::setScene(document);
    module->setEnvironment("none");
}

void tst_RayLayers::cleanupTestCase()
{
    mkScript::stop();
    delete panel();
    module.reset();
}

void tst_RayLayers::layerPictures_data()
{
    QTest::addColumn<QString>("format");
    QTest::newRow("PNG") << "png";
    QTest::newRow("OpenEXR") << "exr";
}

void tst_RayLayers::layerPictures()
{
    QFETCH(QString, format);
    mkRenderLayer &store = *mkScenegraph::getRenderLayer();
    store.addLayer("Paint");
    store.addNode(0, left);
    store.getAttributes(0, left)->setVisible(false);
    store.addLayer("Glass.dirty");
    store.addNode(1, right);
    store.getAttributes(1, right)->setVisibleInAlpha(false);
    // The scene's own attributes do not count, and stay.
    attributes(right)->setVisible(false);
    mkController::setModified(0);

    const QTemporaryDir directory;
    const QStringList files = module->renderLayers(directory.filePath("new"), { 40, 20 }, 4, format,
                                                   "eye", [] { return true; });
    QVERIFY(!attributes(right)->getVisible() && attributes(left)->getVisible());
    QVERIFY(!mkController::isModified());

    // Of each picture the middle of the left and of the right ball: grey and alpha.
    struct Pixel
    {
        float grey;
        float alpha;
    };
    const Pixel expected[2][2] = { { { 0, 0 }, { 0.5F, 1 } }, { { 0.25F, 1 }, { 0.5F, 0 } } };
    const QPoint places[2] = { { 15, 10 }, { 24, 10 } };
    if (format == "png") {
        QCOMPARE(QDir(directory.filePath("new")).entryList(QDir::Files, QDir::Name),
                 QStringList({ "Glass_dirty.png", "Paint.png" }));
        for (int layer = 0; layer < 2; ++layer) {
            const QImage picture(files[layer]);
            QCOMPARE(picture.size(), QSize(40, 20));
            for (int ball = 0; ball < 2; ++ball) {
                const QColor pixel = picture.pixelColor(places[ball]);
                const Pixel &wanted = expected[layer][ball];
                QCOMPARE(pixel.alphaF(), double(wanted.alpha));
                QVERIFY(std::abs(pixel.greenF() - mkToneCurve(wanted.grey)) < 0.005);
            }
        }
        return;
    }
    QCOMPARE(files, QStringList{ directory.filePath("new/layers.exr") });
    Imf::InputFile input(qPrintable(files[0]));
    std::set<std::string> layers;
    input.header().channels().layers(layers);
    QVERIFY(layers == (std::set<std::string>{ "Paint", "Glass_dirty" }));
    for (int layer = 0; layer < 2; ++layer) {
        const std::string name = layer == 0 ? "Paint" : "Glass_dirty";
        std::vector<float> grey(800);
        std::vector<float> alpha(800);
        Imf::FrameBuffer buffer;
        const auto add = [&](const char *channel, std::vector<float> &values) {
            buffer.insert(name + channel,
                          Imf::Slice(Imf::FLOAT, reinterpret_cast<char *>(values.data()), 4, 160));
        };
        add(".G", grey);
        add(".A", alpha);
        input.setFrameBuffer(buffer);
        input.readPixels(0, 19);
        for (int ball = 0; ball < 2; ++ball) {
            const auto pixel = std::size_t(places[ball].y()) * 40 + std::size_t(places[ball].x());
            QCOMPARE(grey[pixel], expected[layer][ball].grey);
            QCOMPARE(alpha[pixel], expected[layer][ball].alpha);
        }
    }
}

void tst_RayLayers::fileNames()
{
    QCOMPARE(mkRayLayers::fileNames(
                 { "Paint", "../etc", "paint", "", "a b", "a/b", "Ärger", QString(200, 'x') }),
             QStringList({ "Paint", "___etc", "paint1", "layer", "a_b", "a_b1", "Ärger",
                           QString(60, 'x') }));
}

void tst_RayLayers::viewFollows()
{
    QVERIFY(waitForPicture());
    QVERIFY(shown(0.5, 0.05) != QColor(Qt::black));
    const double bright = shown(0.64, 0.5).greenF();
    QVERIFY(std::abs(bright - double(mkToneCurve(0.5F))) < 0.02);
    QCOMPARE(status("rayLayers"), QString("No layer is active"));

    mkRenderLayer &store = *mkScenegraph::getRenderLayer();
    store.addLayer("Paint");
    store.addNode(0, right);
    store.getAttributes(0, right)->setVisible(false);
    store.activateLayer(0);
    mkController::updateRender(false);
    QTRY_VERIFY_WITH_TIMEOUT(std::abs(shown(0.64, 0.5).greenF() - bright) > 0.2, patience);
    QCOMPARE(status("rayLayers"), QString("Active: Paint"));
    mkNodeUtils::resetRenderLayerAttributes(mkScenegraph::getRoot());
    QTRY_COMPARE_WITH_TIMEOUT(shown(0.64, 0.5).greenF(), bright, patience);
    QTRY_COMPARE_WITH_TIMEOUT(status("rayLayers"), QString("No layer is active"), patience);

    const osg::Ptr<osg::DrawableBase> core(right->getCore());
    core->getMaterial()->setEmission({ 0.1F, 0.1F, 0.1F });
    QTRY_VERIFY_WITH_TIMEOUT(shown(0.64, 0.5).greenF() < bright - 0.1, patience);
    init();
    QVERIFY(panel()->view()->progress().picture.isNull() && waitForPicture());
    mkScenegraph::newScene("nothing");
    QTRY_VERIFY_WITH_TIMEOUT(panel()->view()->progress().picture.isNull(), patience);
}

void tst_RayLayers::picking()
{
    QVERIFY(waitForPicture());
    mkRayView *const view = panel()->view();
    const auto click = [&](double x, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(view, Qt::LeftButton, modifiers,
                          QPoint(int(x * view->width()), view->height() / 2));
    };
    const auto selection = [] {
        QStringList names;
        for (const mkNodePtr &node : mkSelectionManager::getSelectedNodes()) {
            names += mkNodeUtils::getName(node.get());
        }
        return names.join(' ');
    };
    const int steps = mkUndo::stack()->count();
    click(0.36);
    QCOMPARE(selection(), QString("left"));
    click(0.64, Qt::ControlModifier);
    QCOMPARE(selection(), QString("left right"));
    click(0.64);
    QCOMPARE(selection(), QString("right"));
    QCOMPARE(mkUndo::stack()->count(), steps + 3);
    click(0.02);
    QCOMPARE(selection(), QString());
    mkUndo::stack()->undo();
    QCOMPARE(selection(), QString("right"));

    // A drag moves the camera and selects nothing.
    const mkRayCamera before = camera();
    QTest::mousePress(view, Qt::LeftButton, {}, { 50, 50 });
    QMouseEvent move(QEvent::MouseMove, QPointF(90, 60), Qt::NoButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(view, &move);
    QTest::mouseRelease(view, Qt::LeftButton, {}, { 90, 60 });
    QVERIFY(!(camera() == before));
    // Dragged to the right the scene turns so, and the eye goes to the left and up.
    QVERIFY(camera().position.x < before.position.x);
    QVERIFY(camera().position.y > before.position.y);
    QCOMPARE(selection(), QString("right"));
}

void tst_RayLayers::keys()
{
    QVERIFY(waitForPicture());
    mkRayView *const view = panel()->view();
    mkSelectionManager::selectNode(left);
    view->setFocus();
    QTest::keyClick(view, Qt::Key_F);
    QVERIFY(std::abs(camera().position.x + 1.5F) < 1e-3F);
    const float near = camera().position.z;
    QTest::keyClick(view, Qt::Key_A);
    QVERIFY(std::abs(camera().position.x) < 1e-3F && camera().position.z > near);
    QVERIFY(waitForPicture());
    const auto &seen = view->progress().nodes;
    const std::set<std::uint32_t> nodes(seen.begin(), seen.end());
    QVERIFY(nodes.count(left->getId()) == 1 && nodes.count(right->getId()) == 1);
}

void tst_RayLayers::scripts()
{
    const QTemporaryDir directory;
    const struct
    {
        const char *statement;
        const char *failure;
    } cases[] = {
        { "renderPicture(FILE + '.png', 8, 4, 1)", "" },
        { "renderPicture(file=FILE + '.exr', width=8, height=4, samples=1, camera='eye')", "" },
        { "renderPicture(FILE, camera='none')", "There is no camera \"none\"." },
        { "renderPicture(FILE, 0, 4)", "A picture is 1 to 16384 pixels wide and high." },
        { "renderPicture(FILE, 4, 4, 0)", "A picture takes 1 to 1048576 samples." },
        { "renderPicture('/nowhere/x.png', 4, 4, 1)", "cannot be written" },
        { "renderLayers(FILE)", "The scene has no render layers." },
        { "renderLayers(FILE, format='gif')", "A format is \"png\" or \"exr\"." },
        { "setEnvironment(FILE)", "cannot be read" },
        { "setEnvironment.__doc__.index('built-in')", "" },
        { "waitForView(1)", "" },
    };
    for (const auto &each : cases) {
        const QString text = QString("FILE = r'%1/picture'\n"
                                     "failure = ''\n"
                                     "try:\n"
                                     "    mkRayTracerModule.%2\n"
                                     "except RuntimeError as error:\n"
                                     "    failure = str(error)\n"
                                     "assert ('%3' in failure) if '%3' else not failure, failure\n")
                                 .arg(directory.path(), each.statement, each.failure);
        QVERIFY2(mkScript::run(qPrintable(text)), each.statement);
    }
    const QFileInfoList files = QDir(directory.path()).entryInfoList(QDir::Files);
    QVERIFY(files.size() == 2 && files[0].size() > 0 && files[1].size() > 0);
}

/// What is whole is shown.
void tst_RayLayers::damagedScenes()
{
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const float endless = std::numeric_limits<float>::infinity();
    using Damage = std::function<void(osg::Geometry &, osg::Transform &)>;
    const std::pair<const char *, Damage> cases[] = {
        { "corners that are not there",
          [](auto &mesh, auto &) {
              mesh.indices.insert(mesh.indices.begin() + 300, { 0, 1, 4000000000U, 7 });
          } },
        { "corners that are no numbers",
          [&](auto &mesh, auto &) {
              mesh.positions[40] = { notANumber, endless, 0 };
          } },
        { "triangles without area", [](auto &mesh, auto &) { mesh.indices.assign(300, 5); } },
        { "normals without length",
          [&](auto &mesh, auto &) {
              mesh.normals.assign(mesh.normals.size(), { 0, notANumber, 0 });
          } },
        { "flat", [](auto &, auto &transform) { transform.setMatrix({}); } },
        { "endless",
          [&](auto &, auto &transform) {
              transform.setMatrix({ endless, 0, 0, notANumber, 0, 1 });
          } },
        { "no material", [](auto &mesh, auto &) { mesh.setMaterial(osg::NullFC); } },
        { "a picture that is none",
          [](auto &mesh, auto &) {
              const auto texture = osg::Texture::create();
              texture->setData("nothing that can be read");
              mesh.getMaterial()->setBaseColorTexture(texture);
          } },
    };
    for (const auto &[name, damage] : cases) {
        init();
        const osg::Ptr<osg::Geometry> geometry(left->getCore());
        damage(*geometry, *osg::Ptr<osg::Transform>(left->getParent()->getCore()));
        geometry->changed(osg::AllFields, osg::ChangeOrigin::External);
        QVERIFY2(waitForPicture(), name);
        const auto &seen = panel()->view()->progress().nodes;
        const std::set<std::uint32_t> nodes(seen.begin(), seen.end());
        QVERIFY2(nodes.count(right->getId()) == 1, name);
        QVERIFY2(nodes.size() <= 2 + nodes.count(left->getId()), name);
    }
}

/// A picture of the surroundings comes back the right way round.
void tst_RayLayers::environmentFile()
{
    const QTemporaryDir directory;
    const QString file = directory.filePath("sky.exr");
    // A camera far off sees a glowing wall in the right half.
    mkScenegraph::Document document;
    document.root = osg::Node::create();
    place(document.root, "wall", square(), material(0, 2), 10, 0, 0, 10);
    mkRaySceneReader reader([] {});
    const mkRayFilm film = rendered(reader.read(document.root, nullptr), eye(5, 0.5F), 4,
                                    { 16, 8 });
    mkWriteExr(file, { { QString(), &film } });
    const auto environment = mkRayEnvironment::fromFile(file);
    // The picture's middle is at -Z, its right half at +X.
    QCOMPARE(environment->radiance({ 1, 0, 0 }), Imath::C3f(2, 2, 2));
    QCOMPARE(environment->radiance({ -1, 0, 0 }), Imath::C3f(0, 0, 0));
    float density = 0;
    for (int i = 0; i < 64; ++i) {
        mkRaySampler sampler(std::uint32_t(i), 0, 0);
        const Imath::V3f found = environment->sample(sampler.next2(), density);
        QVERIFY(density > 0 && found.x > -0.4F);
    }
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    tst_RayLayers test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_raylayers.moc"
