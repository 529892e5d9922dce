#pragma once

#include "json_scanner.h"
#include "record_codec.h"
#include "record_schema.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace brightloom::schema {

// Fills a record from the events of a JSON reader, without recursion: every open object or array is a
// frame.
//
// A key given twice in one object takes its last value, as the platform's decoder keeps the last
// occurrence: a list starts again, and a value that did not fit the record is forgotten with the
// occurrence it belonged to. So such failures wait until the end of the reply, each with the keys
// that lead to it, and one of those keys given again clears it.
class RecordFiller
{
public:
    RecordFiller(const Record& schema, void* out) : m_rootSchema(schema), m_root(out) {}

    bool null()
    {
        if (Frame* f = valueFrame(); f && f->field) {
            if (f->field->required || f->type == Frame::Array)
                return wrong(*f, fieldName(*f) + " must not be null");
            f->field->clear(f->target);
            done(*f);
        }
        return m_error.empty();
    }

    bool boolean(bool v)
    {
        Frame* f = valueFrame();
        if (!f || !f->field)
            return m_error.empty();
        if (f->field->kind != Kind::Bool)
            return mismatch(*f, "a Boolean");
        f->field->setBool(f->target, v);
        return done(*f);
    }

    bool integer(std::int64_t v)
    {
        Frame* f = valueFrame();
        if (!f || !f->field)
            return m_error.empty();
        if (f->field->kind != Kind::Int || f->type != Frame::Object)
            return mismatch(*f, "a number");
        f->field->setInt(f->target, v);
        return done(*f);
    }

    bool whole(std::uint64_t v)
    {
        if (v > std::uint64_t(std::numeric_limits<std::int64_t>::max())) {
            Frame* f = valueFrame();
            if (!f || !f->field)
                return m_error.empty();
            return f->field->kind == Kind::Int ? wrong(*f, fieldName(*f) + " does not fit in 64 bits")
                                               : mismatch(*f, "a number");
        }
        return integer(std::int64_t(v));
    }

    bool fraction(double v, std::string_view text)
    {
        Frame* f = valueFrame();
        if (!f || !f->field)
            return m_error.empty();
        if (f->field->kind != Kind::Int)
            return mismatch(*f, "a number");
        // A whole number written as 12.0 or 1e3 is still an integer; a fraction or a value beyond
        // 64 bits is not.
        constexpr double limit = 9223372036854775808.0; // 2^63
        // An integer literal reaches here only when it overflowed 64 bits; its rounded value could
        // still look in range.
        if (text.find_first_of(".eE") == std::string_view::npos)
            return wrong(*f, fieldName(*f) + " does not fit in 64 bits");
        if (!std::isfinite(v) || std::trunc(v) != v)
            return wrong(*f, fieldName(*f) + " must be an integer");
        if (v >= limit || v < -limit)
            return wrong(*f, fieldName(*f) + " does not fit in 64 bits");
        return integer(std::int64_t(v));
    }

    bool string(const json::JsonString& v)
    {
        Frame* f = valueFrame();
        if (!f || !f->field)
            return m_error.empty();
        const Kind kind = f->field->kind;
        if (kind == Kind::String && f->type == Frame::Object)
            f->field->setString(f->target, v.toQString());
        else if (kind == Kind::StringArray && f->type == Frame::Array)
            f->field->addString(f->target, v.toQString());
        else
            return mismatch(*f, "a string");
        return done(*f);
    }

    bool startObject()
    {
        if (m_stack.empty()) {
            m_started = true;
            push(Frame{Frame::Object, &m_rootSchema, m_root});
            return true;
        }
        Frame* f = containerFrame();
        if (!f)
            return true;
        const Kind kind = f->field->kind;
        const bool fits = (kind == Kind::Object && f->type == Frame::Object) ||
                          (kind == Kind::ObjectArray && f->type == Frame::Array);
        if (!fits)
            return mismatch(*f, "an object") && skip();
        Frame child{Frame::Object, &f->field->nested(), f->field->addObject(f->target)};
        child.key = f->field->key;
        push(child);
        return true;
    }

    bool key(std::string_view k)
    {
        Frame& f = m_stack.back();
        if (f.type == Frame::Skip)
            return true;
        f.field = nullptr;
        const auto& fields = f.schema->fields;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (fields[i].key == k) {
                f.field = &fields[i];
                f.fieldIndex = i;
                break;
            }
        }
        if (f.field && (f.seen & (std::uint64_t(1) << f.fieldIndex))) {
            // Given again: the earlier value goes, with whatever was wrong with it.
            if (f.field->reset)
                f.field->reset(f.target);
            forget(f.serial, f.fieldIndex);
        }
        return true;
    }

    bool endObject()
    {
        Frame& f = m_stack.back();
        if (f.type == Frame::Skip)
            return leaveSkip();
        const auto& fields = f.schema->fields;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (fields[i].required && !(f.seen & (std::uint64_t(1) << i))) {
                if (!defer("\"" + std::string(fields[i].key) + "\" is missing" + where(m_stack.size())))
                    return false;
                break;
            }
        }
        m_stack.pop_back();
        if (!m_stack.empty())
            done(m_stack.back());
        return true;
    }

    bool startArray()
    {
        if (m_stack.empty())
            return fail("the reply is not a JSON object");
        Frame* f = containerFrame();
        if (!f)
            return true;
        const Kind kind = f->field->kind;
        if (f->type != Frame::Object || (kind != Kind::ObjectArray && kind != Kind::StringArray))
            return mismatch(*f, "an array") && skip();
        Frame array{Frame::Array, f->schema, f->target};
        array.field = f->field;
        array.key = f->field->key;
        push(array);
        return true;
    }

    bool endArray()
    {
        Frame& f = m_stack.back();
        if (f.type == Frame::Skip)
            return leaveSkip();
        m_stack.pop_back();
        done(m_stack.back());
        return true;
    }

    void syntaxError(std::size_t offset, const char* what)
    {
        if (m_error.empty())
            m_error =
                "it is not valid JSON (" + std::string(what) + " at byte " + std::to_string(offset) + ")";
    }

    void finish() const
    {
        if (!m_error.empty())
            throw DecodeError(m_error);
        if (!m_started)
            throw DecodeError("the reply is not a JSON object");
        if (!m_pending.empty())
            throw DecodeError(m_pending.front().text);
    }

private:
    struct Frame
    {
        enum Type { Object, Array, Skip } type;
        const Record* schema = nullptr;
        void* target = nullptr;
        const Field* field = nullptr; // Object: the field whose value comes next; Array: the array's field
        std::size_t fieldIndex = 0;
        std::uint64_t seen = 0;
        std::size_t index = 0;    // Array: elements read so far
        std::size_t depth = 0;    // Skip: nesting depth
        std::string_view key;     // the field this frame was entered through, for error texts
        std::uint64_t serial = 0; // tells this frame from later ones at the same depth
    };

    // A failure that a later occurrence of one of the keys leading to it would take back.
    struct Pending
    {
        std::string text;
        std::vector<std::pair<std::uint64_t, std::size_t>> keys; // (frame serial, field index)
    };

    // So many waiting failures mean a reply that is wrong throughout; the first is then final.
    static constexpr std::size_t maxPending = 1024;

    void push(Frame frame)
    {
        frame.serial = ++m_serials;
        m_stack.push_back(frame);
    }

    // The frame a scalar value belongs to; null before the root object or after it.
    Frame* valueFrame()
    {
        if (m_stack.empty()) {
            fail("the reply is not a JSON object");
            return nullptr;
        }
        Frame& f = m_stack.back();
        if (f.type == Frame::Skip)
            return nullptr;
        if (f.type == Frame::Object && !f.field)
            return nullptr; // the value of a key the record does not name

        return &f;
    }

    // A value for the pending field was taken.
    bool done(Frame& f)
    {
        if (f.type == Frame::Object) {
            f.seen |= std::uint64_t(1) << f.fieldIndex;
            f.field = nullptr;
        } else if (f.type == Frame::Array) {
            ++f.index;
        }
        return true;
    }

    // The frame whose field an object or array opening now fills, or null when it is skipped: inside
    // a value being skipped (one level deeper), or as the value of a key the record does not name.
    Frame* containerFrame()
    {
        Frame& f = m_stack.back();
        if (f.type == Frame::Skip) {
            ++f.depth;
            return nullptr;
        }
        if (!f.field) {
            skip();
            return nullptr;
        }
        return &f;
    }

    bool skip()
    {
        Frame s{Frame::Skip};
        s.depth = 1;
        push(s);
        return true;
    }

    // A value that does not fit the record: the failure waits, and the value counts as given.
    bool wrong(Frame& f, std::string text)
    {
        if (!defer(std::move(text)))
            return false;
        return done(f);
    }

    // Keeps a failure until the end, with the keys that lead to it; final at once when no key could
    // take it back.
    bool defer(std::string text)
    {
        Pending pending{std::move(text), {}};
        for (const Frame& f : m_stack) {
            if (f.type == Frame::Object && f.field)
                pending.keys.emplace_back(f.serial, f.fieldIndex);
        }
        if (pending.keys.empty())
            return fail(std::move(pending.text));
        if (m_pending.size() >= maxPending)
            return fail(m_pending.front().text);
        m_pending.push_back(std::move(pending));
        return true;
    }

    // Takes back the failures that the key `fieldIndex` of the frame `serial` led to.
    void forget(std::uint64_t serial, std::size_t fieldIndex)
    {
        const std::pair<std::uint64_t, std::size_t> key(serial, fieldIndex);
        std::erase_if(m_pending, [&key](const Pending& p) {
            return std::find(p.keys.cbegin(), p.keys.cend(), key) != p.keys.cend();
        });
    }

    bool leaveSkip()
    {
        if (--m_stack.back().depth == 0)
            m_stack.pop_back();
        return true;
    }

    bool mismatch(Frame& f, const char* found)
    {
        static constexpr const char* expected[] = {"a string",  "a Boolean",         "an integer",
                                                   "an object", "a list of strings", "a list of objects"};
        const Kind kind = f.field->kind;
        std::string want = expected[int(kind)];
        if (f.type == Frame::Array)
            want = kind == Kind::StringArray ? "a string" : "an object";
        return wrong(f, fieldName(f) + " must be " + want + ", not " + found);
    }

    std::string fieldName(const Frame& f) const
    {
        if (f.type == Frame::Array)
            return "an element of \"" + std::string(f.field->key) + "\"" + where(m_stack.size());
        return "\"" + std::string(f.field->key) + "\"" + where(m_stack.size());
    }

    // " in jobs[2]" style location of the innermost `depth` frames.
    std::string where(std::size_t depth) const
    {
        std::string path;
        for (std::size_t i = 1; i < depth && i < m_stack.size(); ++i) {
            const Frame& f = m_stack[i];
            if (f.type == Frame::Array)
                continue;
            if (!path.empty())
                path += '.';
            path += f.key;
            if (m_stack[i - 1].type == Frame::Array)
                path += "[" + std::to_string(m_stack[i - 1].index) + "]";
        }
        return path.empty() ? std::string() : " in " + path;
    }

    bool fail(std::string text)
    {
        if (m_error.empty())
            m_error = std::move(text);
        return false;
    }

    const Record& m_rootSchema;
    void* m_root;
    std::vector<Frame> m_stack;
    std::string m_error;
    std::vector<Pending> m_pending;
    std::uint64_t m_serials = 0;
    bool m_started = false;
};

} // namespace brightloom::schema
