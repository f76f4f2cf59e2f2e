// Runs every expression of the official rule sets (EN 16931, XRechnung, PEPPOL) through
// the evaluator against an example invoice of the matching syntax: rule contexts,
// lets, tests, value-of selections and the bodies of the rule sets' functions. Nothing
// may crash or hang. Also checks that every literal pattern handed to matches(),
// replace() and tokenize() compiles.
//
// The rule sets are read by a deliberately crude loader of its own (plain XML and
// local-name() queries), independent of the library's Schematron loader.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "quillmark/evaluator.h"
#include "quillmark/log.h"
#include "quillmark/regex.h"
#include "support/test_support.h"

namespace quillmark::testing {
namespace {

struct RuleSetFile {
    const char* path;
    const char* sharedPath;  // a file whose lets and patterns join the rule set, or null
    const char* invoice;
};

void PrintTo(const RuleSetFile& file, std::ostream* out) { *out << file.path; }

const char* const kUblInvoice = "en16931/ubl/examples/ubl-tc434-example1.xml";
const char* const kCiiInvoice = "en16931/cii/examples/CII_example1.xml";

const RuleSetFile kRuleSets[] = {
    {"en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch", nullptr, kUblInvoice},
    {"en16931/cii/schematron/preprocessed/EN16931-CII-validation-preprocessed.sch", nullptr, kCiiInvoice},
    {"xrechnung/src/validation/schematron/ubl/XRechnung-UBL-validation.sch",
     "xrechnung/src/validation/schematron/common.sch", kUblInvoice},
    {"xrechnung/src/validation/schematron/cii/XRechnung-CII-validation.sch",
     "xrechnung/src/validation/schematron/common.sch", kCiiInvoice},
    {"peppol/rules/sch/PEPPOL-EN16931-UBL.sch", nullptr, kUblInvoice},
    {"peppol/rules/sch/PEPPOL-EN16931-CII.sch", nullptr, kCiiInvoice},
};

// Nodes matched per rule whose lets and tests are evaluated; enough to reach every
// expression without running whole validations.
constexpr size_t kNodesPerRule = 3;

using Pair = std::pair<std::string, std::string>;

struct CrudeRule {
    std::string context;
    std::vector<Pair> lets;             // name, value
    std::vector<std::string> tests;     // assert and report tests
    std::vector<std::string> valueOfs;  // value-of selections inside the messages
};

struct CrudeRuleSet {
    std::vector<std::shared_ptr<xml::Document>> documents;  // keep the parsed files alive
    QMXPath2Evaluator::NamespaceMap namespaces;
    std::vector<QMXPCustomFunction> functions;
    std::vector<std::string> functionNames;
    std::vector<std::string> functionValueOfs;
    std::vector<Pair> globalLets;
    std::vector<CrudeRule> rules;
    std::vector<std::string> allExpressions;  // for the pattern scan
};

std::vector<xml::Node> query(xml::Node from, const std::string& xpath) { return from.nodesForXPath(xpath); }

std::string attribute(xml::Node node, const char* name) { return node.attribute(name).value_or(""); }

void readFunctions(xml::Node top, CrudeRuleSet& set) {
    for (xml::Node function : query(top, "//*[local-name()='function']")) {
        QMXPCustomFunction definition;
        for (xml::Node param : query(function, "*[local-name()='param']")) {
            definition.parameters.push_back(attribute(param, "name"));
        }
        for (xml::Node variable : query(function, "*[local-name()='variable']")) {
            const std::string select = attribute(variable, "select");
            if (select.empty()) continue;  // a variable given as content, not as an expression
            definition.variables.push_back({{"name", attribute(variable, "name")}, {"select", select}});
            set.allExpressions.push_back(select);
        }
        for (xml::Node body : query(function, "*[local-name()='sequence']")) {
            definition.bodyExpression = attribute(body, "select");
        }
        for (xml::Node body : query(function, "*[local-name()='value-of']")) {
            set.functionValueOfs.push_back(attribute(body, "select"));
        }
        set.allExpressions.push_back(definition.bodyExpression);
        set.functionNames.push_back(attribute(function, "name"));
        set.functions.push_back(std::move(definition));
    }
    set.allExpressions.insert(set.allExpressions.end(), set.functionValueOfs.begin(), set.functionValueOfs.end());
}

CrudeRule readRule(xml::Node rule, CrudeRuleSet& set) {
    CrudeRule crude;
    crude.context = attribute(rule, "context");
    for (xml::Node let : query(rule, "*[local-name()='let']")) {
        crude.lets.emplace_back(attribute(let, "name"), attribute(let, "value"));
    }
    for (xml::Node check : query(rule, "*[local-name()='assert' or local-name()='report']")) {
        crude.tests.push_back(attribute(check, "test"));
    }
    for (xml::Node valueOf : query(rule, ".//*[local-name()='value-of']")) {
        crude.valueOfs.push_back(attribute(valueOf, "select"));
    }
    set.allExpressions.push_back(crude.context);
    for (const auto& let : crude.lets) set.allExpressions.push_back(let.second);
    set.allExpressions.insert(set.allExpressions.end(), crude.tests.begin(), crude.tests.end());
    set.allExpressions.insert(set.allExpressions.end(), crude.valueOfs.begin(), crude.valueOfs.end());
    return crude;
}

void readFile(const std::string& path, CrudeRuleSet& set) {
    Error error;
    auto document = xml::Document::parseFile(path, &error);
    ASSERT_TRUE(document) << error.message();
    const xml::Node top = document->node();
    for (xml::Node ns : query(top, "//*[local-name()='ns']")) {
        set.namespaces[attribute(ns, "prefix")] = attribute(ns, "uri");
    }
    readFunctions(top, set);
    for (xml::Node let : query(top, "//*[local-name()='schema']/*[local-name()='let'] | "
                                    "//*[local-name()='pattern'][@id='variable-pattern']/*[local-name()='let']")) {
        set.globalLets.emplace_back(attribute(let, "name"), attribute(let, "value"));
        set.allExpressions.push_back(attribute(let, "value"));
    }
    const char* const rules = "//*[local-name()='pattern'][not(@id='variable-pattern')]/*[local-name()='rule']";
    for (xml::Node rule : query(top, rules)) {
        set.rules.push_back(readRule(rule, set));
    }
    set.documents.push_back(std::move(document));
}

// Literal patterns of matches(), replace() and tokenize(): the second argument when it
// is a quoted string.
std::vector<std::string> literalPatterns(const std::string& expression) {
    std::vector<std::string> patterns;
    for (const char* function : {"matches(", "replace(", "tokenize("}) {
        for (size_t at = expression.find(function); at != std::string::npos; at = expression.find(function, at + 1)) {
            // Skip the first argument: up to the comma at depth 0, quotes respected.
            size_t i = at + std::string(function).size();
            int depth = 0;
            for (; i < expression.size(); ++i) {
                char c = expression[i];
                if (c == '\'' || c == '"') {
                    i = expression.find(c, i + 1);
                    if (i == std::string::npos) break;
                } else if (c == '(' || c == '[') {
                    ++depth;
                } else if (c == ')' || c == ']') {
                    if (depth-- == 0) break;
                } else if (c == ',' && depth == 0) {
                    break;
                }
            }
            if (i == std::string::npos || i >= expression.size() || expression[i] != ',') continue;
            size_t start = expression.find_first_not_of(" \t\r\n", i + 1);
            if (start == std::string::npos || (expression[start] != '\'' && expression[start] != '"')) continue;
            size_t end = expression.find(expression[start], start + 1);
            if (end == std::string::npos) continue;
            patterns.push_back(expression.substr(start + 1, end - start - 1));
        }
    }
    return patterns;
}

class CorpusExpressions : public ::testing::TestWithParam<RuleSetFile> {
protected:
    void SetUp() override {
        if (!corpusAvailable()) {
            GTEST_SKIP() << "corpus not available";
        }
        const RuleSetFile& file = GetParam();
        ASSERT_NO_FATAL_FAILURE(readFile(corpusPath(file.path), set));
        if (file.sharedPath) {
            ASSERT_NO_FATAL_FAILURE(readFile(corpusPath(file.sharedPath), set));
        }
        Error error;
        invoice = xml::Document::parseFile(corpusPath(file.invoice), &error);
        ASSERT_TRUE(invoice) << error.message();
    }

    void setGlobalLets(QMXPath2Evaluator& evaluator) {
        for (const auto& [name, value] : set.globalLets) {
            evaluator.setVariable(name, evaluator.evaluate(value, invoice->node()));
        }
    }

    CrudeRuleSet set;
    std::shared_ptr<xml::Document> invoice;
};

TEST_P(CorpusExpressions, EveryExpressionEvaluates) {
    ScopedLogCapture quiet;  // runaway guards may log; keep the output readable
    QMXPath2Evaluator evaluator(set.namespaces);
    for (size_t i = 0; i < set.functions.size(); ++i) {
        const QMXPCustomFunction& function = set.functions[i];
        if (function.bodyExpression.empty()) continue;
        evaluator.registerFunction(set.functionNames[i], function.parameters, function.bodyExpression,
                                   function.variables);
    }
    setGlobalLets(evaluator);

    ASSERT_FALSE(set.rules.empty());
    size_t rulesMatched = 0;
    for (const CrudeRule& rule : set.rules) {
        SCOPED_TRACE(rule.context);
        const std::string context = rule.context.starts_with("/") ? rule.context : "//" + rule.context;
        std::vector<xml::Node> nodes;
        for (const Value& item : QMXPath2Evaluator::normalizeToArray(evaluator.evaluate(context, invoice->node()))) {
            if (item.isNode() && nodes.size() < kNodesPerRule) nodes.push_back(item.asNode());
        }
        if (!nodes.empty()) ++rulesMatched;
        // A rule that matches nothing here still has its expressions run once, on the
        // invoice's root element.
        if (nodes.empty()) nodes.push_back(invoice->rootElement());
        for (xml::Node node : nodes) {
            for (const auto& [name, value] : rule.lets) evaluator.setVariable(name, evaluator.evaluate(value, node));
            for (const std::string& test : rule.tests) QMXPath2Evaluator::toBoolean(evaluator.evaluate(test, node));
            for (const std::string& select : rule.valueOfs) {
                QMXPath2Evaluator::toString(evaluator.evaluate(select, node));
            }
        }
    }
    RecordProperty("rulesMatched", static_cast<int>(rulesMatched));

    // Function bodies on their own (parameters unbound) and called with a sample value
    // for every parameter.
    const xml::Node root = invoice->rootElement();
    for (size_t i = 0; i < set.functions.size(); ++i) {
        SCOPED_TRACE(set.functionNames[i]);
        evaluator.evaluate(set.functions[i].bodyExpression, root);
        for (const auto& variable : set.functions[i].variables) evaluator.evaluate(variable.at("select"), root);
        std::string call = set.functionNames[i] + "(";
        for (size_t p = 0; p < set.functions[i].parameters.size(); ++p) call += p ? ", '12345678903'" : "'12345678903'";
        evaluator.evaluate(call + ")", root);
    }
    for (const std::string& select : set.functionValueOfs) evaluator.evaluate(select, root);
    RecordProperty("logLines", static_cast<int>(quiet.lines().size()));
}

TEST_P(CorpusExpressions, LiteralPatternsCompile) {
    size_t checked = 0;
    for (const std::string& expression : set.allExpressions) {
        for (const std::string& pattern : literalPatterns(expression)) {
            EXPECT_TRUE(Regex::compile(pattern)) << pattern << "\n  in: " << expression;
            ++checked;
        }
    }
    // Patterns kept in variables, such as the e-mail and payment-terms formats.
    for (const auto& [name, value] : set.globalLets) {
        if (name.find("REGEX") == std::string::npos || value.size() < 2 || value.front() != '\'') continue;
        EXPECT_TRUE(Regex::compile(value.substr(1, value.size() - 2))) << name;
        ++checked;
    }
    RecordProperty("patterns", static_cast<int>(checked));
}

std::string ruleSetName(const ::testing::TestParamInfo<RuleSetFile>& info) {
    std::string name = info.param.path;
    name = name.substr(name.rfind('/') + 1);
    name = name.substr(0, name.find('.'));
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(RuleSets, CorpusExpressions, ::testing::ValuesIn(kRuleSets), ruleSetName);

}  // namespace
}  // namespace quillmark::testing
