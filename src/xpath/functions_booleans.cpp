// fn:not, fn:boolean, fn:true, fn:false.

#include "xpath/function_registration.h"

namespace quillmark::xpath {
namespace {

Sequence notFunction(DynamicContext&, Arguments& arguments) { return booleanResult(!effectiveBooleanValue(arguments[0])); }
Sequence booleanFunction(DynamicContext&, Arguments& arguments) { return booleanResult(effectiveBooleanValue(arguments[0])); }
Sequence trueFunction(DynamicContext&, Arguments&) { return booleanResult(true); }
Sequence falseFunction(DynamicContext&, Arguments&) { return booleanResult(false); }

}  // namespace

void registerBooleanFunctions(FunctionLibrary& library) {
    define(library, {.name = "not", .parameters = {"item()*"}, .result = "xs:boolean", .booleanForm = BooleanForm::Not},
           &notFunction);
    define(library,
           {.name = "boolean", .parameters = {"item()*"}, .result = "xs:boolean", .booleanForm = BooleanForm::Boolean},
           &booleanFunction);
    define(library, {.name = "true", .result = "xs:boolean"}, &trueFunction);
    define(library, {.name = "false", .result = "xs:boolean"}, &falseFunction);
}

}  // namespace quillmark::xpath
