#pragma once

#include "mkKernelServices/mkdObject.h"

/// A material by name. A default-constructed one describes no material.
class MK_HOST_API mkdMaterial : public mkdObject
{
public:
    mkdMaterial() = default;
    explicit mkdMaterial(const QString &materialName)
        : name(materialName)
    {}

    QString getClassName() const override;
    QString getName() const { return name; }

private:
    void read(QDataStream &stream) override;
    void write(QDataStream &stream) const override;

    QString name;
};
