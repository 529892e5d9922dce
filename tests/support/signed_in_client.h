#pragma once

#include "recording_server.h"
#include "temp_home.h"

#include <memory>

namespace brightloom {
class API;
}

namespace brightloom::test {

// A client signed in with a password to a recording server that answers the sign-in, the
// sign-out and an empty project list, in a home of its own. signedIn() says whether it got there.
struct SignedInClient
{
    SignedInClient();
    ~SignedInClient();

    bool signedIn() const;

    TempHome home;
    RecordingServer server;
    std::unique_ptr<API> api;
};

} // namespace brightloom::test
