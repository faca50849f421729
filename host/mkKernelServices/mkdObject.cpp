#include "mkKernelServices/mkdObject.h"

#include "mkUtils/mkTrace.h"

QDataStream &operator>>(QDataStream &stream, mkdObject &object)
{
    mkTrace::call("operator>>(mkdObject)");
    QString className;
    stream >> className;
    if (stream.status() == QDataStream::Ok && className != object.getClassName()) {
        stream.setStatus(QDataStream::ReadCorruptData);
    }
    if (stream.status() == QDataStream::Ok) {
        object.read(stream);
    }
    return stream;
}

QDataStream &operator<<(QDataStream &stream, const mkdObject &object)
{
    stream << object.getClassName();
    object.write(stream);
    return stream;
}
