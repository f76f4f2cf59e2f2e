#pragma once
// The value every expression yields. Numbers carry a tag fixed when they are made
// (boolean, integer or double): the tag decides their text ("true", "3", "3.5") and
// whether a number alone in a predicate is a truth test or a position.

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "quillmark/xml.h"

namespace quillmark {

class Value;
using Sequence = std::vector<Value>;

class Value {
public:
    // Kinds in the order of the variant below.
    enum class Kind : uint8_t { Absent, Null, String, Boolean, Integer, Double, Node, Sequence };

    Value() = default;  // absent
    static Value absent() { return Value(); }
    static Value nullMarker();
    static Value string(std::string text);
    static Value boolean(bool truth);
    static Value integer(int64_t number);
    static Value number(double number);  // double-tagged
    static Value node(xml::Node node);
    static Value sequence(Sequence items);
    static Value emptySequence();

    Kind kind() const { return static_cast<Kind>(data_.index()); }
    bool isAbsent() const { return kind() == Kind::Absent; }
    bool isNull() const { return kind() == Kind::Null; }
    bool isString() const { return kind() == Kind::String; }
    bool isBoolean() const { return kind() == Kind::Boolean; }
    bool isInteger() const { return kind() == Kind::Integer; }
    bool isDouble() const { return kind() == Kind::Double; }
    bool isNumber() const { return isBoolean() || isInteger() || isDouble(); }
    bool isNode() const { return kind() == Kind::Node; }
    bool isSequence() const { return kind() == Kind::Sequence; }

    const std::string& asString() const { return std::get<std::string>(data_); }
    bool asBoolean() const { return std::get<bool>(data_); }
    int64_t asInteger() const { return std::get<int64_t>(data_); }
    double asDouble() const { return std::get<double>(data_); }
    // Any number as a double (true is 1, false 0); 0 for non-numbers.
    double numberValue() const;
    xml::Node asNode() const { return std::get<xml::Node>(data_); }
    // Items of a sequence; an empty list for every other kind.
    const Sequence& items() const;

    // Short text used by the trace: numbers plainly, strings in double quotes,
    // "[Array count=N]", "<node:NAME>", "<value>" for the null marker, "nil" for absent.
    std::string shortDescription() const;
    // Longer description used in trace messages: numbers as text (booleans as 1/0),
    // strings as they are, nodes as XML, sequences as "(\n    item,\n    item\n)",
    // "(null)" for absent and "<null>" for the null marker.
    std::string description() const;

private:
    struct NullTag {
        friend bool operator==(NullTag, NullTag) { return true; }
    };
    using SequencePtr = std::shared_ptr<const Sequence>;
    using Data = std::variant<std::monostate, NullTag, std::string, bool, int64_t, double, xml::Node, SequencePtr>;
    explicit Value(Data data) : data_(std::move(data)) {}
    Data data_;
};

// Number text as "%0.16g": at most 16 significant digits, no trailing zeros; NaN is
// "nan" (never "-nan"), infinities "inf" and "-inf".
std::string formatNumber(double number);

// Lenient number reading: leading white space skipped, then the longest prefix of the
// form [sign] digits [. digits] [exponent] (or [sign] . digits ...); 0 when there is
// none. Never reads "inf", "nan", hexadecimal or locale forms.
double readNumberPrefix(std::string_view text);

// Scans a number at the start of `text` (no white space skipped). Returns the number
// of characters consumed (0 when no number starts there) and stores the value.
size_t scanNumber(std::string_view text, double* value);

}  // namespace quillmark
