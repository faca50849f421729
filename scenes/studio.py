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
    createRenderLayer(layer)
    addNodesToRenderLayer(nodes, layer)

# The scene's own attributes: the car's glass is traced but not seen directly, the probes are clay.
setNodeVisibilityFlags(find("/studio/car/glass"), True, True, False, True, True, False, True, True)
setNodeVisibilityFlags(find("/studio/environment/clay_probes"), True, True, True, True, True, True, True, True,
                       True, True, True, "clay")
mkHost.storeRenderLayerState("beauty")

# Activating a layer gives its members the attributes that the layer keeps for them.
activateRenderLayer("Paint")

for layer in mkHost.getLayerNames():
    print(layer)
    for node in mkHost.getLayerNodes(layer):
        attributes = mkHost.getNodeAttributes(node)
        if attributes is None:
            print(f"  {node.name}: never activated")
            continue
        off = [name for name, value in attributes.items() if value is False]
        material = attributes["overrideMaterial"] or "none"
        print(f"  {node.name}: off: {', '.join(off) or 'nothing'}; override material: {material}")
