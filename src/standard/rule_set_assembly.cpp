#include "standard/rule_set_assembly.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <vector>

#include "standard/rule_set_error.h"
#include "standard/schematron_names.h"

namespace quillmark::standard {
namespace {

namespace fs = std::filesystem;

std::vector<xmlNode*> elementChildren(xmlNode* parent) {
    std::vector<xmlNode*> children;
    for (xmlNode* child = parent->children; child; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) children.push_back(child);
    }
    return children;
}

// Every Schematron element of a kind below `root`, in document order.
void collect(xmlNode* root, std::string_view localName, std::vector<xmlNode*>& into) {
    for (xmlNode* child : elementChildren(root)) {
        if (isSchematron(child, localName)) into.push_back(child);
        collect(child, localName, into);
    }
}

std::string canonicalPath(const fs::path& path) {
    std::error_code error;
    fs::path canonical = fs::weakly_canonical(path, error);
    return (error ? path.lexically_normal() : canonical).string();
}

// ---- Includes ----------------------------------------------------------------------

class IncludeResolver {
public:
    // Parses `path` and splices its includes, recursively.
    std::shared_ptr<xml::Document> load(const std::string& path, const std::string& includedFrom) {
        const std::string key = canonicalPath(path);
        if (std::find(stack_.begin(), stack_.end(), key) != stack_.end()) {
            std::string chain;
            for (const std::string& file : stack_) chain += fs::path(file).filename().string() + " -> ";
            throw RuleSetError(includedFrom + ": include cycle: " + chain + fs::path(key).filename().string());
        }
        if (auto found = loaded_.find(key); found != loaded_.end()) return found->second;
        Error error;
        std::shared_ptr<xml::Document> document = xml::Document::parseFile(path, &error);
        if (!document) {
            throw RuleSetError(includedFrom.empty() ? error.message() : includedFrom + ": include: " + error.message());
        }
        stack_.push_back(key);
        resolveIncludes(*document, fs::path(path).parent_path(), path);
        stack_.pop_back();
        loaded_[key] = document;
        return document;
    }

    void resolveIncludes(xml::Document& document, const fs::path& directory, const std::string& file) {
        xmlNode* root = document.rootElement().raw();
        if (!root) return;
        std::vector<xmlNode*> includes;
        if (isSchematron(root, "include")) includes.push_back(root);
        collect(root, "include", includes);
        for (xmlNode* include : includes) {
            const std::optional<std::string> href = attributeOf(include, "href");
            if (!href) throw RuleSetError(file + ": an include without href");
            std::string target = *href;
            if (const size_t hash = target.find('#'); hash != std::string::npos) target.resize(hash);
            const fs::path included = fs::path(target).is_absolute() ? fs::path(target) : directory / target;
            std::shared_ptr<xml::Document> source = load(included.string(), file);
            xmlNode* replacement = xmlDocCopyNode(source->rootElement().raw(), document.raw(), 1);
            if (!replacement) throw RuleSetError(file + ": out of memory while including " + *href);
            if (include == root) {
                xmlDocSetRootElement(document.raw(), replacement);
            } else {
                xmlReplaceNode(include, replacement);
            }
            xmlFreeNode(include);
        }
    }

private:
    std::vector<std::string> stack_;
    std::map<std::string, std::shared_ptr<xml::Document>> loaded_;
};

// ---- Abstract patterns --------------------------------------------------------------

bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
           c == '.' || static_cast<unsigned char>(c) >= 0x80;
}

// The parameter whose name stands whole at `offset`, if any.
const std::pair<std::string, std::string>* wholeNameAt(const std::string& text, size_t offset,
                                                      const std::vector<const std::pair<std::string, std::string>*>& byLength) {
    for (const auto* parameter : byLength) {
        const std::string& name = parameter->first;
        if (name.empty() || text.compare(offset, name.size(), name) != 0) continue;
        const size_t end = offset + name.size();
        if (end < text.size() && isNameCharacter(name.back()) && isNameCharacter(text[end])) continue;
        return parameter;
    }
    return nullptr;
}

void substituteInAttributes(xmlNode* element, const std::vector<std::pair<std::string, std::string>>& parameters) {
    for (xmlAttr* attribute = element->properties; attribute; attribute = attribute->next) {
        xmlChar* value = xmlNodeListGetString(element->doc, attribute->children, 1);
        if (!value) continue;
        const std::string original(reinterpret_cast<const char*>(value));
        xmlFree(value);
        const std::string replaced = substituteParameters(original, parameters);
        if (replaced != original) {
            xmlSetNsProp(element, attribute->ns, attribute->name, reinterpret_cast<const xmlChar*>(replaced.c_str()));
        }
    }
    for (xmlNode* child : elementChildren(element)) substituteInAttributes(child, parameters);
}

// The parameters of an instance; a name given twice takes its last value.
std::vector<std::pair<std::string, std::string>> parametersOf(xmlNode* instance) {
    std::map<std::string, std::string> byName;
    for (xmlNode* child : elementChildren(instance)) {
        if (!isSchematron(child, "param")) continue;
        const std::optional<std::string> name = attributeOf(child, "name");
        if (name) byName[*name] = attributeOf(child, "value").value_or("");
    }
    return {byName.begin(), byName.end()};
}

void instantiateAbstractPatterns(xmlNode* root, const std::string& file) {
    std::vector<xmlNode*> patterns;
    collect(root, "pattern", patterns);
    std::map<std::string, xmlNode*> abstracts;
    for (xmlNode* pattern : patterns) {
        if (attributeOf(pattern, "abstract") == "true") abstracts[attributeOf(pattern, "id").value_or("")] = pattern;
    }
    for (xmlNode* pattern : patterns) {
        const std::optional<std::string> base = attributeOf(pattern, "is-a");
        if (!base) continue;
        auto found = abstracts.find(*base);
        if (found == abstracts.end()) {
            throw RuleSetError(file + ": pattern '" + attributeOf(pattern, "id").value_or("") +
                               "' is an instance of the unknown abstract pattern '" + *base + "'");
        }
        const auto parameters = parametersOf(pattern);
        // The instance keeps its own attributes and non-parameter children and takes a
        // copy of the abstract pattern's content with the parameters filled in.
        for (xmlNode* child : elementChildren(pattern)) {
            if (!isSchematron(child, "param")) continue;
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        for (xmlNode* child = found->second->children; child; child = child->next) {
            xmlNode* copy = xmlDocCopyNode(child, pattern->doc, 1);
            if (!copy) continue;
            if (copy->type == XML_ELEMENT_NODE) substituteInAttributes(copy, parameters);
            xmlAddChild(pattern, copy);
        }
        xmlUnsetProp(pattern, reinterpret_cast<const xmlChar*>("is-a"));
    }
    for (auto& [id, abstract] : abstracts) {
        xmlUnlinkNode(abstract);
        xmlFreeNode(abstract);
    }
}

// ---- Abstract rules -----------------------------------------------------------------

// Replaces each <extends rule="id"/> by the content of the abstract rule, itself
// expanded first; abstract rules are then removed.
class RuleExtender {
public:
    RuleExtender(xmlNode* root, std::string file) : file_(std::move(file)) {
        std::vector<xmlNode*> rules;
        collect(root, "rule", rules);
        for (xmlNode* rule : rules) {
            if (attributeOf(rule, "abstract") == "true") abstracts_[attributeOf(rule, "id").value_or("")] = rule;
        }
    }

    void expandAll(xmlNode* root) {
        std::vector<xmlNode*> rules;
        collect(root, "rule", rules);
        for (xmlNode* rule : rules) expand(rule);
        for (auto& [id, rule] : abstracts_) {
            xmlUnlinkNode(rule);
            xmlFreeNode(rule);
        }
    }

private:
    void expand(xmlNode* rule) {
        if (done_.contains(rule)) return;
        if (!active_.insert(rule).second) {
            throw RuleSetError(file_ + ": rule '" + attributeOf(rule, "id").value_or("") + "' extends itself");
        }
        for (xmlNode* child : elementChildren(rule)) {
            if (!isSchematron(child, "extends")) continue;
            const std::string target = attributeOf(child, "rule").value_or("");
            auto found = abstracts_.find(target);
            if (found == abstracts_.end()) {
                throw RuleSetError(file_ + ": a rule extends the unknown abstract rule '" + target + "'");
            }
            expand(found->second);
            for (xmlNode* part = found->second->children; part; part = part->next) {
                if (xmlNode* copy = xmlDocCopyNode(part, rule->doc, 1)) xmlAddPrevSibling(child, copy);
            }
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        active_.erase(rule);
        done_.insert(rule);
    }

    std::string file_;
    std::map<std::string, xmlNode*> abstracts_;
    std::set<xmlNode*> active_;
    std::set<xmlNode*> done_;
};

void finishAssembly(xml::Document& document, const std::string& file) {
    xmlNode* root = document.rootElement().raw();
    if (!isSchematron(root, "schema")) {
        throw RuleSetError(file + ": not a Schematron rule set (the root element is not a Schematron schema)");
    }
    instantiateAbstractPatterns(root, file);
    RuleExtender(root, file).expandAll(root);
}

}  // namespace

std::string substituteParameters(const std::string& text, const std::vector<std::pair<std::string, std::string>>& parameters) {
    // Longest names first, so that $Seller_postal_address is not taken for $Seller; a
    // name is whole when no name character follows it (names may end in a space, as
    // some official rule sets write them).
    std::vector<const std::pair<std::string, std::string>*> byLength;
    for (const auto& parameter : parameters) byLength.push_back(&parameter);
    std::stable_sort(byLength.begin(), byLength.end(),
                     [](const auto* a, const auto* b) { return a->first.size() > b->first.size(); });
    std::string out;
    out.reserve(text.size());
    for (size_t index = 0; index < text.size();) {
        const auto* match = text[index] == '$' ? wholeNameAt(text, index + 1, byLength) : nullptr;
        if (!match) {
            out += text[index++];
            continue;
        }
        out += match->second;
        index += 1 + match->first.size();
    }
    return out;
}

std::shared_ptr<xml::Document> assembleRuleSet(const std::string& path) {
    IncludeResolver resolver;
    std::shared_ptr<xml::Document> document = resolver.load(path, "");
    finishAssembly(*document, path);
    return document;
}

std::shared_ptr<xml::Document> assembleRuleSetText(const std::string& text, const std::string& baseDirectory) {
    Error error;
    std::shared_ptr<xml::Document> document = xml::Document::parse(text, &error);
    if (!document) throw RuleSetError(error.message());
    IncludeResolver resolver;
    resolver.resolveIncludes(*document, baseDirectory, "rule set");
    finishAssembly(*document, "rule set");
    return document;
}

}  // namespace quillmark::standard
