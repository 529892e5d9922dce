// The client's JSON scanner against the strict parser it replaced: on any bytes both accept or both
// refuse, and what they accept they report as the same events in the same order.

#include "json_event_log.h"
#include "require.h"

#include <cstdint>
#include <string_view>

using namespace brightloom;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    fuzz::require(testing::ScannerLog::of(text) == testing::ReferenceLog::of(text));
    return 0;
}
