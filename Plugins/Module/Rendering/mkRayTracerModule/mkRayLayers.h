#pragma once

#include "mkRaySceneReader.h"

#include <QStringList>

/// The host's render layers as pictures need them; nothing here changes the store or the scene.
namespace mkRayLayers {

struct Layer
{
    QString name;
    /// What the scene's nodes have after a reset and the activation of this layer alone.
    mkRaySceneReader::Attributes attributes;
};

/// The layers of the open scene, in order.
std::vector<Layer> read();

/// Layers of which all members carry what the layer keeps for them, and some of that is not the
/// default: as far as the store can tell, these were activated since the last reset.
QStringList activeNames();

/// A file name, without a suffix, for each layer name: letters, digits, "-" and "_" of it, and a
/// number where one would be there twice, whatever the case of its letters.
QStringList fileNames(const QStringList &names);

} // namespace mkRayLayers
