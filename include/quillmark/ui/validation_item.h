#pragma once
// One row of the result outline. Three kinds share the record:
//   schema row  - "Validated with: NAME", green dot, an empty list of children;
//   issue row   - the shaped message, red or orange dot, 0 to 4 detail rows, the issue;
//   detail row  - a label and a value, no children list, no issue, no dot.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_model.h"
#include "quillmark/ui/status_dot.h"

namespace quillmark {

struct QMValidationItem;
using QMValidationItemPtr = std::shared_ptr<QMValidationItem>;

struct QMValidationItem {
    std::string title;
    std::optional<std::string> value;                        // detail rows only
    std::optional<std::vector<QMValidationItemPtr>> children;  // absent for detail rows
    bool isError = false;
    std::optional<QMValidationError> error;           // issue rows only
    std::optional<QMStatusDotImage> statusIndicator;  // top-level rows only

    size_t childCount() const { return children ? children->size() : 0; }
    // The row's text in a cell and in copied text: "title: value", or the title alone.
    std::string displayText() const;
};

}  // namespace quillmark
