// Umbrella header: every public header of libcommonTavel.
#ifndef TAVEL_COMMONTAVEL_H
#define TAVEL_COMMONTAVEL_H

#include <tavel/export.h>
#include <tavel/constants.h>
#include <tavel/file_io.h>
#include <tavel/coding.h>
#include <tavel/dvb_text.h>
#include <tavel/descriptor.h>
#include <tavel/delivery_descriptors.h>
#include <tavel/service_descriptors.h>
#include <tavel/network_descriptors.h>
#include <tavel/sections.h>
#include <tavel/service_records.h>
#include <tavel/code_conversions.h>
#include <tavel/rf_plans.h>
#include <tavel/sdt.h>
#include <tavel/tot.h>
#include <tavel/eit.h>
#include <tavel/lcn_memory.h>
#include <tavel/nit.h>
#include <tavel/module.h>
#include <tavel/load.h>
#include <tavel/network.h>
#include <tavel/host_identity.h>
#include <tavel/user_log.h>
#include <tavel/ts.h>

#endif
