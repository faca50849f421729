#pragma once

#include "mkKernel/mkScenegraph.h"

/// Told about an import from time to time, 0 to 100, in the thread that asked for it. False
/// cancels at the next point at which the file's format allows that.
using ImportProgress = mkSceneFile::Progress;

/// Reads a scene file. The file's only root node becomes the scene's root; several come below a
/// root of the scene's, or else the file's, name. A node becomes a node of the same name; what it
/// holds (meshes, a light, a camera) becomes its core where one core can say it all, else nodes
/// below it. Nothing of this touches the open scene.
///
/// Throws std::runtime_error with the reason when the file cannot be read or holds no scene, and
/// mkSceneFile::Cancelled.
mkScenegraph::Document importScene(const QString &file, const ImportProgress &progress = {});

/// File name patterns of the formats that can be read, for a file dialog: "*.gltf *.obj".
QString sceneFilePatterns();
