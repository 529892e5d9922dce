#pragma once

// Strict decoding of service replies into records, and encoding back to JSON text.

#include <QByteArray>
#include <QByteArrayView>
#include <stdexcept>
#include <string>

namespace brightloom {

// A reply that is not JSON, or does not fit the record it was read as.
class DecodeError : public std::runtime_error
{
public:
    explicit DecodeError(const std::string& detail);
};

// Throws DecodeError. Instantiated for every record and reply wrapper in records.h.
template <class T> T decodeRecord(QByteArrayView json);

// Absent optional fields are left out; the text is compact JSON.
template <class T> QByteArray encodeRecord(const T& record);

} // namespace brightloom
