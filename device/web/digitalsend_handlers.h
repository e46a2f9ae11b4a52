/// Answers of mail, SharePoint and send-to-USB resources.
///
/// The library takes a SharePoint document that it cannot read for an empty one and knows no
/// failure for an unknown job; here both are refused before anything is changed.
#pragma once

#include "device/web/handlers.h"

namespace varn::web {

/// 201 with the Location of the new job; 400; 413 when there is no room for another.
Response post_sharepoint_job(Device &device, const Request &request);
/// 404 for an unknown job, in these and in the four behind them.
Response get_sharepoint_job(Device &device, const Request &request);
Response put_sharepoint_job(Device &device, const Request &request);
Response delete_sharepoint_job(Device &device, const Request &request);
/// 201 with the Location of the copy; 413 when there is no room for another. The body is a
/// folder:PredefinedJob with what the copy has different.
Response clone_sharepoint_job(Device &device, const Request &request);
/// Starts the connection test and does not wait for its end; a body is not looked at.
Response test_sharepoint_job(Device &device, const Request &request);
/// The result of the test that was started last, of whatever job.
Response get_sharepoint_test_result(Device &device, const Request &request);
Response put_sharepoint_service(Device &device, const Request &request);

Response put_send_usb(Device &device, const Request &request);
/// 201 with a Location, where nothing is kept.
Response post_usb_job(Device &device, const Request &request);
/// 204: there is nothing to show of a posted job, and nothing to do with it.
template <auto function>
Response answer_usb_job(Device &, const Request &) {
    Response nothing;
    nothing.status = function() == 0 ? 204 : 500;
    return nothing;
}

} // namespace varn::web
