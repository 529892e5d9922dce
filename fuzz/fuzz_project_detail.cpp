// Decoding a ProjectDetail reply from arbitrary bytes. A DecodeError is an answer; anything else thrown,
// a crash, or a decoded record that does not survive encoding and decoding again is a finding.

#include "service/record_codec.h"
#include "service/records.h"

#include <QByteArray>
#include <cstdint>
#include <cstdlib>

using namespace brightloom;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    QByteArray encoded;
    try {
        encoded = encodeRecord(decodeRecord<ProjectDetail>(bytes));
    } catch (const DecodeError&) {
        return 0;
    }
    // What the client writes it must read back, to the same text.
    try {
        if (encodeRecord(decodeRecord<ProjectDetail>(encoded)) != encoded)
            std::abort();
    } catch (const DecodeError&) {
        std::abort();
    }
    return 0;
}
