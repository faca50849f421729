#include "LayerPictures.h"

#include "mkKernel/mkScript.h"

namespace {

// The directory comes as hexadecimal digits, which need no quoting.
constexpr char statements[] = R"(
def _renderLayers(directory, width, height, samples):
    import sys
    try:
        import mkRayTracerModule
    except ImportError:
        print("workbench: Pictures of layers need the plug-in mkRayTracerModule, which is not loaded.",
              file=sys.stderr)
        raise SystemExit(1)
    try:
        for file in mkRayTracerModule.renderLayers(directory, width, height, samples):
            print(file)
    except RuntimeError as failure:
        print(f"workbench: {failure}", file=sys.stderr)
        raise SystemExit(1)

try:
    _renderLayers(bytes.fromhex("%1").decode(), %2, %3, %4)
finally:
    del _renderLayers
)";

} // namespace

bool renderLayerPictures(const QString &directory, QSize size, int samples)
{
    const QString text = QString::fromUtf8(statements)
                             .arg(QString::fromLatin1(directory.toUtf8().toHex()))
                             .arg(size.width())
                             .arg(size.height())
                             .arg(samples);
    return mkScript::run(qUtf8Printable(text));
}
