#include "qt3/qt3_suite.h"

#include <libxml/tree.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

#include "quillmark/xml.h"
#include "xpath/atomic_operations.h"
#include "xpath/compiled_expression.h"
#include "xpath/error.h"
#include "xpath/item_display.h"
#include "xpath/node_access.h"
#include "xpath/parser.h"
#include "xpath/sequence_operations.h"

namespace quillmark::qt3 {
namespace {

using namespace quillmark::xpath;
namespace fs = std::filesystem;

// ---- Reading the catalog's XML -------------------------------------------------------

std::string attribute(const xmlNode* element, const char* name) {
    xmlChar* value = xmlGetProp(element, reinterpret_cast<const xmlChar*>(name));
    if (!value) return "";
    std::string text(reinterpret_cast<const char*>(value));
    xmlFree(value);
    return text;
}

bool hasAttribute(const xmlNode* element, const char* name) {
    return xmlHasProp(element, reinterpret_cast<const xmlChar*>(name)) != nullptr;
}

std::string localName(const xmlNode* node) { return reinterpret_cast<const char*>(node->name); }

std::vector<const xmlNode*> childElements(const xmlNode* parent, const char* name = nullptr) {
    std::vector<const xmlNode*> elements;
    for (const xmlNode* child = parent->children; child; child = child->next) {
        if (child->type != XML_ELEMENT_NODE) continue;
        if (name && localName(child) != name) continue;
        elements.push_back(child);
    }
    return elements;
}

std::string textOf(const xmlNode* node) { return stringValueOf(node); }

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// ---- Environments ----------------------------------------------------------------------

struct Source {
    std::string role;  // "." or "$name"
    fs::path file;
};

struct Param {
    std::string name;
    std::string select;
};

struct Environment {
    std::vector<Source> sources;
    std::vector<std::pair<std::string, std::string>> namespaces;
    std::vector<Param> params;
    std::string unsupported;  // why the environment cannot be set up here
};

Environment readEnvironment(const xmlNode* element, const fs::path& base) {
    Environment environment;
    for (const xmlNode* child : childElements(element)) {
        const std::string kind = localName(child);
        if (kind == "source") {
            if (attribute(child, "validation") == "strict" || attribute(child, "validation") == "lax") {
                environment.unsupported = "schema-validated source";
            }
            environment.sources.push_back(Source{attribute(child, "role"), base / attribute(child, "file")});
        } else if (kind == "namespace") {
            environment.namespaces.emplace_back(attribute(child, "prefix"), attribute(child, "uri"));
        } else if (kind == "param") {
            environment.params.push_back(Param{attribute(child, "name"), attribute(child, "select")});
        } else if (kind == "schema") {
            environment.unsupported = "schema";
        } else if (kind == "collection" || kind == "resource" || kind == "collation" || kind == "decimal-format" ||
                   kind == "context-item") {
            environment.unsupported = kind;
        }
    }
    return environment;
}

// ---- Dependencies ----------------------------------------------------------------------

enum class Applicability { Applies, NotApplicable, Unsupported };

Applicability judgeDependency(const xmlNode* dependency, std::string& why) {
    const std::string type = attribute(dependency, "type");
    const std::string value = attribute(dependency, "value");
    const bool satisfied = attribute(dependency, "satisfied") != "false";
    if (type == "spec") {
        std::istringstream words(value);
        for (std::string word; words >> word;) {
            if (word == "XP20" || word == "XP20+") return Applicability::Applies;
        }
        why = "spec " + value;
        return Applicability::NotApplicable;
    }
    // Optional features and versions this engine does not offer; a dependency on the
    // absence of a feature is met.
    static const std::set<std::string> absentFeatures = {
        "schemaImport", "schemaValidation", "staticTyping", "higherOrderFunctions", "namespace-axis",
        "advanced-uca-fallback", "non_unicode_codepoint_collation", "xpath-1.0-compatibility", "moduleImport",
        "serialization", "typedData", "fn-transform-XSLT", "fn-load-xquery-module", "collection-stability",
        "directory-as-collection-uri", "non_empty_sequence_collection", "infoset-dtd"};
    if (type == "feature") {
        const bool present = !absentFeatures.contains(value);
        if (present == satisfied) return Applicability::Applies;
        why = "feature " + value + (satisfied ? "" : " absent");
        return Applicability::Unsupported;
    }
    if (type == "xsd-version") {
        if ((value == "1.0") == satisfied) return Applicability::Applies;
        why = "xsd-version " + value;
        return Applicability::Unsupported;
    }
    if (type == "xml-version") {
        if ((value.find("1.0") != std::string::npos) == satisfied) return Applicability::Applies;
        why = "xml-version " + value;
        return Applicability::Unsupported;
    }
    why = type + " " + value;
    return Applicability::Unsupported;
}

Applicability judgeDependencies(const std::vector<const xmlNode*>& dependencies, std::string& why) {
    Applicability worst = Applicability::Applies;
    for (const xmlNode* dependency : dependencies) {
        const Applicability verdict = judgeDependency(dependency, why);
        if (verdict == Applicability::NotApplicable) return verdict;
        if (verdict == Applicability::Unsupported) worst = verdict;
    }
    return worst;
}

// ---- Running one test case ---------------------------------------------------------------

struct Run {
    std::optional<Sequence> value;
    std::optional<XPathError> error;
};

class CaseRunner {
public:
    CaseRunner(const Environment& environment, std::map<std::string, std::shared_ptr<xml::Document>>& documents)
        : environment_(environment), documents_(documents) {
        for (const auto& [prefix, uri] : environment.namespaces) statics_.declareNamespace(prefix, uri);
        resultSlot_ = statics_.declareVariable(ExpandedName{"", "result"});
    }

    std::string prepare() {
        for (const Source& source : environment_.sources) {
            std::shared_ptr<xml::Document> document = load(source.file);
            if (!document) return "cannot load " + source.file.string();
            if (source.role == ".") {
                context_.setContextItem(Item(document->node()));
            } else if (source.role.starts_with("$")) {
                const size_t slot = statics_.declareVariable(ExpandedName{"", source.role.substr(1)});
                context_.setGlobal(slot, Sequence{Item(document->node())});
            }
        }
        for (const Param& param : environment_.params) {
            const size_t slot = statics_.declareVariable(ExpandedName{"", param.name});
            if (param.select.empty()) continue;
            try {
                context_.setGlobal(slot, CompiledExpression(param.select, statics_).evaluate(context_));
            } catch (const XPathError& error) {
                return std::string("param ") + param.name + ": " + error.what();
            }
        }
        return "";
    }

    Run run(const std::string& expression) {
        Run run;
        try {
            CompiledExpression compiled(expression, statics_);
            run.value = compiled.evaluate(context_);
        } catch (const XPathError& error) {
            run.error = error;
        }
        return run;
    }

    // Evaluates an assertion's expression with $result bound.
    Sequence evaluateWithResult(const std::string& expression, const Sequence& result) {
        DynamicContext context;
        context.setGlobal(resultSlot_, result);
        copyGlobals(context);
        return CompiledExpression(expression, statics_).evaluate(context);
    }

    const StaticContext& statics() const { return statics_; }

private:
    std::shared_ptr<xml::Document> load(const fs::path& file) {
        const std::string key = file.string();
        if (auto found = documents_.find(key); found != documents_.end()) return found->second;
        Error error;
        std::shared_ptr<xml::Document> document = xml::Document::parseFile(key, &error);
        documents_[key] = document;
        return document;
    }

    void copyGlobals(DynamicContext& target) {
        for (size_t slot = 0; slot < statics_.variableCount(); ++slot) {
            if (slot != resultSlot_ && context_.hasGlobal(slot)) target.setGlobal(slot, context_.global(slot));
        }
    }

    const Environment& environment_;
    std::map<std::string, std::shared_ptr<xml::Document>>& documents_;
    StaticContext statics_;
    DynamicContext context_{EvaluationLimits{200'000'000, std::chrono::milliseconds(5000), 512}};
    size_t resultSlot_ = 0;
};

std::string describeRun(const Run& run) {
    if (run.error) return std::string("error ") + run.error->what();
    std::string text;
    for (const std::string& line : describeSequence(*run.value)) text += (text.empty() ? "" : " | ") + line;
    return text.size() > 300 ? text.substr(0, 300) + "..." : text;
}

bool atomicEqual(const AtomicValue& a, const AtomicValue& b) {
    auto isNaN = [](const AtomicValue& v) {
        return (v.type() == AtomicType::Double && std::isnan(v.doubleValue())) ||
               (v.type() == AtomicType::Float && std::isnan(v.floatValue()));
    };
    if (isNaN(a) && isNaN(b)) return true;
    try {
        return compareValues(a, ComparisonOperator::Equal, b, OperatorContext{});
    } catch (const XPathError&) {
        return false;
    }
}

std::string serialize(const Sequence& sequence) {
    std::string text;
    bool previousAtomic = false;
    for (const Item& item : sequence) {
        if (item.isNode()) {
            const xmlNode* node = item.node().raw();
            if (nodeKind(node) != NodeKind::Document) {
                text += item.node().xmlString();
            } else {
                for (const xmlNode* child = firstTreeChild(node); child; child = nextTreeSibling(child)) {
                    text += xml::Node(const_cast<xmlNode*>(child)).xmlString();
                }
            }
            previousAtomic = false;
            continue;
        }
        if (previousAtomic) text += " ";
        text += item.atomic().toString();
        previousAtomic = true;
    }
    return text;
}

class AssertionChecker {
public:
    AssertionChecker(CaseRunner& runner, const Run& run, const fs::path& base) : runner_(runner), run_(run), base_(base) {}

    // "" when the assertion holds, else why not.
    std::string check(const xmlNode* assertion) {
        const std::string kind = localName(assertion);
        if (kind == "any-of") return anyOf(assertion);
        if (kind == "all-of") return allOf(assertion);
        if (kind == "not") {
            const auto children = childElements(assertion);
            return check(children.front()).empty() ? "'not' assertion held" : "";
        }
        if (kind == "error") return expectError(attribute(assertion, "code"));
        if (run_.error) return std::string("unexpected error ") + run_.error->what();
        try {
            return checkValue(kind, assertion, *run_.value);
        } catch (const XPathError& error) {
            return std::string("while checking: ") + error.what();
        }
    }

private:
    std::string anyOf(const xmlNode* assertion) {
        std::string reasons;
        for (const xmlNode* child : childElements(assertion)) {
            const std::string why = check(child);
            if (why.empty()) return "";
            reasons += (reasons.empty() ? "" : "; ") + why;
        }
        return "none of: " + reasons;
    }

    std::string allOf(const xmlNode* assertion) {
        for (const xmlNode* child : childElements(assertion)) {
            if (std::string why = check(child); !why.empty()) return why;
        }
        return "";
    }

    std::string expectError(const std::string& code) {
        if (!run_.error) return "expected error " + code + ", got " + describeRun(run_);
        if (code == "*" || run_.error->codeText() == code) return "";
        return "expected error " + code + ", got " + run_.error->what();
    }

    std::string checkValue(const std::string& kind, const xmlNode* assertion, const Sequence& result) {
        const std::string expected = textOf(assertion);
        if (kind == "assert-true" || kind == "assert-false") {
            const bool wanted = kind == "assert-true";
            const bool ok = result.size() == 1 && result.front().isAtomic() &&
                            result.front().atomic().type() == AtomicType::Boolean &&
                            result.front().atomic().booleanValue() == wanted;
            return ok ? "" : "expected " + std::string(wanted ? "true" : "false") + ", got " + describeRun(run_);
        }
        if (kind == "assert-empty") return result.empty() ? "" : "expected (), got " + describeRun(run_);
        if (kind == "assert-count") {
            return std::to_string(result.size()) == expected ? "" : "expected " + expected + " items, got " + describeRun(run_);
        }
        if (kind == "assert-eq") return assertEq(expected, result);
        if (kind == "assert-deep-eq") return assertBoolean("deep-equal($result, (" + expected + "))", result, kind);
        if (kind == "assert") return assertBoolean(expected, result, kind);
        if (kind == "assert-type") {
            const SequenceType type = parseSequenceType(expected, runner_.statics());
            return type.matches(result) ? "" : "expected type " + expected + ", got " + describeRun(run_);
        }
        if (kind == "assert-string-value") return assertStringValue(assertion, expected, result);
        if (kind == "assert-permutation") return assertPermutation(expected, result);
        if (kind == "assert-xml") return assertXml(assertion, expected, result);
        return "unsupported assertion " + kind;
    }

    std::string assertEq(const std::string& expected, const Sequence& result) {
        if (result.size() != 1 || !result.front().isAtomic()) return "expected " + expected + ", got " + describeRun(run_);
        const Sequence wanted = runner_.evaluateWithResult(expected, result);
        if (wanted.size() == 1 && atomicEqual(result.front().atomic(), wanted.front().atomic())) return "";
        return "expected " + expected + ", got " + describeRun(run_);
    }

    std::string assertBoolean(const std::string& expression, const Sequence& result, const std::string& kind) {
        const Sequence verdict = runner_.evaluateWithResult(expression, result);
        if (effectiveBooleanValue(verdict)) return "";
        return kind + " " + expression + " failed, got " + describeRun(run_);
    }

    std::string assertStringValue(const xmlNode* assertion, std::string expected, const Sequence& result) {
        std::string actual;
        for (size_t index = 0; index < result.size(); ++index) {
            if (index > 0) actual += " ";
            actual += stringValueOfItem(result[index]);
        }
        if (attribute(assertion, "normalize-space") == "true") {
            actual = normalize(actual);
            expected = normalize(expected);
        }
        return actual == expected ? "" : "expected string \"" + expected + "\", got \"" + actual + "\"";
    }

    static std::string normalize(const std::string& text) {
        std::istringstream words(text);
        std::string out;
        for (std::string word; words >> word;) out += (out.empty() ? "" : " ") + word;
        return out;
    }

    std::string assertPermutation(const std::string& expected, const Sequence& result) {
        Sequence wanted = runner_.evaluateWithResult(expected, result);
        if (wanted.size() != result.size()) return "expected a permutation of " + expected + ", got " + describeRun(run_);
        std::vector<bool> used(wanted.size(), false);
        for (const Item& item : result) {
            bool found = false;
            for (size_t index = 0; index < wanted.size() && !found; ++index) {
                if (used[index] || !item.isAtomic() || !wanted[index].isAtomic()) continue;
                if (atomicEqual(item.atomic(), wanted[index].atomic())) used[index] = found = true;
            }
            if (!found) return "expected a permutation of " + expected + ", got " + describeRun(run_);
        }
        return "";
    }

    std::string assertXml(const xmlNode* assertion, std::string expected, const Sequence& result) {
        if (hasAttribute(assertion, "file")) expected = readFile(base_ / attribute(assertion, "file"));
        if (expected.starts_with("<?xml")) expected = expected.substr(expected.find("?>") + 2);
        const std::string actual = serialize(result);
        Error error;
        auto wrap = [&error](const std::string& text) {
            return xml::Document::parse("<qt3-wrapper>" + text + "</qt3-wrapper>", &error);
        };
        auto actualDocument = wrap(actual);
        auto expectedDocument = wrap(expected);
        if (!actualDocument || !expectedDocument) return "cannot compare XML: " + error.message() + " in " + actual;
        const Sequence both{Item(actualDocument->rootElement()), Item(expectedDocument->rootElement())};
        const Sequence verdict = runner_.evaluateWithResult("deep-equal($result[1], $result[2])", both);
        if (effectiveBooleanValue(verdict)) return "";
        return "expected XML " + expected.substr(0, 200) + ", got " + actual.substr(0, 200);
    }

    CaseRunner& runner_;
    const Run& run_;
    fs::path base_;
};

}  // namespace

// ---- The suite -------------------------------------------------------------------------

struct Suite::Impl {
    fs::path root;
    std::shared_ptr<xml::Document> catalog;
    std::map<std::string, Environment> sharedEnvironments;
    std::vector<std::pair<std::string, fs::path>> testSets;
    std::map<std::string, std::shared_ptr<xml::Document>> documents;

    CaseResult runCase(const std::string& setName, const xmlNode* testCase, const std::map<std::string, Environment>& local,
                       const std::vector<const xmlNode*>& setDependencies, const fs::path& base);
};

Suite::Suite(const std::string& catalogPath) : impl_(std::make_unique<Impl>()) {
    impl_->root = fs::path(catalogPath).parent_path();
    Error error;
    impl_->catalog = xml::Document::parseFile(catalogPath, &error);
    if (!impl_->catalog) throw std::runtime_error(error.message());
    const xmlNode* root = impl_->catalog->rootElement().raw();
    for (const xmlNode* environment : childElements(root, "environment")) {
        impl_->sharedEnvironments[attribute(environment, "name")] = readEnvironment(environment, impl_->root);
    }
    for (const xmlNode* testSet : childElements(root, "test-set")) {
        impl_->testSets.emplace_back(attribute(testSet, "name"), impl_->root / attribute(testSet, "file"));
    }
}

Suite::~Suite() = default;

std::vector<std::string> Suite::testSetNames() const {
    std::vector<std::string> names;
    for (const auto& [name, file] : impl_->testSets) names.push_back(name);
    return names;
}

std::vector<CaseResult> Suite::runTestSet(const std::string& name, const std::string& caseFilter) {
    std::vector<CaseResult> results;
    for (const auto& [setName, file] : impl_->testSets) {
        if (setName != name) continue;
        Error error;
        std::shared_ptr<xml::Document> document = xml::Document::parseFile(file.string(), &error);
        if (!document) throw std::runtime_error(error.message());
        const xmlNode* root = document->rootElement().raw();
        const fs::path base = file.parent_path();
        std::map<std::string, Environment> local;
        for (const xmlNode* environment : childElements(root, "environment")) {
            local[attribute(environment, "name")] = readEnvironment(environment, base);
        }
        const std::vector<const xmlNode*> setDependencies = childElements(root, "dependency");
        for (const xmlNode* testCase : childElements(root, "test-case")) {
            if (!caseFilter.empty() && attribute(testCase, "name") != caseFilter) continue;
            results.push_back(impl_->runCase(setName, testCase, local, setDependencies, base));
        }
    }
    return results;
}

CaseResult Suite::Impl::runCase(const std::string& setName, const xmlNode* testCase,
                                const std::map<std::string, Environment>& local,
                                const std::vector<const xmlNode*>& setDependencies, const fs::path& base) {
    CaseResult result{setName, attribute(testCase, "name"), Outcome::NotApplicable, ""};
    std::vector<const xmlNode*> dependencies = setDependencies;
    for (const xmlNode* dependency : childElements(testCase, "dependency")) dependencies.push_back(dependency);
    switch (judgeDependencies(dependencies, result.detail)) {
    case Applicability::NotApplicable: return result;
    case Applicability::Unsupported: result.outcome = Outcome::Unsupported; return result;
    case Applicability::Applies: break;
    }

    Environment environment;
    for (const xmlNode* reference : childElements(testCase, "environment")) {
        if (hasAttribute(reference, "ref")) {
            const std::string name = attribute(reference, "ref");
            if (auto found = local.find(name); found != local.end()) {
                environment = found->second;
            } else if (auto shared = sharedEnvironments.find(name); shared != sharedEnvironments.end()) {
                environment = shared->second;
            }
        } else {
            environment = readEnvironment(reference, base);
        }
    }
    if (!environment.unsupported.empty()) {
        result.outcome = Outcome::Unsupported;
        result.detail = "environment needs " + environment.unsupported;
        return result;
    }

    const auto tests = childElements(testCase, "test");
    std::string expression = textOf(tests.front());
    if (hasAttribute(tests.front(), "file")) expression = readFile(base / attribute(tests.front(), "file"));

    CaseRunner runner(environment, documents);
    if (std::string problem = runner.prepare(); !problem.empty()) {
        result.outcome = Outcome::Failed;
        result.detail = problem;
        return result;
    }
    const Run run = runner.run(expression);
    const auto assertions = childElements(childElements(testCase, "result").front());
    AssertionChecker checker(runner, run, base);
    result.detail = checker.check(assertions.front());
    result.outcome = result.detail.empty() ? Outcome::Passed : Outcome::Failed;
    return result;
}

}  // namespace quillmark::qt3
