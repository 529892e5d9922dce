#pragma once

// The local build pipeline: stateless steps that turn a job's source archive into an app.

#include "process_runner.h"
#include "rejected.h"
#include "source_fetch.h"
#include "tool_paths.h"
