#pragma once

// The library reply read by two general JSON libraries into the project's own records, under the
// project's rules: required keys present and not null, every type checked, an optional null is the
// same as a missing key, unknown keys ignored. Both throw DecodeError, as the project's decoder does.

#include "service/records.h"

#include <QByteArrayView>
#include <memory>
#include <string>

namespace brightloom::bench {

// simdjson wants padded input and a parser that lives from one document to the next; both are set
// up here, once, so a timed decode() does nothing but decode.
class SimdjsonLibraryDecoder
{
public:
    explicit SimdjsonLibraryDecoder(QByteArrayView json);
    ~SimdjsonLibraryDecoder();
    SimdjsonLibraryDecoder(const SimdjsonLibraryDecoder&) = delete;
    SimdjsonLibraryDecoder& operator=(const SimdjsonLibraryDecoder&) = delete;

    LibraryResp decode();

    // A throwaway parser and copy; for the small documents that probe the rules.
    static LibraryResp decodeOnce(QByteArrayView json);

    // Which of simdjson's code paths ran: results differ several-fold between them.
    static std::string implementation();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

LibraryResp decodeLibraryWithQJson(QByteArrayView json);

} // namespace brightloom::bench
