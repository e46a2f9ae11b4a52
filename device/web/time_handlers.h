/// Answers of the time service's resources that are more than one plain call of the library.
#pragma once

#include "device/web/handlers.h"

namespace varn::web {

/// The server's local time follows the zone of the device: time stamps are told in it.
void follow_time_zone();

Response get_clock(Device &device, const Request &request);
/// The library confirms a document whatever it makes of it: 400 for one of another resource, and
/// when the zone that it names is not the device's afterwards.
Response put_clock(Device &device, const Request &request);
/// 400 as above, for the state. A document that does no more than switch network time off is
/// completed by the settings that the device has: alone it gives the engine nothing to take.
Response put_network_time(Device &device, const Request &request);

} // namespace varn::web
