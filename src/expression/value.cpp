#include "quillmark/value.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include <fmt/format.h>

namespace quillmark {

Value Value::nullMarker() { return Value(Data(NullTag{})); }
Value Value::string(std::string text) { return Value(Data(std::move(text))); }
Value Value::boolean(bool truth) { return Value(Data(truth)); }
Value Value::integer(int64_t number) { return Value(Data(number)); }
Value Value::number(double number) { return Value(Data(number)); }
Value Value::node(xml::Node node) { return Value(Data(node)); }
Value Value::sequence(Sequence items) { return Value(Data(std::make_shared<const Sequence>(std::move(items)))); }

Value Value::emptySequence() {
    static const SequencePtr empty = std::make_shared<const Sequence>();
    return Value(Data(empty));
}

double Value::numberValue() const {
    switch (kind()) {
        case Kind::Boolean: return asBoolean() ? 1.0 : 0.0;
        case Kind::Integer: return static_cast<double>(asInteger());
        case Kind::Double: return asDouble();
        case Kind::Absent:
        case Kind::Null:
        case Kind::String:
        case Kind::Node:
        case Kind::Sequence: return 0.0;
    }
    return 0.0;
}

const Sequence& Value::items() const {
    static const Sequence none;
    if (!isSequence()) return none;
    return *std::get<SequencePtr>(data_);
}

std::string Value::shortDescription() const {
    switch (kind()) {
        case Kind::Absent: return "nil";
        case Kind::Null: return "<value>";
        case Kind::String: return fmt::format("\"{}\"", asString());
        case Kind::Boolean: return asBoolean() ? "1" : "0";
        case Kind::Integer: return std::to_string(asInteger());
        case Kind::Double: return formatNumber(asDouble());
        case Kind::Node: return fmt::format("<node:{}>", asNode().name());
        case Kind::Sequence: return fmt::format("[Array count={}]", items().size());
    }
    return "";
}

std::string Value::description() const {
    switch (kind()) {
        case Kind::Absent: return "(null)";
        case Kind::Null: return "<null>";
        case Kind::String: return asString();
        case Kind::Boolean:
        case Kind::Integer:
        case Kind::Double: return shortDescription();
        case Kind::Node: return asNode().xmlString();
        case Kind::Sequence: {
            if (items().empty()) return "(\n)";
            std::string text = "(\n";
            for (size_t i = 0; i < items().size(); ++i) {
                text += "    " + items()[i].description();
                text += i + 1 < items().size() ? ",\n" : "\n";
            }
            return text + ")";
        }
    }
    return "";
}

std::string formatNumber(double number) {
    if (std::isnan(number)) return "nan";
    if (std::isinf(number)) return number < 0 ? "-inf" : "inf";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.16g", number);
    return buffer;
}

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

size_t skipDigits(std::string_view text, size_t at) {
    while (at < text.size() && isDigit(text[at])) ++at;
    return at;
}

// Length of "[e|E][sign]digits" at `at`, or 0 when no complete exponent stands there.
size_t exponentLength(std::string_view text, size_t at) {
    if (at >= text.size() || (text[at] != 'e' && text[at] != 'E')) return 0;
    size_t end = at + 1;
    if (end < text.size() && (text[end] == '+' || text[end] == '-')) ++end;
    size_t digitsEnd = skipDigits(text, end);
    return digitsEnd > end ? digitsEnd - at : 0;
}

}  // namespace

size_t scanNumber(std::string_view text, double* value) {
    size_t at = 0;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
    size_t mantissaStart = at;
    size_t integerEnd = skipDigits(text, at);
    size_t end = integerEnd;
    if (end < text.size() && text[end] == '.') {
        size_t fractionEnd = skipDigits(text, end + 1);
        bool hasDigits = integerEnd > mantissaStart || fractionEnd > end + 1;
        if (!hasDigits) return 0;
        end = fractionEnd;
    } else if (integerEnd == mantissaStart) {
        return 0;
    }
    size_t exponent = exponentLength(text, end);
    bool negativeExponent = exponent > 1 && text[end + 1] == '-';
    end += exponent;

    double magnitude = 0;
    auto [ptr, ec] = std::from_chars(text.data() + mantissaStart, text.data() + end, magnitude);
    (void)ptr;
    if (ec == std::errc::result_out_of_range) magnitude = negativeExponent ? 0.0 : HUGE_VAL;
    if (value) *value = negative ? -magnitude : magnitude;
    return end;
}

double readNumberPrefix(std::string_view text) {
    size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) ++at;
    double value = 0;
    if (scanNumber(text.substr(at), &value) == 0) return 0.0;
    return value;
}

}  // namespace quillmark
