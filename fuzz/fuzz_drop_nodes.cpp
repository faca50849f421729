// Input: the row, whether a material is offered too, then the payload of dropped scene nodes.

#include "FuzzHost.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"

#include <QMimeData>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    const QByteArray payload(reinterpret_cast<const char *>(data) + 2, int(size) - 2);
    FuzzHost &host = FuzzHost::the();
    host.start();
    mkSelectionManager::selectNodes({ mkNodePtr(host.node("a")), mkNodePtr(host.node("g1")) });

    QMimeData dropped;
    dropped.setData("application/mosk-tree-item", payload);
    if (data[1] & 1) {
        dropped.setData("application/mosk-decoupled-materials", payload);
    }
    const QString path = QStringList{ "A", "A/e", "B", "" }.at(data[0] % 4);
    host.drop(dropped, path);

    const bool adds = payload.size() >= 4 && payload.left(4) != QByteArray(4, '\0');
    require(host.rows() == host.stored(), "the tree shows the store");
    require(host.rows()
                == QString("A[d e%1] B[%2]")
                       .arg(adds && path == "A" ? " a g1" : "", adds && path == "B" ? "a g1" : ""),
            "only a number that is not 0 adds, and only to a layer");
    require(mkController::isModified() == !path.isEmpty(), "a drop on a row modifies");
    return 0;
}
