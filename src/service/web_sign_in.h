#pragma once

#include "sign_in_callback.h"

#include <QString>
#include <QUrl>
#include <qcoro/qcorotask.h>

namespace brightloom {

// How the service's sign-in page is shown and its "brightloom://" callback received: the window
// shows it in the browser and waits for the scheme handler, the command line prints the address
// and reads the callback from its input.
class SignInPage
{
public:
    struct Outcome
    {
        enum Kind { Callback, CouldNotStart, Cancelled, Failed };
        Kind kind = Failed;
        QString callback; // the callback address, for Callback
        QString error;    // the platform's description, for Failed
    };

    virtual ~SignInPage() = default;
    // Completes exactly once, with one of the outcomes.
    virtual QCoro::Task<Outcome> show(QUrl page) = 0;
};

namespace WebSignIn {

// Shows the sign-in page and returns the one-time token of its callback; throws APIError.
QCoro::Task<QString> run(QUrl url, SignInPage* page);

} // namespace WebSignIn

} // namespace brightloom
