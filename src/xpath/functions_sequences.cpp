// Functions on sequences: fn:empty, fn:exists, fn:distinct-values, fn:index-of,
// fn:insert-before, fn:remove, fn:reverse, fn:subsequence, fn:unordered,
// fn:zero-or-one, fn:one-or-more, fn:exactly-one, fn:deep-equal.

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "xpath/collation.h"
#include "xpath/deep_equal.h"
#include "xpath/function_registration.h"
#include "xpath/numeric_helpers.h"

namespace quillmark::xpath {
namespace {

Sequence empty(DynamicContext&, Arguments& arguments) { return booleanResult(arguments[0].empty()); }
Sequence exists(DynamicContext&, Arguments& arguments) { return booleanResult(!arguments[0].empty()); }

// Each value once, at its first occurrence: 1, 1.0 and 1e0 are one value, "1" another,
// NaN appears once.
Sequence distinctValues(DynamicContext& context, Arguments& arguments) {
    if (arguments.size() > 1) requireSupportedCollation(arguments[1], "distinct-values");
    const OperatorContext& operators = context.operators();
    Sequence result;
    std::unordered_map<size_t, std::vector<size_t>> kept;  // hash -> positions in result
    for (Item& item : arguments[0]) {
        const AtomicValue& value = item.atomic();
        std::vector<size_t>& sameHash = kept[hashForGrouping(value, operators)];
        context.budget().charge(sameHash.size() + 1);
        const bool seen = std::any_of(sameHash.begin(), sameHash.end(), [&](size_t position) {
            return equalForGrouping(result[position].atomic(), value, operators);
        });
        if (seen) continue;
        sameHash.push_back(result.size());
        result.push_back(std::move(item));
    }
    return result;
}

// The positions of the values equal to the search value by `eq`; values that cannot be
// compared with it, and NaN, are never equal.
Sequence indexOf(DynamicContext& context, Arguments& arguments) {
    if (arguments.size() > 2) requireSupportedCollation(arguments[2], "index-of");
    const AtomicValue& search = arguments[1].front().atomic();
    Sequence positions;
    if (isNaN(search)) return positions;
    const Sequence& values = arguments[0];
    for (size_t index = 0; index < values.size(); ++index) {
        context.budget().charge();
        if (equalForGrouping(values[index].atomic(), search, context.operators())) {
            positions.emplace_back(AtomicValue::fromInteger(static_cast<int64_t>(index + 1)));
        }
    }
    return positions;
}

// An xs:integer position argument, clamped into int64 (beyond it, every position is
// out of range alike).
int64_t positionArgument(const Sequence& argument) {
    const Decimal& position = argument.front().atomic().decimalValue();
    if (const std::optional<int64_t> small = position.toInt64()) return *small;
    return position.sign() > 0 ? INT64_MAX : INT64_MIN;
}

// The inserts go before the item at the position; a position before the start inserts
// at the start, one after the end appends.
Sequence insertBefore(DynamicContext&, Arguments& arguments) {
    Sequence& target = arguments[0];
    const int64_t position = positionArgument(arguments[1]);
    const int64_t size = static_cast<int64_t>(target.size());
    const auto offset = static_cast<ptrdiff_t>(std::clamp<int64_t>(position - 1, 0, size));
    Sequence& inserts = arguments[2];
    target.insert(target.begin() + offset, std::make_move_iterator(inserts.begin()),
                  std::make_move_iterator(inserts.end()));
    return std::move(target);
}

// A position outside the sequence removes nothing.
Sequence remove(DynamicContext&, Arguments& arguments) {
    Sequence& target = arguments[0];
    const int64_t position = positionArgument(arguments[1]);
    if (position >= 1 && position <= static_cast<int64_t>(target.size())) {
        target.erase(target.begin() + static_cast<ptrdiff_t>(position - 1));
    }
    return std::move(target);
}

Sequence reverse(DynamicContext&, Arguments& arguments) {
    std::reverse(arguments[0].begin(), arguments[0].end());
    return std::move(arguments[0]);
}

Sequence unordered(DynamicContext&, Arguments& arguments) { return std::move(arguments[0]); }

// The items at positions p with round(start) <= p < round(start) + round(length), computed
// in doubles: a NaN bound (also -INF + INF) selects nothing.
Sequence subsequence(DynamicContext&, Arguments& arguments) {
    Sequence& source = arguments[0];
    const double start = roundHalfUp(arguments[1].front().atomic().doubleValue());
    const double end =
        arguments.size() > 2 ? start + roundHalfUp(arguments[2].front().atomic().doubleValue()) : INFINITY;
    if (std::isnan(start) || std::isnan(end)) return {};
    const double first = std::max(start, 1.0);
    const double afterLast = std::min(end, static_cast<double>(source.size()) + 1);
    if (!(first < afterLast)) return {};
    // Both bounds are now whole numbers within 1 .. size + 1.
    const auto from = static_cast<ptrdiff_t>(first) - 1;
    const auto to = static_cast<ptrdiff_t>(afterLast) - 1;
    return Sequence(std::make_move_iterator(source.begin() + from), std::make_move_iterator(source.begin() + to));
}

Sequence zeroOrOne(DynamicContext&, Arguments& arguments) {
    if (arguments[0].size() > 1) {
        throw XPathError(ErrorCode::FORG0003,
                         "zero-or-one() was given " + std::to_string(arguments[0].size()) + " items");
    }
    return std::move(arguments[0]);
}

Sequence oneOrMore(DynamicContext&, Arguments& arguments) {
    if (arguments[0].empty()) throw XPathError(ErrorCode::FORG0004, "one-or-more() was given an empty sequence");
    return std::move(arguments[0]);
}

Sequence exactlyOne(DynamicContext&, Arguments& arguments) {
    if (arguments[0].size() != 1) {
        throw XPathError(ErrorCode::FORG0005,
                         "exactly-one() was given " + std::to_string(arguments[0].size()) + " items");
    }
    return std::move(arguments[0]);
}

Sequence deepEqualFunction(DynamicContext& context, Arguments& arguments) {
    if (arguments.size() > 2) requireSupportedCollation(arguments[2], "deep-equal");
    return booleanResult(deepEqual(arguments[0], arguments[1], context));
}

}  // namespace

void registerSequenceFunctions(FunctionLibrary& library) {
    define(library,
           {.name = "empty", .parameters = {"item()*"}, .result = "xs:boolean", .booleanForm = BooleanForm::Empty},
           &empty);
    define(library,
           {.name = "exists", .parameters = {"item()*"}, .result = "xs:boolean", .booleanForm = BooleanForm::Exists},
           &exists);
    define(library, {.name = "distinct-values", .parameters = {"xs:anyAtomicType*"}, .result = "xs:anyAtomicType*"},
           &distinctValues);
    define(library,
           {.name = "distinct-values", .parameters = {"xs:anyAtomicType*", "xs:string"},
            .result = "xs:anyAtomicType*"},
           &distinctValues);
    define(library,
           {.name = "index-of", .parameters = {"xs:anyAtomicType*", "xs:anyAtomicType"}, .result = "xs:integer*"},
           &indexOf);
    define(library,
           {.name = "index-of", .parameters = {"xs:anyAtomicType*", "xs:anyAtomicType", "xs:string"},
            .result = "xs:integer*"},
           &indexOf);
    define(library, {.name = "insert-before", .parameters = {"item()*", "xs:integer", "item()*"}, .result = "item()*"},
           &insertBefore);
    define(library, {.name = "remove", .parameters = {"item()*", "xs:integer"}, .result = "item()*"}, &remove);
    define(library, {.name = "reverse", .parameters = {"item()*"}, .result = "item()*"}, &reverse);
    define(library, {.name = "subsequence", .parameters = {"item()*", "xs:double"}, .result = "item()*"}, &subsequence);
    define(library, {.name = "subsequence", .parameters = {"item()*", "xs:double", "xs:double"}, .result = "item()*"},
           &subsequence);
    define(library, {.name = "unordered", .parameters = {"item()*"}, .result = "item()*"}, &unordered);
    define(library, {.name = "zero-or-one", .parameters = {"item()*"}, .result = "item()?"}, &zeroOrOne);
    define(library, {.name = "one-or-more", .parameters = {"item()*"}, .result = "item()+"}, &oneOrMore);
    define(library, {.name = "exactly-one", .parameters = {"item()*"}, .result = "item()"}, &exactlyOne);
    define(library, {.name = "deep-equal", .parameters = {"item()*", "item()*"}, .result = "xs:boolean"},
           &deepEqualFunction);
    define(library,
           {.name = "deep-equal", .parameters = {"item()*", "item()*", "xs:string"}, .result = "xs:boolean"},
           &deepEqualFunction);
}

}  // namespace quillmark::xpath
