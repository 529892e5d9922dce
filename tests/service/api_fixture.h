#pragma once

// A service client's tests against a scripted local server that BRIGHTLOOM_URL names, in a home of
// their own.

#include "recording_server.h"
#include "temp_home.h"

#include <gtest/gtest.h>

namespace brightloom::test {

class ApiTest : public ::testing::Test
{
protected:
    ApiTest()
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        // The session stays in the home's file: these tests must never reach the person's keyring.
        home.setEnv("BRIGHTLOOM_SESSION_STORE", "file");
    }

    TempHome home;
    RecordingServer server;
};

} // namespace brightloom::test
