#pragma once

#include "record_schema.h"

#include <QByteArrayView>

namespace brightloom::schema {

// Fills `out`, a default-made record of `schema`, from `json`; throws DecodeError.
void readRecord(QByteArrayView json, const Record& schema, void* out);

} // namespace brightloom::schema
