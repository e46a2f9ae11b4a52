/// The administrator's page on the public port, and the password that it sets.
#pragma once

#include "device/web/handlers.h"

namespace varn::web {

/// A file of the page, by the path of the request.
Response admin_page(Device &device, const Request &request);

/// "set" or "none".
Response get_password_state(Device &device, const Request &request);
/// The body, as text, becomes the administrator's password; an empty one removes it. 400 for one
/// that the library could not check: longer than 200 bytes, or with a control character.
Response put_password(Device &device, const Request &request);

} // namespace varn::web
