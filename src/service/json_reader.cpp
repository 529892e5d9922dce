#include "json_reader.h"

#include "json_scanner.h"
#include "record_filler.h"

namespace brightloom::schema {

void readRecord(QByteArrayView json, const Record& schema, void* out)
{
    RecordFiller filler(schema, out);
    json::Scanner<RecordFiller> scanner(std::string_view(json.data(), std::size_t(json.size())), filler);
    scanner.run();
    filler.finish();
}

} // namespace brightloom::schema
