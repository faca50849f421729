// Input: a host message, read field by field: its name, its id, then its attributes by name, type
// and value.

#include "FuzzHost.h"

#include "mkKernel/mkController.h"

#include <QDataStream>

#include <array>

namespace {

/// A text: one of those that mean something, or any bytes.
template <std::size_t Size>
std::string readText(QDataStream &stream, const std::array<const char *, Size> &known)
{
    quint8 choice = 0;
    stream >> choice;
    if (choice < Size) {
        return known[choice];
    }
    std::string text(choice % 32, '\0');
    stream.readRawData(text.data(), int(text.size()));
    return text;
}

std::uint64_t readId(QDataStream &stream)
{
    quint8 choice = 0;
    quint64 any = 0;
    stream >> choice;
    switch (choice % 4) {
    case 0:
        return mkMessage::NoId;
    case 1:
        return mkMessage::SceneLoaded;
    case 2:
        return mkMessage::SceneMerged;
    default:
        stream >> any;
        return any;
    }
}

void readAttribute(QDataStream &stream, mkMessage &message)
{
    const std::string name = readText<1>(stream, { "material" });
    quint8 type = 0;
    quint8 value = 0;
    stream >> type >> value;
    const osg::MaterialPtr material = HostFixture::material(value % 3 == 0   ? "red"
                                                            : value % 3 == 1 ? "blue"
                                                                             : "none");
    switch (type % 9) {
    case 0:
        return message.set(name, material);
    case 1:
        return message.set(name, osg::FieldContainerPtr(material));
    case 2:
        return message.set(name, FuzzHost::the().node("a"));
    case 3:
        return message.set(name, int(value));
    case 4:
        return message.set(name, double(value));
    case 5:
        return message.set(name, QString::number(value));
    case 6:
        return message.set(name, std::string(value, 'x'));
    case 7:
        return message.set(name, static_cast<const char *>(nullptr));
    default:
        return message.set(name, std::vector<osg::MaterialPtr>{ material });
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QDataStream stream(QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size)));
    FuzzHost &host = FuzzHost::the();
    host.start();
    host.attributes(0, "e")->setOverrideMaterial(HostFixture::material("red"));
    host.addLayer("not yet shown");
    const QString before = host.rows();

    const std::string name = readText<3>(stream,
                                         { "materialRenamed", "mkRenderLayerModuleUpdateLayers",
                                           "mkTransform::changedTransformation" });
    const std::uint64_t id = readId(stream);
    mkMessage message(name, id);
    while (!stream.atEnd()) {
        readAttribute(stream, message);
    }
    osg::MaterialPtr renamed;
    const bool used = message.get("material", renamed) && renamed
                      && renamed == HostFixture::material("red");
    mkController::sendMessage(message);

    const bool rebuilds = (name == "materialRenamed" && used)
                          || name == "mkRenderLayerModuleUpdateLayers"
                          || id == mkMessage::SceneLoaded || id == mkMessage::SceneMerged;
    require(host.rows() == (rebuilds ? host.stored() : before), "the right messages rebuild");
    require(!mkController::isModified(), "messages do not modify");
    return 0;
}
