#pragma once

#include "record_schema.h"

#include <QByteArray>

namespace brightloom::schema {

QByteArray writeRecord(const Record& schema, const void* record);

} // namespace brightloom::schema
