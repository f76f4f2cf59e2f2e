// Creation of a validator: an empty catalog and an empty matching cache. Nothing is
// read until the host registers schema directories.

#include "quillmark/schematron_validator.h"

namespace quillmark {

QMSchematronValidator::QMSchematronValidator() : _isInitialized(true), _schemaCatalog(), _matchingCache() {}

}  // namespace quillmark
