// quillmark eval: evaluates an expression, optionally against a document, and prints
// the value in typed form, one line per value.

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "assignment.h"
#include "commands.h"
#include "eval_standard.h"
#include "input_size_option.h"
#include "profile_options.h"
#include "quillmark/evaluator.h"
#include "quillmark/xml.h"

namespace quillmark::cli {
namespace {

struct EvalOptions {
    std::string contextFile;
    std::vector<std::string> namespaces;  // PREFIX=URI
    std::vector<std::string> variables;   // NAME=EXPR
    bool trace = false;
    std::optional<uint64_t> maxInputSize;
    ProfileOptions profile;
    std::optional<std::string> at;
    std::string expression;
};

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out += c;
    }
    return out + "\"";
}

std::string nodeLine(xml::Node node) {
    switch (node.kind()) {
        case xml::NodeKind::Element: return "element " + node.name();
        case xml::NodeKind::Attribute: return "attribute " + node.name() + " " + quoted(node.stringValue().value_or(""));
        case xml::NodeKind::Text: return "text " + quoted(node.stringValue().value_or(""));
        case xml::NodeKind::Document: return "document";
        case xml::NodeKind::Comment: return "comment " + quoted(node.stringValue().value_or(""));
        case xml::NodeKind::ProcessingInstruction: return "processing-instruction " + node.name();
        case xml::NodeKind::Namespace:
        case xml::NodeKind::DTD:
        case xml::NodeKind::Invalid: return "node";
    }
    return "node";
}

void printValue(const Value& value, int indent) {
    std::string pad(static_cast<size_t>(indent), ' ');
    switch (value.kind()) {
        case Value::Kind::Absent: std::cout << pad << "absent\n"; return;
        case Value::Kind::Null: std::cout << pad << "null\n"; return;
        case Value::Kind::String: std::cout << pad << "string " << quoted(value.asString()) << '\n'; return;
        case Value::Kind::Boolean: std::cout << pad << "boolean " << (value.asBoolean() ? "true" : "false") << '\n'; return;
        case Value::Kind::Integer: std::cout << pad << "integer " << value.asInteger() << '\n'; return;
        case Value::Kind::Double: std::cout << pad << "double " << formatNumber(value.asDouble()) << '\n'; return;
        case Value::Kind::Node: std::cout << pad << nodeLine(value.asNode()) << '\n'; return;
        case Value::Kind::Sequence:
            std::cout << pad << "sequence " << value.items().size() << '\n';
            for (const Value& item : value.items()) printValue(item, indent + 2);
            return;
    }
}

int runEval(const EvalOptions& options) {
    applyInputSizeOption(options.maxInputSize);
    applyTimeout(options.profile);
    if (options.profile.semantics == Semantics::Standard) {
        if (options.trace) {
            std::cerr << "quillmark: --trace needs --semantics compatible\n";
            return kExitFailure;
        }
        return runStandardEval({options.contextFile, options.at, options.namespaces, options.variables,
                                options.expression});
    }
    if (options.at) {
        std::cerr << "quillmark: --at needs --semantics standard\n";
        return kExitFailure;
    }
    std::shared_ptr<xml::Document> document;
    if (!options.contextFile.empty()) {
        Error error;
        document = xml::Document::parseFile(options.contextFile, &error);
        if (!document) {
            std::cerr << "quillmark: " << error.message() << '\n';
            return kExitFailure;
        }
    }
    QMXPath2Evaluator::NamespaceMap namespaces;
    for (const auto& binding : options.namespaces) {
        std::string prefix, uri;
        if (!splitAssignment(binding, prefix, uri)) {
            std::cerr << "quillmark: --ns expects PREFIX=URI, got \"" << binding << "\"\n";
            return kExitFailure;
        }
        namespaces[prefix] = uri;
    }
    // Without --ns the prefixes that the document's root element declares are known.
    if (options.namespaces.empty() && document && document->rootElement())
        namespaces = document->rootElement().namespaceDeclarations();

    QMXPath2Evaluator evaluator(namespaces);
    evaluator.setTraceEnabled(options.trace);
    xml::Node context = document ? document->node() : xml::Node();
    for (const auto& assignment : options.variables) {
        std::string name, expression;
        if (!splitAssignment(assignment, name, expression)) {
            std::cerr << "quillmark: --var expects NAME=EXPR, got \"" << assignment << "\"\n";
            return kExitFailure;
        }
        evaluator.setVariable(name, evaluator.evaluate(expression, context));
    }
    printValue(evaluator.evaluate(options.expression, context), 0);
    for (const auto& line : evaluator.getTrace()) std::cerr << line << '\n';
    return kExitOk;
}

constexpr const char* kEvalFooter = R"(Exit status:
  0  the value is printed
  1  the expression could not be evaluated (a static or dynamic error, standard profile)
  2  the context document cannot be read, or the command line is wrong

Examples:
  quillmark eval '(1 to 5)[. mod 2 = 0]'
      Print the even numbers up to five: integer 2, integer 4.
  quillmark eval --context invoice.xml 'sum(//cbc:LineExtensionAmount)'
      Add up amounts, with the prefixes declared on the invoice's root element.
  quillmark eval --context invoice.xml --at '//cac:InvoiceLine[1]' 'cbc:ID'
      Evaluate relative to the first invoice line, as a rule's test would be.)";

}  // namespace

CommandRunner addEvalCommand(CLI::App& app) {
    auto* command = app.add_subcommand("eval", "Evaluate an expression and print its value in typed form");
    auto options = std::make_shared<EvalOptions>();
    command
        ->add_option("--context", options->contextFile,
                     "Evaluate against this XML document (its document node is the context item)")
        ->option_text("FILE");
    // One value per occurrence, so that "--" after them ends the options instead of
    // ending their list: `eval --var v=3 -- -a` evaluates "-a".
    command
        ->add_option("--ns", options->namespaces,
                     "Declare a namespace prefix (PREFIX=URI); without it the prefixes declared on the "
                     "context document's root element are used; repeatable")
        ->option_text("PREFIX=URI")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command
        ->add_option("--var", options->variables,
                     "Set the variable $NAME to the value of an expression, evaluated in order; repeatable")
        ->option_text("NAME=EXPR")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_flag("--trace", options->trace, "Write the evaluation trace to stderr (compatible profile)");
    command->add_option("--at", options->at,
                        "Evaluate with the first node this expression selects as the context item, as a rule's "
                        "test is evaluated at its context (standard profile)")
        ->option_text("EXPR");
    addProfileOptions(*command, options->profile);
    addInputSizeOption(*command, options->maxInputSize);
    command->add_option("EXPR", options->expression, "The expression to evaluate")->required();
    command->footer(kEvalFooter);
    return [options] { return runEval(*options); };
}

}  // namespace quillmark::cli
