#include "HostFixture.h"
#include "ImportProcess.h"
#include "MainWindow.h"
#include "RecoveryCopies.h"

#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"
#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkQt4Ext/QMKDockWindowManager.h"

#include <QtTest>

#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>

using osg::NodePtr;

/// Documents as the workbench's user sees them.
class tst_Documents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { host.reset(); }

    void importsLooks();
    void importsWhatCanBeUsed();
    void refusesFiles();
    void cancelEndsTheProcess();
    void savesAndAsks();
    void copiesAreRecovered();
    void killsLeaveWholeFiles();

private:
    QString path(const QString &name) const { return directory.filePath(name); }
    QString write(const QString &name, const QByteArray &content) const;

    QTemporaryDir directory;
    HostFixture host;
};

void tst_Documents::initTestCase()
{
    qputenv("XDG_CONFIG_HOME", path("config").toUtf8());
    qputenv("XDG_DATA_HOME", path("data").toUtf8());
}

QString tst_Documents::write(const QString &name, const QByteArray &content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qUtf8Printable(name));
    }
    return file.fileName();
}

void tst_Documents::importsLooks()
{
    QImage picture(2, 2, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QVERIFY(picture.save(path("a picture.png")));
    const QByteArray floats(4 * 3 * 4, '\0');
    const QString file = write("looks.gltf", R"({"asset":{"version":"2.0"},"scene":0,
"extensionsUsed":["KHR_lights_punctual","KHR_materials_transmission","KHR_materials_ior"],
"extensions":{"KHR_lights_punctual":{"lights":[{"type":"spot","color":[1,0.5,0],"intensity":40,
  "spot":{"innerConeAngle":0.2,"outerConeAngle":0.4}}]}},
"scenes":[{"nodes":[0,1,2]}],
"nodes":[{"name":"mesh","mesh":0},{"name":"eye","camera":0,"translation":[0,0,5]},
  {"name":"lamp","extensions":{"KHR_lights_punctual":{"light":0}}}],
"cameras":[{"type":"perspective","perspective":{"yfov":0.6,"aspectRatio":2,"znear":0.5,"zfar":20}}],
"images":[{"uri":"a%20picture.png"}],"textures":[{"source":0}],
"materials":[{"name":"glass","pbrMetallicRoughness":{"baseColorFactor":[0.1,0.2,0.3,0.4],
  "metallicFactor":0.25,"roughnessFactor":0.75,"baseColorTexture":{"index":0}},
  "emissiveFactor":[1,0.5,0],"alphaMode":"MASK","alphaCutoff":0.3,
  "extensions":{"KHR_materials_transmission":{"transmissionFactor":0.9},
                "KHR_materials_ior":{"ior":1.7}}}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":0,"TEXCOORD_0":1},"material":0}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],
  "max":[0,0,0]},{"bufferView":0,"componentType":5126,"count":3,"type":"VEC2"}],
"bufferViews":[{"buffer":0,"byteLength":36}],
"buffers":[{"byteLength":48,"uri":"data:application/octet-stream;base64,)"
                                                 + floats.toBase64() + R"("}]})");
    const mkScenegraph::Document document = readForeignScene(file, {});
    const auto &nodes = document.root->getChildren();
    const osg::Ptr<osg::Geometry> mesh(nodes[0]->getCore());
    const osg::CameraPtr camera(nodes[1]->getChildren()[0]->getCore());
    const osg::LightPtr lamp(nodes[2]->getCore());
    QVERIFY(mesh && camera && lamp);
    QCOMPARE(mesh->normals.size(), std::size_t(3));
    // Pictures begin at the top.
    QCOMPARE(mesh->texCoords, std::vector<osg::Geometry::TexCoord>(3, { 0, 0 }));
    QCOMPARE(camera->getFieldOfView(), 0.6F);
    QCOMPARE(camera->getNear(), 0.5F);
    QCOMPARE(camera->getFar(), 20.0F);
    QCOMPARE(lamp->getKind(), osg::Light::Kind::Spot);
    QCOMPARE(lamp->getIntensity(), 40.0F);
    QCOMPARE(lamp->getColor(), osg::Light::Color({ 1, 0.5, 0 }));
    QCOMPARE(lamp->getInnerConeAngle(), 0.2F);
    QCOMPARE(lamp->getOuterConeAngle(), 0.4F);
    const osg::MaterialPtr glass = mesh->getMaterial();
    QCOMPARE(glass->getName(), std::string("glass"));
    QCOMPARE(glass->getColor(), osg::Material::Color({ 0.1F, 0.2F, 0.3F, 0.4F }));
    QCOMPARE(glass->getMetallic(), 0.25F);
    QCOMPARE(glass->getRoughness(), 0.75F);
    QCOMPARE(glass->getTransmission(), 0.9F);
    QCOMPARE(glass->getIndexOfRefraction(), 1.7F);
    QCOMPARE(glass->getEmission(), osg::Material::Emission({ 1, 0.5, 0 }));
    QCOMPARE(glass->getAlphaMode(), osg::Material::AlphaMode::Mask);
    QCOMPARE(glass->getAlphaCutoff(), 0.3F);
    QCOMPARE(QImage::fromData(glass->getBaseColorTexture()->getData()).pixelColor(1, 1),
             QColor(Qt::red));
}

void tst_Documents::importsWhatCanBeUsed()
{
    LogLines log;
    const QString cloud = write("cloud.ply", "ply\nformat ascii 1.0\nelement vertex 2\n"
                                             "property float x\nproperty float y\n"
                                             "property float z\nend_header\n0 0 0\n1 2 3\n");
    const auto scene = readForeignScene(cloud, {});
    QCOMPARE(osg::Ptr<osg::Geometry>(scene.root->getChildren()[0]->getCore())->positions.size(),
             std::size_t(2));
    QVERIFY(log.lines.join('\n').contains("only triangles are taken"));
    log.lines.clear();
    const QString missing = write("missing.obj", "mtllib missing.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\n"
                                                 "vt 0 0\nusemtl m\nf 1/1 2/1 3/1\n");
    write("missing.mtl", "newmtl m\nmap_Kd no.png\nKd 1 0 0\n");
    QVERIFY(readForeignScene(missing, {}).root);
    QVERIFY(log.lines.join('\n').contains("The texture no.png cannot be read"));
    // A scene may name a file beside it with more numbers than its own size would allow.
    const qint64 size = 1'100'000'000;
    QFile numbers(write("numbers.bin", ""));
    QVERIFY(numbers.resize(size));
    const QString naming = write("naming.gltf", R"({"asset":{"version":"2.0"},"scene":0,
"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],
"bufferViews":[{"buffer":0,"byteLength":36}],
"buffers":[{"uri":"numbers.bin","byteLength":)" + QByteArray::number(size)
                                                    + "}]}");
    QVERIFY(readForeignScene(naming, {}).root);
    QVERIFY(numbers.remove());
}

/// What would abort, loop or fill the memory ends with a reason, and the open scene stays.
void tst_Documents::refusesFiles()
{
    mkScenegraph::setReader(readForeignScene);
    const NodePtr open = mkScenegraph::getRoot();
    const QByteArray plyHeader = "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\n";
    QByteArray promising("glTF\2\0\0\0\0\0\0\x40\0\0\0\x40JSON", 20);
    promising += R"({"asset":{"version":"2.0"}})";
    const QByteArray asset = R"({"asset":{"version":"2.0"},)";
    const char *const damaged = "The file is damaged or not of the format that its name promises.";
    const struct
    {
        const char *name;
        QByteArray content;
        const char *reason;
    } files[] = {
        { "empty.gltf", "", "The file is empty." },
        { "cut.gltf", asset + R"("scene")", damaged },
        { "nodes.gltf", asset + R"("nodes":[{)", damaged },
        { "nothing.gltf", asset + R"("scene":0,"scenes":[{"nodes":[]}],"nodes":[]})",
          "The file holds no scene." },
        { "circle.gltf", asset + R"("scene":0,"scenes":[{"nodes":[0]}],
                     "nodes":[{"children":[1]},{"children":[0]}]})",
          "recursive" },
        { "unknown.txt1", "text", "The file is of an unknown format." },
        { "huge.off", "OFF\n1000000000 400000000 0\n0 0 0\n" + QByteArray(270, ' '),
          "asks for more memory" },
        // The library ends in an exception of its own, or has learnt to refuse it.
        { "cut.ply", plyHeader, "the import library failed over it|Invalid .ply file" },
        { "promising.glb", promising, damaged },
        { "damaged.mkscene", "\x84\x67mkscene", "The file is damaged, at byte 9." },
    };
    const auto answer = [](const QString &file) -> QString {
        try {
            mkScenegraph::openFile(file);
            return "opened";
        } catch (const std::runtime_error &reason) {
            return reason.what();
        }
    };
    for (const auto &file : files) {
        const QString given = answer(write(file.name, file.content));
        QVERIFY2(given.contains(QRegularExpression(file.reason)),
                 qPrintable(file.name + (": " + given)));
    }
    QCOMPARE(answer(path("missing.gltf")), "There is no such file.");
    QCOMPARE(mkScenegraph::getRoot(), open);
}

void tst_Documents::cancelEndsTheProcess()
{
    const QString large = write("large.obj", QByteArray("v 0 0 0\n").repeated(1'000'000));
    QVERIFY_EXCEPTION_THROWN(readForeignScene(large, [](int) { return false; }),
                             mkSceneFile::Cancelled);
}

void tst_Documents::savesAndAsks()
{
    host.unloadPlugin();
    MainWindow window(false);
    host.loadPlugin();
    const auto restore = qScopeGuard([&] {
        delete window.findChild<QWidget *>("Module");
        host.unloadPlugin();
        mkController::setMainWindow(host.window());
        mkController::setDockWindowManager(host.window()->findChild<QMKDockWindowManager *>());
        host.loadPlugin();
    });
    window.completeLayout();
    window.show();
    const auto trigger = [&window](const char *text) {
        for (QAction *action : window.findChildren<QAction *>()) {
            if (action->text() == text) {
                action->trigger();
            }
        }
    };
    QMessageBox::StandardButton button = QMessageBox::Ok;
    QString target = "first";
    QStringList asked;
    const ModalAnswers answers([&](QWidget *widget) {
        if (auto *const box = qobject_cast<QMessageBox *>(widget)) {
            asked += box->windowTitle();
            box->button(button)->click();
        } else if (auto *const dialog = qobject_cast<QFileDialog *>(widget)) {
            asked += QFileInfo(dialog->selectedFiles().value(0)).fileName();
            dialog->selectFile(path(target));
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        }
    });
    QVERIFY(!window.openFile(path("missing.gltf")) && asked.size() == 1);
    asked.clear();
    QVERIFY(window.openFile(write("box.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")));
    QCOMPARE(window.windowTitle(), "box.obj[*] - Workbench");
    // In the middle of typing a name.
    auto *const tree = window.findChild<QTreeWidget *>("_layer");
    QMetaObject::invokeMethod(tree, "createLayer");
    QVERIFY(window.isWindowModified());
    tree->setCurrentItem(tree->topLevelItem(0));
    QTest::keyClick(tree, Qt::Key_F2);
    QTest::keyClicks(tree->viewport()->findChild<QLineEdit *>(), "Paint");
    button = QMessageBox::Cancel;
    QVERIFY(!window.close());
    // A scene of another format is saved under a new name.
    button = QMessageBox::Save;
    QVERIFY(window.close());
    QCOMPARE(asked, QStringList({ "Scene Modified", "Scene Modified", "box.mkscene" }));
    QCOMPARE(window.windowTitle(), "first.mkscene[*] - Workbench");
    QVERIFY(!window.isWindowModified());

    asked.clear();
    mkScenegraph::getRenderLayer()->addLayer("Glass");
    trigger("&Save");
    QVERIFY(!window.isWindowModified());
    QCOMPARE(asked, QStringList());
    mkScenegraph::newScene("other");
    QVERIFY(window.openFile(path("first.mkscene")));
    QCOMPARE(HostFixture::stored(), "Layer[] Glass[]");

    mkScenegraph::getRenderLayer()->addLayer("More");
    target = "second.obj";
    trigger("Save &As…");
    QVERIFY(QFile::exists(path("second.obj.mkscene")));
    mkScenegraph::getRenderLayer()->addLayer("Lost");
    button = QMessageBox::Discard;
    QVERIFY(window.close());
}

void tst_Documents::copiesAreRecovered()
{
    const QString folder = path("copies");
    const auto files = [&folder] { return QDir(folder).entryList({ "*.mkscene" }).size(); };
    {
        RecoveryCopies running(folder, 0);
        QSignalSpy written(&running, &RecoveryCopies::written);
        mkScenegraph::saveFile(path("mine.mkscene"));
        QCOMPARE(files(), 0);
        mkScenegraph::getRenderLayer()->addLayer("Precious");
        QVERIFY(written.wait());
        QCOMPARE(files(), 1);
        // Another program leaves it alone, as long as this one runs.
        QVERIFY(RecoveryCopies(folder, 100000).takeLeft().empty());
        mkScenegraph::saveFile(path("mine.mkscene"));
        QCOMPARE(files(), 0);
        mkScenegraph::getRenderLayer()->addLayer("Lost?");
        QVERIFY(written.wait());
        // What a crash leaves: the files, with a lock that nobody holds.
        QVERIFY(QProcess::execute("cp", { "-r", folder, path("crashed") }) == 0);
    }
    QCOMPARE(files(), 0);
    host.reset();
    RecoveryCopies next(path("crashed"), 100000);
    auto left = next.takeLeft();
    QCOMPARE(left.size(), std::size_t(1));
    QCOMPARE(left[0].sceneFile, path("mine.mkscene"));
    mkScenegraph::openFile(left[0].scenePath());
    QCOMPARE(HostFixture::stored(), "Precious[] Lost?[]");
}

void tst_Documents::killsLeaveWholeFiles()
{
    const QString file = path("killed.mkscene");
    const QString script = write("killed.py", "import sys\n"
                                              "for i in range(300):\n"
                                              "    createRenderLayer('L')\n"
                                              "while True:\n"
                                              "    createRenderLayer('L')\n"
                                              "    mkHost.saveScene(sys.argv[1])\n"
                                              "    print('saved', flush=True)\n");
    for (const int delay : { 0, 7, 20, 45, 90 }) {
        QProcess process;
        process.start(MK_WORKBENCH,
                      { "--batch", "--script", script, MK_SCENES "/studio.gltf", "--", file });
        QVERIFY2(process.waitForReadyRead(60000), process.readAllStandardError());
        process.waitForFinished(delay);
        process.kill();
        process.waitForFinished();
        const auto layers = osg::RenderLayersPtr(
            mkSceneFile::read(file).root->findAttachment(osg::RenderLayers::_type.getGroupId()));
        QVERIFY(layers->getLayers().size() > 300);
    }
}

QTEST_MAIN(tst_Documents)
#include "tst_documents.moc"
