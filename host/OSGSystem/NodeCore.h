#pragma once

#include "OSGSystem/Attachment.h"

#include <array>

namespace osg {

/// What a node is: the thing that it adds to the scene. A node has one core.
class MK_HOST_API NodeCore : public AttachmentContainer
{
public:
    static const FieldContainerType _type;
};
using NodeCorePtr = Ptr<NodeCore>;

/// A core without content of its own.
class MK_HOST_API Group : public NodeCore
{
public:
    static const FieldContainerType _type;
    static Ptr<Group> create();
    const FieldContainerType &getType() const override { return _type; }
};

/// A core that places what is below it.
class MK_HOST_API Transform : public NodeCore
{
public:
    /// Row-major, for column vectors: element 4 * row + column, the translation in the last column
    /// (elements 3, 7 and 11).
    using Matrix = std::array<float, 16>;

    static const FieldContainerType _type;
    static const BitVector MatrixFieldMask;
    static Ptr<Transform> create();
    const FieldContainerType &getType() const override { return _type; }

    /// From the coordinates below the node into those of its parent.
    const Matrix &getMatrix() const { return matrix; }
    /// Announces the change.
    void setMatrix(const Matrix &newMatrix) { assign(matrix, newMatrix, MatrixFieldMask); }
    void visitFields(FieldVisitor &visitor) override;

private:
    Matrix matrix{ 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 };
};

} // namespace osg
