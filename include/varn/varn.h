/// Everything that libvarn exports.
#ifndef VARN_VARN_H
#define VARN_VARN_H

#include "varn/email.h"
#include "varn/engine.h"
#include "varn/escl_capabilities.h"
#include "varn/escl_reserve.h"
#include "varn/escl_resources.h"
#include "varn/escl_scan.h"
#include "varn/escl_settings.h"
#include "varn/escl_status.h"
#include "varn/escl_tone.h"
#include "varn/events.h"
#include "varn/frame.h"
#include "varn/io_adapters.h"
#include "varn/io_config.h"
#include "varn/jobs.h"
#include "varn/net_service.h"
#include "varn/product.h"
#include "varn/product_status.h"
#include "varn/security.h"
#include "varn/send_usb.h"
#include "varn/settings_files.h"
#include "varn/sharepoint.h"
#include "varn/timeservice.h"
#include "varn/walkup_destinations.h"
#include "varn/walkup_subscriptions.h"

#endif
