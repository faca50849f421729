#include "mkKernelServices/mkdMaterial.h"

QString mkdMaterial::getClassName() const
{
    return QStringLiteral("mkdMaterial");
}

void mkdMaterial::read(QDataStream &stream)
{
    QString readName;
    stream >> readName;
    if (stream.status() == QDataStream::Ok) {
        name = readName;
    }
}

void mkdMaterial::write(QDataStream &stream) const
{
    stream << name;
}
