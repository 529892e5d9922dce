#pragma once

#include <QStringList>

namespace brightloom {

// Starts `program` with `arguments` and does not wait for it: its input, output and errors go to
// the null device, so a desktop helper can neither read this terminal nor write on it.
void startDetachedQuietly(const QString& program, const QStringList& arguments);

} // namespace brightloom
