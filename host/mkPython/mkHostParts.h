#pragma once

/// The parts of the built-in module `mkHost`. Each defines its functions in the current
/// Boost.Python scope, under names with an underscore when mkHost.py wraps them.
namespace mkHostParts {

void defineLayers();
void defineStates();
void defineFiles();

} // namespace mkHostParts
