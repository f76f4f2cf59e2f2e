#pragma once
// Functions known to expressions: the built-in library (fn: and the xs: constructor
// functions) and functions a rule set defines. A call is bound to its definition when
// the expression is compiled; the arguments are then converted to the declared
// parameter types by the function conversion rules before the implementation runs.

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "xpath/expanded_name.h"
#include "xpath/item.h"
#include "xpath/sequence_type.h"

namespace quillmark::xpath {

class DynamicContext;
class Expression;

// Arguments after conversion, one sequence per parameter.
using Arguments = std::vector<Sequence>;
using BuiltinImplementation = Sequence (*)(DynamicContext& context, Arguments& arguments);

// What a built-in needs from the focus. A function whose zero-argument form stands for
// the context item (string(), name(), normalize-space()) is registered once, with its
// argument; a call without it is compiled as a call with `.`.
enum class FocusUse { None, ContextItemDefault, PositionOrSize };

// The body of a function defined by a rule set: parameters in frame slots, a body
// expression evaluated in a frame of its own.
struct UserFunctionBody {
    std::vector<size_t> parameterSlots;
    size_t frameSize = 0;
    std::unique_ptr<Expression> body;
    ~UserFunctionBody();
};

// Functions whose effective boolean value is cheaper than their value.
enum class BooleanForm { None, Not, Boolean, Exists, Empty };

struct FunctionDefinition {
    ExpandedName name;
    std::vector<SequenceType> parameters;
    SequenceType result = SequenceType::anyItems();
    bool variadic = false;  // the last parameter repeats (fn:concat)
    FocusUse focus = FocusUse::None;
    BooleanForm booleanForm = BooleanForm::None;
    BuiltinImplementation builtin = nullptr;
    std::shared_ptr<UserFunctionBody> user;  // set when the rule set defines the function
    // Constructor functions (xs:decimal(...)) cast their one argument to this type.
    std::optional<AtomicType> constructorType;

    bool acceptsArity(size_t count) const {
        return variadic ? count >= parameters.size() : count == parameters.size();
    }
    // The declared type of argument `index` (the repeated one for variadic functions).
    const SequenceType& parameterType(size_t index) const {
        return index < parameters.size() ? parameters[index] : parameters.back();
    }
};

class FunctionLibrary {
public:
    // A library that falls back on `parent` for names it does not define.
    explicit FunctionLibrary(const FunctionLibrary* parent = nullptr) : parent_(parent) {}

    void add(FunctionDefinition definition);
    // The definition taking `arity` arguments, if any.
    const FunctionDefinition* find(const ExpandedName& name, size_t arity) const;
    // True when some arity of the name is defined (tells "unknown function" from
    // "wrong number of arguments" in messages).
    bool knows(const ExpandedName& name) const;

    // The built-in library: XPath 2.0 functions and xs: constructor functions.
    static const FunctionLibrary& builtins();

private:
    const FunctionLibrary* parent_;
    std::unordered_map<ExpandedName, std::vector<std::unique_ptr<FunctionDefinition>>, ExpandedNameHash> functions_;
};

// Registration of the built-in families, one file each.
void registerStringFunctions(FunctionLibrary& library);
void registerNumericFunctions(FunctionLibrary& library);
void registerAggregateFunctions(FunctionLibrary& library);
void registerSequenceFunctions(FunctionLibrary& library);
void registerBooleanFunctions(FunctionLibrary& library);
void registerNodeFunctions(FunctionLibrary& library);
void registerDateTimeFunctions(FunctionLibrary& library);
void registerRegexFunctions(FunctionLibrary& library);
void registerConstructorFunctions(FunctionLibrary& library);
void registerMiscellaneousFunctions(FunctionLibrary& library);

}  // namespace quillmark::xpath
