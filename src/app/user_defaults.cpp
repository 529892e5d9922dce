#include "user_defaults.h"

namespace brightloom {

std::unique_ptr<QSettings> userDefaults()
{
    // Named explicitly so that a front end that forgot to name the application still shares the
    // same store with the others.
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                       QStringLiteral("Brightloom"), QStringLiteral("Brightloom"));
}

} // namespace brightloom
