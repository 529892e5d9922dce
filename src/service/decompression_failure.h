#pragma once

#include <QString>

class QNetworkReply;

namespace brightloom {

// When `reply` failed because its compressed body could not be decompressed: a finished sentence
// that says so and why, starting with `subject` ("The service's reply"). An empty text otherwise.
QString decompressionFailure(const QNetworkReply& reply, const QString& subject);

} // namespace brightloom
