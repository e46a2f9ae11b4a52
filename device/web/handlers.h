/// Answers that are more than one plain call of the library.
#pragma once

#include "device/web/device.h"
#include "device/web/http.h"
#include "device/web/resource_map.h"

namespace varn::web {

/// A page that names the resources.
Response index_page(Device &device, const Request &request);

/// 201 with the Location of what a POST made.
Response created_at(const Request &request, std::string_view path);

/// The library does not look at the result of every write: what it calls done while the engine was
/// away must not be confirmed.
Response unless_engine_was_away(const std::function<Response()> &change);

Response get_scanner_capabilities(Device &device, const Request &request);
Response get_scanner_status(Device &device, const Request &request);

/// 201 with the job's Location, 409, 503; 404 while eSCLConfig has switched scanning by hosts off.
/// A job that still has the scanner is waited for before the locks are taken: one that is ending
/// for a while, one that runs only by a request from USB, which takes the scanner away from it.
Response post_scan_job(Device &device, const Request &request, const WithLocks &with_locks);
/// What a scan with these settings would give; settings that the scanner has not got come back
/// corrected.
Response put_scan_buffer_info(Device &device, const Request &request);
/// 200 also when the job had ended before; 404. A stored job that waits at the device is taken
/// away from there; a running one needs no lock.
Response delete_scan_job(Device &device, const Request &request, const WithLocks &with_locks);
Response get_scan_image_info(Device &device, const Request &request);

/// The event table; its query may have AgingStamp=3-17 and EventCategory=ScanEvent. 204 when
/// nothing is selected; the entity tag is the current stamp in every case.
Response get_event_table(Device &device, const Request &request);

/// One job: as the queue has it, or, when it has left the queue, as the list has it. 404.
Response get_job(Device &device, const Request &request);
/// 404 for a job that is not in the list, 409 when path and document name two jobs.
Response put_job(Device &device, const Request &request);

/// Notifications of the USB host as server-sent events, on the port of USB alone. They end with
/// the link. 503 when there are too many listeners.
std::optional<Response> usb_interrupts(Device &device, const Request &request, ImageSink &sink);

/// Walk-up subscriptions; an unknown one is an empty document, and its deletion no error.
Response get_walkup_subscriptions(Device &device, const Request &request);
Response get_walkup_subscription(Device &device, const Request &request);
/// 201 with the Location, also for a host that had subscribed; 400; 409 without room.
Response post_walkup_subscription(Device &device, const Request &request);
Response delete_walkup_subscription(Device &device, const Request &request);
/// The event that waits for a subscribed host, which is gone from the device then; 204 for none.
Response take_walkup_event(Device &device, const Request &request);

/// Walk-up destinations; 404 for an unknown one.
Response get_walkup_destinations(Device &device, const Request &request);
Response get_walkup_destination(Device &device, const Request &request);
Response post_walkup_destination(Device &device, const Request &request);
Response delete_walkup_destination(Device &device, const Request &request);
Response get_walkup_capabilities(Device &device, const Request &request);
/// The newest event of a walk-up destination; 404 before the first.
Response get_destination_event(Device &device, const Request &request);

/// The next image of a job, as the engine makes it.
///
/// 404 after the last image and for an unknown job; 410 when the job was cancelled or broke off,
/// ScannerStatus says why; 503 with Retry-After while another client takes an image of the job,
/// and when no image has begun for some time: the job goes on. A job that breaks off in the
/// middle of an image ends the body without its last chunk. A client that goes away, or takes
/// nothing for the request time-out, in the middle of an image cancels its job, and so does the
/// loss of the link that it came over. A job in PDF is one document.
std::optional<Response> next_document(Device &device, const Request &request, ImageSink &sink);

} // namespace varn::web
