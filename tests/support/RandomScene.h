#pragma once

#include "HostFixture.h"
#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"

#include <random>

/// Makes a scene with layers out of random choices.
class RandomScene
{
public:
    RandomScene(unsigned seed, int nodeCount)
        : random(seed)
    {
        mkScenegraph::Document document;
        nodes.push_back(document.root = osg::Node::create());
        materials = { material(), material(), material() };
        document.materials = materials;
        materials.emplace_back();
        while (int(nodes.size()) <= nodeCount) {
            nodes.push_back(osg::Node::create());
            nodes.back()->setName(name());
            nodes.back()->setCore(core());
            nodes[upTo(nodes.size() - 1)]->addChild(nodes.back());
        }
        mkScenegraph::setScene(document);
        for (unsigned i = upTo(4); i > 0; --i) {
            addLayer();
        }
        changeNodes();
    }

private:
    unsigned upTo(std::size_t count) { return unsigned(random() % count); }
    bool coin() { return upTo(2) != 0; }
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
        made->setShadowMaterial(coin());
        if (coin()) {
            const osg::TexturePtr texture = osg::Texture::create();
            texture->setData(QByteArray(int(upTo(100)), char(upTo(256))));
            texture->setWrap(osg::Texture::Wrap::Clamp, osg::Texture::Wrap(upTo(3)));
            made->setBaseColorTexture(texture);
        }
        return made;
    }

    osg::NodeCorePtr core()
    {
        const auto transform = osg::Transform::create();
        transform->setMatrix({ number(), 1, 2, 3, number() });
        const auto light = osg::Light::create();
        light->setKind(osg::Light::Kind(upTo(3)));
        light->setConeAngles(number() / 2, 0.6F);
        const auto camera = osg::Camera::create();
        camera->setFieldOfView(number());
        if (!shared || coin()) {
            shared = osg::Geometry::create();
            shared->setMaterial(one(materials));
            shared->positions.assign(1 + upTo(4), { number(), number(), -number() });
            shared->normals = shared->positions;
            shared->texCoords.resize(shared->positions.size());
            shared->indices.assign(3, upTo(shared->positions.size()));
        }
        return one<osg::NodeCorePtr>(
            { {}, transform, light, camera, osg::Geometry::create(), shared, shared });
    }

    osg::RaytracingGeoAttachmentPtr attributes()
    {
        osg::RenderAttributeValues values;
        values.visible = coin();
        values.visibleInPhotons = coin();
        values.useOverrideMaterial = coin();
        values.overrideMaterial = one(materials);
        const auto made = osg::RaytracingGeoAttachment::make();
        made->setValues(values);
        return made;
    }

    void addLayer()
    {
        const osg::RenderLayersPtr layers = HostFixture::store()->getAttachment();
        if (upTo(5) == 0) {
            layers->addEntry(coin() ? osg::FieldContainerPtr() : osg::Group::create());
        }
        const osg::RenderLayerPtr layer = osg::RenderLayer::create(
            name() + std::to_string(layers->getLayers().size()));
        layer->setState(upTo(2));
        layers->addEntry(layer);
        layerIds.push_back(layer->getId());
        for (unsigned i = upTo(6); i > 0 && nodes.size() > 1; --i) {
            layer->addNode(nodes[1 + upTo(nodes.size() - 1)],
                           one<osg::FieldContainerPtr>(
                               { attributes(), attributes(), osg::NullFC, osg::Group::create() }));
        }
    }

    /// Attributes and states, also of nodes that then leave the scene.
    void changeNodes()
    {
        for (const osg::NodePtr &node : nodes) {
            if (upTo(3) == 0) {
                const bool own = upTo(4) != 0;
                const auto made = attributes();
                if (own) {
                    made->storeState(name(), layerIds.empty() ? 0 : one(layerIds),
                                     attributes()->getValues());
                }
                node->addAttachment(made, own ? 0 : 1);
            }
            if (upTo(6) == 0 && node->getParent()) {
                node->getParent()->subChild(node);
            }
        }
    }

    std::mt19937 random;
    std::vector<osg::NodePtr> nodes;
    std::vector<osg::MaterialPtr> materials;
    std::vector<std::uint32_t> layerIds;
    osg::Ptr<osg::Geometry> shared;
};
