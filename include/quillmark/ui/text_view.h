#pragma once
// What the presentation logic needs from the text view that shows a document's XML:
// its text, replacing the text, and selecting a range. Positions and lengths count
// UTF-16 code units, as a toolkit's text widgets do.

#include <cstdint>
#include <string>

namespace quillmark {

struct QMTextRange {
    int64_t location = 0;
    int64_t length = 0;
    friend bool operator==(const QMTextRange&, const QMTextRange&) = default;
};

class QMTextView {
public:
    virtual ~QMTextView() = default;
    virtual std::string text() const = 0;  // UTF-8
    virtual void setText(const std::string& text) = 0;
    // Selects the range, scrolls it into view and brings the view's window to the front.
    virtual void selectRange(QMTextRange range) = 0;
};

}  // namespace quillmark
