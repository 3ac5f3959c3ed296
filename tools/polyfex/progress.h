// A progress bar on stderr, driven by the library.
//
// Readers drive Tarnwick's three progress pointers; writers call the callback
// they are given. Both end up here. The bar is drawn only when enabled (stderr
// a terminal, or --progress always) and never more often than every 50 ms.
#pragma once

#include <string>

#include "polyfex.h"

namespace polyfex_cli {

// Sets (enabled) or clears Tarnwick's progress pointers.
void progress_start(bool enabled);
void progress_stop();

// Names the work the next updates belong to ("reading cube.stl").
void progress_label(const std::string& label);
// A writer's callback sized for `total` polygons, or null when no bar is shown.
Pfx_Progress progress_for_writer(long long total);
// Erases the bar so that a line can be written; the next update redraws it.
void progress_clear();

} // namespace polyfex_cli
