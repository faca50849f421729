#pragma once

#include "OSGSystem/Material.h"
#include "OSGSystem/NFIOBase.h"
#include "OSGSystem/Node.h"

#include <functional>
#include <stdexcept>

/// The host's own scene files, suffix ".mkscene". FORMAT.md beside this header describes them.
namespace mkSceneFile {

/// What a file holds: everything that the root reaches, the store of render layers with it, and
/// the document's materials in order.
struct Content
{
    osg::NodePtr root;
    std::vector<osg::MaterialPtr> materials;
};

/// What reading gives: new containers, and which of them stands for which id in the file, as far as
/// a field keeps that id as a number.
struct Read : Content
{
    osg::NFIOBase::FieldContainerMap containers;
};

/// Thrown when the user cancelled reading or writing.
class Cancelled : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Told from time to time how far it is, 0 to 100. False cancels.
using Progress = std::function<bool(int percent)>;

/// "mkscene", without the dot.
MK_HOST_API QString suffix();
/// True when the file's first bytes are those of a scene file.
MK_HOST_API bool isSceneFile(const QString &file);

/// Writes `content` into `file`. The file is the old one or the new one at every moment, also
/// when the disk is full or the program is killed. Throws std::runtime_error with the reason, and
/// Cancelled; the old file stays then.
MK_HOST_API void write(const QString &file, const Content &content, const Progress &progress = {});

/// The content of such a file.
MK_HOST_API QByteArray format(const Content &content);

/// Reads a file. Nothing in it is believed: what does not hold ends in std::runtime_error with a
/// reason for the user, after memory in proportion to the file's size. Types and fields of newer
/// versions are passed over, with a line in the log. Throws Cancelled as well.
MK_HOST_API Read read(const QString &file, const Progress &progress = {});
/// The same for the content of a file.
MK_HOST_API Read parse(const QByteArray &data, const Progress &progress = {});

} // namespace mkSceneFile
