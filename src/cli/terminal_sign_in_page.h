#pragma once

#include "service/web_sign_in.h"

namespace brightloom::cli {

// Browser sign-in from a terminal: prints the page's address, opens it in the desktop's browser when
// there is a desktop, and reads the "brightloom://" address the page leads to from standard input.
// End of input cancels.
class TerminalSignInPage final : public SignInPage
{
public:
    QCoro::Task<Outcome> show(QUrl page) override;
};

} // namespace brightloom::cli
