#pragma once

#include <Qt>

class QAbstractItemView;

/// Drags the selected rows of a view. Their names stand beside the pointer, so that the place below
/// it can be seen; Qt's own picture of the rows would cover it.
void startNamedDrag(QAbstractItemView *view, Qt::DropActions actions);
