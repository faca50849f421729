// Input: the row, then the payload of a dropped material.

#include "FuzzHost.h"

#include "mkKernel/mkController.h"

#include <QDataStream>
#include <QMimeData>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 1) {
        return 0;
    }
    const QByteArray payload(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    FuzzHost &host = FuzzHost::the();
    host.start();

    QMimeData dropped;
    dropped.setData("application/mosk-decoupled-materials", payload);
    const QString path = QStringList{ "A/e", "A", "A/d", "" }.at(data[0] % 4);
    host.drop(dropped, path);

    QDataStream stream(payload);
    QString className;
    QString name;
    stream >> className >> name;
    // The host looks materials up by C strings.
    name = QString::fromUtf8(name.toUtf8().constData());
    const bool known = stream.status() == QDataStream::Ok && className == "mkdMaterial"
                       && (name == "red" || name == "blue");
    require(host.rows() == "A[d e] B[]", "the layers stay as they are");
    for (const QString &row : { QString("A/d"), QString("A/e") }) {
        const QString shown = "11111111110 " + (known && row == path ? name : "Empty");
        require(host.cells(row) == shown, "the row shows what was dropped on it");
        require(host.values(host.attributes(0, row.section('/', 1))) == shown,
                "the store holds what was dropped");
    }
    require(mkController::isModified() == !path.isEmpty(), "a drop on a row modifies");
    return 0;
}
