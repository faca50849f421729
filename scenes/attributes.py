"""Renders a picture of what each render attribute does when it is switched.

    workbench --batch --script scenes/attributes.py scenes/attributes.gltf -- DIRECTORY [SAMPLES]
"""

import os
import sys

import mkHost
import mkRayTracerModule

# The parameters of setNodeVisibilityFlags, in order, and whether they are on by default.
ATTRIBUTES = [
    ("visible", True),
    ("visibleInAlpha", True),
    ("primaryVisibility", True),
    ("visibleInReflections", True),
    ("visibleInRefractions", True),
    ("castShadows", True),
    ("receiveShadows", True),
    ("doubleSided", True),
    ("visibleForPhotons", True),
    ("visibleForShadowMaterial", True),
    ("useOverrideMaterial", False),
]
# Where an attribute is not seen best on the subject.
NODES = {"receiveShadows": "floor"}

directory = sys.argv[1] if len(sys.argv) > 1 else "attributes"
samples = int(sys.argv[2]) if len(sys.argv) > 2 else 256


def find(name):
    """The node of this name; a scene without it is not the one that this script is for."""
    node = mkHost.findNode(name)
    if node is None:
        raise SystemExit(f"{name} is missing: open scenes/attributes.gltf with this script")
    return node


def render(name):
    file = os.path.join(directory, f"{name}.png")
    print(mkRayTracerModule.renderPicture(file, 200, 150, samples, "camera"))


os.makedirs(directory, exist_ok=True)
floor = mkHost.findMaterial("floor_white")
resetRenderLayers()
render("all")
for attribute, _ in ATTRIBUTES:
    # What this one is about is only seen on a shadow material.
    floor.shadowMaterial = attribute == "visibleForShadowMaterial"
    if floor.shadowMaterial:
        render("shadowMaterial")
    node = find(NODES.get(attribute, "subject"))
    values = [on != (name == attribute) for name, on in ATTRIBUTES]
    setNodeVisibilityFlags(node, *values, "mirror")
    render(attribute)
    resetNodeVisibilityFlags(node)
floor.shadowMaterial = False
