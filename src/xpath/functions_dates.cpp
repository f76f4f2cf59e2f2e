#include "xpath/function_registration.h"

namespace quillmark::xpath {

void registerDateTimeFunctions(FunctionLibrary&) {}

}  // namespace quillmark::xpath
