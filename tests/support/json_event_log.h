#pragma once

// Both JSON readers the client has known, reduced to one line per event, so a test or a fuzzer can
// hold the client's own scanner to the widely used strict parser it replaced, event for event.

#include "service/json_scanner.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace brightloom::testing {

// The lines written so far.
class Lines
{
protected:
    bool add(const std::string& line)
    {
        m_log += line;
        m_log += '\n';
        return true;
    }
    std::string m_log;
};

// What the client's scanner reports, or "error" when it refuses the text.
class ScannerLog : public Lines
{
public:
    bool null() { return add("null"); }
    bool boolean(bool v) { return add(v ? "true" : "false"); }
    bool integer(std::int64_t v) { return add("int " + std::to_string(v)); }
    bool whole(std::uint64_t v) { return add("int " + std::to_string(v)); }
    bool fraction(double, std::string_view text) { return add("number " + std::string(text)); }
    bool string(const json::JsonString& s)
    {
        std::string text;
        json::unescapeInto(s.raw, text);
        return add("string " + text);
    }
    bool startObject() { return add("{"); }
    bool key(std::string_view k) { return add("key " + std::string(k)); }
    bool endObject() { return add("}"); }
    bool startArray() { return add("["); }
    bool endArray() { return add("]"); }
    void syntaxError(std::size_t, const char*) { m_log = "error"; }

    static std::string of(std::string_view text)
    {
        ScannerLog log;
        json::Scanner<ScannerLog> scanner(text, log);
        return scanner.run() ? log.m_log : std::string("error");
    }
};

// The same lines from nlohmann-json's event parser.
class ReferenceLog : public nlohmann::json_sax<nlohmann::json>, public Lines
{
public:
    bool null() override { return add("null"); }
    bool boolean(bool v) override { return add(v ? "true" : "false"); }
    bool number_integer(number_integer_t v) override { return add("int " + std::to_string(v)); }
    bool number_unsigned(number_unsigned_t v) override { return add("int " + std::to_string(v)); }
    bool number_float(number_float_t, const string_t& text) override { return add("number " + text); }
    bool string(string_t& v) override { return add("string " + v); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return add("{"); }
    bool key(string_t& k) override { return add("key " + k); }
    bool end_object() override { return add("}"); }
    bool start_array(std::size_t) override { return add("["); }
    bool end_array() override { return add("]"); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override
    {
        return false;
    }

    static std::string of(std::string_view text)
    {
        // That parser takes a NUL byte for the end of the text and ignores what follows; no JSON text
        // holds one, so the strict answer is a refusal.
        if (text.find('\0') != std::string_view::npos)
            return "error";
        ReferenceLog log;
        const bool ok = nlohmann::json::sax_parse(text.begin(), text.end(), &log);
        return ok ? log.m_log : std::string("error");
    }
};

} // namespace brightloom::testing
