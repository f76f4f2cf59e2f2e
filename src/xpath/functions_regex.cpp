#include "xpath/function_registration.h"

namespace quillmark::xpath {

void registerRegexFunctions(FunctionLibrary&) {}

}  // namespace quillmark::xpath
