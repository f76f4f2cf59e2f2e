#include "xpath/function_registration.h"

namespace quillmark::xpath {

void registerAggregateFunctions(FunctionLibrary&) {}

}  // namespace quillmark::xpath
