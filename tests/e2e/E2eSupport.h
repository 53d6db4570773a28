// Shared by the end-to-end tests: MOF and trace helpers.
#pragma once

#include "EmuWorld.h"
#include "PortableWorld.h"
#include "TestKit.h"

#include <string>

namespace e2e
{
using testkit::Ns;
using testkit::Pragma;

using testkit::ClassMof;
using testkit::Column;
using testkit::Message;
using testkit::Only;

// Records of main turning the job's 18 (file not newer) into 0.
inline size_t OldVersionForgiven(const testkit::TarvosRun& run)
{
    return run.Records("main", "Internal", "Changing EXITCODE_ERR_MOF_OLD_VERSION to EXITCODE_OK").size();
}

} // namespace e2e
