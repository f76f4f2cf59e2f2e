#include "xpath/function_registration.h"

namespace quillmark::xpath {

void registerStringsFunctions(FunctionLibrary&) {}

}  // namespace quillmark::xpath
