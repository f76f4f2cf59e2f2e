#include "document_window.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QScreen>
#include <QToolButton>

#include "quillmark/xml.h"
#include "result_sheet.h"
#include "status_dot_pixmap.h"
#include "viewer_application.h"
#include "viewer_strings.h"

namespace quillmark::viewer {

namespace {

// Where the first window goes; later ones cascade from here.
constexpr QPoint kLayoutPosition(80, 60);
constexpr QSize kLayoutSize(900, 640);

QPlainTextEdit* makeTextEdit(QWidget* parent) {
    auto* edit = new QPlainTextEdit(parent);
    edit->setReadOnly(true);
    edit->setLineWrapMode(QPlainTextEdit::NoWrap);
    edit->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    edit->setPlaceholderText(text("viewer.empty.text"));
    edit->setAcceptDrops(false);  // drops open documents, handled by the window
    edit->setFrameShape(QFrame::NoFrame);
    edit->document()->setDocumentMargin(8);
    // Keep the highlighted element visible while the result sheet has the focus.
    QPalette palette = edit->palette();
    palette.setColor(QPalette::Inactive, QPalette::Highlight, palette.color(QPalette::Active, QPalette::Highlight));
    palette.setColor(QPalette::Inactive, QPalette::HighlightedText,
                     palette.color(QPalette::Active, QPalette::HighlightedText));
    edit->setPalette(palette);
    return edit;
}

}  // namespace

DocumentWindow::DocumentWindow(ViewerApplication& application)
    : _application(application), _textEdit(makeTextEdit(this)), _textView(_textEdit) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAcceptDrops(true);
    setCentralWidget(_textEdit);
    _controller.setResultsTextView(&_textView);
    createMenus();
    windowDidLoad();
    updateTitle();
}

DocumentWindow::~DocumentWindow() = default;

void DocumentWindow::windowDidLoad() {
    const int offset = static_cast<int>(_controller.windowDidLoad());
    QPoint origin = kLayoutPosition;
    if (QScreen* screen = QGuiApplication::primaryScreen()) origin += screen->availableGeometry().topLeft();
    setGeometry(QRect(origin + QPoint(offset, offset), kLayoutSize));
    createStatusButton();
}

void DocumentWindow::createStatusButton() {
    _statusButton = new QToolButton;
    _statusButton->setObjectName("statusButton");
    _statusButton->setFixedSize(static_cast<int>(QMXMLDocumentWindowController::kStatusButtonSize),
                                static_cast<int>(QMXMLDocumentWindowController::kStatusButtonSize));
    _statusButton->setAutoRaise(true);
    _statusButton->setIconSize(QSize(static_cast<int>(QMStatusDotImage::kSize), static_cast<int>(QMStatusDotImage::kSize)));
    _statusButton->setToolTip(text("viewer.status.tooltip"));
    _statusButton->setFocusPolicy(Qt::NoFocus);
    connect(_statusButton, &QToolButton::clicked, this, &DocumentWindow::showValidationSheet);

    auto* container = new QWidget;
    container->setFixedSize(static_cast<int>(QMXMLDocumentWindowController::kStatusContainerWidth),
                            static_cast<int>(QMXMLDocumentWindowController::kStatusButtonSize));
    auto* layout = new QHBoxLayout(container);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(_statusButton, 0, Qt::AlignCenter);
    menuBar()->setCornerWidget(container, Qt::TopRightCorner);
    updateStatusButton();
}

void DocumentWindow::createMenus() {
    QMenu* file = menuBar()->addMenu(text("viewer.menu.file"));
    file->addAction(text("viewer.action.open"), QKeySequence::Open, this,
                    [this] { _application.showOpenDialog(this); });
    _recentMenu = file->addMenu(text("viewer.menu.open_recent"));
    connect(&_application, &ViewerApplication::recentFilesChanged, this, &DocumentWindow::rebuildRecentMenu);
    rebuildRecentMenu();
    file->addSeparator();
    _revalidateAction = file->addAction(text("viewer.action.revalidate"), QKeySequence(Qt::CTRL | Qt::Key_R), this,
                                        &DocumentWindow::validate);
    file->addSeparator();
    file->addAction(text("viewer.action.preferences"), QKeySequence::Preferences, this,
                    [this] { _application.showPreferences(this); });
    file->addSeparator();
    file->addAction(text("viewer.action.close"), QKeySequence::Close, this, &QWidget::close);
    file->addAction(text("viewer.action.quit"), QKeySequence::Quit, qApp, &QApplication::closeAllWindows);

    QMenu* edit = menuBar()->addMenu(text("viewer.menu.edit"));
    QAction* copy = edit->addAction(text("viewer.action.copy"), QKeySequence::Copy, _textEdit, &QPlainTextEdit::copy);
    copy->setEnabled(false);
    connect(_textEdit, &QPlainTextEdit::copyAvailable, copy, &QAction::setEnabled);

    QMenu* view = menuBar()->addMenu(text("viewer.menu.view"));
    _showResultsAction = view->addAction(text("viewer.action.show_results"), QKeySequence(Qt::CTRL | Qt::Key_I), this,
                                         &DocumentWindow::showValidationSheet);

    QMenu* help = menuBar()->addMenu(text("viewer.menu.help"));
    help->addAction(text("viewer.action.about"), this, [this] { _application.showAbout(this); });
}

void DocumentWindow::rebuildRecentMenu() {
    _recentMenu->clear();
    const QStringList files = _application.recentFiles();
    for (const QString& path : files) {
        QAction* action = _recentMenu->addAction(QFileInfo(path).fileName(), this,
                                                 [this, path] { _application.openFiles({path}, this); });
        action->setToolTip(path);
    }
    _recentMenu->addSeparator();
    QAction* clear = _recentMenu->addAction(text("viewer.action.clear_recent"), &_application,
                                            &ViewerApplication::clearRecentFiles);
    clear->setEnabled(!files.isEmpty());
}

bool DocumentWindow::loadFile(const QString& path, QString* error) {
    // Regular files only, within the input size limit: a FIFO or device chosen by
    // mistake is refused instead of blocking the window.
    Error readError;
    std::optional<std::string> bytes = xml::readFileBytes(path.toStdString(), &readError);
    if (!bytes) {
        if (error) *error = toQString(readError.message());
        return false;
    }
    _xml = std::move(*bytes);
    _filePath = path;
    updateTitle();
    validate();
    return true;
}

void DocumentWindow::validate() {
    if (!hasDocument()) return;
    const std::string fileName = QFileInfo(_filePath).fileName().toStdString();
    // The sheet's model points into the rows the validation replaces.
    if (_sheet) _sheet->beginResultChange();
    // Fail closed: a rule set that cannot be used, or a document that is not
    // well-formed, never shows as valid.
    const bool openSheet =
        _controller.performStrictValidationWithValidator(_application.validator(), _xml, fileName);
    if (_sheet) _sheet->endResultChange();
    if (!_sheet) _sheet = new ResultSheet(_controller.validationResultWindowController(), this);
    updateStatusButton();
    if (openSheet) showValidationSheet();
}

void DocumentWindow::showValidationSheet() {
    if (!_controller.canShowValidationSheet() || !_sheet) return;
    _sheet->open();
    _sheet->outlineView()->setFocus();
}

void DocumentWindow::updateStatusButton() {
    const QMStatusButtonState& state = _controller.statusButton();
    _statusButton->setIcon(statusDotIcon(state.image, devicePixelRatioF()));
    _statusButton->setEnabled(state.enabled);
    _showResultsAction->setEnabled(_controller.canShowValidationSheet());
    _revalidateAction->setEnabled(hasDocument());
}

void DocumentWindow::updateTitle() {
    const QString app = text("viewer.app.name");
    if (!hasDocument()) {
        setWindowTitle(app);
        return;
    }
    setWindowFilePath(_filePath);
    setWindowTitle(QStringLiteral("%1 — %2").arg(QFileInfo(_filePath).fileName(), app));
}

void DocumentWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void DocumentWindow::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile()) paths << url.toLocalFile();
    }
    if (paths.isEmpty()) return;
    event->acceptProposedAction();
    _application.openFiles(paths, this);
}

}  // namespace quillmark::viewer
