#pragma once

#include "mkSceneFile/mkSceneFile.h"

#include <QCborStreamWriter>

#include <cstddef>

/// Writes a scene file, some of it at a time. The scene must not change between two steps; who
/// cannot be sure compares osg::Revision and starts anew.
class MK_HOST_API mkSceneWriter
{
public:
    /// `device` is open for writing and outlives the writer. Its errors are for the caller.
    mkSceneWriter(const mkSceneFile::Content &content, QIODevice *device);

    /// Goes on for about so many milliseconds; true when all is written. Throws
    /// std::runtime_error when something is too large for a scene file.
    bool advance(qint64 milliseconds);
    /// How much is written, 0 to 100.
    int percent() const;

private:
    struct Pending
    {
        osg::FieldContainerPtr container;
        bool entered;
    };

    void number(const Pending &next);
    void writeHeader();
    void writeContainer(std::size_t index);

    QCborStreamWriter cbor;
    std::vector<Pending> pending;
    /// The containers in the file's order: each behind those that it holds.
    std::vector<osg::FieldContainerPtr> order;
    /// By id; 0 for those not met yet.
    std::vector<std::uint32_t> numbers;
    /// By type id, 1 more than the type's place in the file.
    std::vector<std::uint32_t> typeNumbers;
    std::vector<const osg::FieldContainerType *> types;
    std::vector<std::vector<const char *>> fieldNames;
    std::size_t written = 0;
    bool headerWritten = false;
};
