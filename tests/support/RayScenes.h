#pragma once

#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"
#include "mkRayFilm.h"

#include <cmath>

/// Small scenes for the ray tracer.
namespace RayScenes {

/// Of radius 1 around the origin, its front outside.
inline osg::Ptr<osg::Geometry> ball()
{
    constexpr std::uint32_t rings = 16;
    const auto geometry = osg::Geometry::create();
    for (std::uint32_t ring = 0; ring <= rings; ++ring) {
        for (std::uint32_t step = 0; step <= 2 * rings; ++step) {
            const double down = M_PI * ring / rings;
            const double round = M_PI * step / rings;
            geometry->positions.push_back({ float(std::sin(down) * std::cos(round)),
                                            float(std::cos(down)),
                                            float(-std::sin(down) * std::sin(round)) });
            const std::uint32_t first = ring * (2 * rings + 1) + step;
            const std::uint32_t below = first + 2 * rings + 1;
            if (ring < rings && step < 2 * rings) {
                geometry->indices.insert(geometry->indices.end(),
                                         { first, below, below + 1, first, below + 1, first + 1 });
            }
        }
    }
    geometry->normals = geometry->positions;
    return geometry;
}

/// In the XY plane, two units wide, facing +Z.
inline osg::Ptr<osg::Geometry> square()
{
    const auto geometry = osg::Geometry::create();
    geometry->positions = { { -1, -1, 0 }, { 1, -1, 0 }, { 1, 1, 0 }, { -1, 1, 0 } };
    geometry->indices = { 0, 1, 2, 0, 2, 3 };
    return geometry;
}

inline osg::MaterialPtr material(float grey, float emission = 0)
{
    const osg::MaterialPtr made = osg::Material::create();
    made->setColor({ grey, grey, grey, 1 });
    made->setEmission({ emission, emission, emission });
    return made;
}

inline osg::NodePtr addChild(const osg::NodePtr &parent, const char *name,
                             const osg::NodeCorePtr &core)
{
    const osg::NodePtr node = osg::Node::create();
    node->setName(name);
    node->setCore(core);
    parent->addChild(node);
    return node;
}

/// Below a transformation that moves it and makes it larger.
inline osg::NodePtr place(const osg::NodePtr &root, const char *name, const osg::NodeCorePtr &core,
                          const osg::MaterialPtr &look, float x, float y, float z, float size = 1)
{
    const auto transform = osg::Transform::create();
    transform->setMatrix({ size, 0, 0, x, 0, size, 0, y, 0, 0, size, z, 0, 0, 0, 1 });
    if (const osg::Ptr<osg::DrawableBase> drawable{ core }) {
        drawable->setMaterial(look);
    }
    return addChild(addChild(root, "place", transform), name, core);
}

inline Imath::C4f average(const mkRayFilm &film)
{
    Imath::C4f sum(0, 0, 0, 0);
    for (int y = 0; y < film.size().height(); ++y) {
        for (int x = 0; x < film.size().width(); ++x) {
            sum += film.pixel(x, y);
        }
    }
    return sum / float(film.size().width() * film.size().height());
}

/// From `distance` on +Z at the origin.
inline mkRayCamera eye(float distance = 5, float tangent = 0.1F)
{
    mkRayCamera camera;
    camera.position = { 0, 0, distance };
    camera.tangent = tangent;
    return camera;
}

inline mkRayFilm rendered(const std::shared_ptr<const mkRaySnapshot> &snapshot,
                          const mkRayCamera &camera, int passes, QSize size = { 8, 8 })
{
    mkRayScene scene;
    scene.apply(snapshot);
    mkRayFilm film(size);
    const std::atomic<bool> cancelled{ false };
    for (int pass = 0; pass < passes; ++pass) {
        film.addPass(mkRayIntegrator(scene), camera, 1, cancelled);
    }
    return film;
}

} // namespace RayScenes
