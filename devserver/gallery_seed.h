#pragma once

#include "store.h"

namespace brightloom::devserver {

// Fills the gallery of a data folder that has never had one: at least twelve apps with icons,
// some starred, some offering a template job to fork.
void seedGallery(Store& store);

} // namespace brightloom::devserver
