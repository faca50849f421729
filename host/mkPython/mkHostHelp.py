# What help(mkHost) begins with, and the page on scripting is made of. Carried out in the module's own
# namespace.

_SECTIONS = (
    ("Nodes",
     """A node knows its name, path, kind, material, parent and children. Iterating over a node gives its
children; walk() gives everything below it, parents first.

    for node in mkHost.getRoot().walk():
        print(node.path, node.kind)
    glass = mkHost.findNodes(kind="Geometry", material="*glass*")
    mkHost.selectNodes(glass)""",
     "Node getRoot findNode findNodeByPath findNodes getSelectedNodes selectNodes"),
    ("Layers",
     """The layers that the panel shows; what is done to them here, it shows at once.

    name = mkHost.createLayer("Glass")
    mkHost.addLayerNodes(name, mkHost.findNodes(name="*glass*", kind="Geometry"))
    mkHost.moveLayer(name, 0)""",
     "getLayerNames createLayer renameLayer duplicateLayer moveLayer removeLayer cleanupLayers isLayerExpanded "
     "setLayerExpanded getLayerNodes addLayerNodes removeLayerNodes moveLayerNode activateLayer"),
    ("Attributes",
     """What a layer keeps for each of its members, and what a node has now.

    mkHost.setLayerAttributes("Glass", castShadows=False)
    mkHost.setLayerAttributes("Glass", mkHost.findNode("bulb"), overrideMaterial="clay", useOverrideMaterial=True)
    mkHost.activateLayer("Glass")""",
     "getNodeAttributes getLayerAttributes setLayerAttributes"),
    ("States",
     """Render attributes of the drawables of the scene, stored under names.

    mkHost.storeRenderLayerState("draft")
    resetRenderLayers()
    activateRenderLayerState("draft")""",
     "getRenderLayerStates storeRenderLayerState removeRenderLayerState"),
    ("Materials",
     """How surfaces look. Every change shows at once.

    clay = mkHost.findMaterial("clay") or mkHost.createMaterial("clay")
    clay.color = 0.6, 0.5, 0.4
    clay.roughness = 1""",
     "Material getMaterials findMaterial createMaterial getMaterialNames getMaterialColor"),
    ("Scene files",
     """    mkHost.openScene("house.gltf")
    mkHost.mergeScene("garden.mkscene")
    if mkHost.isModified():
        mkHost.saveScene("house.mkscene")
    print(mkHost.getSceneFile())""",
     "openScene mergeScene saveScene isModified getSceneFile"),
    ("Log",
     """    mkHost.logWarning("the layer is empty")""",
     "logInfo logWarning logError"),
)

__doc__ = """The host as scripts see it: the scene, its render layers, states, materials and files.

Layers are named by their names, nodes and materials are objects. Where a list of nodes is taken,
any iterable of nodes will do; where a file is taken, a text or a pathlib.Path.

What is looked for and not found is None. What is to be worked on and is not there raises
LookupError with its name, a node that has left the scene ReferenceError, a wrong value ValueError.
A call that raises has changed nothing. Everything here is for the main thread.

The functions of mkRenderLayerModule are global names in scripts: createRenderLayer(),
addNodesToRenderLayer(), activateRenderLayer(), resetRenderLayers(), setNodeVisibilityFlags(),
resetNodeVisibilityFlags(), activateRenderLayerState().

Script files run as with the python program, each in a namespace of its own. Threads that scripts
start go on only while a statement or a script runs in the window, and end with the program; a run
without a window waits for them.
""" + "".join(f"\n{title}\n{'-' * len(title)}\n{text}\n\nSee {', '.join(names.split())}.\n" for title, text, names in _SECTIONS)
