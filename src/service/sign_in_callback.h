#pragma once

// Reading the one-time token out of the "brightloom://" address the sign-in page calls back with.

#include <QString>

namespace brightloom::WebSignIn {

// The value of the first "token" query item of a callback address; throws APIError
// "Sign-in did not complete." when there is none.
QString tokenFromCallback(const QString& callback);

} // namespace brightloom::WebSignIn
