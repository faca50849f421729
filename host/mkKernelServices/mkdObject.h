#pragma once

#include "mkHostExport.h"

#include <QDataStream>
#include <QString>

/// A value that panels of the host hand to each other, for instance in a drag. Serialised as its
/// class name and what the class writes, both as QDataStream writes them.
class MK_HOST_API mkdObject
{
public:
    virtual ~mkdObject() = default;

    virtual QString getClassName() const = 0;

    /// Reads one object. If the bytes are damaged or hold an object of another class, the stream's
    /// status says so and `object` is left alone.
    friend MK_HOST_API QDataStream &operator>>(QDataStream &stream, mkdObject &object);
    friend MK_HOST_API QDataStream &operator<<(QDataStream &stream, const mkdObject &object);

protected:
    mkdObject() = default;
    mkdObject(const mkdObject &) = default;
    mkdObject &operator=(const mkdObject &) = default;

private:
    virtual void read(QDataStream &stream) = 0;
    virtual void write(QDataStream &stream) const = 0;
};
