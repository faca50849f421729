#pragma once

#include "mkNodeItem.h"

#include <QHash>

#include <memory>

/// Makes the node rows of one rebuild. Each begins as a copy of one that shows the same attributes,
/// or else of the one before, and is written only where it differs. Copies share their cells, which
/// saves most of a row's time and half of its memory.
class mkNodeRowMaker
{
public:
    /// A row filled from `attributes`; either may be null. The row must outlive this.
    std::unique_ptr<mkNodeItem> create(const osg::NodePtr &node,
                                       const osg::RaytracingGeoAttachmentPtr &attributes);

private:
    mkAttributeCells cells;
    QHash<quint64, const mkNodeItem *> filled;
    const mkNodeItem *last = nullptr;
    quint64 shownByLast = 0;
};
