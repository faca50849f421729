"""Makes the layers that a compositor asks for from patterns, on any scene, and keeps them in a file.

    workbench --batch --script scenes/passes.py scenes/studio.gltf -- studio.mkscene

The file is read again at the end, to see that everything is in it.
"""

import argparse
import pathlib
import sys

import mkHost

# The name of each layer, which nodes it takes, and the attributes that differ from the defaults.
PASSES = [
    ("Beauty", dict(kind="Geometry"), {}),
    ("Glass", dict(kind="Geometry", material="*[Gg]las*"), dict(castShadows=False)),
    ("Shadows", dict(kind="Geometry"), dict(primaryVisibility=False, visibleInAlpha=False)),
    ("Clay", dict(kind="Geometry"), dict(useOverrideMaterial=True, overrideMaterial="clay")),
]

parser = argparse.ArgumentParser(description="Makes render layers and saves the scene with them.")
parser.add_argument("file", type=pathlib.Path, help="where to save")
parser.add_argument("--prefix", default="", help="what the names of the layers begin with")
options = parser.parse_args(sys.argv[1:])


def build(name, patterns, attributes):
    """A layer of the nodes that fit, or None where there are none."""
    nodes = mkHost.findNodes(**patterns)
    if not nodes:
        mkHost.logWarning(f"{name}: nothing fits {patterns}")
        return None
    material = attributes.get("overrideMaterial")
    if material is not None and mkHost.findMaterial(material) is None:
        mkHost.createMaterial(material).color = 0.6, 0.55, 0.5
    layer = mkHost.createLayer(options.prefix + name)
    mkHost.addLayerNodes(layer, nodes)
    mkHost.setLayerAttributes(layer, **attributes)
    return layer


def contents():
    """What can be compared: each layer's name, its members by path, and what it keeps for them."""
    return {layer: [(node.path, mkHost.getLayerAttributes(layer, node)) for node in mkHost.getLayerNodes(layer)]
            for layer in mkHost.getLayerNames()}


built = [layer for layer in (build(*entry) for entry in PASSES) if layer]
if not built:
    sys.exit("no layer fits this scene")
mkHost.storeRenderLayerState("untouched")
mkHost.setLayerExpanded(built[0])

before = contents()
mkHost.saveScene(options.file)
mkHost.openScene(options.file)
if contents() != before:
    sys.exit(f"{options.file} does not hold what was saved")
print(f"{options.file}: {', '.join(f'{layer} ({len(nodes)})' for layer, nodes in before.items())}")
