#include "xpath/function_registration.h"

namespace quillmark::xpath {

void registerMiscellaneousFunctions(FunctionLibrary&) {}

}  // namespace quillmark::xpath
