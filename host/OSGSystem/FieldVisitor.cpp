#include "OSGSystem/FieldVisitor.h"

#include <QtEndian>

#include <limits>

namespace osg {

/// The numbers in a file's order. Where that is the machine's, they are not copied.
QByteArray FieldVisitor::packed(const void *numbers, std::size_t size)
{
    if (size > std::size_t(std::numeric_limits<int>::max())) {
        refuse();
    }
    const auto *const bytes = static_cast<const char *>(numbers);
    if (Q_BYTE_ORDER == Q_LITTLE_ENDIAN) {
        return QByteArray::fromRawData(bytes, int(size));
    }
    QByteArray swapped(int(size), Qt::Uninitialized);
    qToLittleEndian<quint32>(bytes, qsizetype(size / 4), swapped.data());
    return swapped;
}

void FieldVisitor::unpack(const QByteArray &bytes, void *numbers, std::size_t size)
{
    if (std::size_t(bytes.size()) != size) {
        refuse();
    }
    if (size > 0) {
        qFromLittleEndian<quint32>(bytes.constData(), qsizetype(size / 4), numbers);
    }
}

} // namespace osg
