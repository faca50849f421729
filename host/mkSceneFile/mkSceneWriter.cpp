#include "mkSceneFile/mkSceneWriter.h"

#include "OSGSystem/FieldVisitor.h"
#include "mkSceneFile/mkSceneContent.h"
#include "mkUtils/mkLog.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <limits>

namespace {

using osg::FieldContainerPtr;
using osg::FieldContainerType;

/// Met, but not numbered yet as the containers that it holds come first.
constexpr auto entered = std::numeric_limits<std::uint32_t>::max();
/// A clock is asked after so many containers.
constexpr int stride = 256;

/// Gathers what a container holds, and the names of its fields.
class Collector : public osg::FieldVisitor
{
public:
    using FieldVisitor::field;

    void field(const char *name, std::uint32_t &) override { names.push_back(name); }
    void field(const char *name, bool &) override { names.push_back(name); }
    void field(const char *name, float &) override { names.push_back(name); }
    void field(const char *name, std::string &) override { names.push_back(name); }
    void field(const char *name, std::vector<std::string> &) override { names.push_back(name); }
    void field(const char *name, QByteArray &) override { names.push_back(name); }
    void ids(const char *name, std::vector<std::uint32_t> &, const FieldContainerType &) override
    {
        names.push_back(name);
    }
    void refuse() override { throw std::length_error("A list is too long for a scene file."); }

    std::vector<const char *> names;
    std::vector<FieldContainerPtr> held;

protected:
    bool block(const char *name, QByteArray &) override
    {
        names.push_back(name);
        return false;
    }
    void handle(const char *name, FieldContainerPtr &value, const FieldContainerType &) override
    {
        names.push_back(name);
        held.push_back(value);
    }
    void handles(const char *name, std::vector<FieldContainerPtr> &values,
                 const FieldContainerType &) override
    {
        names.push_back(name);
        held.insert(held.end(), values.begin(), values.end());
    }
};

/// Writes the values of one container's fields.
class ValueWriter : public osg::FieldVisitor
{
public:
    using FieldVisitor::field;

    ValueWriter(QCborStreamWriter &target, const std::vector<std::uint32_t> &allNumbers,
                std::uint32_t ownNumber)
        : cbor(target)
        , numbers(allNumbers)
        , own(ownNumber)
    {}

    void field(const char *, std::uint32_t &value) override { cbor.append(quint64(value)); }
    void field(const char *, bool &value) override { cbor.append(value); }
    void field(const char *, float &value) override { cbor.append(value); }
    void field(const char *, std::string &value) override
    {
        cbor.appendTextString(value.data(), qsizetype(value.size()));
    }
    void field(const char *, std::vector<std::string> &values) override
    {
        cbor.startArray(values.size());
        for (const std::string &value : values) {
            cbor.appendTextString(value.data(), qsizetype(value.size()));
        }
        cbor.endArray();
    }
    void field(const char *, QByteArray &value) override { cbor.append(value); }
    void ids(const char *, std::vector<std::uint32_t> &values,
             const FieldContainerType &type) override
    {
        cbor.startArray(values.size());
        for (const std::uint32_t id : values) {
            const FieldContainerPtr container = osg::FieldContainerFactory::the()->getContainer(id);
            const bool fits = container && container->getType().isDerivedFrom(type);
            cbor.append(quint64(fits ? numberOf(container, entered) : 0));
        }
        cbor.endArray();
    }
    void refuse() override { throw std::length_error("A list is too long for a scene file."); }

protected:
    bool block(const char *, QByteArray &bytes) override
    {
        cbor.append(bytes);
        return false;
    }
    void handle(const char *, FieldContainerPtr &value, const FieldContainerType &) override
    {
        append(value);
    }
    void handles(const char *, std::vector<FieldContainerPtr> &values,
                 const FieldContainerType &) override
    {
        cbor.startArray(values.size());
        for (const FieldContainerPtr &value : values) {
            append(value);
        }
        cbor.endArray();
    }

private:
    /// 0 for null, for what the file lacks, and unless it comes before container `limit`.
    std::uint32_t numberOf(const FieldContainerPtr &container, std::uint32_t limit) const
    {
        const std::uint32_t id = container ? container->getId() : 0;
        const std::uint32_t number = id < numbers.size() ? numbers[id] : 0;
        return number < limit ? number : 0;
    }

    void append(const FieldContainerPtr &value)
    {
        const std::uint32_t number = numberOf(value, own);
        if (value && number == 0) {
            // Files cannot hold circles, which only code that goes around the store could make.
            mkLog::warning("mkSceneWriter: %s cannot be kept in this place!",
                           value->describe().c_str());
        }
        cbor.append(quint64(number));
    }

    QCborStreamWriter &cbor;
    const std::vector<std::uint32_t> &numbers;
    std::uint32_t own;
};

} // namespace

mkSceneWriter::mkSceneWriter(const mkSceneFile::Content &content, QIODevice *device)
    : cbor(device)
{
    const osg::Ptr<mkSceneContent> scene = mkSceneContent::create();
    scene->root = content.root;
    scene->materials = content.materials;
    pending.push_back({ scene, false });
}

bool mkSceneWriter::advance(qint64 milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    for (int step = 1; !pending.empty(); ++step) {
        if (step % stride == 0 && clock.hasExpired(milliseconds)) {
            return false;
        }
        const Pending next = std::move(pending.back());
        pending.pop_back();
        number(next);
    }
    if (!headerWritten) {
        writeHeader();
        headerWritten = true;
    }
    while (written < order.size()) {
        if (written % stride == 0 && clock.hasExpired(milliseconds)) {
            return false;
        }
        writeContainer(written);
        if (++written == order.size()) {
            cbor.endArray();
            cbor.endArray();
        }
    }
    return true;
}

int mkSceneWriter::percent() const
{
    return order.empty() || !headerWritten ? 0 : int(written * 100 / order.size());
}

void mkSceneWriter::number(const Pending &next)
{
    const FieldContainerPtr &container = next.container;
    const FieldContainerType &type = container->getType();
    if (numbers.size() <= container->getId()) {
        numbers.resize(std::size_t(container->getId()) * 2, 0);
    }
    std::uint32_t &own = numbers[container->getId()];
    if (next.entered) {
        order.push_back(container);
        own = std::uint32_t(order.size());
        return;
    }
    if (own != 0) {
        return;
    }
    if (!type.hasFactory()) {
        mkLog::warning("mkSceneWriter: %s is of type %s, which scene files do not keep!",
                       container->describe().c_str(), type.getName());
        return;
    }
    own = entered;
    Collector collector;
    container->visitFields(collector);
    if (typeNumbers.size() <= type.getId()) {
        typeNumbers.resize(std::size_t(type.getId()) * 2, 0);
    }
    if (typeNumbers[type.getId()] == 0) {
        types.push_back(&type);
        fieldNames.push_back(collector.names);
        typeNumbers[type.getId()] = std::uint32_t(types.size());
    }
    pending.push_back({ container, true });
    for (auto held = collector.held.rbegin(); held != collector.held.rend(); ++held) {
        if (*held) {
            pending.push_back({ *held, false });
        }
    }
}

void mkSceneWriter::writeHeader()
{
    cbor.startArray(4);
    cbor.append(QLatin1String("mkscene"));
    cbor.append(quint64(1));
    cbor.startArray(types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        cbor.startArray(2);
        cbor.append(QLatin1String(types[i]->getName()));
        cbor.startArray(fieldNames[i].size());
        for (const char *name : fieldNames[i]) {
            cbor.append(QLatin1String(name));
        }
        cbor.endArray();
        cbor.endArray();
    }
    cbor.endArray();
    cbor.startArray(order.size());
}

void mkSceneWriter::writeContainer(std::size_t index)
{
    osg::FieldContainer &container = *order[index];
    const std::uint32_t type = typeNumbers[container.getType().getId()] - 1;
    cbor.startArray(2 + fieldNames[type].size());
    cbor.append(quint64(index) + 1);
    cbor.append(quint64(type));
    ValueWriter writer(cbor, numbers, std::uint32_t(index + 1));
    container.visitFields(writer);
    cbor.endArray();
}
