#pragma once
// A window showing one XML document: its text, the validation status dot at the
// trailing end of the menu bar, and the result sheet.

#include <QMainWindow>

#include "plain_text_view.h"
#include "quillmark/ui/document_window_controller.h"

class QAction;
class QMenu;
class QPlainTextEdit;
class QToolButton;

namespace quillmark::viewer {

class ResultSheet;
class ViewerApplication;

class DocumentWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit DocumentWindow(ViewerApplication& application);
    ~DocumentWindow() override;

    // Reads the file (UTF-8; a regular file within the input size limit) and validates
    // it. False with the reason in `error` when it cannot be read.
    bool loadFile(const QString& path, QString* error);
    // Validates the shown document with the application's validator.
    void validate();
    bool hasDocument() const { return !_filePath.isEmpty(); }
    QString filePath() const { return _filePath; }

    // The status dot's action: opens the result sheet once there is a result.
    void showValidationSheet();

    QPlainTextEdit* textEdit() const { return _textEdit; }
    QToolButton* statusButton() const { return _statusButton; }
    ResultSheet* resultSheet() const { return _sheet; }
    QMXMLDocumentWindowController& controller() { return _controller; }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void windowDidLoad();
    void createStatusButton();
    void createMenus();
    void rebuildRecentMenu();
    void updateStatusButton();
    void updateTitle();

    ViewerApplication& _application;
    QMXMLDocumentWindowController _controller;
    QPlainTextEdit* _textEdit;
    PlainTextView _textView;
    QToolButton* _statusButton = nullptr;
    ResultSheet* _sheet = nullptr;
    QMenu* _recentMenu = nullptr;
    QAction* _revalidateAction = nullptr;
    QAction* _showResultsAction = nullptr;
    QString _filePath;
    std::string _xml;  // the document as read, UTF-8
};

}  // namespace quillmark::viewer
