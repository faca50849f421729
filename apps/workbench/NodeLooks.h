#pragma once

#include "OSGSystem/Node.h"

#include <QColor>
#include <QIcon>
#include <QString>

/// How nodes look in lists.
namespace NodeLooks {

/// True when its render attributes make the node invisible.
bool isHidden(const osg::NodePtr &node);
/// The host's icon with a mark where the render attributes are not the defaults, and with a badge
/// in the colour of the override material where one is in use.
QIcon icon(const osg::NodePtr &node);
/// The path, and what is not as by default.
QString toolTip(const osg::NodePtr &node);
/// For texts that step back, readable on the palette's base.
QColor fadedText();

} // namespace NodeLooks
