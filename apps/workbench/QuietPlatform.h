#pragma once

/// Without a display, Qt complains of what only a display has.
namespace QuietPlatform {

/// Drops such messages from now on, where the platform is the one without a display.
void install();

} // namespace QuietPlatform
