// The tracer by itself, on scenes made by hand.

#include "RayScenes.h"
#include "mkRayEnvironment.h"

#include <tbb/task_arena.h>

#include <QTest>

#include <cmath>

using Imath::C3f;
using Imath::C4f;
using Imath::M44f;
using Imath::V3f;
using RayScenes::eye;

namespace {

/// A square in the XY plane, two units wide, that faces +Z.
std::shared_ptr<mkRayMesh> square()
{
    auto mesh = std::make_shared<mkRayMesh>();
    mesh->positions = { { -1, -1, 0 }, { 1, -1, 0 }, { 1, 1, 0 }, { -1, 1, 0 } };
    mesh->indices = { 0, 1, 2, 0, 2, 3 };
    return mesh;
}

std::shared_ptr<mkRayMesh> ball()
{
    constexpr int rings = 48;
    auto mesh = std::make_shared<mkRayMesh>();
    for (int ring = 0; ring <= rings; ++ring) {
        for (int step = 0; step <= 2 * rings; ++step) {
            const double down = M_PI * ring / rings;
            const double round = M_PI * step / rings;
            mesh->positions.emplace_back(float(std::sin(down) * std::cos(round)),
                                         float(std::cos(down)),
                                         float(-std::sin(down) * std::sin(round)));
        }
    }
    for (std::uint32_t ring = 0; ring < rings; ++ring) {
        for (std::uint32_t step = 0; step < 2 * rings; ++step) {
            const std::uint32_t first = ring * (2 * rings + 1) + step;
            const std::uint32_t below = first + 2 * rings + 1;
            mesh->indices.insert(mesh->indices.end(),
                                 { first, below, below + 1, first, below + 1, first + 1 });
        }
    }
    mesh->normals = mesh->positions;
    return mesh;
}

M44f placed(V3f at, V3f size = { 1, 1, 1 }, V3f degrees = { 0, 0, 0 })
{
    M44f matrix;
    matrix.translate(at);
    matrix.rotate(degrees * float(M_PI / 180));
    matrix.scale(size);
    return matrix;
}

mkRayMaterial grey(float value)
{
    mkRayMaterial material;
    material.baseColor = C3f(value, value, value);
    return material;
}

std::uint32_t add(mkRaySnapshot &scene, const std::shared_ptr<mkRayMesh> &mesh, const M44f &place,
                  const mkRayMaterial &material, std::uint32_t mask = mkRayKind::All)
{
    mkRayInstance instance;
    instance.mesh = mesh;
    instance.toWorld = place;
    instance.mask = mask;
    instance.material = std::uint32_t(scene.materials.size());
    instance.node = std::uint32_t(scene.instances.size()) + 1;
    scene.materials.push_back(material);
    scene.instances.push_back(instance);
    return instance.node;
}

mkRayFilm rendered(const mkRaySnapshot &snapshot, const mkRayCamera &camera, int passes,
                   QSize size = { 16, 16 }, int threads = 2, std::uint32_t seed = 1)
{
    mkRayFilm film(size);
    tbb::task_arena arena(threads);
    arena.execute([&] {
        mkRayScene scene;
        scene.apply(std::make_shared<mkRaySnapshot>(snapshot));
        const mkRayIntegrator integrator(scene);
        const std::atomic<bool> cancelled{ false };
        for (int pass = 0; pass < passes; ++pass) {
            film.addPass(integrator, camera, seed, cancelled);
        }
    });
    return film;
}

} // namespace

Q_DECLARE_METATYPE(V3f)

class tst_RayTracer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void furnace_data();
    void furnace();
    void backFaces_data();
    void backFaces();
    void sameBytes();
    void cancelled();
};

void tst_RayTracer::furnace_data()
{
    QTest::addColumn<float>("metallic");
    QTest::addColumn<float>("roughness");
    QTest::addColumn<float>("transmission");
    QTest::addColumn<float>("least");
    QTest::newRow("matt") << 0.0F << 1.0F << 0.0F << 0.99F;
    QTest::newRow("coated") << 0.0F << 0.3F << 0.0F << 0.99F;
    QTest::newRow("polished") << 0.0F << 0.0F << 0.0F << 0.99F;
    QTest::newRow("mirror") << 1.0F << 0.0F << 0.0F << 0.99F;
    QTest::newRow("satin metal") << 1.0F << 0.5F << 0.0F << 0.98F;
    QTest::newRow("rough metal") << 1.0F << 1.0F << 0.0F << 0.98F;
    QTest::newRow("glass") << 0.0F << 0.0F << 1.0F << 0.99F;
}

/// White things cannot be seen where the same light comes from everywhere.
void tst_RayTracer::furnace()
{
    QFETCH(float, metallic);
    QFETCH(float, roughness);
    QFETCH(float, transmission);
    QFETCH(float, least);
    mkRayMaterial white = grey(1);
    white.metallic = metallic;
    white.roughness = roughness;
    white.transmission = transmission;
    mkRaySnapshot scene;
    scene.environment = mkRayEnvironment::uniform({ 0.5F, 0.5F, 0.5F });
    add(scene, ball(), M44f(), white);
    const mkRayFilm film = rendered(scene, eye(5, 0.12F), 256);
    const C4f seen = RayScenes::average(film);
    QCOMPARE(seen.a, 1.0F);
    QVERIFY2(seen.r >= 0.5F * least && seen.r <= 0.505F, qPrintable(QString::number(seen.r)));
}

void tst_RayTracer::backFaces_data()
{
    QTest::addColumn<V3f>("size");
    QTest::addColumn<V3f>("degrees");
    QTest::addColumn<bool>("front");
    QTest::newRow("front") << V3f(1, 1, 1) << V3f(0, 0, 0) << true;
    QTest::newRow("turned") << V3f(1, 1, 1) << V3f(0, 180, 0) << false;
    QTest::newRow("turned twice") << V3f(1, 1, 1) << V3f(180, 180, 0) << true;
    QTest::newRow("slanted") << V3f(1, 1, 1) << V3f(50, 0, 20) << true;
    QTest::newRow("slanted back") << V3f(1, 1, 1) << V3f(130, 0, 20) << false;
    QTest::newRow("mirrored across") << V3f(-1, 1, 1) << V3f(0, 0, 0) << true;
    QTest::newRow("mirrored through") << V3f(1, 1, -2) << V3f(0, 0, 0) << false;
    QTest::newRow("stretched") << V3f(1, 3, 0.1F) << V3f(20, 0, 0) << true;
}

void tst_RayTracer::backFaces()
{
    QFETCH(V3f, size);
    QFETCH(V3f, degrees);
    QFETCH(bool, front);
    mkRaySnapshot scene;
    scene.environment = mkRayEnvironment::uniform({ 1, 1, 1 });
    add(scene, square(), placed({ 0, 0, 0 }, size, degrees), grey(0.5F));
    QCOMPARE(rendered(scene, eye(5, 0.05F), 1).node(8, 8), 1U);
    scene.instances[0].doubleSided = false;
    QCOMPARE(rendered(scene, eye(5, 0.05F), 1).node(8, 8), front ? 1U : 0U);
}

void tst_RayTracer::sameBytes()
{
    mkRaySnapshot scene;
    scene.environment = mkRayEnvironment::studio();
    mkRayMaterial glass = grey(0.9F);
    glass.transmission = 1;
    glass.roughness = 0.1F;
    mkRayMaterial veil = grey(0.3F);
    veil.alpha = 0.5F;
    veil.alphaMode = mkRayMaterial::AlphaMode::Blend;
    add(scene, ball(), M44f(), glass);
    add(scene, square(), placed({ 0, 0, -2 }, { 3, 3, 3 }), veil);
    add(scene, square(), placed({ 0, -1, 0 }, { 4, 4, 4 }, { -90, 0, 0 }), grey(0.7F));
    const QSize size(60, 50);
    const QImage one = rendered(scene, eye(5, 0.3F), 3, size, 1).picture();
    QCOMPARE(rendered(scene, eye(5, 0.3F), 3, size, 2).picture(), one);
    QVERIFY(rendered(scene, eye(5, 0.3F), 3, size, 2, 2).picture() != one);
}

/// What is cancelled leaves nothing, and hinders nothing that follows.
void tst_RayTracer::cancelled()
{
    const auto things = std::make_shared<mkRaySnapshot>();
    add(*things, square(), M44f(), grey(1));
    mkRayScene scene;
    const std::atomic<bool> yes{ true };
    QVERIFY(!scene.apply(things, &yes));
    QVERIFY(scene.snapshot().instances.empty());
    QVERIFY(scene.apply(things));
    QVERIFY(!mkRayFilm({ 40, 40 }).addPass(mkRayIntegrator(scene), eye(5, 0.05F), 1, yes));
    mkRayFilm film({ 40, 40 });
    QVERIFY(film.addPass(mkRayIntegrator(scene), eye(5, 0.05F), 1, std::atomic<bool>(false)));
    QCOMPARE(film.node(0, 0), things->instances[0].node);
}

QTEST_GUILESS_MAIN(tst_RayTracer)
#include "tst_raytracer.moc"
