#pragma once
// A picture of a document window as the user sees it: a title bar, the window, and the
// result sheet hanging below the menu bar when it is open.

#include <QImage>

namespace quillmark::viewer {

class DocumentWindow;

QImage renderDocumentWindow(DocumentWindow& window);

}  // namespace quillmark::viewer
