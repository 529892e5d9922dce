#pragma once

#include <QStringList>

class QWidget;

namespace brightloom::soak {

// The texts shown under `root` that no screen should ever show: raw markup of an error page,
// replacement characters of broken text, or an error line that is neither one of the client's own
// texts nor a message from the service.
QStringList unexpectedTexts(const QWidget* root, const QStringList& serviceMessages);

} // namespace brightloom::soak
