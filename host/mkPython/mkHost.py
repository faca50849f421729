# The functions of mkHost as scripts see them, over those that the host binds under names with an
# underscore. Carried out in the module's own namespace.

import difflib as _difflib
import fnmatch as _fnmatch
import operator as _operator
import os as _os
import re as _re


def getRoot():
    """Returns the root of the scene, or None without a scene."""
    return _getRoot()


def findNode(name):
    """Returns the first node of this name, parents before children, or None.

    The name is taken as it is, not as a pattern; upper and lower case differ.
    """
    return _findNode(name)


def findNodeByPath(path):
    """Returns the first node at this path, as "/studio/car/body", or None.

    Names need not be unique, so a path may lead to several nodes: findNodes(path=path) returns all.
    """
    return _findNodeByPath(path)


def _fitting(pattern):
    match = _re.compile(_fnmatch.translate(pattern)).match
    return lambda text: text == pattern or match(text)


def findNodes(name=None, path=None, kind=None, material=None, below=None):
    """Returns a list of the nodes for which everything that is given holds, parents before children.

    name: a pattern for the name, as in "wheel_*"; * stands for any characters, ? for one, [ab] for
        one of these, [!ab] for any other. A text also stands for itself, whatever is in it.
    path: a pattern for the path; * also stands for slashes: "/house/*/door".
    kind: a pattern for the kind: "Geometry", "Group", "Transform", "Light", "Camera".
    material: a pattern for the name of the node's own material, or a Material.
    below: a node; only what is below it is looked at, else the whole scene.

    Upper and lower case differ.
    """
    if below is None:
        below = getRoot()
        nodes = [] if below is None else [below, *below.walk()]
    else:
        nodes = below.walk()
    if name is not None:
        fits = _fitting(name)
        nodes = [node for node in nodes if fits(node.name)]
    if kind is not None:
        fits = _fitting(kind)
        nodes = [node for node in nodes if fits(node.kind)]
    if material is not None:
        fits = _fitting(_materialName(material))
        nodes = [node for node in nodes if node.material is not None and fits(node.material.name)]
    if path is not None:
        fits = _fitting(path)
        nodes = [node for node in nodes if fits(node.path)]
    return list(nodes)


def getSelectedNodes():
    """Returns a list of the selected nodes, in the order of their selection."""
    return _getSelectedNodes()


def selectNodes(nodes):
    """Makes these nodes the selection; the change can be undone in the window.

    nodes: any iterable of nodes; None in between is passed over, an empty one selects nothing.
    """
    _selectNodes(nodes)


# Layers


def _nodeList(nodes):
    """A node, or any iterable of nodes, as a list."""
    if isinstance(nodes, Node):
        return [nodes]
    nodes = list(nodes)
    for place, node in enumerate(nodes):
        if not isinstance(node, Node):
            raise TypeError(f"element {place} is {node!r}, where a Node is wanted")
    return nodes


def getLayerNames():
    """Returns a list of the names of the render layers, in order."""
    return _getLayerNames()


def createLayer(name="Layer"):
    """Makes an empty render layer behind the others and returns its name.

    A name that is taken gets a number behind it: Layer, Layer1, Layer2.
    """
    return _createLayer(name)


def renameLayer(layerName, newName):
    """Renames a layer. A name that is empty or another layer's raises ValueError."""
    _renameLayer(layerName, newName)


def duplicateLayer(layerName, newName=None):
    """Makes a copy of a layer, members and attributes included, behind the others; returns its name.

    newName: the copy's name, else that of the layer; one that is taken gets a number behind it.
    """
    return _duplicateLayer(layerName, layerName if newName is None else newName)


def moveLayer(layerName, place):
    """Moves a layer to a place among the layers, counted from 0; from the end if negative.

    A place that there is not raises IndexError.
    """
    _moveLayer(layerName, _operator.index(place))


def removeLayer(layerName):
    """Removes a layer."""
    _removeLayer(layerName)


def cleanupLayers():
    """Takes the nodes that have left the scene out of all layers; True if there were any."""
    return _cleanupLayers()


def isLayerExpanded(layerName):
    """Returns whether the panel shows the members of a layer."""
    return _isLayerExpanded(layerName)


def setLayerExpanded(layerName, expanded=True):
    """Makes the panel show the members of a layer, or not."""
    _setLayerExpanded(layerName, expanded)


def getLayerNodes(layerName):
    """Returns a list of the members of a layer, in order, with those that have left the scene."""
    return _getLayerNodes(layerName)


def addLayerNodes(layerName, nodes):
    """Adds nodes to a layer, with everything on, and returns how many were new to it.

    nodes: a node, or any iterable of nodes. The root of the scene raises ValueError.

    However many they are, the panel is brought up to date once.
    """
    return _addLayerNodes(layerName, _nodeList(nodes))


def removeLayerNodes(layerName, nodes=None):
    """Takes nodes out of a layer. One that is not in it raises LookupError.

    nodes: a node, or any iterable of nodes; without it the layer is emptied.
    """
    _removeLayerNodes(layerName, getLayerNodes(layerName) if nodes is None else _nodeList(nodes))


def moveLayerNode(layerName, node, place):
    """Moves a member of a layer to a place among the members, counted as in moveLayer()."""
    _moveLayerNode(layerName, node, _operator.index(place))


def activateLayer(layerName, nodes=None):
    """Gives members of a layer, and what is below them, the attributes that the layer keeps for them.

    nodes: a node, or any iterable of nodes; without it all members.

    resetRenderLayers() takes everything back.
    """
    _activateLayer(layerName, None if nodes is None else _nodeList(nodes))


# Attributes


def getNodeAttributes(node):
    """Returns the current render attributes of a node as a dict, or None when it carries none.

    The keys are the keywords of setNodeVisibilityFlags(); "overrideMaterial" is a material's name,
    "" for none. So setNodeVisibilityFlags(other, **getNodeAttributes(node)) copies them, but for an
    override material that is not used.
    """
    return _getNodeAttributes(node)


def getLayerAttributes(layerName, node):
    """Returns the render attributes that a layer keeps for a node, as getNodeAttributes() does.

    A node that is not in the layer raises LookupError.
    """
    return _getLayerAttributes(layerName, node)


def setLayerAttributes(layerName, nodes=None, **attributes):
    """Sets render attributes that a layer keeps for its members; others stay as they are.

    nodes: a node, or any iterable of nodes; without it all members.
    attributes: the keywords of setNodeVisibilityFlags() that are to change, each True or False:
        visible, visibleInAlpha, primaryVisibility, visibleInReflections, visibleInRefractions,
        castShadows, receiveShadows, doubleSided, visibleForPhotons, visibleForShadowMaterial,
        useOverrideMaterial; and overrideMaterial, a Material or its name. None or "" takes the
        material off, and switches useOverrideMaterial off unless that is given too.

    A node that is not in the layer, or a material that there is not, raises LookupError, and
    nothing is changed. The scene shows the attributes once the layer is activated.
    """
    changes = {}
    for keyword, value in attributes.items():
        if keyword == "overrideMaterial":
            changes[keyword] = "" if value is None else _materialName(value)
        elif keyword not in _attributeNames():
            near = _difflib.get_close_matches(keyword, [*_attributeNames(), "overrideMaterial"], 1)
            hint = f"; did you mean '{near[0]}'?" if near else ""
            raise TypeError(f"setLayerAttributes() has no attribute '{keyword}'{hint}")
        elif not isinstance(value, int):
            raise TypeError(f"the attribute '{keyword}' is True or False, not {value!r}")
        else:
            changes[keyword] = bool(value)
    if changes.get("overrideMaterial") == "":
        changes.setdefault("useOverrideMaterial", False)
    _setLayerAttributes(layerName, None if nodes is None else _nodeList(nodes), changes)


# States


def getRenderLayerStates(node=None):
    """Returns a sorted list of the names of the states stored in the scene, or from a node down."""
    return _getRenderLayerStates(node)


def storeRenderLayerState(name, node=None, layer=None):
    """Stores the current render attributes of drawables under a name; returns their number.

    name: the state's name; what was stored under it is replaced. "" raises ValueError.
    node: where to begin; without it the whole scene.
    layer: a layer to store in place of the current attributes: what its activation would set.

    activateRenderLayerState(name) brings them back; the groups above drawables keep what they carry.
    """
    if layer is not None and node is not None:
        raise ValueError("A layer has nodes of its own.")
    return _storeRenderLayerState(name, node) if layer is None else _storeLayerAsState(name, layer)


def removeRenderLayerState(name, node=None):
    """Forgets a state in the whole scene, or from a node down; returns the number of drawables.

    A state that there is not raises LookupError.
    """
    return _removeRenderLayerState(name, node)


# Materials


def _materialName(material):
    return material.name if isinstance(material, Material) else material


def getMaterials():
    """Returns a list of the document's materials, as Material objects."""
    return _getMaterials()


def findMaterial(name):
    """Returns the Material of this name, or None."""
    return _findMaterial(name)


def createMaterial(name="Material"):
    """Makes a white material and returns it; a name that is taken gets a number behind it."""
    return _createMaterial(name)


def getMaterialNames():
    """Returns a list of the names of the document's materials; each is unique."""
    return [material.name for material in _getMaterials()]


def getMaterialColor(name):
    """Returns the base colour of a material as (red, green, blue, alpha), or None if there is none."""
    material = _findMaterial(name)
    return None if material is None else material.color


# Scene files and the log


def openScene(file):
    """Opens a scene file in place of the open scene, without asking whether that has changes.

    A file that cannot be read raises RuntimeError with the reason, and the open scene stays.
    """
    _openScene(_os.fsdecode(file))


def mergeScene(file):
    """Reads a scene file into the open scene, below its root; the file's layers come behind its own.

    It raises RuntimeError as openScene does. A layer whose name is taken gets a number behind it.
    """
    _mergeScene(_os.fsdecode(file))


def saveScene(file=None):
    """Saves the scene with its layers and materials as a scene file, which becomes the scene's file.

    file: without it the file that the scene is in; one of another format raises ValueError.

    What cannot be written raises RuntimeError with the reason; the old file stays then.
    """
    target = _os.fsdecode(file) if file is not None else _getSceneFile()
    if not target.endswith(".mkscene"):
        raise ValueError(f"'{target}' is no name of a scene file: it does not end in .mkscene.")
    _saveScene(target)


def isModified():
    """Returns whether the scene, its materials or its layers are not as they are in its file."""
    return _isModified()


def getSceneFile():
    """Returns the path of the open scene's file, or "" when it is in no file."""
    return _getSceneFile()


def logInfo(text):
    """Writes a line to the host's log."""
    _logInfo(text)


def logWarning(text):
    """Writes a warning to the host's log."""
    _logWarning(text)


def logError(text):
    """Writes an error to the host's log."""
    _logError(text)
