#pragma once

/// The tree's columns.
namespace mkColumn {
enum Column {
    Layer = 0,
    FirstAttribute = 1,
    LastAttribute = 11,
    OverrideMaterial = 12,
    Count = 13,
};
}
