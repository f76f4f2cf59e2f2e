#include "xpath/function_registration.h"

namespace quillmark::xpath {

void registerNumericFunctions(FunctionLibrary&) {}

}  // namespace quillmark::xpath
