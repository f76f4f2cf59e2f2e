// The four conversions every operator, predicate and function rests on, and the binary
// operators. They deliberately differ from XPath 2.0: numbers are read leniently from
// text, comparisons look at the first item of a sequence, `!=` is the negation of `=`,
// and ordering comparisons yield integer-tagged results.

#include <cmath>

#include "quillmark/evaluator.h"

namespace quillmark {

bool QMXPath2Evaluator::toBoolean(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::Absent:
        case Value::Kind::Null: return false;
        case Value::Kind::Boolean: return value.asBoolean();
        case Value::Kind::Integer: return value.asInteger() != 0;
        case Value::Kind::Double: {
            double number = value.asDouble();
            return !std::isnan(number) && number != 0.0;
        }
        case Value::Kind::String: return !value.asString().empty();
        case Value::Kind::Sequence: return !value.items().empty();
        case Value::Kind::Node: return true;
    }
    return false;
}

double QMXPath2Evaluator::toDouble(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::Boolean:
        case Value::Kind::Integer:
        case Value::Kind::Double: return value.numberValue();
        case Value::Kind::String: return readNumberPrefix(value.asString());
        case Value::Kind::Node: return readNumberPrefix(value.asNode().stringValue().value_or(""));
        case Value::Kind::Sequence: return value.items().empty() ? 0.0 : toDouble(value.items().front());
        case Value::Kind::Absent:
        case Value::Kind::Null: return 0.0;
    }
    return 0.0;
}

std::string QMXPath2Evaluator::toString(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::String: return value.asString();
        case Value::Kind::Boolean: return value.asBoolean() ? "true" : "false";
        case Value::Kind::Integer: return std::to_string(value.asInteger());
        case Value::Kind::Double: return formatNumber(value.asDouble());
        case Value::Kind::Node: return value.asNode().stringValue().value_or("");
        case Value::Kind::Sequence: return value.items().empty() ? "" : toString(value.items().front());
        case Value::Kind::Absent:
        case Value::Kind::Null: return "";
    }
    return "";
}

bool QMXPath2Evaluator::isEqual(const Value& left, const Value& right) {
    if (right.isSequence()) {
        for (const Value& item : right.items())
            if (isEqual(left, item)) return true;
        return false;
    }
    if (left.isSequence()) {
        for (const Value& item : left.items())
            if (isEqual(item, right)) return true;
        return false;
    }
    if (left.isNumber() && right.isNumber()) return left.numberValue() == right.numberValue();
    return toString(left) == toString(right);
}

namespace {

Value comparison(bool holds) { return Value::integer(holds ? 1 : 0); }

}  // namespace

Value QMXPath2Evaluator::evaluateBinaryOp(int64_t op, const Value& left, const Value& right) {
    switch (op) {
        case QMXPTokenLessEqual: return comparison(toDouble(left) <= toDouble(right));
        case QMXPTokenGreaterEqual: return comparison(toDouble(left) >= toDouble(right));
        case QMXPTokenNotEqual: return comparison(!isEqual(left, right));
        case QMXPTokenLess: return comparison(toDouble(left) < toDouble(right));
        case QMXPTokenGreater: return comparison(toDouble(left) > toDouble(right));
        case QMXPTokenEqual: return Value::boolean(isEqual(left, right));
        case QMXPTokenPlus: return Value::number(toDouble(left) + toDouble(right));
        case QMXPTokenMinus: return Value::number(toDouble(left) - toDouble(right));
        case QMXPTokenStar: return Value::number(toDouble(left) * toDouble(right));
        case QMXPTokenOr: return Value::boolean(toBoolean(left) || toBoolean(right));
        case QMXPTokenAnd: return Value::boolean(toBoolean(left) && toBoolean(right));
        case QMXPTokenDiv: return Value::number(toDouble(left) / toDouble(right));
        default: return Value::integer(0);  // union and every other code
    }
}

Sequence QMXPath2Evaluator::normalizeToArray(const Value& value) {
    if (value.isSequence()) return value.items();
    if (value.isAbsent()) return {};
    return {value};
}

void QMXPath2Evaluator::flattenIntoArray(Sequence& into, const Value& value) {
    if (value.isAbsent()) return;
    if (value.isSequence()) {
        into.insert(into.end(), value.items().begin(), value.items().end());
        return;
    }
    into.push_back(value);
}

}  // namespace quillmark
