// The ray tracer against bare Embree code, and what an activation costs it.

#include "../Measure.h"
#include "OSGSystem/Geometry.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRayEnvironment.h"
#include "mkRayFilm.h"
#include "mkRaySceneReader.h"

#include <tbb/task_arena.h>

#include <cmath>
#include <cstdio>

using Imath::V3f;

namespace {

constexpr QSize frame(960, 540);

osg::Ptr<osg::Geometry> ball(std::uint32_t rings)
{
    const auto geometry = osg::Geometry::create();
    for (std::uint32_t ring = 0; ring <= rings; ++ring) {
        for (std::uint32_t step = 0; step <= 2 * rings; ++step) {
            const double down = M_PI * ring / rings;
            const double round = M_PI * step / rings;
            geometry->positions.push_back({ float(std::sin(down) * std::cos(round)),
                                            float(std::cos(down)),
                                            float(-std::sin(down) * std::sin(round)) });
            if (ring < rings && step < 2 * rings) {
                const std::uint32_t first = ring * (2 * rings + 1) + step;
                const std::uint32_t below = first + 2 * rings + 1;
                geometry->indices.insert(geometry->indices.end(),
                                         { first, below, below + 1, first, below + 1, first + 1 });
            }
        }
    }
    geometry->normals = geometry->positions;
    return geometry;
}

/// Balls in a square, `columns` each way, below transformations of their own.
osg::NodePtr field(int columns, std::uint32_t rings)
{
    const osg::NodePtr root = osg::Node::create();
    const auto geometry = ball(rings);
    for (int i = 0; i < columns * columns; ++i) {
        const auto transform = osg::Transform::create();
        const int row = i / columns;
        const float x = float(i % columns) * 2.2F;
        const float z = float(row) * -2.2F;
        transform->setMatrix({ 1, 0, 0, x, 0, 1, 0, 0, 0, 0, 1, z, 0, 0, 0, 1 });
        const osg::NodePtr place = osg::Node::create();
        place->setCore(transform);
        const osg::NodePtr node = osg::Node::create();
        node->setCore(geometry);
        place->addChild(node);
        root->addChild(place);
    }
    return root;
}

mkRayCamera above(int columns)
{
    mkRayCamera camera;
    const float size = float(columns) * 2.2F;
    camera.position = { size / 2, size * 0.35F, size * 0.35F };
    camera.forward = V3f(0, -0.45F, -0.9F).normalized();
    camera.up = camera.right.cross(camera.forward);
    camera.tangent = 0.45F;
    return camera;
}

/// The same triangles and places in a scene without anything else.
class BareScene
{
public:
    explicit BareScene(const mkRaySnapshot &snapshot)
        : device(rtcNewDevice(nullptr))
        , mesh(rtcNewScene(device))
        , top(rtcNewScene(device))
        , count(unsigned(snapshot.instances.size()))
    {
        const mkRayMesh &source = *snapshot.instances.front().mesh;
        RTCGeometry triangles = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        void *const vertices = rtcSetNewGeometryBuffer(triangles, RTC_BUFFER_TYPE_VERTEX, 0,
                                                       RTC_FORMAT_FLOAT3, sizeof(V3f),
                                                       source.positions.size());
        std::copy(source.positions.begin(), source.positions.end(), static_cast<V3f *>(vertices));
        void *const corners = rtcSetNewGeometryBuffer(triangles, RTC_BUFFER_TYPE_INDEX, 0,
                                                      RTC_FORMAT_UINT3, 12,
                                                      source.indices.size() / 3);
        std::copy(source.indices.begin(), source.indices.end(),
                  static_cast<std::uint32_t *>(corners));
        attach(mesh, triangles);
        rtcCommitScene(mesh);
        for (const mkRayInstance &instance : snapshot.instances) {
            RTCGeometry placed = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
            rtcSetGeometryInstancedScene(placed, mesh);
            rtcSetGeometryTransform(placed, 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR,
                                    instance.toWorld.getValue());
            attach(top, placed);
        }
        rtcCommitScene(top);
    }
    ~BareScene()
    {
        rtcReleaseScene(top);
        rtcReleaseScene(mesh);
        rtcReleaseDevice(device);
    }
    BareScene(const BareScene &) = delete;
    BareScene &operator=(const BareScene &) = delete;

    /// Gives all instances this mask.
    void setMask(std::uint32_t mask) const
    {
        for (unsigned i = 0; i < count; ++i) {
            RTCGeometry placed = rtcGetGeometry(top, i);
            rtcSetGeometryMask(placed, mask);
            rtcCommitGeometry(placed);
        }
        rtcCommitScene(top);
    }

    /// Number of rays that meet something.
    int trace(const std::vector<mkRay> &rays) const
    {
        int met = 0;
        for (const mkRay &ray : rays) {
            mkEmbree::Context context;
            RTCRayHit query{};
            query.ray.org_x = ray.origin.x;
            query.ray.org_y = ray.origin.y;
            query.ray.org_z = ray.origin.z;
            query.ray.dir_x = ray.direction.x;
            query.ray.dir_y = ray.direction.y;
            query.ray.dir_z = ray.direction.z;
            query.ray.tfar = ray.farthest;
            query.ray.mask = mkRayKind::All;
            query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
            query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
            mkEmbree::intersect(top, context, nullptr, query);
            met += query.hit.geomID != RTC_INVALID_GEOMETRY_ID ? 1 : 0;
        }
        return met;
    }

private:
    static void attach(RTCScene scene, RTCGeometry geometry)
    {
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
    }

    RTCDevice device;
    RTCScene mesh;
    RTCScene top;
    unsigned count;
};

/// The rays of a film's first pass, in the order of its tiles.
std::vector<mkRay> eyeRays(const mkRayCamera &camera)
{
    constexpr int tile = 16;
    std::vector<mkRay> rays;
    const auto [width, height] = std::pair(frame.width(), frame.height());
    for (int top = 0; top < height; top += tile) {
        for (int left = 0; left < width; left += tile) {
            for (int y = top; y < std::min(top + tile, height); ++y) {
                for (int x = left; x < std::min(left + tile, width); ++x) {
                    const mkRaySampler sampler(std::uint32_t(y * width + x), 0, 0);
                    const Imath::V2f within = sampler.withinPixel();
                    rays.push_back(
                        mkRayIntegrator::eyeRay(camera, float(width) / float(height),
                                                { (float(x) + within.x) / float(width),
                                                  (float(y) + within.y) / float(height) }));
                }
            }
        }
    }
    return rays;
}

void cameraFrame(Report &report)
{
    constexpr int columns = 20;
    mkRaySceneReader reader([] {});
    const auto snapshot = reader.read(field(columns, 45), mkRayEnvironment::studio());
    const BareScene bare(*snapshot);
    const mkRayCamera camera = above(columns);
    const std::vector<mkRay> rays = eyeRays(camera);
    mkRayScene scene;
    scene.apply(snapshot);
    const mkRayIntegrator integrator(scene, 0);
    const std::atomic<bool> cancelled{ false };
    int met = 0;
    const Comparison result = compare(
        9,
        [&] {
            mkRayFilm film(frame);
            return secondsOf([&] { film.addPass(integrator, camera, 0, cancelled); });
        },
        [&] { return secondsOf([&] { met = bare.trace(rays); }); });
    report.line(QStringLiteral("rays/camera_frame"), result.ratio, QStringLiteral("x_bare"), 1.5,
                QStringLiteral("%1; %2 million bare rays a second, %3 % meet something")
                    .arg(result.spread)
                    .arg(double(rays.size()) / result.floor / 1e6, 0, 'f', 1)
                    .arg(100 * std::size_t(met) / rays.size()));
}

void activation(Report &report)
{
    constexpr int columns = 100;
    const osg::NodePtr root = field(columns, 8);
    const osg::MaterialPtr look = osg::Material::create();
    osg::RenderAttributeValues values;
    values.useOverrideMaterial = true;
    values.overrideMaterial = look;
    values.castShadows = false;
    const auto environment = mkRayEnvironment::studio();
    mkRaySceneReader reader([] {});
    mkRayScene scene;
    scene.apply(reader.read(root, environment));
    const int builds = scene.builds();
    const BareScene bare(scene.snapshot());

    std::vector<double> toPicture;
    bool activate = false;
    const auto subject = [&] {
        activate = !activate;
        for (const osg::NodePtr &place : root->getChildren()) {
            mkNodeUtils::getOrMakeRenderAttributes(place->getChildren().front())
                ->setValues(activate ? values : osg::RenderAttributeValues());
        }
        const double seconds = secondsOf([&] { scene.apply(reader.read(root, environment)); });
        mkRayFilm film(frame / 4);
        const std::atomic<bool> cancelled{ false };
        toPicture.push_back(
            secondsOf([&] { film.addPass(mkRayIntegrator(scene), above(columns), 0, cancelled); }));
        return seconds;
    };
    const Comparison result = compare(15, subject, [&] {
        const std::uint32_t mask = activate ? mkRayKind::Camera : mkRayKind::All;
        return secondsOf([&] { bare.setMask(mask); });
    });
    report.line(QStringLiteral("rays/activation_10000"), result.ratio, QStringLiteral("x_bare"), 2,
                QStringLiteral(
                    "%1; %2 ms; the first rough picture takes %3 ms more on one processor")
                    .arg(result.spread)
                    .arg(result.subject * 1000, 0, 'f', 1)
                    .arg(median(toPicture) * 1000, 0, 'f', 1));
    report.line(QStringLiteral("rays/activation_10000/builds"), scene.builds() - builds,
                QStringLiteral("builds"), 0);
}

} // namespace

int main()
{
    Report report;
    // One thread, so that its processor time is all there is.
    tbb::task_arena arena(1);
    arena.execute([&] {
        cameraFrame(report);
        activation(report);
    });
    return report.overCount() == 0 ? 0 : 1;
}
