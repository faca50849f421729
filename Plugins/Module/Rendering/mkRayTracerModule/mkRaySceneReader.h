#pragma once

#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"
#include "mkRaySnapshot.h"

#include <QString>

#include <functional>
#include <unordered_map>
#include <unordered_set>

/// Makes snapshots of scenes, on the GUI thread. What it read of geometries and textures it keeps
/// until they change or a snapshot does without them, so that snapshots share it.
class mkRaySceneReader : private osg::ChangeObserver
{
public:
    /// Render attributes by the ids of nodes; a node that is not among them has the defaults.
    using Attributes = std::unordered_map<std::uint32_t, osg::RenderAttributeValues>;

    /// A scene camera, by the name of its node.
    struct View
    {
        QString name;
        std::uint32_t node;
        mkRayCamera camera;
    };

    /// `notify` is called at every change of the scene graph.
    explicit mkRaySceneReader(std::function<void()> notify);
    ~mkRaySceneReader() override;

    /// What is below `root`, by the render attributes that nodes carry, or by `attributes`.
    /// Drawables that cannot be shown are left out, with a line in the log. Without `attributes`
    /// the result is the same object as before when nothing has changed. mkRayInstance::node is a
    /// node's id.
    std::shared_ptr<const mkRaySnapshot> read(
        const osg::NodePtr &root, const std::shared_ptr<const mkRayEnvironment> &environment,
        const Attributes *attributes = nullptr);

    /// The same for large scenes, some of it at a time: begin(), then advance() by so many
    /// milliseconds each until it gives a snapshot. A change of the scene graph ends it.
    void begin(const osg::NodePtr &root,
               const std::shared_ptr<const mkRayEnvironment> &environment);
    bool isReading() const { return reading != nullptr; }
    void stop();
    std::shared_ptr<const mkRaySnapshot> advance(qint64 milliseconds);
    /// Lets go of all that it keeps.
    void clear();

    /// The scene cameras below `root`, in order.
    static std::vector<View> views(const osg::NodePtr &root);

private:
    struct Reading;

    void containerChanged(const osg::FieldContainerPtr &container, const osg::BitVector &which,
                          osg::ChangeOrigin origin) override;
    std::unique_ptr<Reading> start(const osg::NodePtr &root,
                                   const std::shared_ptr<const mkRayEnvironment> &environment,
                                   const Attributes *attributes);
    std::shared_ptr<const mkRaySnapshot> finish(Reading &done);
    void add(Reading &current, const osg::NodePtr &node, const Imath::M44f &toWorld);
    void addDrawable(Reading &current, const osg::NodePtr &node,
                     const osg::RenderAttributeValues &values, const Imath::M44f &toWorld);
    std::uint32_t materialIndex(Reading &current, const osg::MaterialPtr &material);
    std::shared_ptr<const mkRayMesh> mesh(const osg::Ptr<osg::Geometry> &geometry);
    std::shared_ptr<const mkRayTexture> texture(const osg::TexturePtr &source);

    /// The handle keeps the id from being given to another container.
    template <typename Part>
    struct Kept
    {
        osg::FieldContainerPtr source;
        std::shared_ptr<const Part> part;
        bool used = true;
    };

    std::unordered_map<std::uint32_t, Kept<mkRayMesh>> meshes;
    std::unordered_map<std::uint32_t, Kept<mkRayTexture>> textures;
    std::unordered_set<std::uint32_t> reported;
    std::shared_ptr<const mkRaySnapshot> last;
    /// The one that goes on.
    std::unique_ptr<Reading> reading;
    std::function<void()> announce;
};
