#pragma once
// A Schematron rule set compiled for the standard run: every expression compiled once
// by the standard XPath engine, rule contexts as match patterns with an index from node
// names to the rules that can match them. One compiled rule set validates any number
// of documents, also on several threads at once (a run keeps its state to itself).

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "quillmark/schematron_model.h"
#include "quillmark/xml.h"
#include "xpath/compiled_expression.h"
#include "xpath/evaluation_limits.h"
#include "xpath/function_library.h"
#include "xpath/match_pattern.h"
#include "xpath/static_context.h"

namespace quillmark::standard {

// Renders an assertion's or diagnostic's text: literal text, sch:value-of (every item,
// separated by single spaces), sch:name, and the text of markup such as sch:emph.
struct CompiledMessage {
    enum class PartKind { Text, ValueOf, Name };
    struct Part {
        PartKind kind = PartKind::Text;
        std::string text;                                   // literal text; the expression's text otherwise
        std::shared_ptr<xpath::CompiledExpression> expression;  // value-of select, name path
    };
    std::vector<Part> parts;
};

struct CompiledLet {
    std::string name;
    size_t slot = 0;
    std::shared_ptr<xpath::CompiledExpression> value;
};

struct CompiledAssertion {
    std::string id;
    bool report = false;
    std::string flag;
    std::string role;
    std::shared_ptr<xpath::CompiledExpression> test;
    CompiledMessage message;
    std::vector<CompiledMessage> diagnostics;  // appended to the message, in the order named
};

struct CompiledRule {
    std::string id;
    std::string role;  // the rule's own role and flag (its assertions inherit them), for reports
    std::string flag;
    std::unique_ptr<xpath::MatchPattern> context;
    std::vector<CompiledLet> lets;  // defined for each node the rule handles
    std::vector<CompiledAssertion> assertions;
};

// The issue type of an assertion whose evaluation failed with a dynamic error.
inline constexpr const char* kDynamicErrorType = "dynamic-error";

// Which rules of a pattern may match a node, by the node's kind and local name, in rule
// order; the first that matches handles the node.
class RuleIndex {
public:
    void add(uint32_t rule, const std::vector<xpath::MatchKey>& keys);
    const std::vector<uint32_t>& candidates(xpath::NodeKind kind, std::string_view localName) const;
    bool wantsKind(xpath::NodeKind kind) const;

private:
    struct NameHash {
        using is_transparent = void;
        size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
    };
    struct ByKind {
        // With the kind's wildcard rules merged in.
        std::unordered_map<std::string, std::vector<uint32_t>, NameHash, std::equal_to<>> named;
        std::vector<uint32_t> anyName;
    };
    ByKind& slot(xpath::NodeKind kind);
    const ByKind* find(xpath::NodeKind kind) const;

    std::vector<std::pair<xpath::NodeKind, ByKind>> kinds_;
    std::vector<uint32_t> anyKind_;  // node(), and patterns whose kind is not known
};

struct CompiledPattern {
    std::string id;
    std::string name;
    std::vector<CompiledRule> rules;
    RuleIndex index;
};

struct LoadOptions {
    // The phase to run: nullopt for the rule set's default phase (#ALL when it names
    // none), "#ALL" for every pattern, else a phase id.
    std::optional<std::string> phase;
};

struct RunOptions {
    xpath::EvaluationLimits limits;
    // The document's text as read, when the caller has it: issues then carry the column
    // of the offending start tag, not only its line.
    const std::string* source = nullptr;
    // Issues of failed asserts and fired reports then carry the values that made the
    // test fail (see explanation.h); the subexpressions are evaluated again for them.
    bool explain = false;
    // The result then carries the run step by step (QMValidationResult::traces): the
    // patterns, the rules that fired on each node, and the issues found there. Costs a
    // copy of every issue and a record per node handled; off for ordinary runs.
    bool trace = false;
};

class CompiledRuleSet {
public:
    // Reads, assembles and compiles a rule set file. Throws RuleSetError with one line
    // naming the file and the problem (for an expression: the rule or assertion id, the
    // expression and the W3C error).
    static std::shared_ptr<const CompiledRuleSet> loadFile(const std::string& path, const LoadOptions& options = {});
    static std::shared_ptr<const CompiledRuleSet> loadText(const std::string& text, const std::string& baseDirectory,
                                                           const LoadOptions& options = {});

    // Validates a document; the issues carry the standard severity reading.
    QMValidationResult validate(const xml::Document& document, const RunOptions& options = {}) const;

    const std::string& title() const { return title_; }
    const std::string& path() const { return path_; }

    CompiledRuleSet(const CompiledRuleSet&) = delete;
    CompiledRuleSet& operator=(const CompiledRuleSet&) = delete;
    ~CompiledRuleSet();

private:
    CompiledRuleSet() = default;
    friend class RuleSetCompiler;
    friend class StandardRun;

    std::string path_;
    std::string title_;
    std::shared_ptr<xml::Document> document_;  // the assembled rule set
    std::unique_ptr<xpath::FunctionLibrary> functions_;
    std::unique_ptr<xpath::StaticContext> statics_;
    std::vector<CompiledLet> globals_;       // schema, pattern and phase lets
    std::vector<CompiledPattern> patterns_;  // the active phase's, in document order
};

}  // namespace quillmark::standard
