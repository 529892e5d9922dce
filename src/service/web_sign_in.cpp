#include "web_sign_in.h"

#include "api_error.h"

namespace brightloom::WebSignIn {

QCoro::Task<QString> run(QUrl url, SignInPage* page)
{
    if (!page)
        throw APIError(QStringLiteral("Could not open the sign-in window."));
    const SignInPage::Outcome outcome = co_await page->show(std::move(url));
    switch (outcome.kind) {
    case SignInPage::Outcome::Callback:
        co_return tokenFromCallback(outcome.callback);
    case SignInPage::Outcome::CouldNotStart:
        throw APIError(QStringLiteral("Could not open the sign-in window."));
    case SignInPage::Outcome::Cancelled:
        throw APIError(QStringLiteral("Sign-in cancelled."));
    case SignInPage::Outcome::Failed:
        break;
    }
    throw APIError(outcome.error);
}

} // namespace brightloom::WebSignIn
