#pragma once
// The document's XML text as the presentation logic sees it: a QPlainTextEdit behind
// the QMTextView interface. The widget may go away before the adapter does.

#include <QPlainTextEdit>
#include <QPointer>

#include "quillmark/ui/text_view.h"

namespace quillmark::viewer {

class PlainTextView : public QMTextView {
public:
    explicit PlainTextView(QPlainTextEdit* edit) : _edit(edit) {}

    std::string text() const override;
    void setText(const std::string& text) override;
    // Selects the range, scrolls it into view and raises the edit's window.
    void selectRange(QMTextRange range) override;

    QPlainTextEdit* edit() const { return _edit; }

private:
    QPointer<QPlainTextEdit> _edit;
};

}  // namespace quillmark::viewer
