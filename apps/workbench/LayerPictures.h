#pragma once

#include <QSize>
#include <QString>

/// Renders a picture of each render layer of the open scene into a directory, by the Python module
/// of the plug-in that can, since the workbench knows none. False, with the reason on standard
/// error, when it fails or that plug-in is missing.
bool renderLayerPictures(const QString &directory, QSize size, int samples);
