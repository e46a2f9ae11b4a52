/// The tickets of the walk-up destinations.
#pragma once

#include "frame/document.h"

#include <span>
#include <string>

namespace varn {

using Destination = wus__WalkupScanToCompDestination;
using DestinationList = wus__WalkupScanToCompDestinations;

constexpr char destination_list_ticket[] =
    "/tmp/xml_tickets/WalkupScanToComp/WalkupScanToCompDestinations.xml";
constexpr char destination_caps_ticket[] = "/tmp/xml_tickets/WalkupScanToComp/WalkupScanToCompCaps";
constexpr char picked_destination_ticket[] =
    "/tmp/xml_tickets/WalkupScanToComp/WalkupSelectDestination.xml";
constexpr char custom_shortcuts_ticket[] = "/tmp/xml_tickets/WalkupScanToComp/CustomShortcuts.xml";
constexpr std::string_view destinations_path = "/WalkupScanToComp/WalkupScanToCompDestinations/";

/// Path of a destination's resource.
std::string destination_uri(std::string_view uuid);

/// "CustomShortcuts.xml", or the one of a UUID; empty when that cannot be part of a file's name.
std::string custom_shortcuts_path(const char *uuid);

/// False, with a log line, when the list cannot be read; `list` is empty then.
bool read_destinations(Document &document, DestinationList &list, const char *caller);
/// A failure is logged.
void write_destinations(Document &document, const DestinationList &list, const char *caller);

std::span<Destination> entries(const DestinationList &list);

/// Whether an entry has that resource path.
bool has_uri(const Destination &destination, std::string_view uri);
bool is_network(const Destination &destination);

/// Reads the picked destination; false, with a log line, when there is none.
bool read_picked(Document &document, Destination &picked, const char *caller);

/// Numbers of the capabilities; 0 for one that is not told.
struct DestinationLimits {
    long network_destinations = 0;
    long custom_shortcuts = 0;
};
DestinationLimits read_destination_limits();

} // namespace varn
