/// The destination that the operator picked, and who hears of it.
#pragma once

#include "walkup/destination_list.h"

namespace varn {

/// Puts the picked destination's event into the event table.
void raise_scan_event(const Destination &picked);

/// A custom shortcut of a host, by its place; empty when there is none.
struct CustomShortcut {
    /// uuid  of the host; null for the ticket without one
    CustomShortcut(const char *uuid, int32_t place);
    char text[196] = {};
};

} // namespace varn
