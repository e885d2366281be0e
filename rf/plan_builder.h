// Builds a country's spectrum from a plan of the generated interface's shape.
#ifndef TAVEL_RF_PLAN_BUILDER_H
#define TAVEL_RF_PLAN_BUILDER_H

#include <memory>

#include <tavel/rf_plans.h>

#include "platform/rf_channels_constants.h"

namespace tavel {

// Disabled bands are left out; a country missing from the plan gives
// country -1 and no bands. Nothing is cached: each call builds anew.
std::shared_ptr<spectrumInfo> buildSpectrum(int country, const thrift::coax::RfChannelPlan& plan);

} // namespace tavel

#endif
