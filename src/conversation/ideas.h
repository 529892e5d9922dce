#pragma once

#include <QStringList>

namespace brightloom {

// Ideas the new project screen offers as chips while the request is empty.
QStringList appIdeas();

} // namespace brightloom
