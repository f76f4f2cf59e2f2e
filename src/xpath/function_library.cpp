#include "xpath/function_library.h"

#include "xpath/syntax_tree.h"

namespace quillmark::xpath {

UserFunctionBody::~UserFunctionBody() = default;

void FunctionLibrary::add(FunctionDefinition definition) {
    auto& overloads = functions_[definition.name];
    for (auto& existing : overloads) {
        if (existing->parameters.size() == definition.parameters.size() && existing->variadic == definition.variadic) {
            *existing = std::move(definition);  // a later definition replaces an earlier one
            return;
        }
    }
    overloads.push_back(std::make_unique<FunctionDefinition>(std::move(definition)));
}

const FunctionDefinition* FunctionLibrary::find(const ExpandedName& name, size_t arity) const {
    if (auto found = functions_.find(name); found != functions_.end()) {
        for (const auto& definition : found->second) {
            if (definition->acceptsArity(arity)) return definition.get();
        }
    }
    return parent_ ? parent_->find(name, arity) : nullptr;
}

bool FunctionLibrary::knows(const ExpandedName& name) const {
    return functions_.contains(name) || (parent_ && parent_->knows(name));
}

const FunctionLibrary& FunctionLibrary::builtins() {
    static const FunctionLibrary library = [] {
        FunctionLibrary built;
        registerConstructorFunctions(built);
        registerStringFunctions(built);
        registerNumericFunctions(built);
        registerAggregateFunctions(built);
        registerSequenceFunctions(built);
        registerBooleanFunctions(built);
        registerNodeFunctions(built);
        registerDateTimeFunctions(built);
        registerRegexFunctions(built);
        registerMiscellaneousFunctions(built);
        return built;
    }();
    return library;
}

// xs:T(value) for every atomic type that has a constructor; the parser compiles such
// calls into casts.
void registerConstructorFunctions(FunctionLibrary& library) {
    for (int index = 0; index <= static_cast<int>(AtomicType::NOTATION); ++index) {
        const auto type = static_cast<AtomicType>(index);
        if (type == AtomicType::AnyAtomicType || type == AtomicType::NOTATION) continue;
        FunctionDefinition definition;
        definition.name = ExpandedName{kSchemaNamespace, std::string(atomicTypeLocalName(type))};
        definition.parameters = {SequenceType::atomic(AtomicType::AnyAtomicType, Occurrence::ZeroOrOne)};
        definition.result = SequenceType::atomic(type, Occurrence::ZeroOrOne);
        definition.constructorType = type;
        library.add(std::move(definition));
    }
}

}  // namespace quillmark::xpath
