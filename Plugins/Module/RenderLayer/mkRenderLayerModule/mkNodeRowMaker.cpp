#include "mkNodeRowMaker.h"

#include "mkHostAccess.h"
#include "mkRenderAttributes.h"

namespace {

/// Where so many rows differ, to remember more of them costs more than it saves.
constexpr int mostKinds = 1000;

/// All that the cells show: the flags, and the id of the material.
quint64 shownBy(const osg::RaytracingGeoAttachmentPtr &attributes)
{
    quint64 shown = mkIdOf(attributes->getOverrideMaterial());
    for (const mkRenderAttribute &attribute : mkRenderAttributes) {
        shown = shown << 1 | quint64(attribute.isOn(attributes));
    }
    return shown;
}

} // namespace

std::unique_ptr<mkNodeItem> mkNodeRowMaker::create(
    const osg::NodePtr &node, const osg::RaytracingGeoAttachmentPtr &attributes)
{
    if (node == osg::NullFC || attributes == osg::NullFC) {
        auto row = std::make_unique<mkNodeItem>(node);
        row->setItemType(mkNodeItem::NodeRow);
        return row;
    }
    const quint64 shown = shownBy(attributes);
    const mkNodeItem *const alike = last && shown == shownByLast ? last : filled.value(shown);
    if (alike) {
        return std::make_unique<mkNodeItem>(node, *alike);
    }
    auto row = last ? std::make_unique<mkNodeItem>(node, *last)
                    : std::make_unique<mkNodeItem>(node);
    row->setItemType(mkNodeItem::NodeRow);
    row->updateAttributes(attributes, cells);
    last = row.get();
    shownByLast = shown;
    if (filled.size() < mostKinds) {
        filled.insert(shown, last);
    }
    return row;
}
