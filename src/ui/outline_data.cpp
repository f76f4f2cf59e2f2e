// The outline of a result: issue rows (errors first, then warnings) with their detail
// rows, or one row per schema for a clean result; and the navigation over it.

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>

#include "quillmark/ui/result_window_controller.h"
#include "quillmark/ui/strings.h"

namespace quillmark {

namespace {

std::string toUTF8(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

// "[BR-CO-10] - Sum of ..." -> tag and text; compiled once, ICU syntax, no flags.
const icu::RegexPattern* titlePattern() {
    static const std::unique_ptr<icu::RegexPattern> pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError;
        std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(
            icu::UnicodeString::fromUTF8(R"(^\[([^\]]+)\]\s*-?\s*(.+)$)"), 0, parseError, status));
        return U_SUCCESS(status) ? std::move(compiled) : nullptr;
    }();
    return pattern.get();
}

QMValidationItemPtr makeDetailRow(const std::string& labelKey, const std::string& value) {
    auto row = std::make_shared<QMValidationItem>();
    row->title = ui::localizedString(labelKey);
    row->value = value;
    return row;
}

QMValidationItemPtr makeSchemaRow(const std::string& format, const std::string& schemaFile) {
    auto row = std::make_shared<QMValidationItem>();
    row->title = ui::formatString(format, {lastPathComponent(schemaFile)});
    row->statusIndicator = createStatusDotImage(QMDotColor::Green);
    row->children.emplace();
    return row;
}

}  // namespace

std::string lastPathComponent(const std::string& path) {
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string QMValidationResultWindowController::shapedTitle(const std::string& message) {
    const icu::RegexPattern* pattern = titlePattern();
    if (!pattern) return message;
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(message);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
    if (U_FAILURE(status) || !matcher->find(status) || U_FAILURE(status)) return message;
    std::string tag = toUTF8(matcher->group(1, status));
    std::string body = toUTF8(matcher->group(2, status));
    if (U_FAILURE(status)) return message;
    return ui::formatString("%@ [%@]", {body, tag});
}

QMValidationItemPtr QMValidationResultWindowController::createItemForError(const QMValidationError& error,
                                                                           bool isError) {
    auto row = std::make_shared<QMValidationItem>();
    row->error = error;
    row->isError = isError;
    // The caller's flag decides the colour, not the issue's own severity.
    row->statusIndicator = createStatusDotImage(isError ? QMDotColor::Red : QMDotColor::Orange);
    row->title = shapedTitle(error.message);

    const std::pair<const char*, const std::string*> details[] = {
        {"detail.location", &error.location},
        {"detail.pattern", &error.pattern},
        {"detail.rule", &error.rule},
        {"detail.assertion", &error.assertion},
    };
    row->children.emplace();
    for (const auto& [labelKey, value] : details) {
        if (!value->empty()) row->children->push_back(makeDetailRow(labelKey, *value));
    }
    return row;
}

void QMValidationResultWindowController::buildOutlineData() {
    std::vector<QMValidationItemPtr> rows;
    if (!_validationResult) {
        _items = std::move(rows);
        return;
    }
    const QMValidationResult& result = *_validationResult;
    bool clean = result.errors.empty() && result.warnings.empty();
    if (clean && result.schemaFiles && !result.schemaFiles->empty()) {
        std::string format = ui::localizedString("validation.validated_with");
        for (const auto& schemaFile : *result.schemaFiles) rows.push_back(makeSchemaRow(format, schemaFile));
    }
    for (const auto& error : result.errors) rows.push_back(createItemForError(error, true));
    for (const auto& warning : result.warnings) rows.push_back(createItemForError(warning, false));
    _items = std::move(rows);
}

bool QMValidationResultWindowController::isTopLevel(const QMValidationItem* item) const {
    if (!item) return false;
    for (const auto& row : _items) {
        if (row.get() == item) return true;
    }
    return false;
}

size_t QMValidationResultWindowController::numberOfChildrenOfItem(const QMValidationItem* item) const {
    if (!item) return _items.size();
    return item->childCount();
}

const QMValidationItem* QMValidationResultWindowController::childOfItem(size_t index,
                                                                        const QMValidationItem* item) const {
    if (!item) return index < _items.size() ? _items[index].get() : nullptr;
    if (!item->children || index >= item->children->size()) return nullptr;
    return (*item->children)[index].get();
}

bool QMValidationResultWindowController::isItemExpandable(const QMValidationItem* item) const {
    return item && item->childCount() != 0;
}

}  // namespace quillmark
