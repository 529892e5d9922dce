#include "json_writer.h"

#include <vector>

namespace brightloom::schema {
namespace {

void writeString(QByteArray& out, const QString& text)
{
    static constexpr char hex[] = "0123456789abcdef";
    const QByteArray utf8 = text.toUtf8();
    out += '"';
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        const auto u = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (u < 0x20) {
            switch (c) {
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            default:
                out += "\\u00";
                out += hex[u >> 4];
                out += hex[u & 0xf];
            }
        } else if (u == 0x7f) {
            out += "\\u007f";
        } else if (u == 0xc2 && i + 1 < utf8.size() && static_cast<unsigned char>(utf8[i + 1]) <= 0x9f) {
            // C1 controls are escaped too, so the text is safe on a terminal and still exact.
            out += "\\u00";
            const auto next = static_cast<unsigned char>(utf8[++i]);
            out += hex[next >> 4];
            out += hex[next & 0xf];
        } else {
            out += c;
        }
    }
    out += '"';
}

// One open object or array of the output; the writer resumes it after a nested value is written.
struct Frame
{
    const Record* schema;
    const void* record;
    std::size_t field = 0;   // next field of the object
    std::size_t element = 0; // next element when the object's current field is a list
    bool inList = false;
    bool wroteField = false;
};

} // namespace

QByteArray writeRecord(const Record& schema, const void* record)
{
    QByteArray out;
    std::vector<Frame> stack;
    stack.push_back(Frame{&schema, record});
    out += '{';
    while (!stack.empty()) {
        Frame& f = stack.back();
        if (f.field == f.schema->fields.size()) {
            out += '}';
            stack.pop_back();
            continue;
        }
        const Field& field = f.schema->fields[f.field];
        if (f.inList) {
            // Inside a list of objects: open the next element, or close the list.
            if (f.element == field.count(f.record)) {
                out += ']';
                f.inList = false;
                ++f.field;
                continue;
            }
            if (f.element > 0)
                out += ',';
            const void* child = field.getObject(f.record, f.element++);
            out += '{';
            stack.push_back(Frame{&field.nested(), child});
            continue;
        }
        if (!field.present(f.record)) {
            ++f.field;
            continue;
        }
        if (f.wroteField)
            out += ',';
        f.wroteField = true;
        writeString(out, QString::fromUtf8(field.key.data(), qsizetype(field.key.size())));
        out += ':';
        switch (field.kind) {
        case Kind::String:
            writeString(out, field.getString(f.record, 0));
            break;
        case Kind::Bool:
            out += field.getBool(f.record) ? "true" : "false";
            break;
        case Kind::Int:
            out += QByteArray::number(qlonglong(field.getInt(f.record)));
            break;
        case Kind::StringArray: {
            out += '[';
            const std::size_t n = field.count(f.record);
            for (std::size_t i = 0; i < n; ++i) {
                if (i > 0)
                    out += ',';
                writeString(out, field.getString(f.record, i));
            }
            out += ']';
            break;
        }
        case Kind::Object: {
            ++f.field;
            const Record* nested = &field.nested();
            const void* child = field.getObject(f.record, 0);
            out += '{';
            stack.push_back(Frame{nested, child});
            continue;
        }
        case Kind::ObjectArray:
            out += '[';
            f.inList = true;
            f.element = 0;
            continue;
        }
        ++f.field;
    }
    return out;
}

} // namespace brightloom::schema
