#include "xpath/function_registration.h"

namespace quillmark::xpath {

void registerSequenceFunctions(FunctionLibrary&) {}

}  // namespace quillmark::xpath
