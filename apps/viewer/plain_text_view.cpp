#include "plain_text_view.h"

#include <QApplication>
#include <QTextCursor>

#include <algorithm>

namespace quillmark::viewer {

std::string PlainTextView::text() const { return _edit ? _edit->toPlainText().toStdString() : std::string(); }

void PlainTextView::setText(const std::string& text) {
    if (_edit) _edit->setPlainText(QString::fromStdString(text));
}

void PlainTextView::selectRange(QMTextRange range) {
    if (!_edit) return;
    // Positions of the text document count UTF-16 code units, as the range does.
    const int end = _edit->document()->characterCount() - 1;
    const int start = static_cast<int>(std::clamp<int64_t>(range.location, 0, end));
    const int stop = static_cast<int>(std::clamp<int64_t>(range.location + range.length, start, end));
    QTextCursor cursor(_edit->document());
    cursor.setPosition(start);
    cursor.setPosition(stop, QTextCursor::KeepAnchor);
    _edit->setTextCursor(cursor);
    _edit->ensureCursorVisible();
    QWidget* window = _edit->window();
    window->raise();
    // While the result sheet is up it keeps the keyboard; the selection shows anyway.
    if (!QApplication::activeModalWidget()) window->activateWindow();
}

}  // namespace quillmark::viewer
