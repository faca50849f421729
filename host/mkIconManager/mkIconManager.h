#pragma once

#include "mkHostExport.h"

#include <QIcon>
#include <QPixmap>

#include <string>

/// The host's icons by name, drawn from SVG for the screen's scale. Names are paths below the
/// icon directory, with or without the suffix ".svg". An unknown name gives a fallback icon.
namespace mkIconManager {

/// The icon at the size of list rows (16 px, times the scale).
MK_HOST_API const QPixmap get(const char *name);
/// The icon at all sizes. `overlay`, where not empty, names an icon drawn into the lower right
/// quarter.
MK_HOST_API QIcon getIcon(const std::string &name, const std::string &overlay);
/// A faded copy, for things that are there but not visible.
MK_HOST_API QPixmap dimmed(const QPixmap &pixmap);
/// A copy with another icon over its lower right part.
MK_HOST_API QPixmap overlaid(const QPixmap &pixmap, const char *name);

} // namespace mkIconManager
