#include "mkSceneFile/mkSceneReader.h"

#include "mkSceneFile/mkSceneContent.h"
#include "mkUtils/mkLog.h"

#include <QCoreApplication>

#include <algorithm>
#include <limits>

using osg::FieldContainerPtr;
using osg::FieldContainerType;

namespace {

constexpr quint64 version = 1;
/// Containers are destroyed by recursion where they are not children of nodes.
constexpr unsigned deepest = 64;
constexpr int deepestUnknown = 64;
constexpr std::size_t progressStride = 2048;

QString translate(const char *text)
{
    return QCoreApplication::translate("mkSceneFile", text);
}

[[noreturn]] void fail(const QString &reason)
{
    throw std::runtime_error(reason.toStdString());
}

} // namespace

mkSceneReader::mkSceneReader(const QByteArray &fileData)
    : data(fileData)
    , cbor(fileData)
{}

mkSceneFile::Read mkSceneReader::read(const mkSceneFile::Progress &progress)
{
    readHeader();
    const std::size_t count = enterArray();
    containers.reserve(count);
    while (cbor.hasNext()) {
        if (progress && containers.size() % progressStride == 0
            && !progress(int(cbor.currentOffset() * 100 / data.size()))) {
            throw mkSceneFile::Cancelled(translate("Reading was cancelled.").toStdString());
        }
        readContainer();
    }
    require(cbor.leaveContainer() && !cbor.hasNext() && cbor.leaveContainer()
            && cbor.lastError() == QCborError::NoError && cbor.currentOffset() == data.size());

    mkSceneFile::Read result;
    readRoot(result);
    for (const std::uint32_t id : keptIds) {
        if (id > 0 && id <= containers.size() && containers[id - 1].handle) {
            result.containers.emplace(id, containers[id - 1].handle);
        }
    }
    reportSkipped();
    return result;
}

void mkSceneReader::readHeader()
{
    const bool isScene = cbor.isArray() && cbor.isLengthKnown() && cbor.length() == 4
                         && cbor.enterContainer() && cbor.isString();
    if (!isScene || text() != "mkscene") {
        fail(translate("The file is not a scene file."));
    }
    require(cbor.isUnsignedInteger());
    if (cbor.toUnsignedInteger() > version) {
        fail(translate("The file was written by a newer version of the program."));
    }
    cbor.next();
    enterArray();
    while (cbor.hasNext()) {
        readType();
    }
    require(cbor.leaveContainer());
}

void mkSceneReader::readType()
{
    require(enterArray() == 2);
    Type read;
    const std::string name = text();
    read.name = QString::fromStdString(name);
    read.known = FieldContainerType::find(name);
    enterArray();
    while (cbor.hasNext()) {
        read.fields.push_back(text());
        require(read.places.emplace(read.fields.back(), read.fields.size() - 1).second);
    }
    require(cbor.leaveContainer() && cbor.leaveContainer());
    types.push_back(std::move(read));
}

void mkSceneReader::readContainer()
{
    const std::size_t values = enterArray();
    require(number() == containers.size() + 1);
    const std::uint32_t typeNumber = number();
    require(typeNumber < types.size() && values == types[typeNumber].fields.size() + 2);
    type = &types[typeNumber];
    place = 0;
    depth = 0;
    Container read;
    if (type->known) {
        read.handle = type->known->create();
        read.handle->visitFields(*this);
        require(depth <= deepest);
        read.depth = depth;
    } else {
        skipped.insert(translate("containers of the type %1").arg(type->name));
    }
    skipTo(type->fields.size());
    require(cbor.leaveContainer());
    containers.push_back(std::move(read));
}

void mkSceneReader::readRoot(mkSceneFile::Read &result) const
{
    const osg::Ptr<mkSceneContent> content(containers.empty() ? FieldContainerPtr()
                                                              : containers.back().handle);
    if (!content || !content->root || content->root->getParent()) {
        fail(translate("The file holds no scene."));
    }
    result.root = content->root;
    std::copy_if(content->materials.begin(), content->materials.end(),
                 std::back_inserter(result.materials),
                 [](const osg::MaterialPtr &material) { return bool(material); });
}

/// Passes over the values before `target`.
void mkSceneReader::skipTo(std::size_t target)
{
    for (; place < target; ++place) {
        if (type->known) {
            skipped.insert(translate("the field %1 of %2")
                               .arg(QString::fromStdString(type->fields[place]), type->name));
        }
        require(cbor.next(deepestUnknown));
    }
}

void mkSceneReader::reportSkipped() const
{
    for (const QString &what : skipped) {
        mkLog::warning("mkSceneFile: This version knows nothing of %s, left out!",
                       qUtf8Printable(what));
    }
}

void mkSceneReader::refuse()
{
    fail(translate("The file is damaged, at byte %1.").arg(cbor.currentOffset()));
}

/// Goes to the value of the field; false when the file, of an older version, lacks it.
bool mkSceneReader::find(const char *name)
{
    if (place >= type->fields.size() || type->fields[place] != name) {
        const auto found = type->places.find(name);
        if (found == type->places.end()) {
            return false;
        }
        require(found->second >= place);
        skipTo(found->second);
    }
    ++place;
    return true;
}

/// Goes into an array and returns how many values it claims, at most one a byte that is left.
std::size_t mkSceneReader::enterArray()
{
    require(cbor.isArray() && cbor.isLengthKnown()
            && cbor.length() <= quint64(data.size() - cbor.currentOffset()));
    const quint64 length = cbor.length();
    require(cbor.enterContainer());
    return std::size_t(length);
}

std::uint32_t mkSceneReader::number()
{
    require(cbor.isUnsignedInteger()
            && cbor.toUnsignedInteger() <= std::numeric_limits<std::uint32_t>::max());
    const auto value = std::uint32_t(cbor.toUnsignedInteger());
    cbor.next();
    return value;
}

std::string mkSceneReader::text()
{
    require(cbor.isString());
    return bytes().toStdString();
}

QByteArray mkSceneReader::bytes()
{
    require((cbor.isString() || cbor.isByteArray()) && cbor.isLengthKnown());
    const qsizetype size = cbor.currentStringChunkSize();
    require(size >= 0 && size <= data.size() - cbor.currentOffset());
    QByteArray value(int(size), Qt::Uninitialized);
    require(cbor.readStringChunk(value.data(), size).data == size
            && cbor.readStringChunk(value.data(), size).status == QCborStreamReader::EndOfString);
    return value;
}

/// What comes before this container in the file; so nothing can hold itself.
FieldContainerPtr mkSceneReader::reference(const FieldContainerType &wanted)
{
    const std::uint32_t id = number();
    require(id <= containers.size());
    if (id == 0) {
        return osg::NullFC;
    }
    const Container &held = containers[id - 1];
    require(!held.handle || held.handle->getType().isDerivedFrom(wanted));
    const bool isChild = &wanted == &osg::Node::_type && type->known == &osg::Node::_type;
    depth = std::max(depth, isChild ? held.depth : held.depth + 1);
    return held.handle;
}

void mkSceneReader::field(const char *name, std::uint32_t &value)
{
    if (find(name)) {
        value = number();
    }
}

void mkSceneReader::field(const char *name, bool &value)
{
    if (find(name)) {
        require(cbor.isBool());
        value = cbor.toBool();
        cbor.next();
    }
}

void mkSceneReader::field(const char *name, float &value)
{
    if (find(name)) {
        require(cbor.isFloat() || cbor.isDouble());
        value = cbor.isFloat() ? cbor.toFloat() : float(cbor.toDouble());
        cbor.next();
    }
}

void mkSceneReader::field(const char *name, std::string &value)
{
    if (find(name)) {
        value = text();
    }
}

void mkSceneReader::field(const char *name, std::vector<std::string> &values)
{
    if (find(name)) {
        values.clear();
        enterArray();
        while (cbor.hasNext()) {
            values.push_back(text());
        }
        require(cbor.leaveContainer());
    }
}

void mkSceneReader::field(const char *name, QByteArray &value)
{
    block(name, value);
}

void mkSceneReader::ids(const char *name, std::vector<std::uint32_t> &values,
                        const FieldContainerType &)
{
    if (find(name)) {
        values.clear();
        enterArray();
        while (cbor.hasNext()) {
            values.push_back(number());
            keptIds.insert(values.back());
        }
        require(cbor.leaveContainer());
    }
}

bool mkSceneReader::block(const char *name, QByteArray &value)
{
    if (!find(name)) {
        return false;
    }
    require(cbor.isByteArray());
    value = bytes();
    return true;
}

void mkSceneReader::handle(const char *name, FieldContainerPtr &value,
                           const FieldContainerType &wanted)
{
    if (find(name)) {
        value = reference(wanted);
    }
}

void mkSceneReader::handles(const char *name, std::vector<FieldContainerPtr> &values,
                            const FieldContainerType &wanted)
{
    if (find(name)) {
        values.clear();
        enterArray();
        while (cbor.hasNext()) {
            values.push_back(reference(wanted));
        }
        require(cbor.leaveContainer());
    }
}
