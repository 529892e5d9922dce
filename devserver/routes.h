#pragma once

// The service's endpoints, one function per area, each adding its routes to the server.

#include "http_message.h"

#include <QJsonObject>

namespace brightloom::devserver {

class DevServer;
struct User;

void addAuthRoutes(DevServer& server);
void addNativeSignInRoutes(DevServer& server);
void addProjectRoutes(DevServer& server);
void addLibraryRoutes(DevServer& server);
void addGalleryRoutes(DevServer& server);
void addGithubRoutes(DevServer& server);
void addFileRoutes(DevServer& server);
void addWorkerRoutes(DevServer& server);
void addControlRoutes(DevServer& server);

// {"id","name","email"}, as every auth answer shows the account.
QJsonObject userJson(const User& user);

// 200 {"user":{...}} with the cookie of a session made for `user` just now.
HttpResponse signedInResponse(DevServer& server, const User& user);

} // namespace brightloom::devserver
