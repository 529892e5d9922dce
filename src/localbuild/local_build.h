#pragma once

// The local build pipeline: stateless steps that turn a job's source archive into an app.

#include "app_icon.h"
#include "asset_fetch.h"
#include "asset_set.h"
#include "build_limits.h"
#include "bundle_info.h"
#include "compile.h"
#include "frameworks.h"
#include "package.h"
#include "platform/tool_paths.h"
#include "process_runner.h"
#include "rejected.h"
#include "source_fetch.h"
