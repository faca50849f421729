// What each render attribute does to a picture.

#include "RayScenes.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRayEnvironment.h"
#include "mkRaySceneReader.h"

#include <QTest>

using namespace RayScenes;
using Imath::C4f;
using Values = osg::RenderAttributeValues;

namespace {

struct Attribute
{
    const char *name;
    bool Values::*flag;
};

constexpr Attribute attributes[] = {
    { "Visible", &Values::visible },
    { "VisibleInAlpha", &Values::visibleInAlpha },
    { "PrimaryVisibility", &Values::primaryVisibility },
    { "VisibleInReflections", &Values::visibleInReflections },
    { "VisibleInRefractions", &Values::visibleInRefractions },
    { "CastShadows", &Values::castShadows },
    { "ReceiveShadows", &Values::receiveShadows },
    { "DoubleSided", &Values::doubleSided },
    { "VisibleInPhotons", &Values::visibleInPhotons },
    { "CastShadowsOnShadowMaterial", &Values::castShadowsOnShadowMaterial },
    { "UseOverrideMaterial", &Values::useOverrideMaterial },
};

/// A scene in which the node "object" is looked at, one way or another.
struct Scene
{
    osg::NodePtr root = osg::Node::create();
    osg::NodePtr object;
    std::shared_ptr<const mkRayEnvironment> environment;
    mkRayCamera camera = eye();
};

osg::MaterialPtr glowing()
{
    return material(0, 0.8F);
}

osg::MaterialPtr mirror()
{
    const osg::MaterialPtr made = material(1);
    made->setMetallic(1);
    made->setRoughness(0);
    return made;
}

Scene direct()
{
    Scene scene;
    scene.object = place(scene.root, "object", ball(), glowing(), 0, 0, 0);
    return scene;
}

Scene againstWall()
{
    Scene scene = direct();
    place(scene.root, "wall", square(), material(0, 0.3F), 0, 0, -2, 4);
    return scene;
}

Scene fromInside()
{
    Scene scene;
    scene.object = place(scene.root, "object", ball(), glowing(), 0, 0, 5);
    return scene;
}

Scene inMirror()
{
    Scene scene;
    place(scene.root, "mirror", square(), mirror(), 0, 0, 0);
    scene.object = place(scene.root, "object", ball(), glowing(), 0, 0, 8, 2);
    return scene;
}

Scene behindGlass()
{
    Scene scene;
    const osg::MaterialPtr glass = material(1);
    glass->setTransmission(1);
    glass->setRoughness(0);
    glass->setIndexOfRefraction(1.05F);
    place(scene.root, "glass", square(), glass, 0, 0, 0);
    scene.object = place(scene.root, "object", ball(), glowing(), 0, 0, -3, 1);
    return scene;
}

/// A wall, a lamp slantwise above, and something black between the two, which the eye cannot see.
Scene inLampsShadow(bool wallIsObject)
{
    Scene scene;
    const osg::NodePtr wall = place(scene.root, "wall", square(), material(0.8F), 0, 0, 0, 8);
    const osg::NodePtr between = place(scene.root, "between", ball(), material(0), 0, 4, 4, 1);
    const osg::LightPtr lamp = osg::Light::create();
    lamp->setKind(osg::Light::Kind::Directional);
    lamp->setIntensity(3);
    const float half = std::sqrt(0.5F);
    const auto turned = osg::Transform::create();
    turned->setMatrix({ 1, 0, 0, 0, 0, half, half, 0, 0, -half, half, 0, 0, 0, 0, 1 });
    addChild(addChild(scene.root, "turned", turned), "lamp", lamp);
    scene.object = wallIsObject ? wall : between;
    scene.camera = eye(5, 0.05F);
    return scene;
}

/// A wall that only a glowing ball lights, which the eye cannot see.
Scene lighting()
{
    Scene scene;
    place(scene.root, "wall", square(), material(0.8F), 0, 0, 0, 8);
    scene.object = place(scene.root, "object", ball(), material(0, 8), 0, 2.5F, 1.5F, 1);
    scene.camera = eye(5, 0.05F);
    return scene;
}

/// The same light, by way of a mirror.
Scene caustic()
{
    Scene scene;
    place(scene.root, "wall", square(), material(0.8F), 0, 0, 0, 2);
    place(scene.root, "light", square(), material(0, 8), 0, 0, -0.5F, 8);
    scene.object = place(scene.root, "object", ball(), mirror(), 0, 2.5F, 2, 1.8F);
    scene.camera = eye(5, 0.05F);
    return scene;
}

/// Something black before a wall or a shadow material, under an even sky.
Scene inSkysShadow(bool onShadowMaterial)
{
    Scene scene;
    const osg::MaterialPtr wall = material(0.8F);
    wall->setShadowMaterial(onShadowMaterial);
    place(scene.root, "wall", square(), wall, 0, 0, 0, 8);
    scene.object = place(scene.root, "object", ball(), material(0), 0, 2.2F, 1.5F, 2);
    scene.environment = mkRayEnvironment::uniform({ 1, 1, 1 });
    scene.camera = eye(5, 0.05F);
    return scene;
}

C4f seen(const Scene &scene, const Values &values)
{
    mkNodeUtils::getOrMakeRenderAttributes(scene.object)->setValues(values);
    mkRaySceneReader reader([] {});
    return average(rendered(reader.read(scene.root, scene.environment), scene.camera, 256));
}

} // namespace

Q_DECLARE_METATYPE(std::function<Scene()>)
using Changes = QMap<QString, QPair<float, float>>;

class tst_RayAttributes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void attribute_data();
    void attribute();
    void readByAndBy();
};

void tst_RayAttributes::attribute_data()
{
    // What the picture is with everything on, and what it becomes when one attribute is switched:
    // grey level and alpha. Attributes that are not listed leave it as it was.
    const QPair<float, float> nothing(0, 0);
    QTest::addColumn<std::function<Scene()>>("make");
    QTest::addColumn<QPair<float, float>>("on");
    QTest::addColumn<Changes>("off");
    const auto row = [](const char *name, const std::function<Scene()> &make,
                        QPair<float, float> on,
                        const Changes &off) { QTest::newRow(name) << make << on << off; };
    row("direct", direct, { 0.8F, 1 },
        { { "Visible", nothing },
          { "PrimaryVisibility", nothing },
          { "VisibleInAlpha", { 0.8F, 0 } },
          { "UseOverrideMaterial", { 0.5F, 1 } } });
    row("against a wall", againstWall, { 0.8F, 1 },
        { { "Visible", { 0.3F, 1 } },
          { "PrimaryVisibility", { 0.3F, 1 } },
          { "UseOverrideMaterial", { 0.5F, 1 } } });
    row("from inside", fromInside, { 0.8F, 1 },
        { { "Visible", nothing },
          { "PrimaryVisibility", nothing },
          { "VisibleInAlpha", { 0.8F, 0 } },
          { "DoubleSided", nothing },
          { "UseOverrideMaterial", { 0.5F, 1 } } });
    row("in a mirror", inMirror, { 0.8F, 1 },
        { { "Visible", { 0, 1 } },
          { "VisibleInReflections", { 0, 1 } },
          { "UseOverrideMaterial", { 0.5F, 1 } } });
    row("behind glass", behindGlass, { 0.785F, 1 },
        { { "Visible", { 0, 1 } },
          { "VisibleInRefractions", { 0, 1 } },
          { "UseOverrideMaterial", { 0.49F, 1 } } });
    row("in a lamp's shadow", [] { return inLampsShadow(false); }, { 0, 1 },
        { { "Visible", { 0.54F, 1 } }, { "CastShadows", { 0.54F, 1 } } });
    row("receiving", [] { return inLampsShadow(true); }, { 0, 1 },
        { { "Visible", nothing },
          { "PrimaryVisibility", nothing },
          { "VisibleInAlpha", { 0, 0 } },
          { "ReceiveShadows", { 0.54F, 1 } },
          { "UseOverrideMaterial", { 0.5F, 1 } } });
    row("lighting", lighting, { 0.39F, 1 },
        { { "Visible", { 0, 1 } },
          { "VisibleInPhotons", { 0, 1 } },
          { "UseOverrideMaterial", { 0.025F, 1 } } });
    row("caustic", caustic, { 0.21F, 1 },
        { { "Visible", { 0, 1 } },
          { "VisibleInPhotons", { 0, 1 } },
          { "UseOverrideMaterial", { 0.085F, 1 } } });
    row("on a shadow material", [] { return inSkysShadow(true); }, { 0, 0.322F },
        { { "Visible", nothing },
          { "CastShadows", nothing },
          { "CastShadowsOnShadowMaterial", nothing } });
    row("in the sky's shadow", [] { return inSkysShadow(false); }, { 0.543F, 1 },
        { { "Visible", { 0.8F, 1 } },
          { "CastShadows", { 0.8F, 1 } },
          { "UseOverrideMaterial", { 0.675F, 1 } } });
}

void tst_RayAttributes::attribute()
{
    using Look = QPair<float, float>;
    QFETCH(std::function<Scene()>, make);
    QFETCH(Look, on);
    QFETCH(Changes, off);
    const Scene scene = make();
    Values values;
    values.overrideMaterial = material(0, 0.5F);
    const auto check = [&](const Look &expected, const char *name) {
        const C4f look = seen(scene, values);
        QVERIFY2(std::abs(look.g - expected.first) < 0.02F
                     && std::abs(look.a - expected.second) < 0.02F,
                 qPrintable(QString("%1: %2 alpha %3").arg(name).arg(look.g).arg(look.a)));
    };
    check(on, "all");
    for (const Attribute &attribute : attributes) {
        values.*attribute.flag = !(values.*attribute.flag);
        check(off.value(attribute.name, on), attribute.name);
        values.*attribute.flag = !(values.*attribute.flag);
    }
}

/// Of a large scene the window reads some at a time.
void tst_RayAttributes::readByAndBy()
{
    const osg::NodePtr root = osg::Node::create();
    for (int i = 0; i < 300; ++i) {
        place(root, "ball", ball(), glowing(), float(i), 0, 0);
    }
    mkRaySceneReader reader([] {});
    std::shared_ptr<const mkRaySnapshot> snapshot;
    int steps = 0;
    for (reader.begin(root, nullptr); !snapshot; ++steps) {
        snapshot = reader.advance(0);
    }
    QVERIFY(steps > 1);
    // The same object, as nothing differs.
    QVERIFY(reader.read(root, nullptr) == snapshot);
    // Half of one scene and half of another would be none.
    reader.begin(root, nullptr);
    QVERIFY(!reader.advance(0));
    root->setName("renamed");
    QVERIFY(!reader.isReading());
}

QTEST_GUILESS_MAIN(tst_RayAttributes)
#include "tst_rayattributes.moc"
