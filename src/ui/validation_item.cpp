#include "quillmark/ui/validation_item.h"

#include "quillmark/ui/strings.h"

namespace quillmark {

std::string QMValidationItem::displayText() const {
    if (!value) return title;
    return ui::formatString("%@: %@", {title, *value});
}

}  // namespace quillmark
