// quillmark-viewer [--schemas DIR]... [--semantics standard|compatible] [--language en|de] [FILE...]
// quillmark-viewer --screenshot OUT.png [--schemas DIR]... [--semantics ...] FILE
//
// Opens a window per XML document, validates it with the schemas found in the schema
// folders (given here and in the preferences) and shows the outcome. With
// --screenshot the window and its result sheet are rendered offscreen into a PNG
// (stored preferences are not used then, so the picture depends on the arguments only).

#include <QApplication>
#include <QCommandLineParser>
#include <QSettings>
#include <QStyleFactory>
#include <cstdio>
#include <cstring>
#include <optional>

#include "document_window.h"
#include "quillmark/ui/strings.h"
#include "screenshot.h"
#include "viewer_application.h"

using namespace quillmark;
using namespace quillmark::viewer;

namespace {

// Screenshots and help need no display. The platform must be chosen before the
// application object exists.
bool needsNoDisplay(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--screenshot") == 0 || std::strncmp(argv[i], "--screenshot=", 13) == 0) return true;
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) return true;
    }
    return false;
}

int fail(const QString& message) {
    std::fprintf(stderr, "quillmark-viewer: %s\n", qPrintable(message));
    return 2;
}

int takeScreenshot(const QString& output, const QStringList& schemaFolders, std::optional<Semantics> semantics,
                   const QStringList& files) {
    if (files.size() != 1) return fail("--screenshot needs exactly one FILE");
    ViewerApplication application(nullptr, schemaFolders);
    application.setCommandLineSemantics(semantics);
    QString error;
    DocumentWindow* window = application.openFile(files.front(), nullptr, &error);
    if (!window) return fail(QStringLiteral("cannot read %1: %2").arg(files.front(), error));
    window->show();
    const QImage image = renderDocumentWindow(*window);
    if (!image.save(output, "PNG")) return fail(QStringLiteral("cannot write %1").arg(output));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (needsNoDisplay(argc, argv) && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setOrganizationName("Quillmark");
    QApplication::setApplicationName("Quillmark Viewer");
    QApplication::setStyle(QStyleFactory::create("Fusion"));

    QCommandLineParser parser;
    parser.setApplicationDescription("Shows XML e-invoices with their Schematron and XML Schema validation.");
    parser.addHelpOption();
    QCommandLineOption schemas("schemas", "Validate with the schemas in DIR (repeatable).", "DIR");
    QCommandLineOption screenshot("screenshot", "Render the window of FILE into OUT.png and exit.", "OUT.png");
    QCommandLineOption language("language", "Language of the texts: en or de (default: the locale's).", "LANG");
    QCommandLineOption semanticsOption(
        "semantics",
        "How rule sets are read this session: standard (XPath 2.0 and ISO Schematron) or compatible (the "
        "library's documented dialect); default: the preference, else standard.",
        "PROFILE");
    parser.addOptions({schemas, screenshot, language, semanticsOption});
    parser.addPositionalArgument("FILE", "XML documents to open.", "[FILE...]");
    parser.process(app);

    if (parser.isSet(language)) {
        const QString value = parser.value(language);
        if (value != "en" && value != "de") return fail("--language takes en or de");
        ui::setLanguageOverride(value == "de" ? ui::Language::German : ui::Language::English);
    }
    std::optional<Semantics> semantics;
    if (parser.isSet(semanticsOption)) {
        semantics = semanticsNamed(parser.value(semanticsOption).toStdString());
        if (!semantics) return fail("--semantics takes standard or compatible");
    }
    if (parser.isSet(screenshot))
        return takeScreenshot(parser.value(screenshot), parser.values(schemas), semantics, parser.positionalArguments());

    QSettings settings;
    ViewerApplication application(&settings, parser.values(schemas));
    application.setCommandLineSemantics(semantics);
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty())
        application.newWindow()->show();
    else
        application.openFiles(files, nullptr);
    if (application.windows().isEmpty()) application.newWindow()->show();
    return app.exec();
}
