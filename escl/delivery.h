/// The hand-over between the receive thread and the web server.
#pragma once

#include "escl/block_status.h"

#include <cstdint>

namespace varn {

/// Forgets what an earlier scan published.
void reset_published_block();
/// Offers a record with its ring index to the web server.
void publish_block(const BlockStatus &record, uint32_t ring_index);

/// Why the wait for the web server ended.
enum class Delivery { sent, cancelled, usb_gone, timed_out, link_lost };
/// Waits until the published block went out, in steps of 5 ms. Sets `cancelflag` when a network
/// link is lost or the host takes none for 300 s.
Delivery wait_for_delivery();

/// "/sys/class/net/eth0/carrier" as a number; 0 when it cannot be read.
int32_t read_ethernet_carrier();

/// Remembers a finished image for the image-information resource.
void append_image_info(const BlockStatus &record, uint32_t index);
void free_image_infos();

} // namespace varn
