"""Builds four render layers on the sample scene, shows how nodes change, and says what each became.

    workbench --batch --script scenes/studio.py scenes/studio.gltf
"""

import mkHost

# What a compositor wants as passes of its own: name of the layer, paths of its members.
LAYERS = {
    "Paint": ["/studio/car/body", "/studio/car/mirrors"],
    "Glass": ["/studio/car/glass", "/studio/environment/glass_panel"],
    "Shadow catcher": ["/studio/environment/floor"],
    "Reflections": ["/studio/environment/mirror_wall", "/studio/environment/clay_probes"],
}


def find(path):
    """The node of this path; a scene without it is not the one that this script is for."""
    node = mkHost.findNodeByPath(path)
    if node is None:
        raise SystemExit(f"{path} is missing: open scenes/studio.gltf with this script")
    return node


members = {layer: [find(path) for path in paths] for layer, paths in LAYERS.items()}
for layer, nodes in members.items():
    if layer not in mkHost.getLayerNames():
        createRenderLayer(layer)
    addNodesToRenderLayer(nodes, layer)

# The scene's own attributes, as a draft has them: no paint to be seen, the car's glass only in its
# reflections and refractions, the probes of clay.
ON = [True] * 8
for node in members["Paint"]:
    setNodeVisibilityFlags(node, False, *ON[1:])
setNodeVisibilityFlags(find("/studio/car/glass"), True, True, False, True, True, False, True, True)
setNodeVisibilityFlags(find("/studio/environment/clay_probes"), *ON, True, True, True, "clay")

# Activating a layer gives its members the attributes that the layer keeps for them: the paint is
# back, the rest stays as it was.
activateRenderLayer("Paint")


def describe(node):
    """What the node became, in a few words."""
    attributes = mkHost.getNodeAttributes(node)
    if attributes is None:
        return "untouched"
    material = attributes.pop("overrideMaterial")
    overridden = attributes.pop("useOverrideMaterial")
    off = [name for name, value in attributes.items() if not value]
    return (f"without {', '.join(off)}" if off else "everything on") + (f", in {material}" if overridden else "")


for layer in mkHost.getLayerNames():
    print(layer)
    for node in mkHost.getLayerNodes(layer):
        print(f"  {node.name}: {describe(node)}")
