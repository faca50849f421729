#pragma once

#include "OSGSystem/Material.h"

#include <string>

/// A material as scripts hold it: the Python type `mkHost.Material`. What is set is announced at
/// once.
class mkPythonMaterial
{
public:
    explicit mkPythonMaterial(const osg::MaterialPtr &wrapped)
        : material(wrapped)
    {}

    /// Registers the type and the functions for materials in the current Boost.Python scope.
    static void define();

    const osg::MaterialPtr &get() const { return material; }
    std::string getName() const { return material->getName(); }
    /// Renames the material, and tells those who show its name. Raises ValueError when the name is
    /// empty or another material's.
    void setName(const std::string &name);

private:
    osg::MaterialPtr material;
};
