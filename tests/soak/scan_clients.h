/// Clients that scan.
#pragma once

#include "tests/soak/clients.h"

#include <random>

namespace varn::soak {

/// A scan:ScanSettings document of a small scan. source: "Platen" or "Feeder"
std::string scan_settings(const std::string &source);

/// Every source, colour mode and format once, so that what the device keeps ready is there.
void scan_all_kinds(World &world);

/// Scans all the while: most jobs to their end, some cancelled, some left in mid-image.
void scan_client(World &world, std::mt19937 random);

} // namespace varn::soak
