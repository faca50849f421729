#pragma once

#include "OSGSystem/Material.h"

#include <QColor>
#include <QIcon>

/// A material's base colour in lists: over a light and a dark half, so that transparency shows.
QIcon swatch(const osg::MaterialPtr &material);
/// The base colour without its transparency.
QColor opaqueColor(const osg::MaterialPtr &material);
