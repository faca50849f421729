#pragma once

#include "mkKernel/mkScenegraph.h"

#include <functional>

/// Told about an import from time to time, 0 to 100.
using ImportProgress = std::function<void(int percent)>;

/// Reads a scene file of another format, in this process: a file that is made for it can bring the
/// import library, and with it the program, down (readForeignScene() keeps that away). The file's
/// only root node becomes the scene's root; several come below a root of the scene's, or else the
/// file's, name. A node becomes a node of the same name; what it holds (meshes, a light, a camera)
/// becomes its core where one core can say it all, else nodes below it. What cannot be used is left
/// out, with a line in the log. Nothing of this touches the open scene.
///
/// Throws std::runtime_error with the reason when the file cannot be read or holds no scene.
mkScenegraph::Document importScene(const QString &file, const ImportProgress &progress = {});

/// File name patterns of the formats that can be read, for a file dialog: "*.gltf *.obj".
QString sceneFilePatterns();
