#include "standard/compiled_rule_set.h"

#include <algorithm>

namespace quillmark::standard {
namespace {

// Inserts a rule number keeping the list in rule order (rules are added in order, but
// a kind's wildcard rules are merged into lists made earlier).
void insertOrdered(std::vector<uint32_t>& rules, uint32_t rule) {
    auto position = std::lower_bound(rules.begin(), rules.end(), rule);
    if (position == rules.end() || *position != rule) rules.insert(position, rule);
}

}  // namespace

RuleIndex::ByKind& RuleIndex::slot(xpath::NodeKind kind) {
    for (auto& [known, rules] : kinds_) {
        if (known == kind) return rules;
    }
    kinds_.emplace_back(kind, ByKind{});
    ByKind& added = kinds_.back().second;
    added.anyName = anyKind_;
    return added;
}

const RuleIndex::ByKind* RuleIndex::find(xpath::NodeKind kind) const {
    for (const auto& [known, rules] : kinds_) {
        if (known == kind) return &rules;
    }
    return nullptr;
}

void RuleIndex::add(uint32_t rule, const std::vector<xpath::MatchKey>& keys) {
    for (const xpath::MatchKey& key : keys) {
        if (!key.kind) {
            insertOrdered(anyKind_, rule);
            for (auto& [kind, rules] : kinds_) {
                insertOrdered(rules.anyName, rule);
                for (auto& [name, named] : rules.named) insertOrdered(named, rule);
            }
            continue;
        }
        ByKind& rules = slot(*key.kind);
        if (!key.localName) {
            insertOrdered(rules.anyName, rule);
            for (auto& [name, named] : rules.named) insertOrdered(named, rule);
            continue;
        }
        auto [entry, created] = rules.named.try_emplace(*key.localName, rules.anyName);
        insertOrdered(entry->second, rule);
    }
}

const std::vector<uint32_t>& RuleIndex::candidates(xpath::NodeKind kind, std::string_view localName) const {
    const ByKind* rules = find(kind);
    if (!rules) return anyKind_;
    if (!rules->named.empty()) {
        auto found = rules->named.find(localName);
        if (found != rules->named.end()) return found->second;
    }
    return rules->anyName;
}

bool RuleIndex::wantsKind(xpath::NodeKind kind) const { return !anyKind_.empty() || find(kind) != nullptr; }

}  // namespace quillmark::standard
