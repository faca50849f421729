#include "OSGSystem/NFIOBase.h"

#include "mkUtils/mkTrace.h"

namespace osg {

namespace {

NFIOBase::FieldContainerMap &lastRead()
{
    static NFIOBase::FieldContainerMap map;
    return map;
}

} // namespace

const NFIOBase::FieldContainerMap &NFIOBase::getFieldContainerMap()
{
    mkTrace::call("NFIOBase::getFieldContainerMap");
    return lastRead();
}

void NFIOBase::setFieldContainerMap(FieldContainerMap map)
{
    lastRead() = std::move(map);
}

} // namespace osg
