// The job dispatcher: one checked command line becomes one job.
#pragma once

#include "ExitCode.h"
#include "WbemUtil.h"

ExitCode DoTheJob(WbemUtil& util);
