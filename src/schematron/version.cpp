// Version symbols exported by the library.

#include "quillmark/schematron_validator.h"

namespace quillmark {

const double QuillmarkVersionNumber = 1.0;
const unsigned char QuillmarkVersionString[] = "@(#)PROGRAM:Quillmark  PROJECT:Quillmark-1\n";

}  // namespace quillmark
